#include "sysinfo/systemInfoCycle.h"

#include "sysinfo/agentStatus.h"
#include "sysinfo/driverMonitoring.h"
#include "sysinfo/lcmParameters.h"
#include "sysinfo/snmpConfig.h"
#include "sysinfo/systemInformation.h"

namespace {

// Set once, on the first pass with connected agents; for whoever debugs the daemon.
bool g_systemInfoStarted = false;
int g_systemInfoCompanion = 0;

} // namespace

int systemInfoCycle() {
    syncSnmpConfig();

    char message[LCM_MESSAGE_SIZE] = "";
    const int state = g_agentState;
    int result = state;
    if (state == AGENT_STATE_CONNECTED || state == AGENT_STATE_CONNECTED_LIMITED)
        result = updateDriverMonitoring(message);
    if (g_agentState == AGENT_STATE_CONNECTED) { // they may be gone since
        if (!g_systemInfoStarted) {
            g_systemInfoStarted = true;
            g_systemInfoCompanion = 0;
        }
        result = updateSystemInformation(message);
    }
    return result;
}
