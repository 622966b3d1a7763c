#pragma once

// Values of the LCM parameter database.

#include <cstddef>
#include <cstdint>

// The group of what the host's agents report of the system.
inline constexpr char LCM_SYSTEM_INFORMATION[] = "System Information";

constexpr int32_t LCM_VALUE_RAW = 0;
constexpr int32_t LCM_VALUE_TEXT = 1;
constexpr int32_t LCM_VALUE_NUMBER = 2;
constexpr int32_t LCM_VALUE_NOT_AVAILABLE = 254;
constexpr int32_t LCM_VALUE_INVALID = 255;

struct LCMParamValue {
    int32_t type;    // LCM_VALUE_*
    uint32_t length; // bytes, as the database says
    union {
        void* data;      // raw: `length` bytes; text: NUL-terminated; the element's own
        uint64_t number; // of 1, 2, 4 or 8 bytes
    };
};

// A message buffer, empty when nothing went wrong; else "not available", "type error", "invalid data" or "no space",
// and what paramTableLock.h says.
constexpr size_t LCM_MESSAGE_SIZE = 256;

// All values of one parameter, `count` of them; NULL: none. Released with freeLCMParamValues. A message already in
// the buffer stays when the read sets none. `refresh`: the database asks the host's agents first.
LCMParamValue* getLCMParamValues(const char* group, const char* name, int32_t instance, uint32_t& count, char* message,
                                 bool refresh);

// Frees every value but the one at skipIndex (-1: every value), and the list. NULL is accepted.
void freeLCMParamValues(LCMParamValue* values, int skipIndex, uint32_t count);

// The text of a parameter that has exactly one value, a text; else a copy of the message, which may be empty.
// malloc'ed, the caller's; NULL: no memory.
char* getLCMParamString(const char* group, const char* name, int32_t instance, char* message);

// Raw bytes of a parameter, as configuration items hold them.
constexpr uint32_t LCM_RAW_CAPACITY = 16;
struct LCMRawValue {
    uint8_t bytes[LCM_RAW_CAPACITY];
    uint32_t length;
};

// The value at valueIndex of a parameter that has exactly one raw value of at most 16 bytes; else four zero bytes.
// The index is compared as unsigned: -1 takes no value.
LCMRawValue getLCMParamRaw(const char* group, const char* name, int32_t instance, int32_t valueIndex, char* message);

// The number of a parameter that has exactly one value, in its own size; length 0 with a message: none.
LCMRawValue getLCMParamNumber(const char* group, const char* name, int32_t instance, char* message);

// An address as raw bytes: IPv6 when there are 16, else IPv4 in the first four.
struct LCMAddress {
    void* bytes; // malloc'ed, the caller's
    uint32_t length;
};

// The parameter's addresses in order, at most `capacity`; returns how many.
uint32_t getLCMParamIpList(const char* group, const char* name, LCMAddress* list, uint32_t capacity, char* message);
