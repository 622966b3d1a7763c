#pragma once

// Records of the RAID controller library: the controllers' own formats, little-endian and packed.
// Only the members that are read have names; numbers in the names of reserved bytes are offsets.
// Members are read by value: a record may lie at any address. Fixed-width texts may lack their NUL.

#include <bit>
#include <cstddef>
#include <cstdint>

static_assert(std::endian::native == std::endian::little, "records are copied as they come");

// Controllers count seconds from 2000-01-01 00:00:00; in seconds since 1970.
constexpr int64_t MR_TIME_EPOCH = 946684800;

// SL_LIB_CMD_PARAM_T::cmdType and cmd.
constexpr uint8_t SL_COMMAND_TYPE_DRIVE_RELATIONS = 3;
constexpr uint8_t SL_COMMAND_PDS_OF_LD = 11;
constexpr uint8_t SL_COMMAND_LDS_OF_PD = 16;

// One command for ZEBRAID_DirectLibCommand.
struct [[gnu::packed]] SL_LIB_CMD_PARAM_T {
    uint8_t cmdType; // SL_COMMAND_TYPE_*
    uint8_t cmd;     // SL_COMMAND_*
    uint8_t reserved2[2];
    uint32_t ctrlId;   // names the controller to the library
    uint8_t deviceRef; // target id of a logical drive or device id of a drive
    uint8_t reserved9[3];
    uint32_t dataSize; // bytes at pData
    void* pData;       // the caller's buffer
};
static_assert(sizeof(SL_LIB_CMD_PARAM_T) == 16 + sizeof(void*));
static_assert(offsetof(SL_LIB_CMD_PARAM_T, cmdType) == 0);
static_assert(offsetof(SL_LIB_CMD_PARAM_T, cmd) == 1);
static_assert(offsetof(SL_LIB_CMD_PARAM_T, ctrlId) == 4);
static_assert(offsetof(SL_LIB_CMD_PARAM_T, deviceRef) == 8);
static_assert(offsetof(SL_LIB_CMD_PARAM_T, dataSize) == 12);
static_assert(offsetof(SL_LIB_CMD_PARAM_T, pData) == 16);

// The controllers that the library reaches.
struct [[gnu::packed]] SL_CTRL_LIST_T {
    uint32_t count; // entries of ctrlId
    uint32_t ctrlId[64];
};
static_assert(sizeof(SL_CTRL_LIST_T) == 260);
static_assert(offsetof(SL_CTRL_LIST_T, count) == 0);
static_assert(offsetof(SL_CTRL_LIST_T, ctrlId) == 4);

// Bits of MR_CTRL_PROP::onOffProperties.
constexpr uint32_t MR_PROP_COPY_BACK_DISABLED = 1U << 0;
constexpr uint32_t MR_PROP_SMARTER_COPY_BACK = 1U << 1;
constexpr uint32_t MR_PROP_PR_CORRECTS_UNCONFIGURED = 1U << 2;
constexpr uint32_t MR_PROP_NCQ_DISABLED = 1U << 4;
constexpr uint32_t MR_PROP_SSD_SMARTER_COPY_BACK = 1U << 5;
constexpr uint32_t MR_PROP_SSD_PATROL_READ = 1U << 6;
constexpr uint32_t MR_PROP_SPIN_DOWN_UNCONFIGURED = 1U << 7;
constexpr uint32_t MR_PROP_NO_HOT_SPARE_SPIN_DOWN = 1U << 12;

