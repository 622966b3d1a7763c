#pragma once

// Helpers of the firmware (libzeb_appHelper).

#include <cstddef>
#include <cstdint>

extern "C" {

// The time, in seconds since 1970, as local date or local date and time. 0: done.
[[nodiscard]] int etcGetDate(int64_t seconds, char* text, size_t size);
[[nodiscard]] int etcGetDateAndTime(int64_t seconds, char* text, size_t size);

int etcGetDefaultLanChannelNumber(void); // of the BMC, for IPMI requests
}
