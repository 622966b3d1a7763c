// Whatever the parameter database and the IPMI interface answer: what reaches the configuration space is whole and
// within its items, and no count makes a pass endless.

#include "platform/lcm.h"
#include "sysinfo/agentStatus.h"
#include "sysinfo/driverMonitoring.h"
#include "sysinfo/lcmParameters.h"
#include "sysinfo/paramTableLock.h"
#include "sysinfo/snmpdSupervision.h"
#include "sysinfo/systemInformation.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/memoryMachine.h"

#include <set>
#include <sys/stat.h>

namespace {

constexpr uint32_t MOST_READS = 20 * 4096 + 20; // of a pass: rows and instances

struct Parameter {
    const char* group;
    const char* name;
};
constexpr Parameter PARAMETERS[] = {
    {"System Information", "ConfServerMgmtIp"},
    {"System Information", "ConfServerMgmtIp6"},
    {"System Information", "OSProductName"},
    {"System Information", "OsDomainName"},
    {"System Information", "OsLocalTimeOffset"},
    {"Driver Monitoring", "DrvMonNumberComponents"},
    {"Driver Monitoring", "DrvMonComponentStatus"},
    {"Driver Monitoring", "DrvMonSummaryStatus"},
    {"Driver Monitoring Events", "DrvMonNumberEvents"},
    {"Driver Monitoring Events", "DrvMonEventId"},
};

sim::Bytes bytesOf(std::string_view bytes) {
    return {bytes.begin(), bytes.end()};
}

// A value whose memory is as long as its length, or one with an absurd length and a NUL at the end of its memory.
sim::ParameterValue takeValue(Input& input) {
    const uint8_t kind = input.byte();
    const bool isAbsurd = kind / 16 % 4 == 3;
    sim::ParameterValue value{kind % 4, kind / 4 % 4, input.byte(), {}};
    if (kind / 64 != 3) value.value = bytesOf(input.take(value.length));
    if (value.value) value.value->resize(value.length + (isAbsurd ? 1 : 0));
    if (isAbsurd) value.length = input.number<uint32_t>() | 1U << 26;
    return value;
}

void describe(Input& input) {
    sim::Machine& machine = g_machine.machine;
    while (!input.isEmpty()) {
        const uint8_t what = input.byte();
        if (what < std::size(PARAMETERS)) {
            const auto instance = input.number<int8_t>();
            machine.parameters[PARAMETERS[what].group][PARAMETERS[what].name][instance].push_back(takeValue(input));
        } else if (what % 8 == 0) {
            machine.agentsAnswer = bytesOf(input.take(input.byte()));
        } else if (what % 8 == 1) {
            machine.ipmi.userAccess = bytesOf(input.take(input.byte()));
        } else if (what % 8 == 2) {
            sim::IpmiUser& user = machine.ipmi.users[input.byte()];
            user.code = input.byte();
            user.name = bytesOf(input.take(input.byte()));
            user.snmp = input.number<std::array<uint8_t, 4>>();
        } else {
            machine.configSpaceWriteFails.insert(uint16_t(512 + what % 16));
        }
    }
}

// Of one thread and one pass; what the rows have seen before is forgotten.
void pass() {
    char message[LCM_MESSAGE_SIZE];
    memset(message, 'x', sizeof message);
    message[0] = '\0';
    demand(updateDriverMonitoring(message) == STEP_DONE, "driver monitoring has the lock");
    demand(memchr(message, '\0', sizeof message) != nullptr, "a message is a text");
    demand(updateSystemInformation(message) == STEP_DONE, "system information has the lock");
    demand(memchr(message, '\0', sizeof message) != nullptr, "a message is a text");
    demand(lockParamTable() == 1, "the lock is free again");
    unlockParamTable();
}

void startAfresh() {
    static const bool isRunning = mkdir((fuzzRoot() + "/proc/100").c_str(), 0755) == 0;
    demand(isRunning, "there is a process");
    writeFileBelow("/var/run/snmpd.run", "");
    restartSnmpdRegistration(); // not registered
    g_machine.now = 0;
    for (const char* count : {"DrvMonNumberComponents", "DrvMonNumberEvents"})
        for (const char* group : {"Driver Monitoring", "Driver Monitoring Events"})
            g_machine.machine.parameters[group][count][-1] = {{0, 2, 1, sim::Bytes{0}}};
    g_agentState = AGENT_STATE_CONNECTED;
    pass();
    clearWrittenMarkers();
    g_machine = {};
    g_machine.now = 0;
    writeFileBelow("/var/run/snmpd.run", "100\n");
    g_machine.machine.configSpace[5128] = {1, 0, 0, 0};
    g_machine.machine.ipmi.session = true;
}

} // namespace

// These come before those of the library.
int LCMconfigSpaceWrite(uint16_t id, uint16_t index, const void* data, uint32_t length) {
    static const std::set<uint16_t> texts = {513, 517, 518, 519, 520, 527, 528, 531};
    static const std::set<uint16_t> addresses = {12, 13, 522, 523, 524, 525};
    demand(index == 0 && (texts.contains(id) || addresses.contains(id)), "only items of the table are written");
    const char* text = static_cast<const char*>(data);
    demand(std::string(text, length).size() == length, "every byte can be read");
    if (texts.contains(id)) demand(length > 0 && strnlen(text, length) == length - 1, "a text ends with its NUL");
    return g_machine.machine.configSpaceWriteFails.contains(id) ? 0 : 1;
}

void tryHostData(std::string_view bytes) {
    const MachineOfOneInput scope;
    startAfresh();
    Input input(bytes);
    takeFaults(input);
    describe(input);

    char text[AGENT_TEXT_SIZE];
    const int state = pollAgentStatus(text);
    demand(state >= AGENT_STATE_UNKNOWN && state <= AGENT_STATE_CONNECTED_LIMITED, "a known state of the agents");
    onAgentStateChange(state, text);
    pass();
    demand(g_machine.calls < 2 * MOST_READS, "a pass is bounded");
    const int enabled = superviseSnmpd();
    demand(enabled >= 0 && enabled <= UINT8_MAX, "the low byte tells whether snmpd is enabled");
}
