#pragma once

// The parameter tables: which values an element of the tree has, in the order of its children. Rows without an
// XML name are never written; the tree asks for their values by itself.

#include "tree/batteryValues.h"
#include "tree/controllerValues.h"
#include "tree/statusSummary.h"
#include "values/enclosure.h"
#include "values/enclosureElements.h"
#include "values/enclosureProcessor.h"
#include "values/logicalDrive.h"
#include "values/physicalDrive.h"

constexpr int32_t PARAM_INTEGER = 0;
constexpr int32_t PARAM_TEXT = 1;

struct ParamTableEntry {
    int32_t paramID;          // what the value function is asked for; -1 ends the table
    const char* displayName;  // for people
    const char* xmlParamName; // NULL: not written
    int32_t valueType;        // PARAM_TEXT; anything else: integer
};

constexpr ParamTableEntry PARAM_TABLE_END = {-1, nullptr, nullptr, PARAM_INTEGER};

// Whether each id below the count has one row, `withoutRow` apart, and the table its end.
template <size_t size>
consteval bool hasRowForEach(const ParamTableEntry (&table)[size], int paramCount, int withoutRow = -1) {
    for (int id = 0; id < paramCount; ++id) {
        int rows = 0;
        for (const ParamTableEntry& row : table) rows += row.paramID == id ? 1 : 0;
        if (rows != (id == withoutRow ? 0 : 1)) return false;
    }
    const size_t rowCount = size_t(paramCount) - (withoutRow < 0 ? 0 : 1);
    return size == rowCount + 1 && table[rowCount].paramID == PARAM_TABLE_END.paramID;
}

