// Stand-in for libzeb_LCM.

#include "platform/lcm.h"

#include "simulator/machine/call.h"
#include "simulator/machine/machine.h"
#include "simulator/machine/now.h"
#include "simulator/machine/root.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <optional>
#include <span>
#include <utility>

namespace {

// Network function and command of the agents' state request, and the last byte of its data.
constexpr uint8_t AGENTS_NET_FN = 0xB8;
constexpr uint8_t AGENTS_COMMAND = 0x02;
constexpr uint32_t AGENTS_REQUEST_LENGTH = 4;
constexpr uint8_t AGENTS_REQUEST_END = 0x08;

constexpr uint16_t UPDATE_SWITCH = 11054; // is read at the beginning of each update, and then alone

constexpr int DONE = 1;
constexpr int NOT_DONE = 0;

// An item that was written lies over the described one until the process ends or the description changes it.
struct WrittenItem {
    sim::Bytes bytes;
    std::optional<sim::Bytes> described; // when it was written
};
struct WrittenItems {
    std::mutex mutex;
    std::map<uint16_t, WrittenItem> items;
};

WrittenItems& writtenItems() {
    static WrittenItems& written = *new WrittenItems; // outlives exit handlers
    return written;
}

const sim::Bytes* findDescribed(const sim::Machine& machine, uint16_t id) {
    const auto item = machine.configSpace.find(id);
    return item != machine.configSpace.end() ? &item->second : nullptr;
}

bool isSame(const sim::Bytes* described, const std::optional<sim::Bytes>& before) {
    return described != nullptr ? before == *described : !before;
}

bool readItem(uint16_t id, void* buffer, uint32_t length, size_t& copied) {
    const sim::NotCancelled guard;
    const std::shared_ptr<const sim::Machine> machine = sim::currentMachine();
    const sim::Bytes* described = findDescribed(*machine, id);
    WrittenItems& written = writtenItems();
    const std::lock_guard lock(written.mutex);
    const auto own = written.items.find(id);
    const bool isWritten = own != written.items.end() && isSame(described, own->second.described);
    if (!isWritten && described == nullptr) return false;
    copied = sim::copyRecord(isWritten ? own->second.bytes : *described, buffer, length);
    return true;
}

bool writeItem(uint16_t id, const void* data, uint32_t length) {
    if (data == nullptr && length > 0) return false;
    const std::shared_ptr<const sim::Machine> machine = sim::currentMachine();
    if (machine->configSpaceWriteFails.contains(id)) return false;
    const auto* bytes = static_cast<const uint8_t*>(data);
    const sim::Bytes* described = findDescribed(*machine, id);
    try {
        WrittenItem item = {{bytes, bytes + length}, {}};
        if (described != nullptr) item.described = *described;
        const sim::NotCancelled guard;
        WrittenItems& written = writtenItems();
        const std::lock_guard lock(written.mutex);
        written.items.insert_or_assign(id, std::move(item));
    } catch (const std::exception&) { // no memory
        return false;
    }
    return true;
}

bool isAgentsRequest(uint8_t netFn, uint8_t command, uint32_t length, const void* request) {
    return netFn == AGENTS_NET_FN && command == AGENTS_COMMAND && length == AGENTS_REQUEST_LENGTH &&
           request != nullptr && static_cast<const uint8_t*>(request)[AGENTS_REQUEST_LENGTH - 1] == AGENTS_REQUEST_END;
}

// NULL: the parameter or the instance is not described.
const std::vector<sim::ParameterValue>* findValues(const sim::ParameterGroups& groups, const char* group,
                                                   const char* name, int32_t instance) {
    if (group == nullptr || name == nullptr) return nullptr;
    const auto inGroup = groups.find(group);
    if (inGroup == groups.end()) return nullptr;
    const auto instances = inGroup->second.find(name);
    if (instances == inGroup->second.end()) return nullptr;
    const auto values = instances->second.find(instance);
    return values != instances->second.end() ? &values->second : nullptr;
}

// A block of the value's own size, so that a read beyond it shows; behind it a NUL where the length says more, which
// leaves a text that can be read.
void* copyValue(const std::optional<sim::Bytes>& value, const sim::Fault& fault) {
    if (!value) return nullptr;
    const auto described = uint32_t(value->size());
    const uint32_t said = fault.spoiledLength(described);
    const size_t length = std::min(described, said);
    void* block = calloc(1, std::max<size_t>(length + (said > described ? 1 : 0), 1));
    if (block != nullptr) fault.spoil(block, sim::copyRecord(*value, block, length));
    return block;
}

LCMParamEntry makeEntry(const sim::ParameterValue& value, const sim::Fault& fault) {
    LCMParamEntry entry{value.state, value.type, fault.spoiledLength(value.length), copyValue(value.value, fault)};
    fault.spoil(&entry.state, sizeof entry.state);
    fault.spoil(&entry.type, sizeof entry.type);
    return entry;
}

LCMParamEntry* makeTable(std::span<const sim::ParameterValue> values, const sim::Fault& fault) {
    auto* table = static_cast<LCMParamEntry*>(calloc(std::max<size_t>(values.size(), 1), sizeof(LCMParamEntry)));
    for (size_t i = 0; table != nullptr && i < values.size(); ++i) table[i] = makeEntry(values[i], fault);
    return table;
}

} // namespace

