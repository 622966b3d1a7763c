#include "sysinfo/systemInfoCycle.h"

#include "sysinfo/agentStatus.h"

int systemInfoCycle() {
    return g_agentState;
}
