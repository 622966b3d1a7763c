#pragma once

// Records of the RAID controller library about what hangs on a controller: devices, enclosures, logical drives.
// The rules of storelibRecords.h hold here too.

#include <cstddef>
#include <cstdint>

constexpr size_t SATA_IDENTIFY_SIZE = 512; // ATA IDENTIFY DEVICE data

// MR_PD_INFO::scsiDevType, of INQUIRY byte 0, and MR_PD_ADDRESS::scsiDevType.
constexpr uint8_t SCSI_DEVICE_TYPE_MASK = 0x1F;
constexpr uint8_t SCSI_DEVICE_TYPE_DISK = 0x00;
constexpr uint8_t SCSI_DEVICE_TYPE_PROCESSOR = 0x03;
constexpr uint8_t SCSI_DEVICE_TYPE_ENCLOSURE = 0x0D;

// Entry of the device list.
struct [[gnu::packed]] MR_PD_ADDRESS {
    uint16_t deviceId;     // names the device to the library
    uint16_t enclDeviceId; // of the enclosure or backplane that it sits in
    uint8_t reserved4[1];
    uint8_t slotNumber;  // within that enclosure
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
    uint32_t size;  // bytes
    uint32_t count; // entries of addr
    MR_PD_ADDRESS addr[256];
};
static_assert(sizeof(MR_PD_LIST) == 6152);
static_assert(offsetof(MR_PD_LIST, size) == 0);
static_assert(offsetof(MR_PD_LIST, count) == 4);
static_assert(offsetof(MR_PD_LIST, addr) == 8);

// Entry of the connector list.
struct [[gnu::packed]] MR_SAS_CONNECTOR {
    uint8_t reserved0[4];
    char name[16]; // as printed at the connector: "Port 0-3"
};
static_assert(sizeof(MR_SAS_CONNECTOR) == 20);
static_assert(offsetof(MR_SAS_CONNECTOR, name) == 4);

// The ports of a controller.
struct [[gnu::packed]] MR_SAS_CONNECTORS {
    uint32_t count; // entries of conn
    uint8_t reserved4[4];
    MR_SAS_CONNECTOR conn[8];
};
static_assert(sizeof(MR_SAS_CONNECTORS) == 168);
static_assert(offsetof(MR_SAS_CONNECTORS, count) == 0);
static_assert(offsetof(MR_SAS_CONNECTORS, conn) == 8);

// Entry of the enclosure list.
constexpr uint8_t MR_ENCL_TYPE_SGPIO = 3; // a backplane; every other type is an enclosure
struct [[gnu::packed]] MR_ENCL_ENTRY {
    uint16_t deviceId; // names the enclosure to the library
    uint8_t reserved2[8];
    uint8_t type;               // MR_ENCL_TYPE_*
    uint8_t enclConnectorIndex; // index into MR_SAS_CONNECTORS
    uint8_t reserved12[132];
};
static_assert(sizeof(MR_ENCL_ENTRY) == 144);
static_assert(offsetof(MR_ENCL_ENTRY, deviceId) == 0);
static_assert(offsetof(MR_ENCL_ENTRY, type) == 10);
static_assert(offsetof(MR_ENCL_ENTRY, enclConnectorIndex) == 11);

// The enclosures of a controller.
struct [[gnu::packed]] MR_ENCL_LIST {
    uint32_t count; // entries of encl
    uint8_t reserved4[4];
    MR_ENCL_ENTRY encl[32];
};
static_assert(sizeof(MR_ENCL_LIST) == 4616);
static_assert(offsetof(MR_ENCL_LIST, count) == 0);
static_assert(offsetof(MR_ENCL_LIST, encl) == 8);

// MR_PD_INFO::fwState.
constexpr uint16_t MR_PD_STATE_UNCONFIGURED_GOOD = 0x00;
constexpr uint16_t MR_PD_STATE_UNCONFIGURED_BAD = 0x01;
constexpr uint16_t MR_PD_STATE_HOT_SPARE = 0x02;
constexpr uint16_t MR_PD_STATE_OFFLINE = 0x10;
constexpr uint16_t MR_PD_STATE_FAILED = 0x11;
constexpr uint16_t MR_PD_STATE_REBUILD = 0x14;
constexpr uint16_t MR_PD_STATE_ONLINE = 0x18;
constexpr uint16_t MR_PD_STATE_COPYBACK = 0x20;
constexpr uint16_t MR_PD_STATE_PASS_THROUGH = 0x40;
constexpr uint16_t MR_PD_STATE_UNCONFIGURED_TESTED = 0x80;
constexpr uint16_t MR_PD_STATE_HOT_SPARE_TESTED = 0x82;
constexpr uint16_t MR_PD_STATE_CONFIGURED_TESTED = 0x90;

constexpr uint8_t MR_PD_DDF_FOREIGN = 0x10; // of ddfState: part of another controller's configuration