// clang-format off
// Children of "Adapter". The order is the document's: AlarmControl stands behind PatrolReadRate.
constexpr ParamTableEntry ctrlParams_Table[] = {
    {CTRL_TYPE, "Type", "Type", PARAM_TEXT},
    {CTRL_NUMBER, "CtrlNumber", "AdapterNumber", PARAM_INTEGER},
    {CTRL_NAME, "Name", "Name", PARAM_TEXT},
    {CTRL_VENDOR, "Vendor", "Vendor", PARAM_TEXT},
    {CTRL_PRODUCT, "Product", "Product", PARAM_TEXT},
    {CTRL_SERIAL_NUMBER, "SerialNumber", "SerialNumber", PARAM_TEXT},
    {CTRL_SAS_ADDRESS, "SASAddress", "SASAddress", PARAM_TEXT},
    {CTRL_PORT_COUNT, "PortCount", "PortCount", PARAM_INTEGER},
    {CTRL_MAX_CHANNEL_IN_USE, "Max Channel in use", "MaxChannelInUse", PARAM_INTEGER},
    {CTRL_DRIVER_NAME, "CtrlDriverName", "DriverName", PARAM_TEXT},
    {CTRL_DRIVER_VERSION, "CtrlDriverRevison", "DriverVersion", PARAM_TEXT},
    {CTRL_UEFI_DRIVER_VERSION, "UEFI Driver Version", "UEFIDriverVersion", PARAM_TEXT},
    {CTRL_PROTOCOL, "Protocol", "Protocol", PARAM_TEXT},
    {CTRL_FW_PACKAGE_VERSION, "FWPackageVersion", "FWPackageVersion", PARAM_TEXT},
    {CTRL_FIRMWARE_VERSION, "FWVersion", "FirmwareVersion", PARAM_TEXT},
    {CTRL_FIRMWARE_BUILD_TIME, "FWBuildTime", "FirmwareBuildTime", PARAM_TEXT},
    {CTRL_BIOS_VERSION, "BIOS WVersion", "BIOSVersion", PARAM_TEXT},
    {CTRL_BIOS_BUILD_TIME, "BIOS BuildTime", "BIOSBuildTime", PARAM_TEXT},
    {CTRL_MEMORY_SIZE, "MemorySize", "MemorySize", PARAM_INTEGER},
    {CTRL_FLASH_ROM_SIZE, "FlashROMSize", "FlashROMSize", PARAM_INTEGER},
    {CTRL_ALARM_PRESENT, "AlarmPresent", "AlarmPresent", PARAM_TEXT},
    {CTRL_NVRAM_SIZE, "NVRAMSize", "NVRAMSize", PARAM_INTEGER},
    {CTRL_CORR_ERROR_COUNT, "CorrErrorCount", "CorrErrorCount", PARAM_INTEGER},
    {CTRL_UNCORR_ERROR_COUNT, "UnCorrErrorCount", "UnCorrErrorCount", PARAM_INTEGER},
    {CTRL_ACTIVITY, "Activity", "Activity", PARAM_TEXT},
    {CTRL_INCONSISTENCY_POLICY, "Inconsistance Policy", "InconsistPolicy", PARAM_TEXT},
    {CTRL_SMART_SUPPORT, "SMARTSupport", "SMARTSupport", PARAM_TEXT},
    {CTRL_POLLING_INTERVAL, "PollingInterval", "PollingInterval", PARAM_INTEGER},
    {CTRL_PATROL_READ_MODE, "PatrolReadMode", "PatrolReadMode", PARAM_TEXT},
    {CTRL_NEXT_EXEC, "NextExec", "NextExec", PARAM_TEXT},
    {CTRL_PATROL_READ_MAX_PD, "PatrolReadMaxPD", "PatrolReadMaxPD", PARAM_INTEGER},
    {CTRL_CONTINUOUS_PATROLLING, "ContinuousPatrolling", "ContinousPatrolling", PARAM_TEXT},
    {CTRL_PATROL_READ_DELAY, "PatrolReadDelay", "PatrolReadDelay", PARAM_INTEGER},
    {CTRL_PATROL_READ_ITERATIONS, "PatrolRdIterations", "PatrolRdIterations", PARAM_INTEGER},
    {CTRL_PATROL_READ_RATE, "PatrolReadRate", "PatrolReadRate", PARAM_INTEGER},
    {CTRL_ALARM_CONTROL, "AlarmControl", "AlarmControl", PARAM_TEXT},
    {CTRL_REBUILD_RATE, "RebuildRate", "RebuildRate", PARAM_INTEGER},
    {CTRL_BGI_RATE, "BGIRate", "BGIRate", PARAM_INTEGER},
    {CTRL_MDC_RATE, "MDCRate", "MDCRate", PARAM_INTEGER},
    {CTRL_MIGRATION_RATE, "MigrationRate", "MigrationRate", PARAM_INTEGER},
    {CTRL_AUTO_FLUSH_FREQ, "AutoFlushFreq", "AutoFlushFreq", PARAM_INTEGER},
    {CTRL_DELAY_BETWEEN_SPINS, "DelayBetweenSpins", "DelayBetweenSpins", PARAM_INTEGER},
    {CTRL_DEVICES_PER_SPINS, "DevicesPerSpins", "DevicesPerSpins", PARAM_INTEGER},
    {CTRL_AUTO_REBUILD, "AutoRebuild", "AutoRebuild", PARAM_TEXT},
    {CTRL_COERCION_MODE, "CoercionMode", "CoercionMode", PARAM_TEXT},
    {CTRL_ABORT_MDC_ON_ERROR, "AbortMDCOnError", "AbortMDCOnError", PARAM_TEXT},
    {CTRL_INIT_MODE, "InitMode", "InitMode", PARAM_TEXT},
    {CTRL_BOOT_LD_NUMBER, "BootLogDriveNumber", "BootLogDriveNumber", PARAM_INTEGER},
    {CTRL_COPYBACK, "CopyBack", "CopyBack", PARAM_TEXT},
    {CTRL_COPYBACK_ON_SMART_ERROR, "CopybackOnSMARTError", "CopybackOnSMARTError", PARAM_TEXT},
    {CTRL_CORRECT_MEDIA_ERRORS_PR, "CorrectMediaErrorsPR", "CorrectMediaErrorsPR", PARAM_TEXT},
    {CTRL_COPYBACK_SSD_ON_SMART_ERROR, "CopybackSSDPnSMARTErr", "CopybackSSDPnSMARTErr", PARAM_TEXT},
    {CTRL_PR_ON_SSD, "PROnSSD", "PROnSSD", PARAM_TEXT},
    {CTRL_SPINDOWN_UNCONFIGURED, "SpindownUnconfDisks", "SpindownUnconfDisks", PARAM_TEXT},
    {CTRL_SPINDOWN_HOT_SPARE, "SpindownHotSpare", "SpindownHotSpare", PARAM_TEXT},
    {CTRL_SPINDOWN_DELAY_TIME, "SpindownDelayTime", "SpindownDelayTime", PARAM_INTEGER},
    {CTRL_MDC_SCHEDULE_MODE, "MDCScheduleMode", "MDCScheduleMode", PARAM_TEXT},
    {CTRL_NCQ, "NCQ", "NCQ", PARAM_TEXT},
    {CTRL_CHIP_TEMPERATURE, "ChipTemperature", "ChipTemperature", PARAM_INTEGER},
    {CTRL_STATUS, "Status", "Status", PARAM_TEXT},
    {CTRL_ID, "CtrlId", nullptr, PARAM_INTEGER},
    {CTRL_PD_COUNT, "CtrlPdCount", nullptr, PARAM_INTEGER},
    {CTRL_LD_COUNT, "CtrlLdCount", nullptr, PARAM_INTEGER},
    {CTRL_VENDOR_ID, "CtrlVendorId", nullptr, PARAM_INTEGER},
    {CTRL_SUBVENDOR_ID, "CtrlSubvendorId", nullptr, PARAM_INTEGER},
    {CTRL_PATROL_READ_STATUS, "CtrlPatrolReadStatus", nullptr, PARAM_TEXT},
    {CTRL_DEVICE_ID, "CtrlDeviceId", nullptr, PARAM_INTEGER},
    {CTRL_SUBDEVICE_ID, "CtrlSubDeviceId", nullptr, PARAM_INTEGER},
    PARAM_TABLE_END,
};
static_assert(hasRowForEach(ctrlParams_Table, CTRL_PARAM_COUNT));

