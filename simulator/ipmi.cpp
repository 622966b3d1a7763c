// Stand-in for libipmi, on a machine whose interface gives no session.

#include "platform/ipmi.h"

#include "simulator/machine/callLog.h"

IPMISession* ipmiCreateLocalSession(int timeout) {
    sim::logCall("ipmiCreateLocalSession", {timeout}, 0);
    return nullptr;
}