// Settings of a controller.
struct [[gnu::packed]] MR_CTRL_PROP {
    uint8_t reserved0[2];
    uint16_t predFailPollInterval; // seconds
    uint8_t reserved4[4];
    uint8_t rebuildRate;        // percent of the controller's time, as the four below
    uint8_t patrolReadRate;     // percent
    uint8_t bgiRate;            // percent; background initialization
    uint8_t ccRate;             // percent; consistency check
    uint8_t reconRate;          // percent; reconstruction
    uint8_t cacheFlushInterval; // seconds
    uint8_t spinupDriveCount;   // drives that start at a time
    uint8_t spinupDelay;        // seconds between these
    uint8_t reserved16[3];
    uint8_t disableAutoRebuild; // not 0: a failed drive is not rebuilt by itself
    uint8_t reserved20[8];
    uint8_t abortCCOnError; // not 0: a consistency check ends at its first error
    uint8_t reserved29[3];
    uint32_t onOffProperties; // MR_PROP_*
    uint8_t reserved36[2];
    uint16_t spinDownTime; // minutes
    uint8_t reserved40[24];
};
static_assert(sizeof(MR_CTRL_PROP) == 64);
static_assert(offsetof(MR_CTRL_PROP, predFailPollInterval) == 2);
static_assert(offsetof(MR_CTRL_PROP, rebuildRate) == 8);
static_assert(offsetof(MR_CTRL_PROP, patrolReadRate) == 9);
static_assert(offsetof(MR_CTRL_PROP, bgiRate) == 10);
static_assert(offsetof(MR_CTRL_PROP, ccRate) == 11);
static_assert(offsetof(MR_CTRL_PROP, reconRate) == 12);
static_assert(offsetof(MR_CTRL_PROP, cacheFlushInterval) == 13);
static_assert(offsetof(MR_CTRL_PROP, spinupDriveCount) == 14);
static_assert(offsetof(MR_CTRL_PROP, spinupDelay) == 15);
static_assert(offsetof(MR_CTRL_PROP, disableAutoRebuild) == 19);
static_assert(offsetof(MR_CTRL_PROP, abortCCOnError) == 28);
static_assert(offsetof(MR_CTRL_PROP, onOffProperties) == 32);
static_assert(offsetof(MR_CTRL_PROP, spinDownTime) == 38);

// One firmware image; every text may lack its NUL.
struct [[gnu::packed]] MR_IMAGE_COMPONENT {
    char name[8];       // "APP", "BIOS" and others
    char version[32];   // of the BIOS: with that of the UEFI driver behind its last "_"
    char buildDate[16]; // in the words of whoever built it
    char buildTime[16]; // as above
};
static_assert(sizeof(MR_IMAGE_COMPONENT) == 72);
static_assert(offsetof(MR_IMAGE_COMPONENT, name) == 0);
static_assert(offsetof(MR_IMAGE_COMPONENT, version) == 8);
static_assert(offsetof(MR_IMAGE_COMPONENT, buildDate) == 40);
static_assert(offsetof(MR_IMAGE_COMPONENT, buildTime) == 56);

// Bits of MR_CTRL_INFO::deviceInterface.
constexpr uint8_t MR_DEVICE_INTERFACE_SAS_3G = 0x02;
constexpr uint8_t MR_DEVICE_INTERFACE_SATA_1 = 0x04;
constexpr uint8_t MR_DEVICE_INTERFACE_SATA_2 = 0x08;
constexpr uint8_t MR_DEVICE_INTERFACE_SAS_6G = 0x10;
constexpr uint8_t MR_DEVICE_INTERFACE_SAS_12G = 0x20;

// Bits of MR_CTRL_INFO::hwPresent.
constexpr uint32_t MR_HW_PRESENT_BBU = 1U << 0;
constexpr uint32_t MR_HW_PRESENT_ALARM = 1U << 1;
constexpr uint32_t MR_HW_PRESENT_ROC_SENSOR = 1U << 10;
constexpr uint32_t MR_HW_PRESENT_CHIP_SENSOR = 1U << 11;

// Bits of MR_CTRL_INFO::adapterOperations, 2, 3 and 4.
constexpr uint8_t MR_ADAPTER_OPERATION_ALARM_CONTROL = 0x20;
constexpr uint8_t MR_ADAPTER_OPERATION2_PORT_BITMAP = 0x04;
constexpr uint8_t MR_ADAPTER_OPERATION2_SLOTS = 0x20;
constexpr uint8_t MR_ADAPTER_OPERATION3_PARTNER_DEVICE = 0x01;
constexpr uint8_t MR_ADAPTER_OPERATION4_EMULATED_DRIVES = 0x02;

