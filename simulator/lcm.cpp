// Stand-in for libzeb_LCM.

#include "platform/lcm.h"

#include "simulator/machine/callLog.h"
#include "simulator/machine/machine.h"
#include "simulator/machine/root.h"

#include <exception>
#include <mutex>

namespace {

// Network function and command of the agents' state request, and the last byte of its data.
constexpr uint8_t AGENTS_NET_FN = 0xB8;
constexpr uint8_t AGENTS_COMMAND = 0x02;
constexpr uint32_t AGENTS_REQUEST_LENGTH = 4;
constexpr uint8_t AGENTS_REQUEST_END = 0x08;

// What was written lies over the items of the machine file until the process ends.
struct WrittenItems {
    std::mutex mutex;
    std::map<uint16_t, sim::Bytes> items;
};

WrittenItems& writtenItems() {
    static WrittenItems& written = *new WrittenItems; // outlives exit handlers
    return written;
}

bool readItem(uint16_t id, void* buffer, uint32_t length, size_t& copied) {
    const sim::NotCancelled guard;
    const std::shared_ptr<const sim::Machine> machine = sim::currentMachine();
    WrittenItems& written = writtenItems();
    const std::lock_guard lock(written.mutex);
    const auto own = written.items.find(id);
    if (own != written.items.end()) {
        copied = sim::copyRecord(own->second, buffer, length);
        return true;
    }
    const auto described = machine->configSpace.find(id);
    if (described == machine->configSpace.end()) return false;
    copied = sim::copyRecord(described->second, buffer, length);
    return true;
}

bool writeItem(uint16_t id, const void* data, uint32_t length) {
    if (data == nullptr && length > 0) return false;
    const auto* bytes = static_cast<const uint8_t*>(data);
    try {
        const sim::NotCancelled guard;
        WrittenItems& written = writtenItems();
        const std::lock_guard lock(written.mutex);
        written.items[id].assign(bytes, bytes + length);
    } catch (const std::exception&) { // no memory
        return false;
    }
    return true;
}

bool isAgentsRequest(uint8_t netFn, uint8_t command, uint32_t length, const void* request) {
    return netFn == AGENTS_NET_FN && command == AGENTS_COMMAND && length == AGENTS_REQUEST_LENGTH &&
           request != nullptr && static_cast<const uint8_t*>(request)[AGENTS_REQUEST_LENGTH - 1] == AGENTS_REQUEST_END;
}

} // namespace

int LCMconfigSpaceRead(uint16_t id, uint16_t index, void* buffer, uint32_t length) {
    size_t copied = 0;
    const bool done = readItem(id, buffer, length, copied);
    return sim::traced("LCMconfigSpaceRead", {id, index, length}, done ? 1 : 0, {done ? buffer : nullptr, copied});
}

int LCMconfigSpaceWrite(uint16_t id, uint16_t index, const void* data, uint32_t length) {
    const int result = writeItem(id, data, length) ? 1 : 0;
    sim::logCall("LCMconfigSpaceWrite", {id, index, sim::CallValue(data, length), length}, result);
    return result;
}

int LCMipmiSendCmdC(uint8_t netFn, uint8_t command, uint32_t requestLength, const void* request,
                    uint32_t responseLength, void* response) {
    const std::shared_ptr<const sim::Machine> machine = sim::currentMachine();
    const bool answered = machine->agentsAnswer && isAgentsRequest(netFn, command, requestLength, request);
    const size_t copied = answered ? sim::copyRecord(*machine->agentsAnswer, response, responseLength) : 0;
    sim::logCall("LCMipmiSendCmdC",
                 {netFn, command, requestLength, sim::CallValue(request, requestLength), responseLength},
                 answered ? 1 : 0, {answered ? response : nullptr, copied});
    return answered ? 1 : 0;
}
