#include "bench/constants.h"

#include "platform/appHelper.h"
#include "platform/dqmi.h"
#include "platform/host.h"
#include "platform/ipmi.h"
#include "platform/lcm.h"
#include "platform/storelib.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <vector>

namespace {

constexpr uint16_t FIRST_ENCLOSURE = 1;
constexpr uint16_t FIRST_DRIVE = 16;
constexpr uint32_t BAYS = 24;
constexpr uint32_t ELEMENTS[] = {BAYS, 2, 4, 6, 1}; // bays, power supplies, fans, sensors, alarms

using Page = std::array<uint8_t, 8192>;

struct Controller {
    MR_CTRL_INFO info;
    MR_PD_LIST devices;
    MR_ENCL_LIST enclosures;
    std::array<MR_PD_INFO, 256> device; // by device id
};

std::vector<Controller> g_controllers; // by controller id
std::string g_root;
MR_SAS_CONNECTORS g_connectors;
MR_CONFIG_DATA g_configuration;
SL_ENCL_STATUS_T g_enclosureStatus;
std::array<uint8_t, SATA_IDENTIFY_SIZE> g_identifyData;
Page g_descriptorPage;
Page g_firmwarePage;

template <size_t width>
void fill(char (&field)[width], const std::string& text) {
    memset(field, ' ', width);
    memcpy(field, text.data(), std::min(width, text.size()));
}

void makeShared() {
    g_connectors.count = 2;
    g_configuration.logDrvCount = 2;
    memcpy(&g_enclosureStatus.slotCount, ELEMENTS, sizeof ELEMENTS);
    for (SL_ENCL_ELEMENT_T& element : g_enclosureStatus.element) element = {1, {1, 0, 50, 0}};
    memcpy(&g_identifyData[20], "QZ1020300041        ", 20);
    memcpy(&g_identifyData[46], "3S11    ", 8);
    memcpy(&g_identifyData[54], "BZ96R0MDS-3         ", 20);
    g_identifyData[510] = 0xA5;
    memcpy(&g_firmwarePage[9], "0207", 4);
    uint8_t* end = &g_descriptorPage[8];
    const auto addDescriptors = [&end](uint32_t count, const std::string& text) {
        end += 4; // that of the type itself has no text
        for (; count > 0; --count, end += 4 + text.size()) {
            end[3] = uint8_t(text.size());
            std::copy(text.begin(), text.end(), end + 4);
        }
    };
    for (const uint32_t count : ELEMENTS) addDescriptors(count, count == 2 ? "SN: PS23A00417\r\nREV: A02\r\n" : "");
    addDescriptors(1, "SN: EP23B00042\r\nREV: B11\r\n");
}

void makeEnclosure(Controller& controller, uint32_t number) {
    const auto id = uint16_t(FIRST_ENCLOSURE + number);
    controller.devices.addr[controller.devices.count++] = {id, id, {}, 255, SCSI_DEVICE_TYPE_ENCLOSURE, {}};
    controller.enclosures.encl[controller.enclosures.count++] = {id, {}, 1, uint8_t(number % 2), {}};
    MR_PD_INFO& device = controller.device[id];
    device.deviceId = id;
    device.scsiDevType = SCSI_DEVICE_TYPE_ENCLOSURE;
    fill(device.vendor, "ZEBRANT");
    fill(device.product, "KP23 24-BAY");
    fill(device.revision, "0207");
}

void makeDrive(Controller& controller, uint32_t number) {
    const bool isSsd = number % 4 == 3;
    const auto id = uint16_t(FIRST_DRIVE + number);
    const auto enclosure = uint16_t(FIRST_ENCLOSURE + number / BAYS);
    const auto slot = uint8_t(number % BAYS);
    controller.devices.addr[controller.devices.count++] = {id, enclosure, {}, slot, SCSI_DEVICE_TYPE_DISK, {}};
    MR_PD_INFO& drive = controller.device[id];
    drive.deviceId = id;
    fill(drive.vendor, isSsd ? "ATA" : "SEAGATE");
    fill(drive.product, isSsd ? "ZBR960DM-S3" : "ST1200QX0014");
    fill(drive.revision, "N004");
    fill(drive.vendorSpecific, "ZQ" + std::to_string(10000037 * (number + 1)));
    drive.connectedPortBitmap = uint8_t(1U << number / BAYS % 4);
    drive.deviceSpeed = isSsd ? 3 : 4;
    drive.fwState = slot == BAYS - 1 ? 0x02 : 0x18; // hot spare, online
    drive.ddfInterface = uint8_t((isSsd ? MR_PD_INTF_SATA : MR_PD_INTF_SAS) << 4);
    drive.pathCount = 1;
    drive.sasAddr[0] = 0x5025EA6000000001U + (uint64_t{id} << 8);
    drive.rawSize = 2344225968;
    drive.coercedSize = 2343043072;
    drive.enclDeviceId = enclosure;
    drive.slotNumber = slot;
    drive.mediaType = isSsd ? 1 : 0;
    drive.temperature = uint8_t(28 + slot % 9);
}

void makeController(Controller& controller, uint32_t drives) {
    MR_CTRL_INFO& info = controller.info;
    fill(info.productName, "RAID Controller SAS 12G 2GB");
    fill(info.serialNumber, "SV63412345");
    fill(info.packageVersion, "24.21.0-0097");
    fill(info.hostDriver, "zebraid_sas.ko 07.714.04");
    info.hwPresent = MR_HW_PRESENT_BBU | MR_HW_PRESENT_ALARM | MR_HW_PRESENT_ROC_SENSOR;
    info.adapterOperations2 = MR_ADAPTER_OPERATION2_SLOTS | MR_ADAPTER_OPERATION2_PORT_BITMAP;
    info.ldPresentCount = 2;
    for (uint32_t number = 0; number * BAYS < drives; ++number) makeEnclosure(controller, number);
    for (uint32_t number = 0; number < drives; ++number) makeDrive(controller, number);
    info.pdPresentCount = uint16_t(controller.devices.count);
}

template <class Record>
int copyTo(void* target, const Record& record, size_t size = sizeof(Record)) {
    memcpy(target, &record, std::min(size, sizeof record));
    return 0;
}

int copyText(char* text, size_t size, const char* source) {
    return snprintf(text, size, "%s", source) > 0 ? 0 : 1;
}

} // namespace

