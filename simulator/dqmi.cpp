// Stand-in for libzeb_DQMI.

#include "platform/dqmi.h"

#include "simulator/machine/call.h"
#include "simulator/machine/machine.h"
#include "simulator/machine/root.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace {

constexpr size_t REQUEST_SIZE = 48;
constexpr size_t HEADER_SIZE = sim::DQMI_HEADER_SIZE;
constexpr size_t HEADER_LENGTH_OFFSET = sim::DQMI_LENGTH_OFFSET;
constexpr size_t HEADER_STATUS_OFFSET = 28;
constexpr int FAILED = -1;

// How many transactions were asked for under the present description.
struct Transactions {
    std::mutex mutex;
    uint64_t reading = 0;
    size_t count = 0;
};

// The handle, or -1.
int openTransaction(const std::shared_ptr<const sim::Machine>& machine) {
    static Transactions& transactions = *new Transactions; // outlives exit handlers
    const sim::NotCancelled guard;
    const std::lock_guard lock(transactions.mutex);
    if (transactions.reading != machine->reading) transactions.count = 0;
    transactions.reading = machine->reading;
    const size_t number = transactions.count++;
    if (!machine->dqmi) return FAILED;
    const std::vector<bool>& opens = machine->dqmi->opens;
    const bool opened = opens.empty() || opens[std::min(number, opens.size() - 1)];
    return opened ? int(number + 1) : FAILED;
}

void fillHeader(const sim::Dqmi& dqmi, const sim::Fault& fault, void* header) {
    const uint32_t length = fault.spoiledLength(dqmi.length.value_or(dqmi.answer ? uint32_t(dqmi.answer->size()) : 0));
    int32_t status = dqmi.status;
    fault.spoil(&status, sizeof status);
    auto* bytes = static_cast<uint8_t*>(header);
    memset(bytes, 0, HEADER_SIZE);
    memcpy(bytes + HEADER_LENGTH_OFFSET, &length, sizeof length);
    memcpy(bytes + HEADER_STATUS_OFFSET, &status, sizeof status);
}

// A block of the caller's; NULL: no answer, or no memory.
void* copyAnswer(const sim::Dqmi& dqmi, const sim::Fault& fault) {
    if (!dqmi.answer) return nullptr;
    const auto described = uint32_t(dqmi.answer->size());
    const size_t length = std::min(described, fault.spoiledLength(described));
    void* block = malloc(std::max<size_t>(length, 1));
    if (block != nullptr) fault.spoil(block, sim::copyRecord(*dqmi.answer, block, length));
    return block;
}

// Of the answer, as its header says, no more than there is.
size_t recordedLength(const sim::Dqmi& dqmi, const void* header) {
    uint32_t length = 0;
    memcpy(&length, static_cast<const uint8_t*>(header) + HEADER_LENGTH_OFFSET, sizeof length);
    const size_t block = dqmi.answer ? dqmi.answer->size() : 0;
    return std::min<size_t>({length, block, sim::LONGEST_RECORDED_VALUE});
}

} // namespace

int OpenDQMIConnection(void) {
    return sim::recordedCall("OpenDQMIConnection", {}, FAILED, [] {
        const std::shared_ptr<const sim::Machine> machine = sim::currentMachine();
        return sim::Answer<int>{machine->dqmi ? machine->dqmi->connection : FAILED};
    });
}

int OpenDQMItransaction(int kind, int version, int flags, int timeout, const void* request, int extra) {
    return sim::recordedCall("OpenDQMItransaction",
                             {kind, version, flags, timeout, sim::CallValue(request, REQUEST_SIZE), extra}, FAILED,
                             [] { return sim::Answer<int>{openTransaction(sim::currentMachine())}; });
}

int ReadReceivedDQMImessage(int transaction, void* header, void** data) {
    if (data != nullptr) *data = nullptr;
    return sim::recordedCall("ReadReceivedDQMImessage", {transaction}, FAILED, [&](const sim::Fault& fault) {
        const std::shared_ptr<const sim::Machine> machine = sim::currentMachine();
        const bool readable = machine->dqmi && machine->dqmi->readable && transaction > 0;
        if (!readable || header == nullptr || data == nullptr) return sim::Answer<int>{FAILED};
        fillHeader(*machine->dqmi, fault, header);
        *data = copyAnswer(*machine->dqmi, fault);
        sim::CallOutput output{header, HEADER_SIZE};
        output.more = *data;
        output.moreSize = recordedLength(*machine->dqmi, header);
        return sim::Answer<int>{0, output};
    });
}
