#include "sysinfo/systemInfoCycle.h"

#include "sysinfo/agentStatus.h"
#include "sysinfo/driverMonitoring.h"
#include "sysinfo/lcmParameters.h"
#include "sysinfo/snmpConfig.h"
#include "sysinfo/systemInformation.h"

namespace {

bool g_systemInfoStarted = false; // the agents have been connected once, for whoever debugs the daemon

} // namespace

int systemInfoCycle() {
    syncSnmpConfig();

    char message[LCM_MESSAGE_SIZE] = "";
    const int state = g_agentState;
    int result = state;
    if (state == AGENT_STATE_CONNECTED || state == AGENT_STATE_CONNECTED_LIMITED)
        result = updateDriverMonitoring(message);
    if (state == AGENT_STATE_CONNECTED) {
        g_systemInfoStarted = true;
        result = updateSystemInformation(message);
    }
    return result;
}