void setMachine(uint32_t controllers, uint32_t drives) {
    makeShared();
    g_controllers.assign(controllers, {});
    for (Controller& controller : g_controllers) makeController(controller, drives);
}

void changeMachine() {
    g_controllers[0].device[FIRST_DRIVE].temperature ^= 1;
}

void setRoot(const std::string& directory) {
    g_root = directory;
}

// clang-format off

// The host, and what an update asks of other libraries or is linked with.

const char* hostPath(const char* fixedPath, HostPathBuffer& buffer) {
    memcpy(buffer.text, g_root.data(), g_root.size());
    strcpy(buffer.text + g_root.size(), fixedPath);
    return buffer.text;
}
unsigned hostSleep(unsigned) { return 0; }
HostTime hostTime() { return {1767225600, 0}; }
int LCMconfigSpaceRead(uint16_t id, uint16_t, void* buffer, uint32_t length) {
    memset(buffer, 0, length);
    memcpy(buffer, id == 513 ? "bench" : "\1", id == 513 ? 5 : 1);
    return 1;
}
int LCMconfigSpaceWrite(uint16_t, uint16_t, const void*, uint32_t) { return 1; }
LCMParamEntry* LCMParam_update(int, const char*, const char*, int32_t, uint32_t*) { return nullptr; }
void LCMParamDb_destroyParameterTable(LCMParamEntry*, uint32_t) {}
int LCMipmiSendCmdC(uint8_t, uint8_t, uint32_t, const void*, uint32_t, void*) { return 0; }
int etcGetDate(int64_t, char* text, size_t size) { return copyText(text, size, "2026-01-01"); }
int etcGetDateAndTime(int64_t, char* text, size_t size) { return copyText(text, size, "2026-01-01 00:00:00"); }
int OpenDQMItransaction(int, int, int, int, const void*, int) { return -1; }
int ReadReceivedDQMImessage(int, void*, void**) { return -1; }

// Controllers.

