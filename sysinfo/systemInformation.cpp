#include "sysinfo/systemInformation.h"

#include "platform/host.h"
#include "platform/lcm.h"
#include "sysinfo/agentStatus.h"
#include "sysinfo/lcmParameters.h"
#include "sysinfo/paramTableLock.h"

#include <cstdlib>
#include <cstring>
#include <iterator>

namespace {

constexpr int16_t ROW_RAW = 0; // instance -1: a list of addresses
constexpr int16_t ROW_TEXT = 1;
constexpr int16_t ROW_NUMBER = 3;

constexpr int32_t WRITE_ONCE = -1;  // until the first success
constexpr int32_t WRITE_ALWAYS = 0; // while the agents are connected

// The addresses share four configuration items.
constexpr uint16_t FIRST_ADDRESS_SLOT = 522;
constexpr uint32_t ADDRESS_SLOTS = 4;
constexpr uint32_t CLEARED_BELOW = 3; // with three addresses the fourth slot is left as it was

struct SystemInfoParam {
    const char* group;
    const char* name;
    int32_t valueIndex;
    int32_t instance;
    int16_t rowType;
    uint16_t configId;
    uint16_t configIndex;
    int32_t writeOnce;
    int64_t lastWritten; // seconds since 1970, 0: to be written
};

SystemInfoParam sysInfoParams_Table[] = {
    {LCM_SYSTEM_INFORMATION, "ConfServerMgmtIp", -1, 0, ROW_RAW, 12, 0, WRITE_ALWAYS, 0},
    {LCM_SYSTEM_INFORMATION, "ConfServerMgmtIp6", -1, 0, ROW_RAW, 13, 0, WRITE_ALWAYS, 0},
    {LCM_SYSTEM_INFORMATION, "OSProductName", -1, 0, ROW_TEXT, 527, 0, WRITE_ONCE, 0},
    {LCM_SYSTEM_INFORMATION, "ServerAssetTag", -1, 0, ROW_TEXT, 528, 0, WRITE_ALWAYS, 0},
    {LCM_SYSTEM_INFORMATION, "OsAgentSoftware", -1, 0, ROW_TEXT, 531, 0, WRITE_ALWAYS, 0},
    {LCM_SYSTEM_INFORMATION, "OsDomainName", -1, 0, ROW_TEXT, 513, 0, WRITE_ALWAYS, 0},
    {LCM_SYSTEM_INFORMATION, "SystemChassisModel", -1, 0, ROW_TEXT, 518, 0, WRITE_ONCE, 0},
    {LCM_SYSTEM_INFORMATION, "CabinetModel", -1, 0, ROW_TEXT, 517, 0, WRITE_ONCE, 0},
    {LCM_SYSTEM_INFORMATION, "CabinetSerialNumber", -1, 0, ROW_TEXT, 519, 0, WRITE_ONCE, 0},
    {LCM_SYSTEM_INFORMATION, "CabinetManufacturer", -1, 0, ROW_TEXT, 520, 0, WRITE_ONCE, 0},
    {LCM_SYSTEM_INFORMATION, "OsLocalTimeOffset", -1, 0, 2, 526, 0, WRITE_ALWAYS, 0}, // of a type that is not written
    {LCM_SYSTEM_INFORMATION, "ConfServerMgmtIp", -1, -1, ROW_RAW, FIRST_ADDRESS_SLOT, 0, WRITE_ALWAYS, 0},
    {LCM_SYSTEM_INFORMATION, "ConfServerMgmtIp6", -1, -1, ROW_RAW, FIRST_ADDRESS_SLOT, 0, WRITE_ALWAYS, 0},
};
static_assert(std::size(sysInfoParams_Table) == 13);

bool isDue(const SystemInfoParam& row) {
    if (row.group[0] == '\0' || row.name[0] == '\0') return false;
    if (row.lastWritten == 0) return true;
    return row.writeOnce != WRITE_ONCE && g_agentState == AGENT_STATE_CONNECTED;
}

bool writeItem(const SystemInfoParam& row, const void* data, uint32_t length) {
    return LCMconfigSpaceWrite(row.configId, row.configIndex, data, length) != 0;
}

bool writeText(const SystemInfoParam& row, char* message) {
    char* text = getLCMParamString(row.group, row.name, row.instance, message);
    const bool written = text != nullptr && message[0] == '\0' && writeItem(row, text, uint32_t(strlen(text)) + 1);
    free(text);
    return written;
}

bool writeNumber(const SystemInfoParam& row, char* message) {
    const LCMRawValue number = getLCMParamNumber(row.group, row.name, row.instance, message);
    return number.length != 0 && writeItem(row, number.bytes, number.length);
}

bool writeRaw(const SystemInfoParam& row, char* message) {
    const LCMRawValue value = getLCMParamRaw(row.group, row.name, row.instance, row.valueIndex, message);
    return writeItem(row, value.bytes, value.length);
}

// Each address to the next free slot. False also when there was none to write.
bool writeAddresses(const SystemInfoParam& row, uint32_t& usedSlots, char* message) {
    LCMAddress addresses[ADDRESS_SLOTS];
    const uint32_t count = getLCMParamIpList(row.group, row.name, addresses, ADDRESS_SLOTS - usedSlots, message);
    bool written = count != 0;
    for (uint32_t i = 0; i < count; ++i) {
        const auto slot = uint16_t(row.configId + usedSlots++);
        if (LCMconfigSpaceWrite(slot, row.configIndex, addresses[i].bytes, addresses[i].length) == 0) written = false;
        free(addresses[i].bytes);
    }
    return written;
}

bool writeRow(const SystemInfoParam& row, uint32_t& usedSlots, char* message) {
    switch (row.rowType) {
    case ROW_TEXT: return writeText(row, message);
    case ROW_NUMBER: return writeNumber(row, message);
    case ROW_RAW: return row.instance == -1 ? writeAddresses(row, usedSlots, message) : writeRaw(row, message);
    default: return false;
    }
}

} // namespace

void clearWrittenMarkers() {
    for (SystemInfoParam& row : sysInfoParams_Table) row.lastWritten = 0;
}

int updateSystemInformation(char* message) {
    const ParamTableLock lock(message);
    if (!lock.isTaken()) return STEP_NOT_LOCKED;
    uint32_t usedSlots = 0;
    for (SystemInfoParam& row : sysInfoParams_Table) {
        if (!isDue(row)) continue;
        message[0] = '\0';
        if (writeRow(row, usedSlots, message)) row.lastWritten = hostTime().seconds;
    }
    if (usedSlots < CLEARED_BELOW)
        for (; usedSlots < ADDRESS_SLOTS; ++usedSlots)
            LCMconfigSpaceWrite(uint16_t(FIRST_ADDRESS_SLOT + usedSlots), 0, "", 0);
    return STEP_DONE;
}
