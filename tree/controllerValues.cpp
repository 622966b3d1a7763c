#include "tree/controllerValues.h"

#include "cache/driveRelations.h"
#include "cache/oobCache.h"
#include "daemon/base/trace.h"
#include "platform/host.h"
#include "tree/controllerImages.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <iterator>

namespace {

struct Controller {
    const MRCtrlInst& cache;
    const MR_CTRL_INFO& info;
    int index;
};

using C = const Controller&;
using A = Answer&;

constexpr uint8_t SAS_INTERFACES =
    MR_DEVICE_INTERFACE_SAS_3G | MR_DEVICE_INTERFACE_SAS_6G | MR_DEVICE_INTERFACE_SAS_12G;
constexpr uint32_t SECONDS_PER_HOUR = 3600;
constexpr uint32_t BOOT_LD_SIZE = 64;
constexpr uint16_t NO_BOOT_LD = 0xFFFF;

// The same record to write to: three values change what they read.
MRCtrlInst& getWritable(C c) {
    return *getController(c.index);
}

const char* getCoercionModeText(uint8_t mode) {
    if (mode > 1) return "1 GB";
    return mode == 0 ? "None" : "128 MB";
}

const char* getScheduleModeText(uint8_t mode) {
    constexpr const char* texts[] = {"Disabled", "Sequential", "Disabled"};
    return mode < std::size(texts) ? texts[mode] : "Unknown";
}

void putActivity(C c, A a) {
    const MR_PR_STATUS* patrolRead = c.cache.mrPRStatus;
    put(a, patrolRead != nullptr && patrolRead->state == MR_PR_STATE_ACTIVE ? "Patrol Read Mode" : "Idle");
}

void putProtocol(C c, A a) {
    constexpr struct {
        uint8_t bit;
        const char* text;
    } protocols[] = {{MR_DEVICE_INTERFACE_SAS_3G, "SAS300"},
                     {MR_DEVICE_INTERFACE_SAS_6G, "SAS600"},
                     {MR_DEVICE_INTERFACE_SAS_12G, "SAS1200"},
                     {MR_DEVICE_INTERFACE_SATA_1, "SATA-1"},
                     {MR_DEVICE_INTERFACE_SATA_2, "SATA-2"}};
    for (const auto& protocol : protocols)
        if ((c.info.deviceInterface & protocol.bit) != 0) return put(a, protocol.text);
}

void putSasAddress(C c, A a) {
    if (c.cache.mrMfcDefaults == nullptr) return;
    const uint64_t address = c.cache.mrMfcDefaults->sasAddr;
    if (address != 0 && address != UINT64_MAX) put(a, "0x", HexNumber{address});
}

// Counts port bits by shifting them out of the cached bitmap, from drive to drive without starting again: the
// value grows with the number of drives, and later readers of the bitmap find 0.
int32_t emptyPortBitmaps(MRCtrlInst& controller) {
    int32_t channel = 0;
    for (int m = 0; m < controller.numPd; ++m) {
        MR_PD_INFO* drive = controller.mrPdInfo[m];
        if (drive == nullptr) continue;
        while (drive->connectedPortBitmap != 0) {
            drive->connectedPortBitmap = uint8_t(drive->connectedPortBitmap >> 1);
            if (drive->connectedPortBitmap != 0) ++channel;
        }
    }
    return channel;
}

int32_t getGreatestChannel(const MRCtrlInst& controller) {
    int32_t greatest = 0;
    for (int m = 0; m < controller.numPd; ++m)
        if (const MR_PD_INFO* drive = controller.mrPdInfo[m]; drive != nullptr && drive->sasAddr[0] != 0)
            greatest = std::max(greatest, drive->connectedPortBitmap & 0x0F);
    return greatest;
}

void formMaxChannelInUse(C c, A a) {
    const bool hasPortNumber = (c.info.adapterOperations2 & MR_ADAPTER_OPERATION2_PORT_BITMAP) != 0;
    a.number = hasPortNumber ? getGreatestChannel(c.cache) : emptyPortBitmaps(getWritable(c));
}

// The host driver's text is "name.extension version".
void putDriverName(C c, A a) {
    const auto driver = endField(c.info.hostDriver);
    if (driver.text[0] == '\0') return;
    const size_t length = strchr(driver.text, ' ') == nullptr ? strlen(driver.text) : strcspn(driver.text, ". ");
    put(a, std::string_view(driver.text, length));
    trace("CTRLDRIVERNAME='%s'\n", a.text);
}

void putDriverVersion(C c, A a) {
    const auto driver = endField(c.info.hostDriver);
    const char* blank = strchr(driver.text, ' ');
    put(a, blank == nullptr ? driver.text : blank + 1);
}

void putNextPatrolRead(C c, A a) {
    const MR_PR_PROPERTIES* properties = c.cache.mrPRProperties;
    trace("CTRLPATNEXTEXEC:oobMRCache->mrCtrlInst[instIdx]->mrPRProperties= 0x%x\n", traceAddress(properties));
    if (properties == nullptr) return;
    trace("CTRLPATNEXTEXEC:nextExec=%d\n", int(properties->nextExec));
    if (properties->nextExec == 0) return;

    const int64_t next = MR_TIME_EPOCH + properties->nextExec;
    const int64_t now = hostTime().seconds;
    trace("CTRLPATNEXTEXEC: now time = %llu\n", static_cast<unsigned long long>(now));
    const int64_t latest = now + properties->execFreq;
    if (properties->execFreq != 0 && latest < next) return;
    trace("CTRLPATNEXTEXEC: curDelay= %llu, maxDelay= %llu\n", static_cast<unsigned long long>(next),
          static_cast<unsigned long long>(latest));

    const time_t time = next;
    tm local{};
    tzset();
    if (localtime_r(&time, &local) == nullptr) return;
    // The calendar's raw fields: months from 0, years since 1900.
    snprintf(a.text, size_t(a.size), "%02d/%02d/%4d %02d:%02d:%02d", local.tm_mon, local.tm_mday, local.tm_year,
             local.tm_hour, local.tm_min, local.tm_sec);
}

void putAlarmControl(C c, A a) {
    if ((c.info.hwPresent & MR_HW_PRESENT_ALARM) == 0) return;
    if ((c.info.adapterOperations & MR_ADAPTER_OPERATION_ALARM_CONTROL) == 0) return;
    uint8_t enabled = 0;
    if (raid_ControllerGetOperation(c.cache.ctrlId, MR_DCMD_ALARM_STATE, &enabled, sizeof enabled) != 0) return;
    put(a, enabled == 0 ? "Disabled" : "Enabled");
}

void formBootLogicalDrive(C c, A a) {
    a.number = -1;
    uint8_t answer[BOOT_LD_SIZE] = {};
    if (raid_ControllerGetOperation(c.cache.ctrlId, MR_DCMD_BOOT_LD, answer, sizeof answer) != 0) return;
    uint16_t targetId = 0;
    memcpy(&targetId, answer, sizeof targetId);
    if (targetId != NO_BOOT_LD) a.number = targetId;
}

void formChipTemperature(C c, A a) {
    if ((c.info.hwPresent & MR_HW_PRESENT_CHIP_SENSOR) != 0) a.number = c.info.chipTemperature;
    if ((c.info.hwPresent & MR_HW_PRESENT_ROC_SENSOR) != 0) a.number = c.info.rocTemperature;
}

void putStatus(C c, A a) {
    int32_t battery = -1;
    int32_t drives = -1;
    if ((c.info.hwPresent & MR_HW_PRESENT_BBU) != 0) raid_ControllerGetBatteryStatus(c.cache.ctrlId, &battery);
    if (c.info.ldPresentCount != 0) raid_ControllerGetVirtualDiskStatus(c.cache.ctrlId, &drives);
    if (battery == SL_STATUS_FAILED || drives == SL_STATUS_FAILED) return put(a, "Error");
    put(a, battery == SL_STATUS_DEGRADED || drives == SL_STATUS_DEGRADED ? "Degraded" : "OK");
}

void putEnabled(A a, bool isEnabled) {
    put(a, isEnabled ? "Enabled" : "Disabled");
}

// By a property bit; nothing without the record.
void putEnabledByBit(C c, A a, uint32_t bit) {
    if (const auto* p = c.cache.mrCtrlProp) putEnabled(a, (p->onOffProperties & bit) != 0);
}

void putDisabledByBit(C c, A a, uint32_t bit) {
    if (const auto* p = c.cache.mrCtrlProp) putEnabled(a, (p->onOffProperties & bit) == 0);
}

// From CTRL_ID on they are for the daemon's own use, CTRL_ALARM_CONTROL apart.
// clang-format off
constexpr auto FORMS = tableOf<Controller, CTRL_PARAM_COUNT>({
    {CTRL_TYPE, [](C c, A a) { put(a, (c.info.deviceInterface & SAS_INTERFACES) != 0 ? "SAS" : "SATA"); }},
    {CTRL_NUMBER, [](C c, A a) { a.number = c.index; }},
    {CTRL_NAME, [](C c, A a) { put(a, viewField(c.info.productName), "(", raid_GetControllerNumber(c.cache.ctrlId), ")"); }},
    {CTRL_VENDOR, [](C c, A a) { put(a, raid_GetPCIVendorName(c.info.pciSubVendorId)); }},
    {CTRL_PRODUCT, [](C c, A a) { put(a, viewField(c.info.productName)); }},
    {CTRL_SERIAL_NUMBER, [](C c, A a) { put(a, viewField(c.info.serialNumber)); }},
    {CTRL_SAS_ADDRESS, putSasAddress},
    {CTRL_PORT_COUNT, [](C c, A a) { a.number = c.info.devicePortCount; }},
    {CTRL_MAX_CHANNEL_IN_USE, formMaxChannelInUse},
    {CTRL_DRIVER_NAME, putDriverName},
    {CTRL_DRIVER_VERSION, putDriverVersion},
    {CTRL_UEFI_DRIVER_VERSION, [](C c, A a) { putUefiDriverVersion(c.info, a); }},
    {CTRL_PROTOCOL, putProtocol},
    {CTRL_FW_PACKAGE_VERSION, [](C c, A a) { put(a, viewField(c.info.packageVersion)); }},
    {CTRL_FIRMWARE_VERSION, [](C c, A a) { putFirmwareVersion(c.info, a); }},
    {CTRL_FIRMWARE_BUILD_TIME, [](C c, A a) { cleanAndPutFirmwareBuildTime(*getWritable(c).mrInfo, a); }},
    {CTRL_BIOS_VERSION, [](C c, A a) { putBiosVersion(c.info, a); }},
    {CTRL_BIOS_BUILD_TIME, [](C c, A a) { cleanAndPutBiosBuildTime(*getWritable(c).mrInfo, a); }},
    {CTRL_MEMORY_SIZE, [](C c, A a) { a.number = c.info.memorySize; }},
    {CTRL_FLASH_ROM_SIZE, [](C c, A a) { a.number = c.info.flashSize; }},
    {CTRL_ALARM_PRESENT, [](C c, A a) { put(a, (c.info.hwPresent & MR_HW_PRESENT_ALARM) != 0 ? "true" : "false"); }},
    {CTRL_NVRAM_SIZE, [](C c, A a) { a.number = c.info.nvramSize; }},
    {CTRL_CORR_ERROR_COUNT, [](C c, A a) { a.number = c.info.memoryCorrectableErrors; }},
    {CTRL_UNCORR_ERROR_COUNT, [](C c, A a) { a.number = c.info.memoryUncorrectableErrors; }},
    {CTRL_ACTIVITY, putActivity},
    {CTRL_INCONSISTENCY_POLICY, [](C, A a) { put(a, "Make Data Consistent"); }},
    {CTRL_SMART_SUPPORT, [](C c, A a) { if (const auto* p = c.cache.mrMfcDefaults) putEnabled(a, p->smartMode != MR_MFC_SMART_OFF); }},
    {CTRL_POLLING_INTERVAL, [](C c, A a) { if (const auto* p = c.cache.mrCtrlProp) a.number = p->predFailPollInterval; }},
    {CTRL_PATROL_READ_MODE, [](C c, A a) { if (const auto* p = c.cache.mrPRProperties) put(a, getPatrolReadModeText(p->opMode)); }},
    {CTRL_NEXT_EXEC, putNextPatrolRead},
    {CTRL_PATROL_READ_MAX_PD, [](C c, A a) { if (const auto* p = c.cache.mrPRProperties) a.number = p->maxPd; }},
    {CTRL_CONTINUOUS_PATROLLING, [](C c, A a) { if (const auto* p = c.cache.mrPRProperties) put(a, p->execFreq == MR_PR_CONTINUOUS ? "Yes" : "No"); }},
    {CTRL_PATROL_READ_DELAY, [](C c, A a) { if (const auto* p = c.cache.mrPRProperties) a.number = int32_t(p->execFreq / SECONDS_PER_HOUR); }},
    {CTRL_PATROL_READ_ITERATIONS, [](C c, A a) { if (const auto* p = c.cache.mrPRStatus) a.number = int32_t(p->numIterations); }},
    {CTRL_PATROL_READ_RATE, [](C c, A a) { if (const auto* p = c.cache.mrCtrlProp) a.number = p->patrolReadRate; }},
    {CTRL_REBUILD_RATE, [](C c, A a) { if (const auto* p = c.cache.mrCtrlProp) a.number = p->rebuildRate; }},
    {CTRL_BGI_RATE, [](C c, A a) { if (const auto* p = c.cache.mrCtrlProp) a.number = p->bgiRate; }},
    {CTRL_MDC_RATE, [](C c, A a) { if (const auto* p = c.cache.mrCtrlProp) a.number = p->ccRate; }},
    {CTRL_MIGRATION_RATE, [](C c, A a) { if (const auto* p = c.cache.mrCtrlProp) a.number = p->reconRate; }},
    {CTRL_AUTO_FLUSH_FREQ, [](C c, A a) { if (const auto* p = c.cache.mrCtrlProp) a.number = p->cacheFlushInterval; }},
    {CTRL_DELAY_BETWEEN_SPINS, [](C c, A a) { a.number = c.info.properties.spinupDelay; }}, // from MR_CTRL_INFO's own copy of the properties
    {CTRL_DEVICES_PER_SPINS, [](C c, A a) { if (const auto* p = c.cache.mrCtrlProp) a.number = p->spinupDriveCount; }},
    {CTRL_AUTO_REBUILD, [](C c, A a) { if (const auto* p = c.cache.mrCtrlProp) putEnabled(a, p->disableAutoRebuild == 0); }},
    {CTRL_COERCION_MODE, [](C c, A a) { if (const auto* p = c.cache.mrMfcDefaults) put(a, getCoercionModeText(p->coercionMode)); }},
    {CTRL_ABORT_MDC_ON_ERROR, [](C c, A a) { if (const auto* p = c.cache.mrCtrlProp) putEnabled(a, p->abortCCOnError != 0); }},
    {CTRL_INIT_MODE, [](C, A a) { put(a, "Normal Initialization"); }},
    {CTRL_BOOT_LD_NUMBER, formBootLogicalDrive},
    {CTRL_COPYBACK, [](C c, A a) { putDisabledByBit(c, a, MR_PROP_COPY_BACK_DISABLED); }},
    {CTRL_COPYBACK_ON_SMART_ERROR, [](C c, A a) { putEnabledByBit(c, a, MR_PROP_SMARTER_COPY_BACK); }},
    {CTRL_CORRECT_MEDIA_ERRORS_PR, [](C c, A a) { putEnabledByBit(c, a, MR_PROP_PR_CORRECTS_UNCONFIGURED); }},
    {CTRL_COPYBACK_SSD_ON_SMART_ERROR, [](C c, A a) { putEnabledByBit(c, a, MR_PROP_SSD_SMARTER_COPY_BACK); }},
    {CTRL_PR_ON_SSD, [](C c, A a) { putEnabledByBit(c, a, MR_PROP_SSD_PATROL_READ); }},
    {CTRL_SPINDOWN_UNCONFIGURED, [](C c, A a) { putEnabledByBit(c, a, MR_PROP_SPIN_DOWN_UNCONFIGURED); }},
    {CTRL_SPINDOWN_HOT_SPARE, [](C c, A a) { putDisabledByBit(c, a, MR_PROP_NO_HOT_SPARE_SPIN_DOWN); }},
    {CTRL_SPINDOWN_DELAY_TIME, [](C c, A a) { if (const auto* p = c.cache.mrCtrlProp) a.number = p->spinDownTime; }},
    {CTRL_MDC_SCHEDULE_MODE, [](C c, A a) { if (const auto* p = c.cache.mrCCScheduleProps) put(a, getScheduleModeText(p->opMode)); }},
    {CTRL_NCQ, [](C c, A a) { putEnabled(a, (c.info.properties.onOffProperties & MR_PROP_NCQ_DISABLED) == 0); }}, // from MR_CTRL_INFO's own copy of the properties
    {CTRL_CHIP_TEMPERATURE, formChipTemperature},
    {CTRL_STATUS, putStatus},
    {CTRL_ID, [](C c, A a) { a.number = c.info.ctrlIdWord; }},
    {CTRL_PD_COUNT, [](C c, A a) { a.number = c.info.pdPresentCount; }},
    {CTRL_LD_COUNT, [](C c, A a) { a.number = c.info.ldPresentCount; }},
    {CTRL_VENDOR_ID, [](C c, A a) { a.number = c.info.pciVendorId; }},
    {CTRL_SUBVENDOR_ID, [](C c, A a) { a.number = c.info.pciSubVendorId; }},
    {CTRL_PATROL_READ_STATUS, [](C c, A a) { if (const auto* p = c.cache.mrPRStatus) put(a, raid_GetPatrolReadState(p->state)); }},
    {CTRL_ALARM_CONTROL, putAlarmControl},
    {CTRL_DEVICE_ID, [](C c, A a) { a.number = c.info.pciDeviceId; }},
    {CTRL_SUBDEVICE_ID, [](C c, A a) { a.number = c.info.pciSubDeviceId; }},
});
// clang-format on

constexpr ValueKind<Controller> CONTROLLER = {
    .forms = FORMS,
    .rules = {.traceWithoutObject = "oobMR_getCtrlInfo(): END\n", .clearsWithoutObject = true},
};

} // namespace

int oobMR_getCtrlInfo(int paramID, int ctrlIndex, char* text, int size, int32_t* value) {
    const MRCtrlInst* cache = getController(ctrlIndex);
    std::optional<Controller> controller;
    if (cache != nullptr) controller.emplace(Controller{*cache, *cache->mrInfo, ctrlIndex});
    return answerValue<CONTROLLER>(paramID, controller, text, size, value);
}