// Children of "Battery".
constexpr ParamTableEntry battParams_Table[] = {
    {BATTERY_NAME, "Name", "Name", PARAM_TEXT},
    {BATTERY_VENDOR, "Vendor", "Vendor", PARAM_TEXT},
    {BATTERY_MANUFACTURE_DATE, "Manufacture Date", "ManufactureDate", PARAM_TEXT},
    {BATTERY_DESIGN_CAPACITY, "Design Capacity", "DesignCapacity", PARAM_INTEGER},
    {BATTERY_DESIGN_VOLTAGE, "Design Voltage", "DesignVoltage", PARAM_TEXT},
    {BATTERY_TYPE, "Type", "Type", PARAM_TEXT},
    {BATTERY_INTELLIGENT, "Intelligent BBU", "IntelligentBBU", PARAM_TEXT},
    {BATTERY_SERIAL_NUMBER, "Serial Number", "SerialNumber", PARAM_INTEGER},
    {BATTERY_STATUS, "Status", "Status", PARAM_TEXT},
    {BATTERY_NEXT_LEARN_TIME, "Next Learn Time", "NextLearnTime", PARAM_TEXT},
    {BATTERY_DEVICE_NAME, "Device Name", "DeviceName", PARAM_TEXT},
    {BATTERY_MODULE_VERSION, "Module Version", "ModuleVersion", PARAM_TEXT},
    {BATTERY_AUTO_LEARN_MODE, "Auto Learn Mode", "AutoLearnMode", PARAM_TEXT},
    {BATTERY_AUTO_LEARN_PERIOD, "Auto Learn Period", "AutoLearnPeriod", PARAM_INTEGER},
    {BATTERY_VOLTAGE, "Voltage", "Voltage", PARAM_TEXT},
    {BATTERY_TEMPERATURE, "Temperature", "Temperature", PARAM_INTEGER},
    {BATTERY_CAPACITANCE, "Capacitance", "Capacitance", PARAM_INTEGER},
    {BATTERY_REMAINING_CAPACITY, "Remaining Capacity", "RemainingCapacity", PARAM_INTEGER},
    PARAM_TABLE_END,
};
static_assert(hasRowForEach(battParams_Table, BATTERY_PARAM_COUNT));