// The high four bits of MR_PD_INFO::ddfInterface.
constexpr uint8_t MR_PD_INTF_PARALLEL_SCSI = 1;
constexpr uint8_t MR_PD_INTF_SAS = 2;
constexpr uint8_t MR_PD_INTF_SATA = 3;
constexpr uint8_t MR_PD_INTF_FIBRE_CHANNEL = 4;

// Bits of MR_PD_INFO::activeOperations.
constexpr uint8_t MR_PD_OPERATION_REBUILD = 0x01;
constexpr uint8_t MR_PD_OPERATION_PATROL_READ = 0x02;
constexpr uint8_t MR_PD_OPERATION_ERASE = 0x04;
constexpr uint8_t MR_PD_OPERATION_COPYBACK = 0x08;
constexpr uint8_t MR_PD_OPERATION_SECURE_ERASE = 0x10;

// MR_PD_INFO::powerState, mediaType and temperature.
constexpr uint8_t MR_PD_POWER_ACTIVE = 0;
constexpr uint8_t MR_PD_POWER_SPUN_DOWN = 1;
constexpr uint8_t MR_PD_MEDIA_ROTATING = 0;
constexpr uint8_t MR_PD_MEDIA_SOLID_STATE = 1;
constexpr uint8_t MR_PD_TEMPERATURE_NOT_REPORTED = 255; // as is 0

