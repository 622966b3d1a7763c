#include "values/sesPages.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int DESCRIPTOR_PAGE_HEADER = 8;
constexpr uint32_t DESCRIPTOR_HEADER = 4; // two reserved bytes, the text's length as a big-endian word

} // namespace

bool readDiagnosticPage(const Enclosure& enclosure, uint8_t pageCode, uint8_t* page) {
    const uint32_t ctrlId = enclosure.controller->ctrlId;
    memset(page, 0, SES_PAGE_SIZE);
    return raid_IsDiagnosticPageValid(ctrlId, enclosure.deviceId, pageCode) != 0 &&
           raid_ReceiveDiagnosticResults(ctrlId, enclosure.deviceId, pageCode, page, SES_PAGE_SIZE) == 0;
}

SesFruPage getFruPage(const uint8_t* page) {
    SesFruPage records;
    memcpy(&records, page, sizeof records);
    return records;
}

SesDescriptor findDescriptor(const uint8_t* page, const SL_ENCL_STATUS_T* status, ElementKind kind, uint32_t index) {
    if (status == nullptr) return {};
    // The kinds in their order, and as many descriptors of the wanted one as stand before its element.
    ElementCounts counts = getStatedCounts(*status);
    counts[size_t(kind)] = index;
    int offset = DESCRIPTOR_PAGE_HEADER;
    for (size_t k = 0; k <= size_t(kind) && offset >= 0; ++k)
        offset = raid_SkipKP23Descriptors(page, SES_PAGE_SIZE, offset, counts[k]);
    if (offset < 0 || uint32_t(offset) > SES_PAGE_SIZE - DESCRIPTOR_HEADER) return {};
    const uint8_t* descriptor = page + offset;
    const uint32_t length = uint32_t(descriptor[2]) << 8 | descriptor[3];
    const uint32_t room = SES_PAGE_SIZE - DESCRIPTOR_HEADER - uint32_t(offset);
    return {reinterpret_cast<const char*>(descriptor + DESCRIPTOR_HEADER), std::min(length, room)};
}

void putMarkedText(const SesDescriptor& descriptor, const char* marker, TextBuffer& buffer) {
    if (descriptor.text == nullptr) return;
    const std::string_view text(descriptor.text, strnlen(descriptor.text, descriptor.length));
    const size_t found = text.find(marker);
    if (found == std::string_view::npos) return;
    const std::string_view value = text.substr(found + strlen(marker));
    put(buffer, value.substr(0, value.find_first_of("\r\n")));
}