int raid_GetControllerList(SL_CTRL_LIST_T* list) {
    list->count = uint32_t(g_controllers.size());
    for (uint32_t i = 0; i < list->count; ++i) list->ctrlId[i] = i;
    return 0;
}
int raid_ReadControllerInfoRaw(uint32_t ctrlId, MR_CTRL_INFO* info) { return copyTo(info, g_controllers[ctrlId].info); }
int raid_ControllerGetOperation(uint32_t, uint32_t opcode, void* buffer, uint32_t length) {
    if (opcode == 0x04010000) return copyTo(buffer, g_configuration, length);
    if (opcode == 0x05010000) *static_cast<uint8_t*>(buffer) = 1; // the battery's type
    return 0;
}
int raid_GetControllerNumber(uint32_t ctrlId) { return int(ctrlId); }
int raid_ControllerGetBatteryStatus(uint32_t, int32_t* status) { return *status = 0; }
int raid_ControllerGetVirtualDiskStatus(uint32_t, int32_t* status) { return *status = 0; }
int ZEBRAID_DirectLibCommand(uint32_t, SL_LIB_CMD_PARAM_T*, void*, uint32_t) { return 0; }
const char* raid_GetErrorStatus(int) { return "Success"; }
const char* raid_GetPCIVendorName(uint16_t) { return "Zebrant"; }
const char* raid_GetPatrolReadState(uint8_t) { return "Stopped"; }
const char* raid_GetBatteryType(uint8_t) { return "Intelligent Battery"; }
int raid_GetBatteryState(uint32_t) { return 0; }
const char* raid_GetBatteryAutoLearnMode(uint8_t) { return "Automatic"; }
int raid_GetControllerPDList(uint32_t ctrlId, MR_PD_LIST* list) { return copyTo(list, g_controllers[ctrlId].devices); }
int raid_GetSasConnectors(uint32_t, MR_SAS_CONNECTORS* connectors) { return copyTo(connectors, g_connectors); }
int raid_GetEnclosureList(uint32_t ctrlId, MR_ENCL_LIST* list) { return copyTo(list, g_controllers[ctrlId].enclosures); }

// Drives.

int raid_PhysicalDeviceGetInfo(uint32_t ctrlId, uint16_t id, MR_PD_INFO* info) { return copyTo(info, g_controllers[ctrlId].device[id]); }
int raid_FirePDSATAPassthru_Identify(uint32_t, uint16_t, void* identifyData) { return copyTo(identifyData, g_identifyData); }
int raid_PhysicalDeviceGetPortNumber(const MR_PD_INFO* device, const MR_CTRL_INFO*) { return std::countr_zero(device->connectedPortBitmap) % 8; }
int raid_PhysicalDriveGetEnclosureNumber(const MR_PD_INFO* drive, const MR_CTRL_INFO*, const MR_SAS_CONNECTORS*, const MR_ENCL_LIST*) { return drive->enclDeviceId; }
int raid_PhysicalDriveGetSasRotationalSpeed(uint32_t, uint16_t, uint32_t* rpm) { return copyTo(rpm, uint32_t{10500}); }
int raid_PhysicalDriveGetAtaRotationalSpeed(uint32_t, uint16_t, uint32_t* rpm) { return copyTo(rpm, uint32_t{7200}); }
int raid_PhysicalGetDriveTemperature(uint32_t, uint16_t) { return 30; }
const char* raid_GetDeviceInterfaceType(uint8_t interface) { return interface == MR_PD_INTF_SAS ? "SAS" : "SATA"; }
const char* raid_GetHddFirmwareState(uint16_t fwState) {
    constexpr const char* texts[] = {"Unconfigured Good", "Unconfigured Bad", "Hot Spare", "Failed", "Rebuild"};
    return fwState == 0x18 ? "Online" : texts[fwState % 5];
}
const char* raid_GetHddPowerState(uint8_t) { return "Active"; }

// Logical drives.