int LCMconfigSpaceRead(uint16_t id, uint16_t index, void* buffer, uint32_t length) {
    if (id == UPDATE_SWITCH) sim::publishUpdate();
    return sim::call("LCMconfigSpaceRead", {id, index, length}, NOT_DONE, {buffer, length}, [&] {
        size_t copied = 0;
        return readItem(id, buffer, length, copied) ? sim::Answer<int>{DONE, {buffer, copied}}
                                                    : sim::Answer<int>{NOT_DONE};
    });
}

int LCMconfigSpaceWrite(uint16_t id, uint16_t index, const void* data, uint32_t length) {
    return sim::recordedCall("LCMconfigSpaceWrite", {id, index, sim::CallValue(data, length), length}, NOT_DONE,
                             [&] { return sim::Answer<int>{writeItem(id, data, length) ? DONE : NOT_DONE}; });
}

LCMParamEntry* LCMParam_update(int refresh, const char* group, const char* name, int32_t instance, uint32_t* count) {
    LCMParamEntry* table = nullptr;
    if (count != nullptr) *count = 0;
    sim::call("LCMParam_update", {refresh, group, name, instance}, -1, [&](const sim::Fault& fault) {
        const std::shared_ptr<const sim::Machine> machine = sim::currentMachine();
        const std::vector<sim::ParameterValue>* described = findValues(machine->parameters, group, name, instance);
        if (described == nullptr || count == nullptr) return sim::Answer<int>{-1};
        const std::span<const sim::ParameterValue> values(described->data(), fault.empties() ? 0 : described->size());
        table = makeTable(values, fault);
        if (table != nullptr) *count = uint32_t(values.size());
        sim::CallOutput output;
        output.values = table;
        output.valueCount = *count;
        return sim::Answer<int>{table != nullptr ? int(*count) : -1, output};
    });
    return table;
}

void LCMParamDb_destroyParameterTable(LCMParamEntry* table, uint32_t count) {
    for (uint32_t i = 0; table != nullptr && i < count; ++i) free(table[i].value); // whatever goes wrong
    free(table);
    sim::call("LCMParamDb_destroyParameterTable", {count}, 0, [] { return sim::Answer<int>{0}; });
}

int LCMipmiSendCmdC(uint8_t netFn, uint8_t command, uint32_t requestLength, const void* request,
                    uint32_t responseLength, void* response) {
    const auto send = [&] {
        const std::shared_ptr<const sim::Machine> machine = sim::currentMachine();
        if (!machine->agentsAnswer || !isAgentsRequest(netFn, command, requestLength, request))
            return sim::Answer<int>{NOT_DONE};
        return sim::Answer<int>{DONE, {response, sim::copyRecord(*machine->agentsAnswer, response, responseLength)}};
    };
    return sim::recordedCall("LCMipmiSendCmdC",
                             {netFn, command, requestLength, sim::CallValue(request, requestLength), responseLength},
                             NOT_DONE, {response, responseLength}, send);
}
