#include "tree/controllerValues.h"

#include "cache/driveRelations.h"
#include "cache/oobCache.h"
#include "daemon/base/trace.h"
#include "platform/host.h"
#include "tree/controllerImages.h"
#include "values/textValue.h"

#include <cstdio>
#include <ctime>
#include <iterator>

namespace {

// One value that is asked for: the controller it is of and where it goes.
struct Request {
    MRCtrlInst& controller;
    int ctrlIndex;
    char* text; // zeroed
    int size;
    int32_t& value; // 0
};

void setText(const Request& request, const char* text) {
    copyText(request.text, request.size, text);
}

constexpr uint8_t SAS_INTERFACES =
    MR_DEVICE_INTERFACE_SAS_3G | MR_DEVICE_INTERFACE_SAS_6G | MR_DEVICE_INTERFACE_SAS_12G;
constexpr uint32_t SECONDS_PER_HOUR = 3600;
constexpr uint32_t DCMD_BOOT_LD = 0x010C0100;
constexpr uint32_t BOOT_LD_SIZE = 64;
constexpr uint16_t NO_BOOT_LD = 0xFFFF;
constexpr uint32_t DCMD_ALARM_STATE = 0x01030100;
constexpr uint32_t PATROL_READ_CONTINUOUS = 0xFFFFFFFF; // of execFreq

const char* getCoercionModeText(uint8_t mode) {
    if (mode > 1) return "1 GB";
    return mode == 0 ? "None" : "128 MB";
}

const char* getScheduleModeText(uint8_t mode) {
    constexpr const char* texts[] = {"Disabled", "Sequential", "Disabled"};
    return mode < std::size(texts) ? texts[mode] : "Unknown";
}

void getName(const Request& request) {
    snprintf(request.text, size_t(request.size), "%s(%d)", endField(request.controller.mrInfo->productName).text,
             raid_GetControllerNumber(request.controller.ctrlId));
}

void getActivity(const Request& request) {
    const MR_PR_STATUS* patrolRead = request.controller.mrPRStatus;
    setText(request, patrolRead != nullptr && patrolRead->state == MR_PR_STATE_ACTIVE ? "Patrol Read Mode" : "Idle");
}

void getNcq(const Request& request) {
    const uint32_t properties = request.controller.mrInfo->properties.onOffProperties;
    setText(request, (properties & MR_PROP_NCQ_DISABLED) != 0 ? "Disabled" : "Enabled");
}

void getProtocol(const Request& request) {
    constexpr struct {
        uint8_t bit;
        const char* text;
    } protocols[] = {{MR_DEVICE_INTERFACE_SAS_3G, "SAS300"},
                     {MR_DEVICE_INTERFACE_SAS_6G, "SAS600"},
                     {MR_DEVICE_INTERFACE_SAS_12G, "SAS1200"},
                     {MR_DEVICE_INTERFACE_SATA_1, "SATA-1"},
                     {MR_DEVICE_INTERFACE_SATA_2, "SATA-2"}};
    for (const auto& protocol : protocols)
        if ((request.controller.mrInfo->deviceInterface & protocol.bit) != 0) {
            setText(request, protocol.text);
            return;
        }
}

void getSasAddress(const Request& request) {
    if (request.controller.mrMfcDefaults == nullptr) return;
    const uint64_t address = request.controller.mrMfcDefaults->sasAddr;
    if (address == 0 || address == UINT64_MAX) return;
    TextComposer(request.text, request.size).add("0x").addHex(address);
}

// Counts port bits by shifting them out of the cached bitmap, from drive to drive without starting again: the
// value grows with the number of drives, and later readers of the bitmap find 0.
void getMaxChannelInUse(const Request& request) {
    const bool hasPortBitmap = (request.controller.mrInfo->adapterOperations2 & MR_ADAPTER_OPERATION2_PORT_BITMAP) != 0;
    int channel = 0;
    for (int m = 0; m < request.controller.numPd; ++m) {
        MR_PD_INFO* drive = request.controller.mrPdInfo[m];
        if (drive == nullptr) continue;
        if (hasPortBitmap) {
            if (drive->sasAddr[0] != 0) channel = drive->connectedPortBitmap & 0x0F;
        } else {
            while (drive->connectedPortBitmap != 0) {
                drive->connectedPortBitmap = uint8_t(drive->connectedPortBitmap >> 1);
                if (drive->connectedPortBitmap != 0) ++channel;
            }
        }
        if (channel > request.value) request.value = channel;
    }
}

// The host driver's text is "name.extension version".
void getDriverName(const Request& request) {
    const auto driver = endField(request.controller.mrInfo->hostDriver);
    if (driver.text[0] == '\0') return;
    const size_t length = strchr(driver.text, ' ') == nullptr ? strlen(driver.text) : strcspn(driver.text, ". ");
    snprintf(request.text, size_t(request.size), "%.*s", int(length), driver.text);
    trace("CTRLDRIVERNAME='%s'\n", request.text);
}

void getDriverVersion(const Request& request) {
    const auto driver = endField(request.controller.mrInfo->hostDriver);
    const char* blank = strchr(driver.text, ' ');
    setText(request, blank == nullptr ? driver.text : blank + 1);
}

void getNextPatrolRead(const Request& request) {
    const MR_PR_PROPERTIES* properties = request.controller.mrPRProperties;
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
    snprintf(request.text, size_t(request.size), "%02d/%02d/%4d %02d:%02d:%02d", local.tm_mon, local.tm_mday,
             local.tm_year, local.tm_hour, local.tm_min, local.tm_sec);
}

void getAlarmControl(const Request& request) {
    const MR_CTRL_INFO& info = *request.controller.mrInfo;
    if ((info.hwPresent & MR_HW_PRESENT_ALARM) == 0) return;
    if ((info.adapterOperations & MR_ADAPTER_OPERATION_ALARM_CONTROL) == 0) return;
    uint8_t enabled = 0;
    if (raid_ControllerGetOperation(request.controller.ctrlId, DCMD_ALARM_STATE, &enabled, sizeof enabled) != 0) return;
    setText(request, enabled == 0 ? "Disabled" : "Enabled");
}

void getBootLogicalDrive(const Request& request) {
    request.value = -1;
    uint8_t answer[BOOT_LD_SIZE] = {};
    if (raid_ControllerGetOperation(request.controller.ctrlId, DCMD_BOOT_LD, answer, sizeof answer) != 0) return;
    uint16_t targetId = 0;
    memcpy(&targetId, answer, sizeof targetId);
    if (targetId != NO_BOOT_LD) request.value = targetId;
}

void getChipTemperature(const Request& request) {
    const MR_CTRL_INFO& info = *request.controller.mrInfo;
    if ((info.hwPresent & MR_HW_PRESENT_CHIP_SENSOR) != 0) request.value = info.chipTemperature;
    if ((info.hwPresent & MR_HW_PRESENT_ROC_SENSOR) != 0) request.value = info.rocTemperature;
}

void getStatus(const Request& request) {
    constexpr int32_t degraded = 1;
    constexpr int32_t failed = 2;
    const MRCtrlInst& controller = request.controller;
    int32_t battery = -1;
    int32_t drives = -1;
    if ((controller.mrInfo->hwPresent & MR_HW_PRESENT_BBU) != 0)
        raid_ControllerGetBatteryStatus(controller.ctrlId, &battery);
    if (controller.mrInfo->ldPresentCount != 0) raid_ControllerGetVirtualDiskStatus(controller.ctrlId, &drives);
    if (battery == failed || drives == failed)
        setText(request, "Error");
    else
        setText(request, battery == degraded || drives == degraded ? "Degraded" : "OK");
}

// "Enabled" or "Disabled" by a property bit; the empty text without the record.
void setProperty(const Request& request, uint32_t bit, const char* whenSet, const char* whenClear) {
    const MR_CTRL_PROP* properties = request.controller.mrCtrlProp;
    if (properties != nullptr) setText(request, (properties->onOffProperties & bit) != 0 ? whenSet : whenClear);
}

void setEnabledByBit(const Request& request, uint32_t bit) {
    setProperty(request, bit, "Enabled", "Disabled");
}

void setDisabledByBit(const Request& request, uint32_t bit) {
    setProperty(request, bit, "Disabled", "Enabled");
}

using R = const Request&;

// By paramID. The rows from 59 on that the table does not write are for the daemon's own use.
// clang-format off
constexpr void (*FORMS[])(R) = {
    [](R r) { setText(r, (r.controller.mrInfo->deviceInterface & SAS_INTERFACES) != 0 ? "SAS" : "SATA"); }, // 0 Type
    [](R r) { r.value = r.ctrlIndex; }, // 1 AdapterNumber
    getName, // 2 Name
    [](R r) { setText(r, raid_GetPCIVendorName(r.controller.mrInfo->pciSubVendorId)); }, // 3 Vendor
    [](R r) { setText(r, endField(r.controller.mrInfo->productName).text); }, // 4 Product
    [](R r) { setText(r, endField(r.controller.mrInfo->serialNumber).text); }, // 5 SerialNumber
    getSasAddress, // 6 SASAddress
    [](R r) { r.value = r.controller.mrInfo->devicePortCount; }, // 7 PortCount
    getMaxChannelInUse, // 8 MaxChannelInUse
    getDriverName, // 9 DriverName
    getDriverVersion, // 10 DriverVersion
    [](R r) { getUefiDriverVersion(*r.controller.mrInfo, r.text, r.size); }, // 11 UEFIDriverVersion
    getProtocol, // 12 Protocol
    [](R r) { setText(r, endField(r.controller.mrInfo->packageVersion).text); }, // 13 FWPackageVersion
    [](R r) { getFirmwareVersion(*r.controller.mrInfo, r.text, r.size); }, // 14 FirmwareVersion
    [](R r) { getFirmwareBuildTime(*r.controller.mrInfo, r.text, r.size); }, // 15 FirmwareBuildTime
    [](R r) { getBiosVersion(*r.controller.mrInfo, r.text, r.size); }, // 16 BIOSVersion
    [](R r) { getBiosBuildTime(*r.controller.mrInfo, r.text, r.size); }, // 17 BIOSBuildTime
    [](R r) { r.value = r.controller.mrInfo->memorySize; }, // 18 MemorySize
    [](R r) { r.value = r.controller.mrInfo->flashSize; }, // 19 FlashROMSize
    [](R r) { setText(r, (r.controller.mrInfo->hwPresent & MR_HW_PRESENT_ALARM) != 0 ? "true" : "false"); }, // 20 AlarmPresent
    [](R r) { r.value = r.controller.mrInfo->nvramSize; }, // 21 NVRAMSize
    [](R r) { r.value = r.controller.mrInfo->memoryCorrectableErrors; }, // 22 CorrErrorCount
    [](R r) { r.value = r.controller.mrInfo->memoryUncorrectableErrors; }, // 23 UnCorrErrorCount
    getActivity, // 24 Activity
    [](R r) { setText(r, "Make Data Consistent"); }, // 25 InconsistPolicy
    [](R r) { if (const auto* p = r.controller.mrMfcDefaults) setText(r, p->smartMode == 1 ? "Disabled" : "Enabled"); }, // 26 SMARTSupport
    [](R r) { if (const auto* p = r.controller.mrCtrlProp) r.value = p->predFailPollInterval; }, // 27 PollingInterval
    [](R r) { if (const auto* p = r.controller.mrPRProperties) setText(r, getPatrolReadModeText(p->opMode)); }, // 28 PatrolReadMode
    getNextPatrolRead, // 29 NextExec
    [](R r) { if (const auto* p = r.controller.mrPRProperties) r.value = p->maxPd; }, // 30 PatrolReadMaxPD
    [](R r) { if (const auto* p = r.controller.mrPRProperties) setText(r, p->execFreq == PATROL_READ_CONTINUOUS ? "Yes" : "No"); }, // 31 ContinousPatrolling
    [](R r) { if (const auto* p = r.controller.mrPRProperties) r.value = int32_t(p->execFreq / SECONDS_PER_HOUR); }, // 32 PatrolReadDelay
    [](R r) { if (const auto* p = r.controller.mrPRStatus) r.value = int32_t(p->numIterations); }, // 33 PatrolRdIterations
    [](R r) { if (const auto* p = r.controller.mrCtrlProp) r.value = p->patrolReadRate; }, // 34 PatrolReadRate
    [](R r) { if (const auto* p = r.controller.mrCtrlProp) r.value = p->rebuildRate; }, // 35 RebuildRate
    [](R r) { if (const auto* p = r.controller.mrCtrlProp) r.value = p->bgiRate; }, // 36 BGIRate
    [](R r) { if (const auto* p = r.controller.mrCtrlProp) r.value = p->ccRate; }, // 37 MDCRate
    [](R r) { if (const auto* p = r.controller.mrCtrlProp) r.value = p->reconRate; }, // 38 MigrationRate
    [](R r) { if (const auto* p = r.controller.mrCtrlProp) r.value = p->cacheFlushInterval; }, // 39 AutoFlushFreq
    [](R r) { r.value = r.controller.mrInfo->properties.spinupDelay; }, // 40 DelayBetweenSpins, from MR_CTRL_INFO's own copy of the properties
    [](R r) { if (const auto* p = r.controller.mrCtrlProp) r.value = p->spinupDriveCount; }, // 41 DevicesPerSpins
    [](R r) { if (const auto* p = r.controller.mrCtrlProp) setText(r, p->disableAutoRebuild != 0 ? "Disabled" : "Enabled"); }, // 42 AutoRebuild
    [](R r) { if (const auto* p = r.controller.mrMfcDefaults) setText(r, getCoercionModeText(p->coercionMode)); }, // 43 CoercionMode
    [](R r) { if (const auto* p = r.controller.mrCtrlProp) setText(r, p->abortCCOnError != 0 ? "Enabled" : "Disabled"); }, // 44 AbortMDCOnError
    [](R r) { setText(r, "Normal Initialization"); }, // 45 InitMode
    getBootLogicalDrive, // 46 BootLogDriveNumber
    [](R r) { setDisabledByBit(r, MR_PROP_COPY_BACK_DISABLED); }, // 47 CopyBack
    [](R r) { setEnabledByBit(r, MR_PROP_SMARTER_COPY_BACK); }, // 48 CopybackOnSMARTError
    [](R r) { setEnabledByBit(r, MR_PROP_PR_CORRECTS_UNCONFIGURED); }, // 49 CorrectMediaErrorsPR
    [](R r) { setEnabledByBit(r, MR_PROP_SSD_SMARTER_COPY_BACK); }, // 50 CopybackSSDPnSMARTErr
    [](R r) { setEnabledByBit(r, MR_PROP_SSD_PATROL_READ); }, // 51 PROnSSD
    [](R r) { setEnabledByBit(r, MR_PROP_SPIN_DOWN_UNCONFIGURED); }, // 52 SpindownUnconfDisks
    [](R r) { setDisabledByBit(r, MR_PROP_NO_HOT_SPARE_SPIN_DOWN); }, // 53 SpindownHotSpare
    [](R r) { if (const auto* p = r.controller.mrCtrlProp) r.value = p->spinDownTime; }, // 54 SpindownDelayTime
    [](R r) { if (const auto* p = r.controller.mrCCScheduleProps) setText(r, getScheduleModeText(p->opMode)); }, // 55 MDCScheduleMode
    getNcq, // 56 NCQ, from MR_CTRL_INFO's own copy of the properties
    getChipTemperature, // 57 ChipTemperature
    getStatus, // 58 Status
    [](R r) { r.value = r.controller.mrInfo->ctrlIdWord; }, // 59 CtrlId
    [](R r) { r.value = r.controller.mrInfo->pdPresentCount; }, // 60 CtrlPdCount
    [](R r) { r.value = r.controller.mrInfo->ldPresentCount; }, // 61 CtrlLdCount
    [](R r) { r.value = r.controller.mrInfo->pciVendorId; }, // 62 CtrlVendorId
    [](R r) { r.value = r.controller.mrInfo->pciSubVendorId; }, // 63 CtrlSubvendorId
    [](R r) { if (const auto* p = r.controller.mrPRStatus) setText(r, raid_GetPatrolReadState(p->state)); }, // 64 CtrlPatrolReadStatus
    getAlarmControl, // 65 AlarmControl
    [](R r) { r.value = r.controller.mrInfo->pciDeviceId; }, // 66 CtrlDeviceId
    [](R r) { r.value = r.controller.mrInfo->pciSubDeviceId; }, // 67 CtrlSubDeviceId
};
// clang-format on
static_assert(std::size(FORMS) == 68);

} // namespace

int oobMR_getCtrlInfo(int paramID, int ctrlIndex, char* text, int size, int32_t* value) {
    if (text == nullptr || size <= 0) return VALUE_BAD_BUFFER;
    memset(text, 0, size_t(size));
    *value = 0;
    MRCtrlInst* controller = getController(ctrlIndex);
    if (controller == nullptr) {
        trace("oobMR_getCtrlInfo(): END\n");
        return VALUE_NO_OBJECT;
    }
    if (paramID >= 0 && paramID < int(std::size(FORMS))) FORMS[paramID]({*controller, ctrlIndex, text, size, *value});
    return VALUE_OK;
}