// What a controller is and holds.
struct [[gnu::packed]] MR_CTRL_INFO {
    uint16_t pciVendorId;    // PCI: who made the chip
    uint16_t pciDeviceId;    // PCI: the chip
    uint16_t pciSubVendorId; // PCI: who sells the card
    uint16_t pciSubDeviceId; // PCI: the card
    uint16_t ctrlIdWord;     // the controller's own idea of its id; names nothing to the library
    uint8_t reserved10[94];
    uint8_t deviceInterface; // MR_DEVICE_INTERFACE_*
    uint8_t reserved105[6];
    uint8_t devicePortCount; // ports to drives
    uint8_t reserved112[68];
    uint32_t imageComponentCount; // entries of imageComponent
    MR_IMAGE_COMPONENT imageComponent[16];
    uint8_t reserved1336[8];
    char productName[80];  // for people
    char serialNumber[32]; // of the card
    uint32_t hwPresent;    // MR_HW_PRESENT_*
    uint8_t reserved1460[12];
    uint16_t ldPresentCount; // logical drives
    uint8_t reserved1474[4];
    uint16_t pdPresentCount; // devices, enclosures included
    uint8_t reserved1480[6];
    uint16_t nvramSize;                 // KiB
    uint16_t memorySize;                // MiB
    uint16_t flashSize;                 // MiB
    uint16_t memoryCorrectableErrors;   // how many
    uint16_t memoryUncorrectableErrors; // as above
    uint8_t reserved1496[8];
    uint8_t adapterOperations; // MR_ADAPTER_OPERATION_*
    uint8_t reserved1505[1];
    uint8_t adapterOperations2; // MR_ADAPTER_OPERATION2_*
    uint8_t adapterOperations3; // MR_ADAPTER_OPERATION3_*
    uint8_t reserved1508[28];
    MR_CTRL_PROP properties; // the settings as of the read of this record
    char packageVersion[96]; // of all images together
    uint8_t reserved1696[262];
    uint8_t adapterOperations4; // MR_ADAPTER_OPERATION4_*
    uint8_t reserved1959[1];
    char hostDriver[32]; // "name.ext version"
    uint8_t reserved1992[1];
    uint8_t rocTemperature;  // degrees Celsius, of the RAID chip; with MR_HW_PRESENT_ROC_SENSOR
    uint8_t chipTemperature; // degrees Celsius; with MR_HW_PRESENT_CHIP_SENSOR
    uint8_t reserved1995[53];
};
static_assert(sizeof(MR_CTRL_INFO) == 2048);
static_assert(offsetof(MR_CTRL_INFO, pciVendorId) == 0);
static_assert(offsetof(MR_CTRL_INFO, pciDeviceId) == 2);
static_assert(offsetof(MR_CTRL_INFO, pciSubVendorId) == 4);
static_assert(offsetof(MR_CTRL_INFO, pciSubDeviceId) == 6);
static_assert(offsetof(MR_CTRL_INFO, ctrlIdWord) == 8);
static_assert(offsetof(MR_CTRL_INFO, deviceInterface) == 104);
static_assert(offsetof(MR_CTRL_INFO, devicePortCount) == 111);
static_assert(offsetof(MR_CTRL_INFO, imageComponentCount) == 180);
static_assert(offsetof(MR_CTRL_INFO, imageComponent) == 184);
static_assert(offsetof(MR_CTRL_INFO, productName) == 1344);
static_assert(offsetof(MR_CTRL_INFO, serialNumber) == 1424);
static_assert(offsetof(MR_CTRL_INFO, hwPresent) == 1456);
static_assert(offsetof(MR_CTRL_INFO, ldPresentCount) == 1472);
static_assert(offsetof(MR_CTRL_INFO, pdPresentCount) == 1478);
static_assert(offsetof(MR_CTRL_INFO, nvramSize) == 1486);
static_assert(offsetof(MR_CTRL_INFO, memorySize) == 1488);
static_assert(offsetof(MR_CTRL_INFO, flashSize) == 1490);
static_assert(offsetof(MR_CTRL_INFO, memoryCorrectableErrors) == 1492);
static_assert(offsetof(MR_CTRL_INFO, memoryUncorrectableErrors) == 1494);
static_assert(offsetof(MR_CTRL_INFO, adapterOperations) == 1504);
static_assert(offsetof(MR_CTRL_INFO, adapterOperations2) == 1506);
static_assert(offsetof(MR_CTRL_INFO, adapterOperations3) == 1507);
static_assert(offsetof(MR_CTRL_INFO, properties) == 1536);
static_assert(offsetof(MR_CTRL_INFO, packageVersion) == 1600);
static_assert(offsetof(MR_CTRL_INFO, adapterOperations4) == 1958);
static_assert(offsetof(MR_CTRL_INFO, hostDriver) == 1960);
static_assert(offsetof(MR_CTRL_INFO, rocTemperature) == 1993);
static_assert(offsetof(MR_CTRL_INFO, chipTemperature) == 1994);

