#pragma once

// Records of the RAID controller library: the controllers' own formats, little-endian and packed.
// Only the members that are read have names; numbers in the names of reserved bytes are offsets.
// Members are read by value: a record may lie at any address. Fixed-width texts may lack their NUL.

#include <bit>
#include <cstddef>
#include <cstdint>

static_assert(std::endian::native == std::endian::little, "records are copied as they come");

// Bits and codes of the members below.
constexpr uint8_t MR_DEVICE_INTERFACE_SAS_3G = 0x02;
constexpr uint8_t MR_DEVICE_INTERFACE_SATA_1 = 0x04;
constexpr uint8_t MR_DEVICE_INTERFACE_SATA_2 = 0x08;
constexpr uint8_t MR_DEVICE_INTERFACE_SAS_6G = 0x10;
constexpr uint8_t MR_DEVICE_INTERFACE_SAS_12G = 0x20;

constexpr uint32_t MR_HW_PRESENT_BBU = 1U << 0;
constexpr uint32_t MR_HW_PRESENT_ALARM = 1U << 1;
constexpr uint32_t MR_HW_PRESENT_ROC_SENSOR = 1U << 10;
constexpr uint32_t MR_HW_PRESENT_CHIP_SENSOR = 1U << 11;

constexpr uint8_t MR_ADAPTER_OPERATION_ALARM_CONTROL = 0x20;
constexpr uint8_t MR_ADAPTER_OPERATION2_PORT_BITMAP = 0x04;
constexpr uint8_t MR_ADAPTER_OPERATION2_SLOTS = 0x20;
constexpr uint8_t MR_ADAPTER_OPERATION3_PARTNER_DEVICE = 0x01;
constexpr uint8_t MR_ADAPTER_OPERATION4_EMULATED_DRIVES = 0x02;

constexpr uint32_t MR_PROP_COPY_BACK_DISABLED = 1U << 0;
constexpr uint32_t MR_PROP_SMARTER_COPY_BACK = 1U << 1;
constexpr uint32_t MR_PROP_PR_CORRECTS_UNCONFIGURED = 1U << 2;
constexpr uint32_t MR_PROP_NCQ_DISABLED = 1U << 4;
constexpr uint32_t MR_PROP_SSD_SMARTER_COPY_BACK = 1U << 5;
constexpr uint32_t MR_PROP_SSD_PATROL_READ = 1U << 6;
constexpr uint32_t MR_PROP_SPIN_DOWN_UNCONFIGURED = 1U << 7;
constexpr uint32_t MR_PROP_NO_HOT_SPARE_SPIN_DOWN = 1U << 12;

// Controllers count seconds from 2000-01-01 00:00:00; in seconds since 1970.
constexpr int64_t MR_TIME_EPOCH = 946684800;

constexpr uint8_t MR_PR_STATE_ACTIVE = 2;

constexpr uint8_t MR_BBU_TYPE_NONE = 0;
constexpr uint8_t MR_BBU_TYPE_CAPACITOR = 6; // its charge stands in MR_BBU_STATUS

constexpr uint8_t SCSI_DEVICE_TYPE_MASK = 0x1F; // of INQUIRY byte 0
constexpr uint8_t SCSI_DEVICE_TYPE_DISK = 0x00;
constexpr uint8_t SCSI_DEVICE_TYPE_PROCESSOR = 0x03;
constexpr uint8_t SCSI_DEVICE_TYPE_ENCLOSURE = 0x0D;

constexpr uint8_t MR_ENCL_TYPE_SGPIO = 3;

constexpr uint8_t MR_PD_INTF_SAS = 2;
constexpr uint8_t MR_PD_INTF_SATA = 3;
constexpr uint8_t MR_PD_DDF_FOREIGN = 0x10;

constexpr uint32_t SL_ENCL_ELEM_STATUS_UNSUPPORTED = 0;
constexpr uint32_t SL_ENCL_ELEM_STATUS_NOT_AVAILABLE = 6;

constexpr size_t SATA_IDENTIFY_SIZE = 512; // ATA IDENTIFY DEVICE data

