#pragma once

// The RAID controller library (libzeb_RaidHelper). A controller is named by the id that
// raid_GetControllerList gives, a drive or enclosure by its device id, a logical drive by its target
// id. Reads return 0 on success and leave the caller's record alone otherwise; the texts of the
// code-to-text functions are constants of the library, one for unknown codes included.

#include "platform/storelibDriveRecords.h"
#include "platform/storelibRecords.h"

#include <cstdlib>
#include <cstring>

// Opcodes of raid_ControllerGetOperation; each reads the record that it is named by.
constexpr uint32_t MR_DCMD_CTRL_PROP = 0x01020100;
constexpr uint32_t MR_DCMD_ALARM_STATE = 0x01030100; // one byte, 0: off
constexpr uint32_t MR_DCMD_PR_STATUS = 0x01070100;
constexpr uint32_t MR_DCMD_PR_PROPERTIES = 0x01070200;
constexpr uint32_t MR_DCMD_BOOT_LD = 0x010C0100; // 64 bytes: the target id as a word, 0xFFFF: none
constexpr uint32_t MR_DCMD_MFC_DEFAULTS = 0x010E0201;
constexpr uint32_t MR_DCMD_CC_SCHEDULE_PROPERTIES = 0x01140200;
constexpr uint32_t MR_DCMD_CONFIG_DATA = 0x04010000;
constexpr uint32_t MR_DCMD_BBU_STATUS = 0x05010000;
constexpr uint32_t MR_DCMD_BBU_CAPACITY_INFO = 0x05020000;
constexpr uint32_t MR_DCMD_BBU_DESIGN_INFO = 0x05030000;
constexpr uint32_t MR_DCMD_BBU_PROPERTIES = 0x05050100;

// Results of the controller's two status reads, of raid_GetBatteryState and of raid_GetEnclosureStatus.
constexpr int32_t SL_STATUS_GOOD = 0;
constexpr int32_t SL_STATUS_DEGRADED = 1;
constexpr int32_t SL_STATUS_FAILED = 2;

// Model codes of enclosures.
constexpr int SL_ENCL_MODEL_UNKNOWN = 0;
constexpr int SL_ENCL_MODEL_KP17 = 1;
constexpr int SL_ENCL_MODEL_KP23 = 2;
constexpr int SL_ENCL_MODEL_KP17M2 = 3;

