// Functions of another libzeb_RaidHelper: other texts, other numbers, other ways to trim and to tell the date.

#include "platform/appHelper.h"
#include "platform/storelib.h"

#include <cstdio>

namespace {

// Texts are constants of the library.
const char* textFor(uint32_t code) {
    static char texts[256][32];
    char* text = texts[code % 256];
    snprintf(text, sizeof texts[0], "other: %u \xe9\"\\", code % 256);
    return text;
}

} // namespace

const char* raid_GetErrorStatus(int status) {
    return textFor(uint32_t(status));
}
const char* raid_GetPCIVendorName(uint16_t vendorId) {
    return textFor(vendorId);
}
const char* raid_GetHddFirmwareState(uint16_t fwState) {
    return textFor(fwState);
}
const char* raid_GetDeviceInterfaceType(uint8_t interface) {
    return interface == 3 ? nullptr : textFor(interface);
}
const char* raid_GetRaidLevel(uint8_t primaryRaidLevel, uint8_t spanDepth, uint8_t drivesPerSpan) {
    return textFor(primaryRaidLevel * 16U + spanDepth + drivesPerSpan);
}
int raid_GetBatteryState(uint32_t fwStatus) {
    return int(fwStatus % 3);
}
int raid_PhysicalDriveGetEnclosureNumber(const MR_PD_INFO* drive, const MR_CTRL_INFO*, const MR_SAS_CONNECTORS*,
                                         const MR_ENCL_LIST*) {
    return drive != nullptr ? drive->enclDeviceId + 40 : -5;
}
const char* raid_GetEnclosureFanStatusString(const SL_ENCL_STATUS_T* status, uint32_t fan) {
    return textFor((status != nullptr ? status->fanCount : 0) + fan);
}
void raid_GetEnclosureFanName(int modelCode, const SL_ENCL_STATUS_T*, uint32_t fan, char* text, int size) {
    snprintf(text, size_t(size), "other: %d/%u", modelCode, fan);
}
float raid_GetEnclosureTemperature(const SL_ENCL_STATUS_T*, uint32_t sensor, uint16_t, const SL_ENCL_ELEMENT_T*) {
    return float(sensor) + 20.3F;
}
void raid_StrncpyTrim(char* destination, const char* source, size_t width) {
    const size_t length = strnlen(source, width);
    memmove(destination, source, length); // not trimmed at all
    destination[length] = 0;
}
void raid_swapBytes(void* destination, const void* source, size_t count) {
    memmove(destination, source, count);
}
int etcGetDate(int64_t seconds, char* text, size_t size) {
    snprintf(text, size, "other: %lld", static_cast<long long>(seconds));
    return 0;
}