// One command for ZEBRAID_DirectLibCommand.
struct SL_LIB_CMD_PARAM_T {
    uint8_t cmdType;
    uint8_t cmd;
    uint8_t reserved2[2];
    uint32_t ctrlId;
    uint8_t deviceRef; // target id of a logical drive or device id of a drive
    uint8_t reserved9[3];
    uint32_t dataSize; // bytes at pData
    void* pData;
};
static_assert(offsetof(SL_LIB_CMD_PARAM_T, ctrlId) == 4);
static_assert(offsetof(SL_LIB_CMD_PARAM_T, deviceRef) == 8);
static_assert(offsetof(SL_LIB_CMD_PARAM_T, dataSize) == 12);
static_assert(offsetof(SL_LIB_CMD_PARAM_T, pData) == 16);

// The controllers that the library reaches.
struct [[gnu::packed]] SL_CTRL_LIST_T {
    uint32_t count;
    uint32_t ctrlId[64];
};
static_assert(sizeof(SL_CTRL_LIST_T) == 260);
static_assert(offsetof(SL_CTRL_LIST_T, count) == 0);
static_assert(offsetof(SL_CTRL_LIST_T, ctrlId) == 4);

// Settings of a controller.
struct [[gnu::packed]] MR_CTRL_PROP {
    uint8_t reserved0[2];
    uint16_t predFailPollInterval; // seconds
    uint8_t reserved4[4];
    uint8_t rebuildRate; // percent, as the four below
    uint8_t patrolReadRate;
    uint8_t bgiRate;
    uint8_t ccRate;
    uint8_t reconRate;
    uint8_t cacheFlushInterval; // seconds
    uint8_t spinupDriveCount;
    uint8_t spinupDelay; // seconds
    uint8_t reserved16[3];
    uint8_t disableAutoRebuild;
    uint8_t reserved20[8];
    uint8_t abortCCOnError;
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
    char name[8];
    char version[32];
    char buildDate[16];
    char buildTime[16];
};
static_assert(sizeof(MR_IMAGE_COMPONENT) == 72);
static_assert(offsetof(MR_IMAGE_COMPONENT, name) == 0);
static_assert(offsetof(MR_IMAGE_COMPONENT, version) == 8);
static_assert(offsetof(MR_IMAGE_COMPONENT, buildDate) == 40);
static_assert(offsetof(MR_IMAGE_COMPONENT, buildTime) == 56);

