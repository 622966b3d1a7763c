#include "values/logicalDrive.h"

#include "cache/oobCache.h"
#include "daemon/base/trace.h"

#include <cstdio>

namespace {

constexpr uint32_t SPAN_CAPACITY = sizeof(MR_LD_CONFIG::span) / sizeof(MR_LD_SPAN);

struct LogicalDrive {
    const MRCtrlInst* controller;
    const MR_LD_INFO* info;
    MR_LD_PROGRESS progress; // nothing runs where it was not read
    MR_LD_CONFIG config;     // the entry in mrCfgData, of which only the first bytes are sure to exist
};

std::optional<LogicalDrive> findLogicalDrive(int ctrlIdx, int instIdx) {
    const MRCtrlInst* controller = getController(ctrlIdx);
    if (controller == nullptr || controller->mrLdInfo == nullptr) return std::nullopt;
    if (instIdx < 0 || uint32_t(instIdx) >= getLdCount(controller->mrCfgData)) return std::nullopt;
    if (controller->mrLdInfo[instIdx] == nullptr) return std::nullopt;
    const MR_LD_PROGRESS* progress = controller->mrLdProgress == nullptr ? nullptr : controller->mrLdProgress[instIdx];
    return LogicalDrive{controller, controller->mrLdInfo[instIdx], progress == nullptr ? MR_LD_PROGRESS{} : *progress,
                        getLdConfig(*controller->mrCfgData, uint32_t(instIdx))};
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
FieldText<15> getPercentage(const MR_PROGRESS& counter) {
    const float fraction = float(counter.progress) / 65535.0F;
    FieldText<15> text;
    snprintf(text.text, sizeof text.text, "%.2f%%", double(fraction * 100.0F));
    return text;
}

bool isSsdCache(const LogicalDrive& drive) {
    return drive.info->ldConfig.params.ssdCaching == MR_LD_SSD_CACHE;
}

void putName(const LogicalDrive& drive, Answer& answer) {
    const MR_LD_PROPERTIES& properties = drive.config.properties;
    if (properties.name[0] != '\0') return put(answer, viewField(properties.name));
    put(answer, "LogicalDrive_", properties.ldRef.targetId);
}

void putDisplayName(const LogicalDrive& drive, Answer& answer) {
    putName(drive, answer);
    if (drive.config.properties.name[0] == '\0')
        put(answer, "(", raid_GetControllerNumber(drive.controller->ctrlId), ")");
}

const MR_LD_PROPERTIES& getPolicies(const LogicalDrive& drive) {
    return drive.info->ldConfig.properties;
}

// An SSD cache has no policies.
void putPolicy(const LogicalDrive& drive, Answer& answer, const char* (*getText)(uint8_t), uint8_t policy) {
    if (!isSsdCache(drive)) put(answer, getText(policy));
}

void putInitState(const LogicalDrive& drive, Answer& answer) {
    constexpr uint8_t initialising = MR_LD_OPERATION_BACKGROUND_INIT | MR_LD_OPERATION_FOREGROUND_INIT;
    const bool isRunning = (drive.info->progress.active & initialising) != 0;
    put(answer, isRunning && !isSsdCache(drive) ? "Uninitialized" : "Initialized");
}

void putEmulation(const LogicalDrive& drive, Answer& answer) {
    const bool supported = (drive.controller->mrInfo->adapterOperations4 & MR_ADAPTER_OPERATION4_EMULATED_DRIVES) != 0;
    trace("LDEMULATE512E: supportEmulatedDrives = %d\n", int(supported));
    const bool isOff = (drive.info->ldConfig.properties.emulation & MR_LD_EMULATION_OFF) != 0;
    put(answer, supported && !isOff ? "Enabled" : "Disabled");
}

// The last operation that is paused, or else runs, is the one shown.
void putActivity(const LogicalDrive& drive, Answer& answer) {
    struct Operation {
        uint8_t bit;
        const char* running;
        MR_PROGRESS MR_LD_PROGRESS::*counter; // NULL: it has none
        const char* paused;
    };
    constexpr Operation order[] = {
        {MR_LD_OPERATION_DISASSOCIATE, "Disassociate in progress", nullptr, "Disassociate paused"},
        {MR_LD_OPERATION_SECURE_ERASE, "Secure erase in progress", nullptr, "Secure erase paused"},
        {MR_LD_OPERATION_RECONSTRUCTION, "Reconstructing in progress", &MR_LD_PROGRESS::reconstruction,
         "Modify paused"},
        {MR_LD_OPERATION_FOREGROUND_INIT, "Initialization in progress", &MR_LD_PROGRESS::foregroundInit,
         "Initialization paused"},
        {MR_LD_OPERATION_BACKGROUND_INIT, "BGI in progress", &MR_LD_PROGRESS::backgroundInit, "BGI paused"},
        {MR_LD_OPERATION_CONSISTENCY_CHECK, "MDC in progress", &MR_LD_PROGRESS::consistencyCheck, "MDC paused"},
    };
    const MR_LD_PROGRESS& operations = drive.info->progress;
    for (const Operation& operation : order)
        if ((operations.paused & operation.bit) != 0) return put(answer, operation.paused);
    for (const Operation& operation : order) {
        if ((operations.active & operation.bit) == 0) continue;
        put(answer, operation.running);
        if (operation.counter != nullptr) put(answer, " (", getPercentage(operations.*operation.counter), ")");
        return;
    }
    put(answer, "Idle");
}

void putProgress(const LogicalDrive& drive, uint8_t operation, const MR_PROGRESS& counter, Answer& answer) {
    if ((drive.progress.active & operation) == 0) return put(answer, "0");
    put(answer, getPercentage(counter));
}

void putInitProgress(const LogicalDrive& drive, Answer& answer) {
    if ((drive.progress.active & MR_LD_OPERATION_BACKGROUND_INIT) != 0)
        return put(answer, getPercentage(drive.progress.backgroundInit));
    putProgress(drive, MR_LD_OPERATION_FOREGROUND_INIT, drive.progress.foregroundInit, answer);
}

using D = const LogicalDrive&;
using A = Answer&;

// clang-format off
constexpr auto FORMS = tableOf<LogicalDrive, LD_PARAM_COUNT>({
    {LD_NUMBER, [](D d, A a) { a.number = d.config.properties.ldRef.targetId; }},
    {LD_LOGICAL_SIZE, [](D d, A a) { a.number = getLogicalSize(*d.info); }},
    {LD_PHYSICAL_SIZE, [](D d, A a) { a.number = getPhysicalSize(d.info->ldConfig); }},
    {LD_RAID_LEVEL, [](D d, A a) { put(a, raid_GetRaidLevel(d.config.params.primaryRaidLevel, d.config.params.spanDepth, d.config.params.numDrives)); }},
    {LD_STRIPE_SIZE, [](D d, A a) { put(a, raid_GetStripeSize(d.info->ldConfig.params.stripeSize)); }},
    {LD_NAME, putName},
    {LD_INIT_STATE, putInitState},
    {LD_WRITE_MODE, [](D d, A a) { putPolicy(d, a, raid_GetLogicalDriveCacheWritePolicy, getPolicies(d).currentCachePolicy); }},
    {LD_READ_MODE, [](D d, A a) { putPolicy(d, a, raid_GetLogicalDriveCacheReadPolicy, getPolicies(d).currentCachePolicy); }},
    {LD_CACHE_MODE, [](D d, A a) { putPolicy(d, a, raid_GetLogicalDriveCacheIoPolicy, getPolicies(d).currentCachePolicy); }},
    {LD_ACCESS_MODE, [](D d, A a) { putPolicy(d, a, raid_GetLogicalDriveAccessPolicy, getPolicies(d).accessPolicy); }},
    {LD_DEFAULT_WRITE_MODE, [](D d, A a) { putPolicy(d, a, raid_GetLogicalDriveCacheWritePolicy, getPolicies(d).defaultCachePolicy); }},
    {LD_DEFAULT_READ_MODE, [](D d, A a) { putPolicy(d, a, raid_GetLogicalDriveCacheReadPolicy, getPolicies(d).defaultCachePolicy); }},
    {LD_DEFAULT_CACHE_MODE, [](D d, A a) { putPolicy(d, a, raid_GetLogicalDriveCacheIoPolicy, getPolicies(d).defaultCachePolicy); }},
    {LD_DEFAULT_ACCESS_MODE, [](D d, A a) { putPolicy(d, a, raid_GetLogicalDriveAccessPolicy, getPolicies(d).accessPolicy); }}, // there is no separate default
    {LD_DISK_CACHE_MODE, [](D d, A a) { putPolicy(d, a, raid_GetPhysicalDriveCachePolicy, d.config.properties.diskCachePolicy); }},
    {LD_EMULATE_512E, putEmulation},
    {LD_STATUS, [](D d, A a) { put(a, raid_GetLogicalDriveState(d.config.params.state)); }},
    {LD_ACTIVITY, putActivity},
    {LD_OS_DEVICE, nullptr},
    {LD_DISPLAY_NAME, putDisplayName},
    {LD_INIT_PROGRESS, putInitProgress},
    {LD_REBUILD_PROGRESS, [](D d, A a) { putProgress(d, MR_LD_OPERATION_RECONSTRUCTION, d.progress.reconstruction, a); }},
    {LD_CHECK_PROGRESS, [](D d, A a) { putProgress(d, MR_LD_OPERATION_CONSISTENCY_CHECK, d.progress.consistencyCheck, a); }},
});
// clang-format on

constexpr ValueKind<LogicalDrive> LOGICAL_DRIVE = {
    .forms = FORMS,
    .rules = {.traceWithoutObject = "oobMR_getLDInfo(): END\n", .needsRoom = false},
};

} // namespace

int oobMR_getLDInfo(int paramID, int ctrlIdx, int instIdx, char* sval, int svalLen, int32_t* ival) {
    trace("oobMR_getLDInfo(): START - paramID=%d, ctrlIdx=%d, instIdx=%d\n", paramID, ctrlIdx, instIdx);
    const int status = answerValue<LOGICAL_DRIVE>(paramID, findLogicalDrive(ctrlIdx, instIdx), sval, svalLen, ival);
    if (status == VALUE_OK) trace("oobMR_getLDInfo():END - ret=%d\n", status);
    return status;
}