// Children of "LogicalDrive".
constexpr ParamTableEntry ldParams_Table[] = {
    {LD_NUMBER, "LogDriveNumber", "LogDriveNumber", PARAM_INTEGER},
    {LD_LOGICAL_SIZE, "LogicalSize", "LogicalSize", PARAM_INTEGER},
    {LD_PHYSICAL_SIZE, "PhysicalSize", "PhysicalSize", PARAM_INTEGER},
    {LD_RAID_LEVEL, "RAIDLevel", "RAIDLevel", PARAM_TEXT},
    {LD_STRIPE_SIZE, "Stripesize", "Stripesize", PARAM_TEXT},
    {LD_NAME, "Name", "Name", PARAM_TEXT},
    {LD_INIT_STATE, "InitState", "InitState", PARAM_TEXT},
    {LD_WRITE_MODE, "WriteMode", "WriteMode", PARAM_TEXT},
    {LD_READ_MODE, "ReadMode", "ReadMode", PARAM_TEXT},
    {LD_CACHE_MODE, "CacheMode", "CacheMode", PARAM_TEXT},
    {LD_ACCESS_MODE, "AccessMode", "AccessMode", PARAM_TEXT},
    {LD_DEFAULT_WRITE_MODE, "DefaultWriteMode", "DefaultWriteMode", PARAM_TEXT},
    {LD_DEFAULT_READ_MODE, "DefaultReadMode", "DefaultReadMode", PARAM_TEXT},
    {LD_DEFAULT_CACHE_MODE, "DefaultCacheMode", "DefaultCacheMode", PARAM_TEXT},
    {LD_DEFAULT_ACCESS_MODE, "DefaultAccessMode", "DefaultAccessMode", PARAM_TEXT},
    {LD_DISK_CACHE_MODE, "DiskCacheMode", "DiskCacheMode", PARAM_TEXT},
    {LD_EMULATE_512E, "Emulate512E", "Emulate512E", PARAM_TEXT},
    {LD_STATUS, "Status", "Status", PARAM_TEXT},
    {LD_ACTIVITY, "Activity", "Activity", PARAM_TEXT},
    {LD_OS_DEVICE, "OSDevice", nullptr, PARAM_TEXT},
    {LD_DISPLAY_NAME, "DisplayName", "DisplayName", PARAM_TEXT},
    {LD_INIT_PROGRESS, "Init Progress", "InitProgress", PARAM_TEXT},
    {LD_REBUILD_PROGRESS, "Rebuild Progress", "RebuildProgress", PARAM_TEXT},
    {LD_CHECK_PROGRESS, "Check Progress", "CheckProgress", PARAM_TEXT},
    PARAM_TABLE_END,
};
static_assert(hasRowForEach(ldParams_Table, LD_PARAM_COUNT));

