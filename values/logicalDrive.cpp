#include "values/logicalDrive.h"

#include "cache/oobCache.h"
#include "daemon/base/trace.h"
#include "values/textValue.h"

#include <algorithm>
#include <cstdio>

namespace {

enum LdParam {
    LD_NUMBER,
    LD_LOGICAL_SIZE,
    LD_PHYSICAL_SIZE,
    LD_RAID_LEVEL,
    LD_STRIPE_SIZE,
    LD_NAME,
    LD_INIT_STATE,
    LD_WRITE_MODE,
    LD_READ_MODE,
    LD_CACHE_MODE,
    LD_ACCESS_MODE,
    LD_DEFAULT_WRITE_MODE,
    LD_DEFAULT_READ_MODE,
    LD_DEFAULT_CACHE_MODE,
    LD_DEFAULT_ACCESS_MODE,
    LD_DISK_CACHE_MODE,
    LD_EMULATE_512E,
    LD_STATUS,
    LD_ACTIVITY,
    LD_OS_DEVICE,
    LD_DISPLAY_NAME,
    LD_INIT_PROGRESS,
    LD_REBUILD_PROGRESS,
    LD_CHECK_PROGRESS,
};

// Operations of MR_LD_PROGRESS, running and paused.
constexpr uint8_t OPERATION_CONSISTENCY_CHECK = 0x01;
constexpr uint8_t OPERATION_BACKGROUND_INIT = 0x02;
constexpr uint8_t OPERATION_FOREGROUND_INIT = 0x04;
constexpr uint8_t OPERATION_RECONSTRUCTION = 0x08; // paused: "Modify"
constexpr uint8_t OPERATION_SECURE_ERASE = 0x10;
constexpr uint8_t OPERATION_DISASSOCIATE = 0x20;

constexpr uint8_t EMULATION_OFF = 0x08; // of MR_LD_PROPERTIES::emulation
constexpr uint8_t SSD_CACHE = 1;        // of MR_LD_PARAMETERS::ssdCaching
constexpr uint32_t SPAN_CAPACITY = sizeof(MR_LD_CONFIG::span) / sizeof(MR_LD_SPAN);

struct LogicalDrive {
    const MRCtrlInst* controller;
    const MR_LD_INFO* info;
    const MR_LD_PROGRESS* progress; // NULL: not read
    MR_LD_CONFIG config;            // the entry in mrCfgData, of which only the first bytes are sure to exist
};

bool findLogicalDrive(int ctrlIdx, int instIdx, LogicalDrive& drive) {
    const MRCtrlInst* controller = getController(ctrlIdx);
    if (controller == nullptr || controller->mrLdInfo == nullptr) return false;
    if (instIdx < 0 || uint32_t(instIdx) >= getLdCount(controller->mrCfgData)) return false;
    if (controller->mrLdInfo[instIdx] == nullptr) return false;
    drive.controller = controller;
    drive.info = controller->mrLdInfo[instIdx];
    drive.progress = controller->mrLdProgress == nullptr ? nullptr : controller->mrLdProgress[instIdx];
    drive.config = getLdConfig(*controller->mrCfgData, uint32_t(instIdx));
    return true;
}

int32_t getLogicalSize(const MR_LD_INFO& info) {
    const uint64_t size = info.size;
    const unsigned long long byteCount = size * 512;
    trace("oobMR_getLDInfo:LDLOGICALSIZE: ldInfo.size=%llu, (a:%llu GB), (b:%llu GB)\n",
          static_cast<unsigned long long>(size), byteCount, byteCount / 1000000000);
    return int32_t(size >> 11);
}

int32_t getPhysicalSize(const MR_LD_CONFIG& config) {
    uint32_t sum = 0;
    const uint32_t spans = boundCount(config.params.spanDepth, SPAN_CAPACITY);
    for (uint32_t k = 0; k < spans; ++k) sum += uint32_t((config.span[k].numBlocks * config.params.numDrives) >> 11);
    return int32_t(sum);
}

// In single precision, as the controller's own tools compute it: the second decimal depends on it.
double getPercentage(const MR_PROGRESS& counter) {
    const float fraction = float(counter.progress) / 65535.0F;
    return double(fraction * 100.0F);
}

void setName(const LogicalDrive& drive, char* sval, int svalLen) {
    const MR_LD_PROPERTIES& properties = drive.config.properties;
    if (properties.name[0] != '\0')
        copyText(sval, svalLen, properties.name, sizeof properties.name);
    else
        snprintf(sval, size_t(svalLen), "%s%d", "LogicalDrive_", properties.ldRef.targetId);
}

void setDisplayName(const LogicalDrive& drive, char* sval, int svalLen) {
    const MR_LD_PROPERTIES& properties = drive.config.properties;
    if (properties.name[0] != '\0')
        copyText(sval, svalLen, properties.name, sizeof properties.name);
    else
        snprintf(sval, size_t(svalLen), "%s%d(%d)", "LogicalDrive_", properties.ldRef.targetId,
                 raid_GetControllerNumber(drive.controller->ctrlId));
}

// How the drive is cached and accessed. The access policy has no separate default.
const char* getPolicyText(int paramID, const LogicalDrive& drive) {
    const MR_LD_PROPERTIES& properties = drive.info->ldConfig.properties;
    switch (paramID) {
    case LD_WRITE_MODE: return raid_GetLogicalDriveCacheWritePolicy(properties.currentCachePolicy);
    case LD_READ_MODE: return raid_GetLogicalDriveCacheReadPolicy(properties.currentCachePolicy);
    case LD_CACHE_MODE: return raid_GetLogicalDriveCacheIoPolicy(properties.currentCachePolicy);
    case LD_DEFAULT_WRITE_MODE: return raid_GetLogicalDriveCacheWritePolicy(properties.defaultCachePolicy);
    case LD_DEFAULT_READ_MODE: return raid_GetLogicalDriveCacheReadPolicy(properties.defaultCachePolicy);
    case LD_DEFAULT_CACHE_MODE: return raid_GetLogicalDriveCacheIoPolicy(properties.defaultCachePolicy);
    case LD_DISK_CACHE_MODE: return raid_GetPhysicalDriveCachePolicy(drive.config.properties.diskCachePolicy);
    default: return raid_GetLogicalDriveAccessPolicy(properties.accessPolicy);
    }
}

const char* getInitStateText(const LogicalDrive& drive, bool isSsdCache) {
    constexpr uint8_t initialising = OPERATION_BACKGROUND_INIT | OPERATION_FOREGROUND_INIT;
    return !isSsdCache && (drive.info->progress.active & initialising) != 0 ? "Uninitialized" : "Initialized";
}

const char* getEmulationText(const LogicalDrive& drive) {
    const bool supported = (drive.controller->mrInfo->adapterOperations4 & MR_ADAPTER_OPERATION4_EMULATED_DRIVES) != 0;
    trace("LDEMULATE512E: supportEmulatedDrives = %d\n", int(supported));
    return supported && (drive.info->ldConfig.properties.emulation & EMULATION_OFF) == 0 ? "Enabled" : "Disabled";
}

// The last operation that runs, or else is paused, is the one shown.
void setActivity(const MR_LD_PROGRESS& operations, char* sval, int svalLen) {
    const auto size = size_t(svalLen);
    const uint8_t active = operations.active;
    copyText(sval, svalLen, "Idle");
    if ((active & OPERATION_CONSISTENCY_CHECK) != 0)
        snprintf(sval, size, "MDC in progress (%.2f%%)", getPercentage(operations.consistencyCheck));
    if ((active & OPERATION_BACKGROUND_INIT) != 0)
        snprintf(sval, size, "BGI in progress (%.2f%%)", getPercentage(operations.backgroundInit));
    if ((active & OPERATION_FOREGROUND_INIT) != 0)
        snprintf(sval, size, "Initialization in progress (%.2f%%)", getPercentage(operations.foregroundInit));
    if ((active & OPERATION_RECONSTRUCTION) != 0)
        snprintf(sval, size, "Reconstructing in progress (%.2f%%)", getPercentage(operations.reconstruction));
    if ((active & OPERATION_SECURE_ERASE) != 0) copyText(sval, svalLen, "Secure erase in progress");
    if ((active & OPERATION_DISASSOCIATE) != 0) copyText(sval, svalLen, "Disassociate in progress");

    const uint8_t paused = operations.paused;
    if ((paused & OPERATION_CONSISTENCY_CHECK) != 0) copyText(sval, svalLen, "MDC paused");
    if ((paused & OPERATION_BACKGROUND_INIT) != 0) copyText(sval, svalLen, "BGI paused");
    if ((paused & OPERATION_FOREGROUND_INIT) != 0) copyText(sval, svalLen, "Initialization paused");
    if ((paused & OPERATION_RECONSTRUCTION) != 0) copyText(sval, svalLen, "Modify paused");
    if ((paused & OPERATION_SECURE_ERASE) != 0) copyText(sval, svalLen, "Secure erase paused");
    if ((paused & OPERATION_DISASSOCIATE) != 0) copyText(sval, svalLen, "Disassociate paused");
}

void setProgress(bool isRunning, const MR_PROGRESS& counter, char* sval, int svalLen) {
    if (isRunning)
        snprintf(sval, size_t(svalLen), "%.2f%%", getPercentage(counter));
    else
        copyText(sval, svalLen, "0");
}

void setProgressOf(int paramID, const MR_LD_PROGRESS& operations, char* sval, int svalLen) {
    const uint8_t active = operations.active;
    if (paramID == LD_CHECK_PROGRESS)
        setProgress((active & OPERATION_CONSISTENCY_CHECK) != 0, operations.consistencyCheck, sval, svalLen);
    else if (paramID == LD_REBUILD_PROGRESS)
        setProgress((active & OPERATION_RECONSTRUCTION) != 0, operations.reconstruction, sval, svalLen);
    else if ((active & OPERATION_BACKGROUND_INIT) != 0)
        setProgress(true, operations.backgroundInit, sval, svalLen);
    else
        setProgress((active & OPERATION_FOREGROUND_INIT) != 0, operations.foregroundInit, sval, svalLen);
}

void formText(int paramID, const LogicalDrive& drive, char* sval, int svalLen) {
    const MR_LD_PARAMETERS& params = drive.config.params;
    const bool isSsdCache = drive.info->ldConfig.params.ssdCaching == SSD_CACHE;
    switch (paramID) {
    case LD_RAID_LEVEL:
        return copyText(sval, svalLen, raid_GetRaidLevel(params.primaryRaidLevel, params.spanDepth, params.numDrives));
    case LD_STRIPE_SIZE: return copyText(sval, svalLen, raid_GetStripeSize(drive.info->ldConfig.params.stripeSize));
    case LD_NAME: return setName(drive, sval, svalLen);
    case LD_INIT_STATE: return copyText(sval, svalLen, getInitStateText(drive, isSsdCache));
    case LD_WRITE_MODE:
    case LD_READ_MODE:
    case LD_CACHE_MODE:
    case LD_ACCESS_MODE:
    case LD_DEFAULT_WRITE_MODE:
    case LD_DEFAULT_READ_MODE:
    case LD_DEFAULT_CACHE_MODE:
    case LD_DEFAULT_ACCESS_MODE:
    case LD_DISK_CACHE_MODE:
        if (!isSsdCache) copyText(sval, svalLen, getPolicyText(paramID, drive));
        return;
    case LD_EMULATE_512E: return copyText(sval, svalLen, getEmulationText(drive));
    case LD_STATUS: return copyText(sval, svalLen, raid_GetLogicalDriveState(params.state));
    case LD_ACTIVITY: return setActivity(drive.info->progress, sval, svalLen);
    case LD_DISPLAY_NAME: return setDisplayName(drive, sval, svalLen);
    case LD_INIT_PROGRESS:
    case LD_REBUILD_PROGRESS:
    case LD_CHECK_PROGRESS:
        return setProgressOf(paramID, drive.progress == nullptr ? MR_LD_PROGRESS{} : *drive.progress, sval, svalLen);
    default: return; // LD_OS_DEVICE has no value here, nor has anything beyond the table
    }
}

int32_t getNumber(int paramID, const LogicalDrive& drive) {
    switch (paramID) {
    case LD_NUMBER: return drive.config.properties.ldRef.targetId;
    case LD_LOGICAL_SIZE: return getLogicalSize(*drive.info);
    case LD_PHYSICAL_SIZE: return getPhysicalSize(drive.info->ldConfig);
    default: return 0;
    }
}

} // namespace

int oobMR_getLDInfo(int paramID, int ctrlIdx, int instIdx, char* sval, int svalLen, int32_t* ival) {
    *ival = 0;
    trace("oobMR_getLDInfo(): START - paramID=%d, ctrlIdx=%d, instIdx=%d\n", paramID, ctrlIdx, instIdx);
    if (sval == nullptr) return VALUE_BAD_BUFFER;
    LogicalDrive drive{};
    if (!findLogicalDrive(ctrlIdx, instIdx, drive)) {
        trace("oobMR_getLDInfo(): END\n");
        return VALUE_NO_OBJECT;
    }
    const int size = std::max(svalLen, 0);
    clearText(sval, size);
    *ival = getNumber(paramID, drive);
    formText(paramID, drive, sval, size);
    trace("oobMR_getLDInfo():END - ret=%d\n", VALUE_OK);
    return VALUE_OK;
}
