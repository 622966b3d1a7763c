#pragma once

// Reading one record of the library into the cache.

#include "cache/oobCache.h"
#include "daemon/base/accounting.h"
#include "daemon/base/logs.h"
#include "daemon/base/pause.h"

constexpr int READ_NO_MEMORY = 1; // the copy could not be had: the read counts as failed

// A zero-filled block with a copy of the record, not yet accounted; NULL: no memory.
template <class Record>
[[nodiscard]] Record* copyRecord(const Record& record) {
    void* copy = allocateZeroed(1, sizeof record);
    if (copy != nullptr) memcpy(copy, &record, sizeof record);
    return static_cast<Record*>(copy);
}

// Calls read(buffer) with a zeroed buffer and keeps a copy in `member` when it returns 0. The copy is entered
// into the accounting by the caller (noteAllocation), after the message about the read. Signals take effect before each
// read: many slow ones are no hang.
template <class Record, class Read>
[[nodiscard]] int readRecord(Record*& member, Read&& read) {
    deliverSignals();
    Record buffer{};
    const int status = read(&buffer);
    member = status == 0 ? copyRecord(buffer) : nullptr;
    return status == 0 && member == nullptr ? READ_NO_MEMORY : status;
}

// The same for a record that raid_ControllerGetOperation gives.
template <class Record>
[[nodiscard]] int readControllerRecord(uint32_t ctrlId, uint32_t opcode, Record*& member) {
    return readRecord(
        member, [&](Record* buffer) { return raid_ControllerGetOperation(ctrlId, opcode, buffer, sizeof *buffer); });
}

// An array of `count` NULL entries, accounted. Without memory the cache is marked and the result is false.
template <class Element>
[[nodiscard]] bool allocateArray(Element**& member, uint32_t count) {
    member = static_cast<Element**>(callocAccounted(count, sizeof(Element*)));
    if (member == nullptr) oobMRCache->allocationFailed = 1;
    return member != nullptr;
}

// One line of the RST log for a count that says more than its record can hold.
inline void logBoundedCount(const char* function, int ctrlIndex, const char* record, uint32_t count,
                            uint32_t capacity) {
    if (count > capacity)
        logRST("%s(%d): %s count %u exceeds %u, bounded", function, ctrlIndex, record, count, capacity);
}