// Children of "PhysicalDrive".
constexpr ParamTableEntry pdParams_Table[] = {
    {PD_PORT_NUMBER, "PortNumber", "PortNumber", PARAM_INTEGER},
    {PD_NAME, "Name", "Name", PARAM_TEXT},
    {PD_VENDOR, "Vendor", "Vendor", PARAM_TEXT},
    {PD_PRODUCT, "Product", "Product", PARAM_TEXT},
    {PD_TYPE, "Type", "Type", PARAM_TEXT},
    {PD_FIRMWARE_VERSION, "FirmwareVersion", "FirmwareVersion", PARAM_TEXT},
    {PD_SERIAL_NUMBER, "SerialNumber", "SerialNumber", PARAM_TEXT},
    {PD_TRANSFER_SPEED, "TransferSpeed", "TransferSpeed", PARAM_INTEGER},
    {PD_TRANSFER_WIDTH, "TransferWidth", "TransferWidth", PARAM_INTEGER},
    {PD_RPM, "RPM", "RPM", PARAM_TEXT},
    {PD_DEVICE_NUMBER, "DeviceNumber", "DeviceNumber", PARAM_INTEGER},
    {PD_SLOT, "Slot", "Slot", PARAM_INTEGER},
    {PD_ENCLOSURE_NUMBER, "EnclosureNumber", "EnclosureNumber", PARAM_INTEGER},
    {PD_SAS_ADDRESS, "SASAddress00", "SASAddress00", PARAM_TEXT},
    {PD_PHYSICAL_SIZE, "PhysicalSize", "PhysicalSize", PARAM_INTEGER},
    {PD_CONFIGURABLE_SIZE, "ConfigurableSize", "ConfigurableSize", PARAM_INTEGER},
    {PD_STATUS, "Status", "Status", PARAM_TEXT},
    {PD_ACTIVITY, "Activity", "Activity", PARAM_TEXT},
    {PD_FOREIGN_CONFIG, "ForeignConfig", "ForeignConfig", PARAM_TEXT},
    {PD_MEDIA_ERROR_COUNT, "MediaErrorCount", "MediaErrorCount", PARAM_INTEGER},
    {PD_MISC_ERRORS, "MiscErrors", "MiscErrors", PARAM_INTEGER},
    {PD_PFA_COUNT, "PFACount", "PFACount", PARAM_INTEGER},
    {PD_MEDIA_TYPE, "MediaType", "MediaType", PARAM_TEXT},
    {PD_SMART_STATUS, "SMART Status", "SMARTStatus", PARAM_TEXT},
    {PD_POWER_STATUS, "PowerStatus", "PowerStatus", PARAM_TEXT},
    {PD_TEMPERATURE, "Temperature", "Temperature", PARAM_INTEGER},
    {PD_BAD_BLOCKS, "Bad blocks", nullptr, PARAM_INTEGER},
    PARAM_TABLE_END,
};
static_assert(hasRowForEach(pdParams_Table, PD_PARAM_COUNT));

// Children of "Enclosure". The logical identifier has no row.
constexpr ParamTableEntry enclParams_Table[] = {
    {ENCL_NUMBER, "EnclosureNumber", "EnclosureNumber", PARAM_INTEGER},
    {ENCL_VENDOR, "Vendor", "Vendor", PARAM_TEXT},
    {ENCL_PRODUCT, "Product", "Product", PARAM_TEXT},
    {ENCL_HARDWARE_VERSION, "Hardware Version", "HardwareVersion", PARAM_TEXT},
    {ENCL_NAME, "Name", "Name", PARAM_TEXT},
    {ENCL_STATUS, "Status", "Status", PARAM_TEXT},
    {ENCL_SUPPORT, "Enclosure Support", nullptr, PARAM_INTEGER},
    PARAM_TABLE_END,
};
static_assert(hasRowForEach(enclParams_Table, ENCL_PARAM_COUNT, ENCL_LOGICAL_ID));

