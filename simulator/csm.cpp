// Stand-in for libzeb_CSM.

#include "platform/csm.h"

#include "simulator/machine/call.h"

int CSM_Init(void) {
    return sim::recordedCall("CSM_Init", {}, 1, [] { return sim::Answer<int>{0}; });
}

void updateSystemStatus(void) {
    sim::recordedCall("updateSystemStatus", {}, 0, [] { return sim::Answer<int>{0}; });
}
