// Stand-in for libzeb_DQMI, on a machine without that interface.

#include "platform/dqmi.h"

#include "simulator/machine/callLog.h"

namespace {

constexpr size_t REQUEST_SIZE = 48;

} // namespace

int OpenDQMIConnection(void) {
    sim::logCall("OpenDQMIConnection", {}, -1);
    return -1;
}

int OpenDQMItransaction(int kind, int version, int flags, int timeout, const void* request, int extra) {
    sim::logCall("OpenDQMItransaction", {kind, version, flags, timeout, sim::CallValue(request, REQUEST_SIZE), extra},
                 -1);
    return -1;
}

int ReadReceivedDQMImessage(int transaction, void* /*header*/, void** data) {
    if (data != nullptr) *data = nullptr;
    sim::logCall("ReadReceivedDQMImessage", {transaction}, -1);
    return -1;
}