// A physical device: a drive or an enclosure.
struct [[gnu::packed]] MR_PD_INFO {
    uint16_t deviceId; // names the device to the library
    uint8_t reserved2[2];
    uint8_t scsiDevType; // INQUIRY byte 0: SCSI_DEVICE_TYPE_* in the low five bits
    uint8_t reserved5[7];
    char vendor[8];          // INQUIRY
    char product[16];        // INQUIRY
    char revision[4];        // INQUIRY: the firmware's
    char vendorSpecific[20]; // INQUIRY: the serial number
    uint8_t reserved60[106];
    uint8_t connectedPortBitmap; // one bit a port; with MR_ADAPTER_OPERATION2_PORT_BITMAP its number in the low four
    uint8_t deviceSpeed;         // 1: 1.5 Gbit/s, 2: 3, 3: 6, 4: 12
    uint32_t mediaErrCount;      // medium errors
    uint32_t otherErrCount;      // all other errors
    uint32_t predFailCount;      // predictions of a failure (SMART)
    uint8_t reserved180[4];
    uint16_t fwState; // MR_PD_STATE_*
    uint8_t reserved186[2];
    uint8_t ddfState;     // MR_PD_DDF_FOREIGN
    uint8_t ddfInterface; // MR_PD_INTF_* in the high four bits
    uint8_t reserved190[2];
    uint8_t pathCount; // entries of sasAddr
    uint8_t reserved193[7];
    uint64_t sasAddr[4]; // 0: none
    uint64_t rawSize;    // 512-byte blocks
    uint8_t reserved240[8];
    uint64_t coercedSize;  // 512-byte blocks that a configuration can use
    uint16_t enclDeviceId; // of the enclosure or backplane that it sits in
    uint8_t reserved258[1];
    uint8_t slotNumber;       // within that enclosure
    uint8_t activeOperations; // MR_PD_OPERATION_*
    uint8_t reserved261[97];
    uint8_t powerState; // MR_PD_POWER_*
    uint8_t reserved359[7];
    uint16_t partnerDeviceId; // of an enclosure: its partner's; above 254: none
    uint8_t reserved368[2];
    uint8_t mediaType; // MR_PD_MEDIA_*
    uint8_t reserved371[31];
    uint8_t temperature; // degrees Celsius; MR_PD_TEMPERATURE_NOT_REPORTED
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

// How a logical drive is named.
struct [[gnu::packed]] MR_LD_REF {
    uint8_t targetId; // names the drive to the library
    uint8_t reserved1[3];
};
static_assert(sizeof(MR_LD_REF) == 4);
static_assert(offsetof(MR_LD_REF, targetId) == 0);

// Its name, cache and access. The library puts the policies into words.
constexpr uint8_t MR_LD_EMULATION_OFF = 0x08; // of emulation: no 512-byte blocks for this drive
struct [[gnu::packed]] MR_LD_PROPERTIES {
    MR_LD_REF ldRef;
    char name[16];              // its first byte 0: none was given
    uint8_t defaultCachePolicy; // raid_GetLogicalDriveCache*Policy
    uint8_t accessPolicy;       // raid_GetLogicalDriveAccessPolicy
    uint8_t diskCachePolicy;    // raid_GetPhysicalDriveCachePolicy
    uint8_t currentCachePolicy; // as the default one
    uint8_t reserved24[1];
    uint8_t emulation; // MR_LD_EMULATION_OFF
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

// MR_LD_PARAMETERS::state.
constexpr uint8_t MR_LD_STATE_OFFLINE = 0;
constexpr uint8_t MR_LD_STATE_PARTIALLY_DEGRADED = 1;
constexpr uint8_t MR_LD_STATE_DEGRADED = 2;
constexpr uint8_t MR_LD_STATE_OPTIMAL = 3;

// How it is laid out, and how it does.
constexpr uint8_t MR_LD_SSD_CACHE = 1; // of ssdCaching
struct [[gnu::packed]] MR_LD_PARAMETERS {
    uint8_t primaryRaidLevel; // 0, 1, 3, 5 or 6
    uint8_t reserved1[2];
    uint8_t stripeSize; // 512 bytes times two to its power
    uint8_t numDrives;  // of one span
    uint8_t spanDepth;  // entries of MR_LD_CONFIG::span
    uint8_t state;      // MR_LD_STATE_*
    uint8_t reserved7[8];
    uint8_t ssdCaching; // MR_LD_SSD_CACHE, otherwise an ordinary drive
    uint8_t reserved16[16];
};
static_assert(sizeof(MR_LD_PARAMETERS) == 32);
static_assert(offsetof(MR_LD_PARAMETERS, primaryRaidLevel) == 0);
static_assert(offsetof(MR_LD_PARAMETERS, stripeSize) == 3);
static_assert(offsetof(MR_LD_PARAMETERS, numDrives) == 4);
static_assert(offsetof(MR_LD_PARAMETERS, spanDepth) == 5);
static_assert(offsetof(MR_LD_PARAMETERS, state) == 6);
static_assert(offsetof(MR_LD_PARAMETERS, ssdCaching) == 15);

// One span of a logical drive.
struct [[gnu::packed]] MR_LD_SPAN {
    uint8_t reserved0[8];
    uint64_t numBlocks; // 512-byte blocks of each of its drives
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

// How far an operation is.
struct [[gnu::packed]] MR_PROGRESS {
    uint16_t progress; // 65535: 100 %
    uint8_t reserved2[2];
};
static_assert(sizeof(MR_PROGRESS) == 4);
static_assert(offsetof(MR_PROGRESS, progress) == 0);

// Bits of MR_LD_PROGRESS::active and paused.
constexpr uint8_t MR_LD_OPERATION_CONSISTENCY_CHECK = 0x01;
constexpr uint8_t MR_LD_OPERATION_BACKGROUND_INIT = 0x02;
constexpr uint8_t MR_LD_OPERATION_FOREGROUND_INIT = 0x04;
constexpr uint8_t MR_LD_OPERATION_RECONSTRUCTION = 0x08;
constexpr uint8_t MR_LD_OPERATION_SECURE_ERASE = 0x10;
constexpr uint8_t MR_LD_OPERATION_DISASSOCIATE = 0x20;

// Running and paused operations of a logical drive; a counter holds while its operation runs.
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
    MR_LD_CONFIG ldConfig; // as of the read of this record
    uint64_t size;         // 512-byte blocks
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
    uint16_t logDrvCount; // entries from ld on
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

// SL_ENCL_ELEMENT_T::status, as SES numbers them.
constexpr uint32_t SL_ENCL_ELEM_STATUS_UNSUPPORTED = 0;
constexpr uint32_t SL_ENCL_ELEM_STATUS_OK = 1;
constexpr uint32_t SL_ENCL_ELEM_STATUS_CRITICAL = 2;
constexpr uint32_t SL_ENCL_ELEM_STATUS_NONCRITICAL = 3;
constexpr uint32_t SL_ENCL_ELEM_STATUS_UNRECOVERABLE = 4;
constexpr uint32_t SL_ENCL_ELEM_STATUS_NOT_INSTALLED = 5;
constexpr uint32_t SL_ENCL_ELEM_STATUS_NOT_AVAILABLE = 6;
constexpr uint32_t SL_ENCL_ELEM_STATUS_NO_ACCESS = 7;

// One element of an enclosure.
struct [[gnu::packed]] SL_ENCL_ELEMENT_T {
    uint32_t status; // SL_ENCL_ELEM_STATUS_*
    uint8_t ses[4];  // the element as its SES page has it
};
static_assert(sizeof(SL_ENCL_ELEMENT_T) == 8);
static_assert(offsetof(SL_ENCL_ELEMENT_T, status) == 0);
static_assert(offsetof(SL_ENCL_ELEMENT_T, ses) == 4);

// State of an enclosure and of its elements.
struct [[gnu::packed]] SL_ENCL_STATUS_T {
    uint8_t reserved0[4];
    uint32_t slotCount;   // elements of each kind
    uint32_t psuCount;    // power supplies
    uint32_t fanCount;    // fans
    uint32_t sensorCount; // temperature sensors
    uint32_t alarmCount;  // alarms
    uint8_t reserved24[8];
    SL_ENCL_ELEMENT_T element[124]; // kind after kind, in the order of the counts
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
    float value[4]; // degrees Celsius: high critical, high warning, low warning, low critical; -100: not set
};
static_assert(sizeof(SL_TEMP_THRESHOLD_T) == 32);
static_assert(offsetof(SL_TEMP_THRESHOLD_T, value) == 16);
