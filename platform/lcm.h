#pragma once

// The lifecycle-management library (libzeb_LCM): configuration space, parameter database, IPMI requests.

#include <cstdint>

constexpr int32_t LCM_STATE_NOT_AVAILABLE = 3;

// A value of the parameter database. Of a text no NUL is assumed: it ends at its first NUL, or else at `length`,
// whether that counts a NUL or not. A number is little-endian.
struct LCMParamEntry {
    int32_t state;   // LCM_STATE_NOT_AVAILABLE; otherwise there is a value
    int32_t type;    // 0 raw bytes, 1 text, 2 number
    uint32_t length; // bytes at value that can be read; of a number 1, 2, 4 or 8
    void* value;     // the table's; NULL: none
};

extern "C" {

// 1: done, 0: no such item or not allowed. `length` is the size of the buffer.
[[nodiscard]] int LCMconfigSpaceRead(uint16_t id, uint16_t index, void* buffer, uint32_t length);
int LCMconfigSpaceWrite(uint16_t id, uint16_t index, const void* data, uint32_t length);

// The values of one parameter, count in *count; NULL: none. Released with LCMParamDb_destroyParameterTable.
[[nodiscard]] LCMParamEntry* LCMParam_update(int refresh, const char* group, const char* name, int32_t instance,
                                             uint32_t* count);
void LCMParamDb_destroyParameterTable(LCMParamEntry* table, uint32_t count);

// Non-zero: sent and answered. responseLength is the size of the response buffer.
[[nodiscard]] int LCMipmiSendCmdC(uint8_t netFn, uint8_t command, uint32_t requestLength, const void* request,
                                  uint32_t responseLength, void* response);
}
