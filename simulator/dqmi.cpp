// Stand-in for libzeb_DQMI.

#include "platform/dqmi.h"

#include "simulator/machine/callLog.h"
#include "simulator/machine/machine.h"
#include "simulator/machine/root.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace {

constexpr size_t REQUEST_SIZE = 48;
constexpr size_t HEADER_SIZE = 64;
constexpr size_t HEADER_LENGTH_OFFSET = 8;
constexpr size_t HEADER_STATUS_OFFSET = 28;
constexpr int FAILED = -1;

// How many transactions were asked for under the present description.
struct Transactions {
    std::mutex mutex;
    std::shared_ptr<const sim::Machine> machine;
    size_t count = 0;
};

// The handle, or -1.
int openTransaction(const std::shared_ptr<const sim::Machine>& machine) {
    static Transactions& transactions = *new Transactions; // outlives exit handlers
    const sim::NotCancelled guard;
    const std::lock_guard lock(transactions.mutex);
    if (transactions.machine != machine) transactions.count = 0;
    transactions.machine = machine;
    const size_t number = transactions.count++;
    if (!machine->dqmi) return FAILED;
    const std::vector<bool>& opens = machine->dqmi->opens;
    const bool opened = opens.empty() || opens[std::min(number, opens.size() - 1)];
    return opened ? static_cast<int>(number + 1) : FAILED;
}

void fillHeader(const sim::Dqmi& dqmi, void* header) {
    const uint32_t length = dqmi.length.value_or(dqmi.answer ? static_cast<uint32_t>(dqmi.answer->size()) : 0);
    auto* bytes = static_cast<uint8_t*>(header);
    memset(bytes, 0, HEADER_SIZE);
    memcpy(bytes + HEADER_LENGTH_OFFSET, &length, sizeof length);
    memcpy(bytes + HEADER_STATUS_OFFSET, &dqmi.status, sizeof dqmi.status);
}

// A block of the caller's; NULL: no answer, or no memory.
void* copyAnswer(const sim::Dqmi& dqmi) {
    if (!dqmi.answer) return nullptr;
    void* block = malloc(std::max<size_t>(dqmi.answer->size(), 1));
    if (block != nullptr) sim::copyRecord(*dqmi.answer, block, dqmi.answer->size());
    return block;
}

} // namespace

int OpenDQMIConnection(void) {
    const std::shared_ptr<const sim::Machine> machine = sim::currentMachine();
    const int connection = machine->dqmi ? machine->dqmi->connection : FAILED;
    sim::logCall("OpenDQMIConnection", {}, connection);
    return connection;
}

int OpenDQMItransaction(int kind, int version, int flags, int timeout, const void* request, int extra) {
    const int transaction = openTransaction(sim::currentMachine());
    sim::logCall("OpenDQMItransaction", {kind, version, flags, timeout, sim::CallValue(request, REQUEST_SIZE), extra},
                 transaction);
    return transaction;
}

int ReadReceivedDQMImessage(int transaction, void* header, void** data) {
    const std::shared_ptr<const sim::Machine> machine = sim::currentMachine();
    if (data != nullptr) *data = nullptr;
    const bool read =
        machine->dqmi && machine->dqmi->readable && transaction > 0 && header != nullptr && data != nullptr;
    if (read) {
        fillHeader(*machine->dqmi, header);
        *data = copyAnswer(*machine->dqmi);
    }
    sim::logCall("ReadReceivedDQMImessage", {transaction}, read ? 0 : FAILED, {read ? header : nullptr, HEADER_SIZE});
    return read ? 0 : FAILED;
}
