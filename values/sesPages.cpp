#include "values/sesPages.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int DESCRIPTOR_PAGE_HEADER = 8;
constexpr uint32_t DESCRIPTOR_HEADER = 4; // two reserved bytes, the text's length as a big-endian word

} // namespace

SesFruPage getFruPage(const uint8_t* page) {
    SesFruPage records;
    memcpy(&records, page, sizeof records);
    return records;
}

SesDescriptor findDescriptor(const uint8_t* page, const SL_ENCL_STATUS_T* status, uint32_t typesBefore,
                             uint32_t index) {
    if (status == nullptr) return {};
    // The types in their order, and as many descriptors of the wanted one as stand before its element.
    uint32_t counts[] = {status->slotCount,   status->psuCount,   status->fanCount,
                         status->sensorCount, status->alarmCount, 0};
    counts[typesBefore] = index;
    int offset = DESCRIPTOR_PAGE_HEADER;
    for (uint32_t type = 0; type <= typesBefore && offset >= 0; ++type)
        offset = raid_SkipKP23Descriptors(page, SES_PAGE_SIZE, offset, counts[type]);
    if (offset < 0 || uint32_t(offset) > SES_PAGE_SIZE - DESCRIPTOR_HEADER) return {};
    const uint8_t* descriptor = page + offset;
    const uint32_t length = uint32_t(descriptor[2]) << 8 | descriptor[3];
    const uint32_t room = SES_PAGE_SIZE - DESCRIPTOR_HEADER - uint32_t(offset);
    return {reinterpret_cast<const char*>(descriptor + DESCRIPTOR_HEADER), std::min(length, room)};
}

void copyMarkedText(const SesDescriptor& descriptor, const char* marker, char* sval, int svalLen) {
    if (descriptor.text == nullptr) return;
    const size_t markerLength = strlen(marker);
    const char* end = descriptor.text + strnlen(descriptor.text, descriptor.length);
    const char* found =
        static_cast<const char*>(memmem(descriptor.text, size_t(end - descriptor.text), marker, markerLength));
    if (found == nullptr) return;
    const char* value = found + markerLength;
    const char* lineEnd = std::find_if(value, end, [](char c) { return c == '\r' || c == '\n'; });
    copyText(sval, svalLen, value, size_t(lineEnd - value));
}
