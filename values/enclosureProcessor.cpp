#include "daemon/base/trace.h"
#include "values/enclosureAccess.h"
#include "values/sesPages.h"

#include <cstdio>

namespace {

enum ProcParam {
    PROC_PORT_NUMBER,
    PROC_DEVICE_NUMBER,
    PROC_ENCLOSURE_NUMBER,
    PROC_NAME,
    PROC_TYPE,
    PROC_VENDOR,
    PROC_PRODUCT,
    PROC_SERIAL_NUMBER,
    PROC_HARDWARE_VERSION,
    PROC_FIRMWARE_VERSION,
    PROC_STATUS,
};

constexpr uint16_t PARTNER_MAX = 254;
constexpr uint16_t PARTNER_NONE = 65535;
constexpr size_t FIRMWARE_VERSION_OFFSET = 9; // of page 130, four characters

bool readPage(const Enclosure& enclosure, uint8_t pageCode, uint8_t* page) {
    return readDiagnosticPage(enclosure.controller->ctrlId, enclosure.deviceId, pageCode, page);
}

uint16_t getPartnerDeviceId(const Enclosure& enclosure) {
    const uint16_t partner = enclosure.info->partnerDeviceId;
    const uint8_t operations = enclosure.controller->mrInfo->adapterOperations3;
    return (operations & MR_ADAPTER_OPERATION3_PARTNER_DEVICE) != 0 && partner <= PARTNER_MAX ? partner : PARTNER_NONE;
}

void setName(const Enclosure& enclosure, char* sval, int svalLen) {
    const auto vendor = trimField(enclosure.info->vendor);
    const auto product = trimField(enclosure.info->product);
    // An enclosure has one processor here, whatever it is made of.
    snprintf(sval, size_t(svalLen), "%s %s (%d:1)", vendor.text, product.text, getEnclosureNumber(enclosure));
}

void setDescribedText(const Enclosure& enclosure, const char* marker, char* sval, int svalLen) {
    uint8_t page[SES_PAGE_SIZE];
    if (!readPage(enclosure, SES_PAGE_ELEMENT_DESCRIPTORS, page)) return;
    copyMarkedText(findDescriptor(page, enclosure.status, SES_TYPES_BEFORE_PROCESSOR, 0), marker, sval, svalLen);
}

void setFruText(int paramID, const Enclosure& enclosure, char* sval, int svalLen) {
    trace("oobMR_getEnclProcInfo(): in else of KP17: enclDevid= %d\n", enclosure.deviceId);
    uint8_t page[SES_PAGE_SIZE];
    if (!readPage(enclosure, SES_PAGE_FRU, page)) return;
    const SesFruRecord unit = getFruPage(page).processor;
    if (paramID == PROC_SERIAL_NUMBER) {
        copyText(sval, svalLen, trimField(getPrintableText(unit.serialNumber).text).text);
        return;
    }
    trace("oobMR_getEnclProcInfo():in KP17: revision='%s', sizeof (pFRU->Revision)=%d\n", endField(unit.revision).text,
          int{sizeof unit.revision});
    const auto revision = getPrintableText(unit.revision);
    trace("oobMR_getEnclProcInfo():in KP17: revision='%s', k=%d\n", revision.text, int(strlen(revision.text)));
    copyText(sval, svalLen, trimField(revision.text).text);
}

// Serial number and hardware version: where they stand depends on the model.
void setUnitText(int paramID, const Enclosure& enclosure, char* sval, int svalLen) {
    trace("oobMR_getEnclProcInfo():ENCLPROCSERIALNO: hlp='%s', m_PartnerDeviceID=%d\n",
          trimField(enclosure.info->product).text, getPartnerDeviceId(enclosure));
    const char* marker = paramID == PROC_SERIAL_NUMBER ? SES_MARKER_SERIAL_NUMBER : SES_MARKER_REVISION;
    switch (getModel(*enclosure.info).code) {
    case ENCL_MODEL_KP23:
    case ENCL_MODEL_KP17M2: setDescribedText(enclosure, marker, sval, svalLen); break;
    case ENCL_MODEL_KP17: setFruText(paramID, enclosure, sval, svalLen); break;
    default: break;
    }
}

void setFirmwareVersion(const Enclosure& enclosure, char* sval, int svalLen) {
    const auto inquiry = trimField(enclosure.info->revision);
    const char* revision = inquiry.text;
    const auto size = size_t(svalLen);
    uint8_t page[SES_PAGE_SIZE];
    switch (getModel(*enclosure.info).code) {
    case ENCL_MODEL_KP23:
    case ENCL_MODEL_KP17M2:
        if (readPage(enclosure, SES_PAGE_FIRMWARE, page))
            snprintf(sval, size, "V%c%c.%c%c", page[FIRMWARE_VERSION_OFFSET], page[FIRMWARE_VERSION_OFFSET + 1],
                     page[FIRMWARE_VERSION_OFFSET + 2], page[FIRMWARE_VERSION_OFFSET + 3]);
        break;
    case ENCL_MODEL_KP17: snprintf(sval, size, "V%c%cL%c%c", revision[0], revision[1], revision[2], revision[3]); break;
    default: copyText(sval, svalLen, revision); break;
    }
}

void formText(int paramID, const Enclosure& enclosure, char* sval, int svalLen) {
    switch (paramID) {
    case PROC_NAME: return setName(enclosure, sval, svalLen);
    case PROC_TYPE: return copyText(sval, svalLen, "SES");
    case PROC_VENDOR: return copyText(sval, svalLen, trimField(enclosure.info->vendor).text);
    case PROC_PRODUCT: return copyText(sval, svalLen, getModel(*enclosure.info).name);
    case PROC_SERIAL_NUMBER:
    case PROC_HARDWARE_VERSION: return setUnitText(paramID, enclosure, sval, svalLen);
    case PROC_FIRMWARE_VERSION: return setFirmwareVersion(enclosure, sval, svalLen);
    case PROC_STATUS: return copyText(sval, svalLen, getEnclosureStatusText(enclosure.status));
    default: return;
    }
}

int32_t getNumber(int paramID, const Enclosure& enclosure) {
    switch (paramID) {
    case PROC_PORT_NUMBER: return raid_PhysicalDeviceGetPortNumber(enclosure.info, enclosure.controller->mrInfo);
    case PROC_DEVICE_NUMBER: return enclosure.deviceId;
    case PROC_ENCLOSURE_NUMBER: return getEnclosureNumber(enclosure);
    default: return 0;
    }
}

} // namespace

int oobMR_getEnclProcInfo(int paramID, int ctrlIdx, int enclIdx, char* sval, int svalLen, int32_t* ival) {
    *ival = 0;
    if (sval == nullptr || svalLen <= 0) return VALUE_BAD_BUFFER;
    Enclosure enclosure{};
    if (!findEnclosure(ctrlIdx, enclIdx, enclosure)) {
        trace("oobMR_getEnclProcInfo(): END\n");
        return VALUE_NO_OBJECT;
    }
    clearText(sval, svalLen);
    *ival = getNumber(paramID, enclosure);
    formText(paramID, enclosure, sval, svalLen);
    return VALUE_OK;
}