int raid_LogicalDriveGetInfo(uint32_t, uint8_t, MR_LD_INFO*) { return 0; }
int raid_LogicalDriveGetProgress(uint32_t, uint8_t, MR_LD_PROGRESS*, uint32_t*) { return 0; }
const char* raid_GetRaidLevel(uint8_t, uint8_t, uint8_t) { return "RAID 5"; }
const char* raid_GetStripeSize(uint8_t) { return "64 KB"; }
const char* raid_GetLogicalDriveCacheWritePolicy(uint8_t) { return "Write-back"; }
const char* raid_GetLogicalDriveCacheReadPolicy(uint8_t) { return "Read-ahead"; }
const char* raid_GetLogicalDriveCacheIoPolicy(uint8_t) { return "Direct"; }
const char* raid_GetLogicalDriveAccessPolicy(uint8_t) { return "Read Write"; }
const char* raid_GetPhysicalDriveCachePolicy(uint8_t) { return "Disabled"; }
const char* raid_GetLogicalDriveState(uint8_t state) {
    constexpr const char* texts[] = {"Offline", "Partially Degraded", "Degraded", "Optimal"};
    return texts[state % 4];
}

// Enclosures.

int raid_GetEnclosureStatusFunc(uint32_t, uint16_t, SL_ENCL_STATUS_T** status) {
    *status = static_cast<SL_ENCL_STATUS_T*>(malloc(sizeof **status));
    return *status == nullptr ? 1 : copyTo(*status, g_enclosureStatus);
}
int raid_GetEnclosureStatus(const SL_ENCL_STATUS_T*) { return 0; }
int raid_EnclosureGetEnclosureNumber(const MR_PD_INFO* enclosure, const MR_CTRL_INFO*, const MR_SAS_CONNECTORS*, const MR_ENCL_LIST*) { return enclosure->deviceId; }
const char* raid_GetEnclosureTypeString(int) { return "KP23"; }
int raid_IsDiagnosticPageValid(uint32_t, uint16_t, uint8_t) { return 1; }
int raid_ReceiveDiagnosticResults(uint32_t, uint16_t, uint8_t page, void* buffer, uint32_t length) { return copyTo(buffer, page == 7 ? g_descriptorPage : g_firmwarePage, length); }
int raid_SkipKP23Descriptors(const void* page, uint32_t, int offset, uint32_t count) {
    const auto* bytes = static_cast<const uint8_t*>(page);
    for (uint32_t i = 0; i <= count; ++i) offset += 4 + (bytes[offset + 2] << 8 | bytes[offset + 3]);
    return offset;
}
void raid_GetEnclosureFanName(int, const SL_ENCL_STATUS_T*, uint32_t, char* text, int size) { copyText(text, size_t(size), "Fan"); }
const char* raid_GetEnclosureFanLocation(int, const SL_ENCL_STATUS_T*, uint32_t) { return "Rear Left"; }
const char* raid_GetEnclosureFanSpeedString(const SL_ENCL_STATUS_T*, uint32_t) { return "5120 rpm"; }
const char* raid_GetEnclosureFanStatusString(const SL_ENCL_STATUS_T*, uint32_t) { return "OK"; }
const char* raid_GetEnclosurePowerSupplyStatusString(const SL_ENCL_STATUS_T*, uint32_t) { return "OK"; }
void raid_GetEnclosureSensorLocation(int, const SL_ENCL_STATUS_T*, uint32_t, char* text, int size) { copyText(text, size_t(size), "Processor"); }
int raid_GetEnclosureTemperatureThreshold(uint32_t, uint16_t, uint32_t, const SL_ENCL_STATUS_T*, SL_TEMP_THRESHOLD_T* thresholds) {
    return copyTo(thresholds, SL_TEMP_THRESHOLD_T{.reserved0 = {}, .value = {55, 50, 5, 1}});
}
const char* raid_GetEnclosureTempStatusString(const SL_ENCL_STATUS_T*, uint32_t) { return "OK"; }
float raid_GetEnclosureTemperature(const SL_ENCL_STATUS_T*, uint32_t, uint16_t, const SL_ENCL_ELEMENT_T*) { return 24; }

// Texts and bytes.

void raid_StrncpyTrim(char* destination, const char* source, size_t width) {
    const char* end = source + strnlen(source, width);
    while (source != end && *source == ' ') ++source;
    while (end != source && end[-1] == ' ') --end;
    memcpy(destination, source, size_t(end - source));
    destination[end - source] = '\0';
}
void raid_swapBytes(void* destination, const void* source, size_t count) {
    std::reverse_copy(static_cast<const uint8_t*>(source), static_cast<const uint8_t*>(source) + count, static_cast<uint8_t*>(destination));
}
// clang-format on
