#include "values/driveIdentity.h"

#include "daemon/base/trace.h"

#include <algorithm>
#include <cstring>

namespace {

// ATA IDENTIFY DEVICE data: texts by byte offset and width.
constexpr size_t ATA_SERIAL_OFFSET = 20;
constexpr size_t ATA_SERIAL_WIDTH = 20;
constexpr size_t ATA_FIRMWARE_OFFSET = 46;
constexpr size_t ATA_FIRMWARE_WIDTH = 8;
constexpr size_t ATA_MODEL_OFFSET = 54;
constexpr size_t ATA_MODEL_WIDTH = 40;
constexpr size_t ATA_SIGNATURE_OFFSET = 510;
constexpr uint8_t ATA_SIGNATURE = 0xA5; // the data carry their checksum

using VendorText = FieldText<sizeof(MR_PD_INFO::vendor)>;

// Makers of drives behind a SATA translation, by a piece of the product's name. The last one found counts.
struct VendorKey {
    const char* key;
    VendorText vendor;
};
constexpr VendorKey vendorKeys[] = {
    {"zbr", {"Zebrant"}}, {"hit", {"Hitachi"}}, {"ht", {"Hitachi"}}, {"wd", {"WD"}}, {"st", {"Seagate"}},
};

uint8_t getSignature(const SataIdentifyData& sata) {
    return sata.bytes[ATA_SIGNATURE_OFFSET];
}

// ATA texts have the two characters of each word swapped.
template <size_t width>
FieldText<width> getAtaText(const SataIdentifyData& sata, size_t offset) {
    FieldText<width> result{};
    for (size_t i = 0; i < width; ++i) result.text[i] = char(sata.bytes[offset + (i ^ 1)]);
    return result;
}

// Makers are looked for whatever the case of their names.
template <size_t width>
FieldText<width> lowerCase(FieldText<width> text) {
    for (char& character : text.text)
        if (character >= 'A' && character <= 'Z') character = char(character - 'A' + 'a');
    return text;
}

bool isTranslated(const char* vendor) {
    return strncmp(vendor, "ATA", 3) == 0;
}

// Behind a SATA translation the maker's name is the first word of the product: what follows it, NULL when
// the product is a single word.
const char* getSecondWord(const char* product) {
    const char* blank = strchr(product, ' ');
    if (blank == nullptr) return nullptr;
    const char* remainder = blank + strspn(blank, " ");
    return *remainder == '\0' ? nullptr : remainder;
}

// Whether the model is one of the maker that names itself there, whatever the INQUIRY data say.
bool isIntel(const SataIdentifyData& sata) {
    return getSignature(sata) == ATA_SIGNATURE &&
           strstr(lowerCase(getAtaText<ATA_MODEL_WIDTH>(sata, ATA_MODEL_OFFSET)).text, "intel") != nullptr;
}

// The maker behind a SATA translation: the first of two words, unless a key in the model's name tells better.
VendorText findMaker(const MR_PD_INFO& info, VendorText vendor) {
    const auto product = trimField(info.product);
    const auto lowered = lowerCase(product);
    const char* model = lowered.text;
    if (const char* remainder = getSecondWord(product.text)) {
        vendor = {};
        memcpy(vendor.text, product.text, std::min(strcspn(product.text, " "), sizeof vendor.text - 1));
        model += remainder - product.text;
    }
    for (const VendorKey& entry : vendorKeys)
        if (strstr(model, entry.key) != nullptr) vendor = entry.vendor;
    return vendor;
}

VendorText findVendor(const MR_PD_INFO& info, const SataIdentifyData* sata) {
    const VendorText vendor = trimField(info.vendor);
    if (sata != nullptr && isIntel(*sata)) return {"Intel"};
    return sata != nullptr && isTranslated(vendor.text) ? findMaker(info, vendor) : vendor;
}

} // namespace

void putDriveVendor(const MR_PD_INFO& info, const SataIdentifyData* sata, TextBuffer& buffer) {
    const VendorText vendor = findVendor(info, sata);
    trace("oobMR_getPDInfo(PDVENDOR): Vendor='%s'\n", vendor.text);
    put(buffer, vendor);
}

void putDriveProduct(const MR_PD_INFO& info, TextBuffer& buffer) {
    const auto product = trimField(info.product);
    const char* remainder = isTranslated(trimField(info.vendor).text) ? getSecondWord(product.text) : nullptr;
    put(buffer, remainder != nullptr ? remainder : product.text);
}

void putDriveFirmware(const MR_PD_INFO& info, const SataIdentifyData* sata, TextBuffer& buffer) {
    trace("oobMR_getPDInfo(PDFWVERSION): oobMRCache->mrCtrlInst[ctrlIdx]->mrPdSataInfo[instIdx]= 0x%x\n",
          traceAddress(sata));
    const auto revision = trimField(info.revision);
    trace("oobMR_getPDInfo(PDFWVERSION):1:product_rev='%s'\n", revision.text);
    if (sata != nullptr) trace("oobMR_getPDInfo(PDFWVERSION): signature=0x%x\n", getSignature(*sata));
    if (sata == nullptr || getSignature(*sata) != ATA_SIGNATURE) return put(buffer, revision);
    auto firmware = getAtaText<ATA_FIRMWARE_WIDTH>(*sata, ATA_FIRMWARE_OFFSET);
    firmware.text[strcspn(firmware.text, " ")] = '\0';
    trace("oobMR_getPDInfo(PDFWVERSION):SATA:product_rev='%s'\n", firmware.text);
    put(buffer, firmware);
}

void putDriveSerialNumber(const MR_PD_INFO& info, const SataIdentifyData* sata, TextBuffer& buffer) {
    const auto inquirySerial = trimField(info.vendorSpecific);
    trace("oobMR_getPDInfo(PDSERIALNUMBER):vendor_specific='%s'\n", inquirySerial.text);
    if (sata != nullptr) trace("oobMR_getPDInfo(PDSERIALNUMBER): signature=0x%x\n", getSignature(*sata));
    if (sata != nullptr && getSignature(*sata) == ATA_SIGNATURE) {
        const auto serial = getAtaText<ATA_SERIAL_WIDTH>(*sata, ATA_SERIAL_OFFSET);
        put(buffer, serial.text + strspn(serial.text, " "));
    }
    if (buffer.length == 0) put(buffer, inquirySerial); // also where the drive's own is blank
    trace("oobMR_getPDInfo(PDSERIALNUMBER):vendor_specific='%s', sval='%s'\n", inquirySerial.text, buffer.text);
}
