#pragma once

// The lifecycle-management library (libzeb_LCM): configuration space, parameter database, IPMI requests.

#include <cstdint>

// Type of a parameter database value; of an LCMParamEntry the state 3 means not available.
constexpr int32_t LCM_STATE_NOT_AVAILABLE = 3;

struct LCMParamEntry {
    int32_t state;
    int32_t type;    // 0 raw bytes, 1 text, 2 number
    uint32_t length; // bytes at value
    void* value;     // NULL: none
};

extern "C" {

// 1: done, 0: no such item or not allowed. `length` is the size of the buffer.
int LCMconfigSpaceRead(uint16_t id, uint16_t index, void* buffer, uint32_t length);
int LCMconfigSpaceWrite(uint16_t id, uint16_t index, const void* data, uint32_t length);

// The values of one parameter, count in *count; NULL: none. Released with LCMParamDb_destroyParameterTable.
LCMParamEntry* LCMParam_update(int refresh, const char* group, const char* name, int32_t instance, uint32_t* count);
void LCMParamDb_destroyParameterTable(LCMParamEntry* table, uint32_t count);

// Non-zero: sent and answered. responseLength is the size of the response buffer.
int LCMipmiSendCmdC(uint8_t netFn, uint8_t command, uint32_t requestLength, const void* request,
                    uint32_t responseLength, void* response);
}