constexpr uint8_t MR_MFC_SMART_OFF = 1; // of MR_MFC_DEFAULTS::smartMode

// Manufacturing defaults of a controller.
struct [[gnu::packed]] MR_MFC_DEFAULTS {
    uint64_t sasAddr; // of the controller; 0 or all ones: none
    uint8_t reserved8[8];
    uint8_t smartMode; // MR_MFC_SMART_OFF, otherwise drives are monitored
    uint8_t reserved17[1];
    uint8_t coercionMode; // to what drive sizes are rounded down. 0: nothing, 1: 128 MB, above: 1 GB
    uint8_t reserved19[53];
};
static_assert(sizeof(MR_MFC_DEFAULTS) == 72);
static_assert(offsetof(MR_MFC_DEFAULTS, sasAddr) == 0);
static_assert(offsetof(MR_MFC_DEFAULTS, smartMode) == 16);
static_assert(offsetof(MR_MFC_DEFAULTS, coercionMode) == 18);

constexpr uint8_t MR_PR_STATE_ACTIVE = 2; // of MR_PR_STATUS::state; the library has words for all

// Patrol read: its progress.
struct [[gnu::packed]] MR_PR_STATUS {
    uint32_t numIterations; // rounds that are done
    uint8_t state;          // MR_PR_STATE_ACTIVE
    uint8_t reserved5[11];
};
static_assert(sizeof(MR_PR_STATUS) == 16);
static_assert(offsetof(MR_PR_STATUS, numIterations) == 0);
static_assert(offsetof(MR_PR_STATUS, state) == 4);

// Patrol read: its settings.
constexpr uint32_t MR_PR_CONTINUOUS = 0xFFFFFFFF; // of execFreq
struct [[gnu::packed]] MR_PR_PROPERTIES {
    uint8_t opMode; // 0: automatic, 1: manual, 2: off
    uint8_t maxPd;  // drives that are read at a time
    uint8_t reserved2[194];
    uint32_t nextExec; // seconds since MR_TIME_EPOCH; 0: none is planned
    uint32_t execFreq; // seconds; MR_PR_CONTINUOUS
    uint8_t reserved204[4];
};
static_assert(sizeof(MR_PR_PROPERTIES) == 208);
static_assert(offsetof(MR_PR_PROPERTIES, opMode) == 0);
static_assert(offsetof(MR_PR_PROPERTIES, maxPd) == 1);
static_assert(offsetof(MR_PR_PROPERTIES, nextExec) == 196);
static_assert(offsetof(MR_PR_PROPERTIES, execFreq) == 200);

// Schedule of the consistency check.
struct [[gnu::packed]] MR_CC_SCHEDULE_PROPERTIES {
    uint8_t opMode; // 0: off, 1: sequential, 2: shown as off too
    uint8_t reserved1[167];
};
static_assert(sizeof(MR_CC_SCHEDULE_PROPERTIES) == 168);
static_assert(offsetof(MR_CC_SCHEDULE_PROPERTIES, opMode) == 0);

// MR_BBU_STATUS::batteryType; the library has words for all.
constexpr uint8_t MR_BBU_TYPE_NONE = 0;
constexpr uint8_t MR_BBU_TYPE_CAPACITOR = 6; // its charge stands in MR_BBU_STATUS

