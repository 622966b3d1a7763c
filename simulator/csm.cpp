// Stand-in for libzeb_CSM.

#include "platform/csm.h"

#include "simulator/machine/callLog.h"

int CSM_Init(void) {
    sim::logCall("CSM_Init", {}, 0);
    return 0;
}

void updateSystemStatus(void) {
    sim::logCall("updateSystemStatus", {}, 0);
}
