#pragma once

// The out-of-band cache: one snapshot of every RAID controller, taken at each tree update and kept with the
// document built from it until the next one. Built by buildoobMRCache, released by freeoobMRCache, and read in
// between; all on the main thread. Records are whole copies of the controller library's own.

#include "platform/storelib.h"
#include "platform/xmlParser.h"

#include <array>

// Logical-drive entries of MR_CONFIG_DATA follow one another whatever the array count says; an entry exists
// when its read bytes (0 to 39) lie inside the record.
constexpr size_t LD_CONFIG_OFFSET = offsetof(MR_CONFIG_DATA, ld);
constexpr size_t LD_CONFIG_READ_SIZE = 40;
constexpr uint32_t LD_CONFIG_CAPACITY =
    (sizeof(MR_CONFIG_DATA) - LD_CONFIG_OFFSET - LD_CONFIG_READ_SIZE) / sizeof(MR_LD_CONFIG) + 1;
static_assert(LD_CONFIG_OFFSET == 320 && LD_CONFIG_CAPACITY == 2);

constexpr uint32_t CTRL_CAPACITY = sizeof(SL_CTRL_LIST_T::ctrlId) / sizeof(uint32_t);
constexpr uint32_t COMPONENT_CAPACITY = sizeof(MR_CTRL_INFO::imageComponent) / sizeof(MR_IMAGE_COMPONENT);
constexpr uint32_t PD_CAPACITY = sizeof(MR_PD_LIST::addr) / sizeof(MR_PD_ADDRESS);
constexpr uint32_t CONNECTOR_CAPACITY = sizeof(MR_SAS_CONNECTORS::conn) / sizeof(MR_SAS_CONNECTOR);
constexpr uint32_t ENCLOSURE_CAPACITY = sizeof(MR_ENCL_LIST::encl) / sizeof(MR_ENCL_ENTRY);
constexpr uint32_t ELEMENT_CAPACITY = sizeof(SL_ENCL_STATUS_T::element) / sizeof(SL_ENCL_ELEMENT_T);

// Drives by slot: chains of indexes in ascending order, each ended by NO_DRIVE. Slots are one byte wide, so
// every search for a drive looks at the few entries that share its slot.
constexpr int16_t NO_DRIVE = -1;
struct DriveChains {
    int16_t first[256];
    int16_t next[PD_CAPACITY];
};

struct SataIdentifyData {
    uint8_t bytes[SATA_IDENTIFY_SIZE]; // ATA IDENTIFY DEVICE data
};

// One controller. Every pointer owns a heap block; NULL: not read, or the read failed.
struct MRCtrlInst {
    uint32_t ctrlId; // names the controller to the library, and nowhere else
    MR_CTRL_INFO* mrInfo;
    MR_CTRL_PROP* mrCtrlProp;
    MR_MFC_DEFAULTS* mrMfcDefaults;
    MR_PR_STATUS* mrPRStatus;
    MR_PR_PROPERTIES* mrPRProperties;
    MR_CC_SCHEDULE_PROPERTIES* mrCCScheduleProps;
    MR_BBU_STATUS* mrBBUStatus; // NULL: no battery
    MR_BBU_CAPACITY_INFO* mrBBUCapacityInfo;
    MR_BBU_PROPERTIES* mrBBUProperties;
    MR_BBU_DESIGN_INFO* mrBBUDesignInfo;
    int32_t numPd; // entries of mrPdInfo and mrPdSataInfo
    MR_PD_LIST* mrPdList;
    MR_SAS_CONNECTORS* mrSASConn;
    MR_ENCL_LIST* mrEnclList;
    MR_PD_INFO** mrEnclInfo;         // by index into mrEnclList
    SL_ENCL_STATUS_T** mrEnclStatus; // as above; blocks that the library allocated
    MR_PD_INFO** mrPdInfo;           // by index into mrPdList
    SataIdentifyData** mrPdSataInfo; // as above; NULL for drives that are not SATA
    MR_CONFIG_DATA* mrCfgData;
    MR_LD_INFO** mrLdInfo; // by index of the logical drive in mrCfgData
    MR_LD_PROGRESS** mrLdProgress;
    SL_PD_IN_LD_T** mrPdInLd;