// Children of "Processor".
constexpr ParamTableEntry enclProcParams_Table[] = {
    {PROC_PORT_NUMBER, "Port Number", "PortNumber", PARAM_INTEGER},
    {PROC_DEVICE_NUMBER, "Device Number", "DeviceNumber", PARAM_INTEGER},
    {PROC_ENCLOSURE_NUMBER, "EnclosureNumber", "EnclosureNumber", PARAM_INTEGER},
    {PROC_NAME, "Name", "Name", PARAM_TEXT},
    {PROC_TYPE, "Type", "Type", PARAM_TEXT},
    {PROC_VENDOR, "Vendor", "Vendor", PARAM_TEXT},
    {PROC_PRODUCT, "Product", "Product", PARAM_TEXT},
    {PROC_SERIAL_NUMBER, "Serial Number", "SerialNumber", PARAM_TEXT},
    {PROC_HARDWARE_VERSION, "Hardware Version", "HardwareVersion", PARAM_TEXT},
    {PROC_FIRMWARE_VERSION, "Firmware Version", "FirmwareVersion", PARAM_TEXT},
    {PROC_STATUS, "Status", "Status", PARAM_TEXT},
    PARAM_TABLE_END,
};
static_assert(hasRowForEach(enclProcParams_Table, PROC_PARAM_COUNT));

// Children of "Fan".
constexpr ParamTableEntry enclFanParams_Table[] = {
    {FAN_NAME, "Name", "Name", PARAM_TEXT},
    {FAN_LOCATION, "Location", "Location", PARAM_TEXT},
    {FAN_SPEED, "Fan Speed", "FanSpeed", PARAM_TEXT},
    {FAN_STATUS, "Status", "Status", PARAM_TEXT},
    PARAM_TABLE_END,
};
static_assert(hasRowForEach(enclFanParams_Table, FAN_PARAM_COUNT));

// Children of "PowerSupply".
constexpr ParamTableEntry enclPsParams_Table[] = {
    {PS_SERIAL_NUMBER, "Serial Number", "SerialNumber", PARAM_TEXT},
    {PS_HARDWARE_VERSION, "Hardware Version", "HardwareVersion", PARAM_TEXT},
    {PS_STATUS, "Status", "Status", PARAM_TEXT},
    {PS_NAME, "Name", "Name", PARAM_TEXT},
    PARAM_TABLE_END,
};
static_assert(hasRowForEach(enclPsParams_Table, PS_PARAM_COUNT));

// Children of "TemperatureSensor". The two pairs of limits bear the same names.
constexpr ParamTableEntry enclTempSensorParams_Table[] = {
    {SENSOR_NAME, "Name", "Name", PARAM_TEXT},
    {SENSOR_LOCATION, "Location", "Location", PARAM_TEXT},
    {SENSOR_CRITICAL_LOW, "Critical Temperature Low", "CriticalTemperatureL", PARAM_INTEGER},
    {SENSOR_WARNING_HIGH, "Warning Temperature High", "WarningTemperatureH", PARAM_INTEGER},
    {SENSOR_WARNING_LOW, "Critical Temperature Low", "CriticalTemperatureL", PARAM_INTEGER},
    {SENSOR_CRITICAL_HIGH, "Warning Temperature High", "WarningTemperatureH", PARAM_INTEGER},
    {SENSOR_STATUS, "Status", "Status", PARAM_TEXT},
    {SENSOR_TEMPERATURE, "Temperature", "Temperature", PARAM_INTEGER},
    PARAM_TABLE_END,
};
static_assert(hasRowForEach(enclTempSensorParams_Table, SENSOR_PARAM_COUNT));

// Children of "Multiplexer".
constexpr ParamTableEntry mxParams_Table[] = {
    {MX_STATUS, "Status", "Status", PARAM_TEXT},
    {MX_STATUS_OVERALL, "Overall Status", "StatusOverall", PARAM_TEXT},
    {MX_STATUS_ADAPTERS, "Status of Adapters", "StatusAdapters", PARAM_TEXT},
    {MX_STATUS_LOGICAL_DRIVES, "Status of Logical Drives", "StatusLogicalDrives", PARAM_TEXT},
    {MX_STATUS_DISKS, "Status of Disks", "StatusDisks", PARAM_TEXT},
    PARAM_TABLE_END,
};
static_assert(hasRowForEach(mxParams_Table, MX_PARAM_COUNT));
// clang-format on