// What a controller is and holds.
struct [[gnu::packed]] MR_CTRL_INFO {
    uint16_t pciVendorId;
    uint16_t pciDeviceId;
    uint16_t pciSubVendorId;
    uint16_t pciSubDeviceId;
    uint16_t ctrlIdWord;
    uint8_t reserved10[94];
    uint8_t deviceInterface; // MR_DEVICE_INTERFACE_*
    uint8_t reserved105[6];
    uint8_t devicePortCount;
    uint8_t reserved112[68];
    uint32_t imageComponentCount;
    MR_IMAGE_COMPONENT imageComponent[16];
    uint8_t reserved1336[8];
    char productName[80];
    char serialNumber[32];
    uint32_t hwPresent; // MR_HW_PRESENT_*
    uint8_t reserved1460[12];
    uint16_t ldPresentCount;
    uint8_t reserved1474[4];
    uint16_t pdPresentCount;
    uint8_t reserved1480[6];
    uint16_t nvramSize;  // KiB
    uint16_t memorySize; // MiB
    uint16_t flashSize;  // MiB
    uint16_t memoryCorrectableErrors;
    uint16_t memoryUncorrectableErrors;
    uint8_t reserved1496[8];
    uint8_t adapterOperations; // MR_ADAPTER_OPERATION_*
    uint8_t reserved1505[1];
    uint8_t adapterOperations2; // MR_ADAPTER_OPERATION2_*
    uint8_t adapterOperations3; // MR_ADAPTER_OPERATION3_*
    uint8_t reserved1508[28];
    MR_CTRL_PROP properties; // the settings as of the read of this record
    char packageVersion[96];
    uint8_t reserved1696[262];
    uint8_t adapterOperations4; // MR_ADAPTER_OPERATION4_*
    uint8_t reserved1959[1];
    char hostDriver[32]; // "name.ext version"
    uint8_t reserved1992[1];
    uint8_t rocTemperature;  // degrees Celsius
    uint8_t chipTemperature; // degrees Celsius
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

// Manufacturing defaults of a controller.
struct [[gnu::packed]] MR_MFC_DEFAULTS {
    uint64_t sasAddr;
    uint8_t reserved8[8];
    uint8_t smartMode; // 1: monitoring off
    uint8_t reserved17[1];
    uint8_t coercionMode;
    uint8_t reserved19[53];
};
static_assert(sizeof(MR_MFC_DEFAULTS) == 72);
static_assert(offsetof(MR_MFC_DEFAULTS, sasAddr) == 0);
static_assert(offsetof(MR_MFC_DEFAULTS, smartMode) == 16);
static_assert(offsetof(MR_MFC_DEFAULTS, coercionMode) == 18);

// Patrol read: its progress.
struct [[gnu::packed]] MR_PR_STATUS {
    uint32_t numIterations;
    uint8_t state; // MR_PR_STATE_ACTIVE
    uint8_t reserved5[11];
};
static_assert(sizeof(MR_PR_STATUS) == 16);
static_assert(offsetof(MR_PR_STATUS, numIterations) == 0);
static_assert(offsetof(MR_PR_STATUS, state) == 4);

// Patrol read: its settings.
struct [[gnu::packed]] MR_PR_PROPERTIES {
    uint8_t opMode;
    uint8_t maxPd;
    uint8_t reserved2[194];
    uint32_t nextExec; // seconds since 2000-01-01
    uint32_t execFreq; // seconds; 0xFFFFFFFF: without pause
    uint8_t reserved204[4];
};
static_assert(sizeof(MR_PR_PROPERTIES) == 208);
static_assert(offsetof(MR_PR_PROPERTIES, opMode) == 0);
static_assert(offsetof(MR_PR_PROPERTIES, maxPd) == 1);
static_assert(offsetof(MR_PR_PROPERTIES, nextExec) == 196);
static_assert(offsetof(MR_PR_PROPERTIES, execFreq) == 200);

// Schedule of the consistency check.
struct [[gnu::packed]] MR_CC_SCHEDULE_PROPERTIES {
    uint8_t opMode;
    uint8_t reserved1[167];
};
static_assert(sizeof(MR_CC_SCHEDULE_PROPERTIES) == 168);
static_assert(offsetof(MR_CC_SCHEDULE_PROPERTIES, opMode) == 0);

// Battery: its state.
struct [[gnu::packed]] MR_BBU_STATUS {
    uint8_t batteryType;
    uint8_t reserved1[1];
    uint16_t voltage; // mV
    uint8_t reserved4[2];
    uint16_t temperature; // degrees Celsius
    uint32_t fwStatus;
    uint8_t reserved12[20];
    uint8_t chargeLow; // of a type-6 battery
    uint8_t reserved33[2];
    uint8_t chargeHigh;
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
    uint32_t nextLearnTime;   // seconds since 2000-01-01
    uint8_t reserved8[1];
    uint8_t autoLearnMode;
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
    uint16_t serialNumber;
    uint8_t reserved12[2];
    char mfgName[12];
    char deviceName[8];
    uint8_t reserved34[14];
    uint8_t transparentLearn;
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

// Entry of the device list.
struct [[gnu::packed]] MR_PD_ADDRESS {
    uint16_t deviceId;
    uint16_t enclDeviceId;
    uint8_t reserved4[1];
    uint8_t slotNumber;
    uint8_t scsiDevType; // SCSI_DEVICE_TYPE_*
    uint8_t reserved7[17];
};
static_assert(sizeof(MR_PD_ADDRESS) == 24);
static_assert(offsetof(MR_PD_ADDRESS, deviceId) == 0);
static_assert(offsetof(MR_PD_ADDRESS, enclDeviceId) == 2);
static_assert(offsetof(MR_PD_ADDRESS, slotNumber) == 5);
static_assert(offsetof(MR_PD_ADDRESS, scsiDevType) == 6);

// Every device of a controller, enclosures included.
struct [[gnu::packed]] MR_PD_LIST {
    uint32_t size; // bytes
    uint32_t count;
    MR_PD_ADDRESS addr[256];
};
static_assert(sizeof(MR_PD_LIST) == 6152);
static_assert(offsetof(MR_PD_LIST, size) == 0);
static_assert(offsetof(MR_PD_LIST, count) == 4);
static_assert(offsetof(MR_PD_LIST, addr) == 8);

// Entry of the connector list.
struct [[gnu::packed]] MR_SAS_CONNECTOR {
    uint8_t reserved0[4];
    char name[16];
};
static_assert(sizeof(MR_SAS_CONNECTOR) == 20);
static_assert(offsetof(MR_SAS_CONNECTOR, name) == 4);

// The ports of a controller.
struct [[gnu::packed]] MR_SAS_CONNECTORS {
    uint32_t count;
    uint8_t reserved4[4];
    MR_SAS_CONNECTOR conn[8];
};
static_assert(sizeof(MR_SAS_CONNECTORS) == 168);
static_assert(offsetof(MR_SAS_CONNECTORS, count) == 0);
static_assert(offsetof(MR_SAS_CONNECTORS, conn) == 8);

// Entry of the enclosure list.
struct [[gnu::packed]] MR_ENCL_ENTRY {
    uint16_t deviceId;
    uint8_t reserved2[8];
    uint8_t type;               // MR_ENCL_TYPE_SGPIO
    uint8_t enclConnectorIndex; // index into MR_SAS_CONNECTORS
    uint8_t reserved12[132];
};
static_assert(sizeof(MR_ENCL_ENTRY) == 144);
static_assert(offsetof(MR_ENCL_ENTRY, deviceId) == 0);
static_assert(offsetof(MR_ENCL_ENTRY, type) == 10);
static_assert(offsetof(MR_ENCL_ENTRY, enclConnectorIndex) == 11);

// The enclosures of a controller.
struct [[gnu::packed]] MR_ENCL_LIST {
    uint32_t count;
    uint8_t reserved4[4];
    MR_ENCL_ENTRY encl[32];
};
static_assert(sizeof(MR_ENCL_LIST) == 4616);
static_assert(offsetof(MR_ENCL_LIST, count) == 0);
static_assert(offsetof(MR_ENCL_LIST, encl) == 8);

// A physical device: a drive or an enclosure.
struct [[gnu::packed]] MR_PD_INFO {
    uint16_t deviceId;
    uint8_t reserved2[2];
    uint8_t scsiDevType; // INQUIRY byte 0: device type in the low five bits
    uint8_t reserved5[7];
    char vendor[8];          // INQUIRY
    char product[16];        // INQUIRY
    char revision[4];        // INQUIRY
    char vendorSpecific[20]; // INQUIRY: the serial number
    uint8_t reserved60[106];
    uint8_t connectedPortBitmap;
    uint8_t deviceSpeed;
    uint32_t mediaErrCount;
    uint32_t otherErrCount;
    uint32_t predFailCount;
    uint8_t reserved180[4];
    uint16_t fwState;
    uint8_t reserved186[2];
    uint8_t ddfState;     // MR_PD_DDF_FOREIGN
    uint8_t ddfInterface; // interface in the high four bits: MR_PD_INTF_*
    uint8_t reserved190[2];
    uint8_t pathCount;
    uint8_t reserved193[7];
    uint64_t sasAddr[4];
    uint64_t rawSize; // 512-byte blocks
    uint8_t reserved240[8];
    uint64_t coercedSize; // 512-byte blocks
    uint16_t enclDeviceId;
    uint8_t reserved258[1];
    uint8_t slotNumber;
    uint8_t activeOperations; // MR_PD_OPERATION_*
    uint8_t reserved261[97];
    uint8_t powerState;
    uint8_t reserved359[7];
    uint16_t partnerDeviceId;
    uint8_t reserved368[2];
    uint8_t mediaType; // 0: rotating, 1: solid state
    uint8_t reserved371[31];
    uint8_t temperature; // degrees Celsius
    uint8_t reserved403[109];
};
static_assert(sizeof(MR_PD_INFO) == 512);
static_assert(offsetof(MR_PD_INFO, deviceId) == 0);
static_assert(offsetof(MR_PD_INFO, scsiDevType) == 4);
static_assert(offsetof(MR_PD_INFO, vendor) == 12);
static_assert(offsetof(MR_PD_INFO, product) == 20);
static_assert(offsetof(MR_PD_INFO, revision) == 36);
static_assert(offsetof(MR_PD_INFO, vendorSpecific) == 40);
static_assert(offsetof(MR_PD_INFO, connectedPortBitmap) == 166);
static_assert(offsetof(MR_PD_INFO, deviceSpeed) == 167);
static_assert(offsetof(MR_PD_INFO, mediaErrCount) == 168);
static_assert(offsetof(MR_PD_INFO, otherErrCount) == 172);
static_assert(offsetof(MR_PD_INFO, predFailCount) == 176);
static_assert(offsetof(MR_PD_INFO, fwState) == 184);
static_assert(offsetof(MR_PD_INFO, ddfState) == 188);
static_assert(offsetof(MR_PD_INFO, ddfInterface) == 189);
static_assert(offsetof(MR_PD_INFO, pathCount) == 192);
static_assert(offsetof(MR_PD_INFO, sasAddr) == 200);
static_assert(offsetof(MR_PD_INFO, rawSize) == 232);
static_assert(offsetof(MR_PD_INFO, coercedSize) == 248);
static_assert(offsetof(MR_PD_INFO, enclDeviceId) == 256);
static_assert(offsetof(MR_PD_INFO, slotNumber) == 259);
static_assert(offsetof(MR_PD_INFO, activeOperations) == 260);
static_assert(offsetof(MR_PD_INFO, powerState) == 358);
static_assert(offsetof(MR_PD_INFO, partnerDeviceId) == 366);
static_assert(offsetof(MR_PD_INFO, mediaType) == 370);
static_assert(offsetof(MR_PD_INFO, temperature) == 402);

struct [[gnu::packed]] MR_LD_REF {
    uint8_t targetId;
    uint8_t reserved1[3];
};
static_assert(sizeof(MR_LD_REF) == 4);
static_assert(offsetof(MR_LD_REF, targetId) == 0);

struct [[gnu::packed]] MR_LD_PROPERTIES {
    MR_LD_REF ldRef;
    char name[16];
    uint8_t defaultCachePolicy;
    uint8_t accessPolicy;
    uint8_t diskCachePolicy;
    uint8_t currentCachePolicy;
    uint8_t reserved24[1];
    uint8_t emulation; // bit 0x08: off for this drive
    uint8_t reserved26[6];
};
static_assert(sizeof(MR_LD_PROPERTIES) == 32);
static_assert(offsetof(MR_LD_PROPERTIES, ldRef) == 0);
static_assert(offsetof(MR_LD_PROPERTIES, name) == 4);
static_assert(offsetof(MR_LD_PROPERTIES, defaultCachePolicy) == 20);
static_assert(offsetof(MR_LD_PROPERTIES, accessPolicy) == 21);
static_assert(offsetof(MR_LD_PROPERTIES, diskCachePolicy) == 22);
static_assert(offsetof(MR_LD_PROPERTIES, currentCachePolicy) == 23);
static_assert(offsetof(MR_LD_PROPERTIES, emulation) == 25);

struct [[gnu::packed]] MR_LD_PARAMETERS {
    uint8_t primaryRaidLevel;
    uint8_t reserved1[2];
    uint8_t stripeSize;
    uint8_t numDrives; // of one span
    uint8_t spanDepth;
    uint8_t state;
    uint8_t reserved7[8];
    uint8_t ssdCaching; // 1: an SSD cache
    uint8_t reserved16[16];
};
static_assert(sizeof(MR_LD_PARAMETERS) == 32);
static_assert(offsetof(MR_LD_PARAMETERS, primaryRaidLevel) == 0);
static_assert(offsetof(MR_LD_PARAMETERS, stripeSize) == 3);
static_assert(offsetof(MR_LD_PARAMETERS, numDrives) == 4);
static_assert(offsetof(MR_LD_PARAMETERS, spanDepth) == 5);
static_assert(offsetof(MR_LD_PARAMETERS, state) == 6);
static_assert(offsetof(MR_LD_PARAMETERS, ssdCaching) == 15);

struct [[gnu::packed]] MR_LD_SPAN {
    uint8_t reserved0[8];
    uint64_t numBlocks; // 512-byte blocks
    uint8_t reserved16[8];
};
static_assert(sizeof(MR_LD_SPAN) == 24);
static_assert(offsetof(MR_LD_SPAN, numBlocks) == 8);

// Configuration of a logical drive.
struct [[gnu::packed]] MR_LD_CONFIG {
    MR_LD_PROPERTIES properties;
    MR_LD_PARAMETERS params;
    MR_LD_SPAN span[8];
};
static_assert(sizeof(MR_LD_CONFIG) == 256);
static_assert(offsetof(MR_LD_CONFIG, properties) == 0);
static_assert(offsetof(MR_LD_CONFIG, params) == 32);
static_assert(offsetof(MR_LD_CONFIG, span) == 64);

struct [[gnu::packed]] MR_PROGRESS {
    uint16_t progress; // 65535 = 100 %
    uint8_t reserved2[2];
};
static_assert(sizeof(MR_PROGRESS) == 4);
static_assert(offsetof(MR_PROGRESS, progress) == 0);

// Running and paused operations of a logical drive.
struct [[gnu::packed]] MR_LD_PROGRESS {
    uint8_t active; // MR_LD_OPERATION_*
    uint8_t reserved1[3];
    MR_PROGRESS consistencyCheck;
    MR_PROGRESS backgroundInit;
    MR_PROGRESS foregroundInit;
    MR_PROGRESS reconstruction;
    uint8_t reserved20[4];
    uint8_t paused; // MR_LD_OPERATION_*
    uint8_t reserved25[11];
};
static_assert(sizeof(MR_LD_PROGRESS) == 36);
static_assert(offsetof(MR_LD_PROGRESS, active) == 0);
static_assert(offsetof(MR_LD_PROGRESS, consistencyCheck) == 4);
static_assert(offsetof(MR_LD_PROGRESS, backgroundInit) == 8);
static_assert(offsetof(MR_LD_PROGRESS, foregroundInit) == 12);
static_assert(offsetof(MR_LD_PROGRESS, reconstruction) == 16);
static_assert(offsetof(MR_LD_PROGRESS, paused) == 24);

// A logical drive.
struct [[gnu::packed]] MR_LD_INFO {
    MR_LD_CONFIG ldConfig;
    uint64_t size; // 512-byte blocks
    MR_LD_PROGRESS progress;
    uint8_t reserved300[84];
};
static_assert(sizeof(MR_LD_INFO) == 384);
static_assert(offsetof(MR_LD_INFO, ldConfig) == 0);
static_assert(offsetof(MR_LD_INFO, size) == 256);
static_assert(offsetof(MR_LD_INFO, progress) == 264);

// Configuration of a controller: a header of 32 bytes, one array slot of 288, the logical drives.
struct [[gnu::packed]] MR_CONFIG_DATA {
    uint8_t reserved0[8];
    uint16_t logDrvCount;
    uint8_t reserved10[310];
    MR_LD_CONFIG ld[1]; // a second entry follows as far as the record goes
    uint8_t reserved576[40];
};
static_assert(sizeof(MR_CONFIG_DATA) == 616);
static_assert(offsetof(MR_CONFIG_DATA, logDrvCount) == 8);
static_assert(offsetof(MR_CONFIG_DATA, ld) == 320);

// The drives of a logical drive.
struct [[gnu::packed]] SL_PD_IN_LD_T {
    uint8_t reserved0[516];
};
static_assert(sizeof(SL_PD_IN_LD_T) == 516);

// The logical drives of a drive.
struct [[gnu::packed]] SL_LD_OF_PD_T {
    uint8_t reserved0[68];
};
static_assert(sizeof(SL_LD_OF_PD_T) == 68);

// One element of an enclosure.
struct [[gnu::packed]] SL_ENCL_ELEMENT_T {
    uint32_t status; // SES status code; 0: unsupported, 6: not available
    uint8_t ses[4];  // the element as its SES page has it
};
static_assert(sizeof(SL_ENCL_ELEMENT_T) == 8);
static_assert(offsetof(SL_ENCL_ELEMENT_T, status) == 0);
static_assert(offsetof(SL_ENCL_ELEMENT_T, ses) == 4);

// State of an enclosure and of its elements.
struct [[gnu::packed]] SL_ENCL_STATUS_T {
    uint8_t reserved0[4];
    uint32_t slotCount;
    uint32_t psuCount;
    uint32_t fanCount;
    uint32_t sensorCount;
    uint32_t alarmCount;
    uint8_t reserved24[8];
    SL_ENCL_ELEMENT_T element[124]; // slots, power supplies, fans, sensors, alarms
};
static_assert(sizeof(SL_ENCL_STATUS_T) == 1024);
static_assert(offsetof(SL_ENCL_STATUS_T, slotCount) == 4);
static_assert(offsetof(SL_ENCL_STATUS_T, psuCount) == 8);
static_assert(offsetof(SL_ENCL_STATUS_T, fanCount) == 12);
static_assert(offsetof(SL_ENCL_STATUS_T, sensorCount) == 16);
static_assert(offsetof(SL_ENCL_STATUS_T, alarmCount) == 20);
static_assert(offsetof(SL_ENCL_STATUS_T, element) == 32);

// Temperature limits of a sensor.
struct [[gnu::packed]] SL_TEMP_THRESHOLD_T {
    uint8_t reserved0[16];
    float value[4]; // degrees Celsius; -100: not set
};
static_assert(sizeof(SL_TEMP_THRESHOLD_T) == 32);
static_assert(offsetof(SL_TEMP_THRESHOLD_T, value) == 16);
