#include "cache/oobCache.h"

#include <algorithm>

OobMRCache* oobMRCache = nullptr;

MR_LD_CONFIG getLdConfig(const MR_CONFIG_DATA& configuration, uint32_t index) {
    MR_LD_CONFIG entry{};
    const size_t offset = LD_CONFIG_OFFSET + index * sizeof entry;
    if (offset < sizeof configuration)
        memcpy(&entry, reinterpret_cast<const unsigned char*>(&configuration) + offset,
               std::min(sizeof entry, sizeof configuration - offset));
    return entry;
}

namespace {

struct ElementRange {
    uint64_t begin;
    uint64_t end;
};

ElementRange getElementRange(const SL_ENCL_STATUS_T& status, ElementKind kind) {
    const ElementCounts counts = getStatedCounts(status);
    ElementRange range{};
    for (size_t i = 0; i <= size_t(kind); ++i) range = {range.end, range.end + counts[i]};
    return {std::min<uint64_t>(range.begin, ELEMENT_CAPACITY), std::min<uint64_t>(range.end, ELEMENT_CAPACITY)};
}

} // namespace

ElementCounts getStatedCounts(const SL_ENCL_STATUS_T& status) {
    // Of its own length, so that a kind without a count does not compile.
    return std::to_array<uint32_t>(
        {status.slotCount, status.psuCount, status.fanCount, status.sensorCount, status.alarmCount, 0});
}

uint32_t getElementCount(const SL_ENCL_STATUS_T* status, ElementKind kind) {
    if (status == nullptr) return 0;
    const ElementRange range = getElementRange(*status, kind);
    return uint32_t(range.end - range.begin);
}

SL_ENCL_ELEMENT_T getElement(const SL_ENCL_STATUS_T* status, ElementKind kind, uint32_t index) {
    if (index >= getElementCount(status, kind)) return {};
    return status->element[getElementRange(*status, kind).begin + index];
}

void indexDrives(MRCtrlInst& controller) {
    std::ranges::fill(controller.listBySlot.first, NO_DRIVE);
    std::ranges::fill(controller.infoBySlot.first, NO_DRIVE);
    // From the back, so that every chain ascends.
    for (int k = int(getListCount(controller.mrPdList)) - 1; k >= 0; --k) {
        int16_t& first = controller.listBySlot.first[controller.mrPdList->addr[k].slotNumber];
        controller.listBySlot.next[k] = first;
        first = int16_t(k);
    }
    for (int m = controller.numPd - 1; m >= 0; --m) {
        if (controller.mrPdInfo[m] == nullptr) continue;
        int16_t& first = controller.infoBySlot.first[controller.mrPdInfo[m]->slotNumber];
        controller.infoBySlot.next[m] = first;
        first = int16_t(m);
    }
}