    DriveChains listBySlot; // of mrPdList
    DriveChains infoBySlot; // of mrPdInfo
};

struct OobMRCache {
    int32_t numCtrl;          // as the controller list says; getControllerCount is what mrCtrlInst holds
    MRCtrlInst** mrCtrlInst;  // an entry is NULL when its MR_CTRL_INFO could not be read
    XMLDoc* rstDoc;           // the document built from this cache, NULL until then
    int32_t allocationFailed; // 1: an array or controller record could not be had, the cache is not to be used
};

// The newest cache, NULL before the first; set by buildoobMRCache and the update cycle.
extern OobMRCache* oobMRCache;

// What the lists really hold: their counts come from outside and are bounded by the records that carry them.
// A missing list holds nothing.
inline uint32_t boundCount(uint32_t count, uint32_t capacity) {
    return count < capacity ? count : capacity;
}
inline int getControllerCount(const OobMRCache& cache) {
    return cache.numCtrl < 0 ? int{CTRL_CAPACITY} : int(boundCount(uint32_t(cache.numCtrl), CTRL_CAPACITY));
}
inline uint32_t getComponentCount(const MR_CTRL_INFO& info) {
    return boundCount(info.imageComponentCount, COMPONENT_CAPACITY);
}
inline uint32_t getListCount(const MR_PD_LIST* list) {
    return list == nullptr ? 0 : boundCount(list->count, PD_CAPACITY);
}
inline uint32_t getListCount(const MR_SAS_CONNECTORS& list) {
    return boundCount(list.count, CONNECTOR_CAPACITY);
}
inline uint32_t getListCount(const MR_ENCL_LIST* list) {
    return list == nullptr ? 0 : boundCount(list->count, ENCLOSURE_CAPACITY);
}
inline uint32_t getLdCount(const MR_CONFIG_DATA* configuration) {
    return configuration == nullptr ? 0 : boundCount(configuration->logDrvCount, LD_CONFIG_CAPACITY);
}

// A copy of a logical drive's entry, what lies outside the record as zeros. index < LD_CONFIG_CAPACITY.
MR_LD_CONFIG getLdConfig(const MR_CONFIG_DATA& configuration, uint32_t index);

// Elements of an enclosure are numbered through all kinds, in this order; in pages their processor follows.
enum class ElementKind : uint8_t { slot, powerSupply, fan, sensor, alarm, processor };
using ElementCounts = std::array<uint32_t, size_t(ElementKind::processor) + 1>;

// The counts as the block states them, by kind; it has none for processors.
ElementCounts getStatedCounts(const SL_ENCL_STATUS_T& status);

// How many elements of a kind lie inside the block; 0 without a block.
uint32_t getElementCount(const SL_ENCL_STATUS_T* status, ElementKind kind);

// A copy of the element; all zero (unsupported) when it lies outside the block or the kind has fewer.
SL_ENCL_ELEMENT_T getElement(const SL_ENCL_STATUS_T* status, ElementKind kind, uint32_t index);

// The controller's record; NULL when the index is out of range or the controller could not be read.
inline MRCtrlInst* getController(int ctrlIndex) {
    if (oobMRCache == nullptr || oobMRCache->mrCtrlInst == nullptr) return nullptr;
    if (ctrlIndex < 0 || ctrlIndex >= getControllerCount(*oobMRCache)) return nullptr;
    return oobMRCache->mrCtrlInst[ctrlIndex];
}

// Fills listBySlot and infoBySlot from mrPdList and mrPdInfo.
void indexDrives(MRCtrlInst& controller);