// Battery: its state.
struct [[gnu::packed]] MR_BBU_STATUS {
    uint8_t batteryType; // MR_BBU_TYPE_*; 2 and 3 have no electronics of their own
    uint8_t reserved1[1];
    uint16_t voltage; // mV
    uint8_t reserved4[2];
    uint16_t temperature; // degrees Celsius
    uint32_t fwStatus;    // as raid_GetBatteryState judges it
    uint8_t reserved12[20];
    uint8_t chargeLow; // of a capacitor: charge, in the unit of designCapacity, low byte
    uint8_t reserved33[2];
    uint8_t chargeHigh; // its high byte
    uint8_t reserved36[28];
};
static_assert(sizeof(MR_BBU_STATUS) == 64);
static_assert(offsetof(MR_BBU_STATUS, batteryType) == 0);
static_assert(offsetof(MR_BBU_STATUS, voltage) == 2);
static_assert(offsetof(MR_BBU_STATUS, temperature) == 6);
static_assert(offsetof(MR_BBU_STATUS, fwStatus) == 8);
static_assert(offsetof(MR_BBU_STATUS, chargeLow) == 32);
static_assert(offsetof(MR_BBU_STATUS, chargeHigh) == 35);

// Battery: its charge.
struct [[gnu::packed]] MR_BBU_CAPACITY_INFO {
    uint16_t relativeStateOfCharge; // percent
    uint8_t reserved2[2];
    uint16_t remainingCapacity;  // mAh
    uint16_t fullChargeCapacity; // mAh
    uint8_t reserved8[40];
};
static_assert(sizeof(MR_BBU_CAPACITY_INFO) == 48);
static_assert(offsetof(MR_BBU_CAPACITY_INFO, relativeStateOfCharge) == 0);
static_assert(offsetof(MR_BBU_CAPACITY_INFO, remainingCapacity) == 4);
static_assert(offsetof(MR_BBU_CAPACITY_INFO, fullChargeCapacity) == 6);

// Battery: its settings.
struct [[gnu::packed]] MR_BBU_PROPERTIES {
    uint32_t autoLearnPeriod; // seconds
    uint32_t nextLearnTime;   // seconds since MR_TIME_EPOCH; 0: none is planned
    uint8_t reserved8[1];
    uint8_t autoLearnMode; // as raid_GetBatteryAutoLearnMode puts it
    uint8_t reserved10[22];
};
static_assert(sizeof(MR_BBU_PROPERTIES) == 32);
static_assert(offsetof(MR_BBU_PROPERTIES, autoLearnPeriod) == 0);
static_assert(offsetof(MR_BBU_PROPERTIES, nextLearnTime) == 4);
static_assert(offsetof(MR_BBU_PROPERTIES, autoLearnMode) == 9);

// Battery: its make.
struct [[gnu::packed]] MR_BBU_DESIGN_INFO {
    uint32_t mfgDate;        // day bits 0-4, month bits 5-8, year bits 9-24
    uint16_t designCapacity; // mAh
    uint16_t designVoltage;  // mV
    uint8_t reserved8[2];
    uint16_t serialNumber; // 0xFFFF: none
    uint8_t reserved12[2];
    char mfgName[12];   // without a NUL: none
    char deviceName[8]; // without a NUL: none
    uint8_t reserved34[14];
    uint8_t transparentLearn; // not 0: it learns while it serves
    uint8_t reserved49[15];
};
static_assert(sizeof(MR_BBU_DESIGN_INFO) == 64);
static_assert(offsetof(MR_BBU_DESIGN_INFO, mfgDate) == 0);
static_assert(offsetof(MR_BBU_DESIGN_INFO, designCapacity) == 4);
static_assert(offsetof(MR_BBU_DESIGN_INFO, designVoltage) == 6);
static_assert(offsetof(MR_BBU_DESIGN_INFO, serialNumber) == 10);
static_assert(offsetof(MR_BBU_DESIGN_INFO, mfgName) == 14);
static_assert(offsetof(MR_BBU_DESIGN_INFO, deviceName) == 26);
static_assert(offsetof(MR_BBU_DESIGN_INFO, transparentLearn) == 48);