extern "C" {

// Controllers.
[[nodiscard]] int raid_GetControllerList(SL_CTRL_LIST_T* list);
[[nodiscard]] int raid_ReadControllerInfoRaw(uint32_t ctrlId, MR_CTRL_INFO* info);
[[nodiscard]] int raid_ControllerGetOperation(uint32_t ctrlId, uint32_t opcode, void* buffer, uint32_t length);
int raid_GetControllerNumber(uint32_t ctrlId);
int raid_ControllerGetBatteryStatus(uint32_t ctrlId, int32_t* status);     // SL_STATUS_*
int raid_ControllerGetVirtualDiskStatus(uint32_t ctrlId, int32_t* status); // as above
[[nodiscard]] int ZEBRAID_DirectLibCommand(uint32_t ctrlId, SL_LIB_CMD_PARAM_T* packet, void* out, uint32_t size);
const char* raid_GetErrorStatus(int status);
const char* raid_GetPCIVendorName(uint16_t vendorId);
const char* raid_GetPatrolReadState(uint8_t state);
const char* raid_GetBatteryType(uint8_t batteryType);
int raid_GetBatteryState(uint32_t fwStatus); // SL_STATUS_*, -1: unknown
const char* raid_GetBatteryAutoLearnMode(uint8_t mode);

// Lists.
[[nodiscard]] int raid_GetControllerPDList(uint32_t ctrlId, MR_PD_LIST* list);
[[nodiscard]] int raid_GetSasConnectors(uint32_t ctrlId, MR_SAS_CONNECTORS* connectors);
[[nodiscard]] int raid_GetEnclosureList(uint32_t ctrlId, MR_ENCL_LIST* list);

// Drives.
[[nodiscard]] int raid_PhysicalDeviceGetInfo(uint32_t ctrlId, uint16_t deviceId, MR_PD_INFO* info);
[[nodiscard]] int raid_FirePDSATAPassthru_Identify(uint32_t ctrlId, uint16_t deviceId,
                                                   void* identifyData); // SATA_IDENTIFY_SIZE bytes
int raid_PhysicalDeviceGetPortNumber(const MR_PD_INFO* device, const MR_CTRL_INFO* controller);
int raid_PhysicalDriveGetEnclosureNumber(const MR_PD_INFO* drive, const MR_CTRL_INFO* controller,
                                         const MR_SAS_CONNECTORS* connectors, const MR_ENCL_LIST* enclosures);
[[nodiscard]] int raid_PhysicalDriveGetSasRotationalSpeed(uint32_t ctrlId, uint16_t deviceId,
                                                          uint32_t* rpm); // 0: unknown
[[nodiscard]] int raid_PhysicalDriveGetAtaRotationalSpeed(uint32_t ctrlId, uint16_t deviceId, uint32_t* rpm);
int raid_PhysicalGetDriveTemperature(uint32_t ctrlId, uint16_t deviceId); // degrees Celsius, 0: unknown
const char* raid_GetDeviceInterfaceType(uint8_t interface);
const char* raid_GetHddFirmwareState(uint16_t fwState);
const char* raid_GetHddPowerState(uint8_t powerState);

// Logical drives.
[[nodiscard]] int raid_LogicalDriveGetInfo(uint32_t ctrlId, uint8_t targetId, MR_LD_INFO* info);
[[nodiscard]] int raid_LogicalDriveGetProgress(uint32_t ctrlId, uint8_t targetId, MR_LD_PROGRESS* progress,
                                               uint32_t* secondWord);
const char* raid_GetRaidLevel(uint8_t primaryRaidLevel, uint8_t spanDepth, uint8_t drivesPerSpan);
const char* raid_GetStripeSize(uint8_t stripeSize);
const char* raid_GetLogicalDriveCacheWritePolicy(uint8_t policy);
const char* raid_GetLogicalDriveCacheReadPolicy(uint8_t policy);
const char* raid_GetLogicalDriveCacheIoPolicy(uint8_t policy);
const char* raid_GetLogicalDriveAccessPolicy(uint8_t policy);
const char* raid_GetPhysicalDriveCachePolicy(uint8_t policy);
const char* raid_GetLogicalDriveState(uint8_t state);

// Enclosures. Element indexes count within a kind.
[[nodiscard]] int
raid_GetEnclosureStatusFunc(uint32_t ctrlId, uint16_t deviceId,
                            SL_ENCL_STATUS_T** status);      // *status: malloc'ed, the caller's on success only
int raid_GetEnclosureStatus(const SL_ENCL_STATUS_T* status); // SL_STATUS_*, 3: unknown (NULL)
int raid_EnclosureGetEnclosureNumber(const MR_PD_INFO* enclosure, const MR_CTRL_INFO* controller,
                                     const MR_SAS_CONNECTORS* connectors, const MR_ENCL_LIST* enclosures);
const char* raid_GetEnclosureTypeString(int modelCode);
int raid_IsDiagnosticPageValid(uint32_t ctrlId, uint16_t deviceId, uint8_t page); // non-zero: the enclosure has it
[[nodiscard]] int raid_ReceiveDiagnosticResults(uint32_t ctrlId, uint16_t deviceId, uint8_t page, void* buffer,
                                                uint32_t length);
int raid_SkipKP23Descriptors(const void* page, uint32_t length, int offset,
                             uint32_t count); // next offset, -1: past the page
void raid_GetEnclosureFanName(int modelCode, const SL_ENCL_STATUS_T* status, uint32_t fan, char* text, int size);
const char* raid_GetEnclosureFanLocation(int modelCode, const SL_ENCL_STATUS_T* status, uint32_t fan);
const char* raid_GetEnclosureFanSpeedString(const SL_ENCL_STATUS_T* status, uint32_t fan);
const char* raid_GetEnclosureFanStatusString(const SL_ENCL_STATUS_T* status, uint32_t fan);
const char* raid_GetEnclosurePowerSupplyStatusString(const SL_ENCL_STATUS_T* status, uint32_t powerSupply);
void raid_GetEnclosureSensorLocation(int modelCode, const SL_ENCL_STATUS_T* status, uint32_t sensor, char* text,
                                     int size);
[[nodiscard]] int raid_GetEnclosureTemperatureThreshold(uint32_t ctrlId, uint16_t deviceId, uint32_t sensor,
                                                        const SL_ENCL_STATUS_T* status,
                                                        SL_TEMP_THRESHOLD_T* thresholds);
const char* raid_GetEnclosureTempStatusString(const SL_ENCL_STATUS_T* status, uint32_t sensor);
float raid_GetEnclosureTemperature(const SL_ENCL_STATUS_T* status, uint32_t sensor, uint16_t statusCode,
                                   const SL_ENCL_ELEMENT_T* element); // degrees Celsius

// Texts and bytes.
void raid_StrncpyTrim(char* destination, const char* source, size_t width); // destination: width + 1 bytes
void raid_swapBytes(void* destination, const void* source, size_t count);   // in reversed order
}

// Fills the caller's record and frees the library's block. A success without a block is a failure, 1.
[[nodiscard]] inline int raid_GetEnclosureStatusFunc(uint32_t ctrlId, uint16_t deviceId, SL_ENCL_STATUS_T* status) {
    SL_ENCL_STATUS_T* block = nullptr;
    const int result = raid_GetEnclosureStatusFunc(ctrlId, deviceId, &block);
    if (result != 0) return result;
    if (block == nullptr) return 1;
    memcpy(status, block, sizeof *status);
    free(block);
    return 0;
}
