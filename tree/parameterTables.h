#pragma once

// The parameter tables: which values an element of the tree has, in the order of its children. Rows without an
// XML name are never written; the tree asks for their values by itself.

#include <cstdint>
#include <iterator>

constexpr int32_t PARAM_INTEGER = 0;
constexpr int32_t PARAM_TEXT = 1;

struct ParamTableEntry {
    int32_t paramID;          // what the value function is asked for; -1 ends the table
    const char* displayName;  // for people
    const char* xmlParamName; // NULL: not written
    int32_t valueType;        // PARAM_TEXT; anything else: integer
};

constexpr ParamTableEntry PARAM_TABLE_END = {-1, nullptr, nullptr, PARAM_INTEGER};

// Rows of the controller table that the tree asks for.
constexpr int CTRL_PARAM_PD_COUNT = 60;
constexpr int CTRL_PARAM_LD_COUNT = 61;

// clang-format off
// Children of "Adapter". The order is the document's: AlarmControl stands behind PatrolReadRate.
constexpr ParamTableEntry ctrlParams_Table[] = {
    {0, "Type", "Type", PARAM_TEXT},
    {1, "CtrlNumber", "AdapterNumber", PARAM_INTEGER},
    {2, "Name", "Name", PARAM_TEXT},
    {3, "Vendor", "Vendor", PARAM_TEXT},
    {4, "Product", "Product", PARAM_TEXT},
    {5, "SerialNumber", "SerialNumber", PARAM_TEXT},
    {6, "SASAddress", "SASAddress", PARAM_TEXT},
    {7, "PortCount", "PortCount", PARAM_INTEGER},
    {8, "Max Channel in use", "MaxChannelInUse", PARAM_INTEGER},
    {9, "CtrlDriverName", "DriverName", PARAM_TEXT},
    {10, "CtrlDriverRevison", "DriverVersion", PARAM_TEXT},
    {11, "UEFI Driver Version", "UEFIDriverVersion", PARAM_TEXT},
    {12, "Protocol", "Protocol", PARAM_TEXT},
    {13, "FWPackageVersion", "FWPackageVersion", PARAM_TEXT},
    {14, "FWVersion", "FirmwareVersion", PARAM_TEXT},
    {15, "FWBuildTime", "FirmwareBuildTime", PARAM_TEXT},
    {16, "BIOS WVersion", "BIOSVersion", PARAM_TEXT},
    {17, "BIOS BuildTime", "BIOSBuildTime", PARAM_TEXT},
    {18, "MemorySize", "MemorySize", PARAM_INTEGER},
    {19, "FlashROMSize", "FlashROMSize", PARAM_INTEGER},
    {20, "AlarmPresent", "AlarmPresent", PARAM_TEXT},
    {21, "NVRAMSize", "NVRAMSize", PARAM_INTEGER},
    {22, "CorrErrorCount", "CorrErrorCount", PARAM_INTEGER},
    {23, "UnCorrErrorCount", "UnCorrErrorCount", PARAM_INTEGER},
    {24, "Activity", "Activity", PARAM_TEXT},
    {25, "Inconsistance Policy", "InconsistPolicy", PARAM_TEXT},
    {26, "SMARTSupport", "SMARTSupport", PARAM_TEXT},
    {27, "PollingInterval", "PollingInterval", PARAM_INTEGER},
    {28, "PatrolReadMode", "PatrolReadMode", PARAM_TEXT},
    {29, "NextExec", "NextExec", PARAM_TEXT},
    {30, "PatrolReadMaxPD", "PatrolReadMaxPD", PARAM_INTEGER},
    {31, "ContinuousPatrolling", "ContinousPatrolling", PARAM_TEXT},
    {32, "PatrolReadDelay", "PatrolReadDelay", PARAM_INTEGER},
    {33, "PatrolRdIterations", "PatrolRdIterations", PARAM_INTEGER},
    {34, "PatrolReadRate", "PatrolReadRate", PARAM_INTEGER},
    {65, "AlarmControl", "AlarmControl", PARAM_TEXT},
    {35, "RebuildRate", "RebuildRate", PARAM_INTEGER},
    {36, "BGIRate", "BGIRate", PARAM_INTEGER},
    {37, "MDCRate", "MDCRate", PARAM_INTEGER},
    {38, "MigrationRate", "MigrationRate", PARAM_INTEGER},
    {39, "AutoFlushFreq", "AutoFlushFreq", PARAM_INTEGER},
    {40, "DelayBetweenSpins", "DelayBetweenSpins", PARAM_INTEGER},
    {41, "DevicesPerSpins", "DevicesPerSpins", PARAM_INTEGER},
    {42, "AutoRebuild", "AutoRebuild", PARAM_TEXT},
    {43, "CoercionMode", "CoercionMode", PARAM_TEXT},
    {44, "AbortMDCOnError", "AbortMDCOnError", PARAM_TEXT},
    {45, "InitMode", "InitMode", PARAM_TEXT},
    {46, "BootLogDriveNumber", "BootLogDriveNumber", PARAM_INTEGER},
    {47, "CopyBack", "CopyBack", PARAM_TEXT},
    {48, "CopybackOnSMARTError", "CopybackOnSMARTError", PARAM_TEXT},
    {49, "CorrectMediaErrorsPR", "CorrectMediaErrorsPR", PARAM_TEXT},
    {50, "CopybackSSDPnSMARTErr", "CopybackSSDPnSMARTErr", PARAM_TEXT},
    {51, "PROnSSD", "PROnSSD", PARAM_TEXT},
    {52, "SpindownUnconfDisks", "SpindownUnconfDisks", PARAM_TEXT},
    {53, "SpindownHotSpare", "SpindownHotSpare", PARAM_TEXT},
    {54, "SpindownDelayTime", "SpindownDelayTime", PARAM_INTEGER},
    {55, "MDCScheduleMode", "MDCScheduleMode", PARAM_TEXT},
    {56, "NCQ", "NCQ", PARAM_TEXT},
    {57, "ChipTemperature", "ChipTemperature", PARAM_INTEGER},
    {58, "Status", "Status", PARAM_TEXT},
    {59, "CtrlId", nullptr, PARAM_INTEGER},
    {60, "CtrlPdCount", nullptr, PARAM_INTEGER},
    {61, "CtrlLdCount", nullptr, PARAM_INTEGER},
    {62, "CtrlVendorId", nullptr, PARAM_INTEGER},
    {63, "CtrlSubvendorId", nullptr, PARAM_INTEGER},
    {64, "CtrlPatrolReadStatus", nullptr, PARAM_TEXT},
    {66, "CtrlDeviceId", nullptr, PARAM_INTEGER},
    {67, "CtrlSubDeviceId", nullptr, PARAM_INTEGER},
    PARAM_TABLE_END,
};
static_assert(std::size(ctrlParams_Table) == 69);

// Children of "Battery".
constexpr ParamTableEntry battParams_Table[] = {
    {0, "Name", "Name", PARAM_TEXT},
    {1, "Vendor", "Vendor", PARAM_TEXT},
    {2, "Manufacture Date", "ManufactureDate", PARAM_TEXT},
    {3, "Design Capacity", "DesignCapacity", PARAM_INTEGER},
    {4, "Design Voltage", "DesignVoltage", PARAM_TEXT},
    {5, "Type", "Type", PARAM_TEXT},
    {6, "Intelligent BBU", "IntelligentBBU", PARAM_TEXT},
    {7, "Serial Number", "SerialNumber", PARAM_INTEGER},
    {8, "Status", "Status", PARAM_TEXT},
    {9, "Next Learn Time", "NextLearnTime", PARAM_TEXT},
    {10, "Device Name", "DeviceName", PARAM_TEXT},
    {11, "Module Version", "ModuleVersion", PARAM_TEXT},
    {12, "Auto Learn Mode", "AutoLearnMode", PARAM_TEXT},
    {13, "Auto Learn Period", "AutoLearnPeriod", PARAM_INTEGER},
    {14, "Voltage", "Voltage", PARAM_TEXT},
    {15, "Temperature", "Temperature", PARAM_INTEGER},
    {16, "Capacitance", "Capacitance", PARAM_INTEGER},
    {17, "Remaining Capacity", "RemainingCapacity", PARAM_INTEGER},
    PARAM_TABLE_END,
};
static_assert(std::size(battParams_Table) == 19);

// Children of "LogicalDrive".
constexpr ParamTableEntry ldParams_Table[] = {
    {0, "LogDriveNumber", "LogDriveNumber", PARAM_INTEGER},
    {1, "LogicalSize", "LogicalSize", PARAM_INTEGER},
    {2, "PhysicalSize", "PhysicalSize", PARAM_INTEGER},
    {3, "RAIDLevel", "RAIDLevel", PARAM_TEXT},
    {4, "Stripesize", "Stripesize", PARAM_TEXT},
    {5, "Name", "Name", PARAM_TEXT},
    {6, "InitState", "InitState", PARAM_TEXT},
    {7, "WriteMode", "WriteMode", PARAM_TEXT},
    {8, "ReadMode", "ReadMode", PARAM_TEXT},
    {9, "CacheMode", "CacheMode", PARAM_TEXT},
    {10, "AccessMode", "AccessMode", PARAM_TEXT},
    {11, "DefaultWriteMode", "DefaultWriteMode", PARAM_TEXT},
    {12, "DefaultReadMode", "DefaultReadMode", PARAM_TEXT},
    {13, "DefaultCacheMode", "DefaultCacheMode", PARAM_TEXT},
    {14, "DefaultAccessMode", "DefaultAccessMode", PARAM_TEXT},
    {15, "DiskCacheMode", "DiskCacheMode", PARAM_TEXT},
    {16, "Emulate512E", "Emulate512E", PARAM_TEXT},
    {17, "Status", "Status", PARAM_TEXT},
    {18, "Activity", "Activity", PARAM_TEXT},
    {19, "OSDevice", nullptr, PARAM_TEXT},
    {20, "DisplayName", "DisplayName", PARAM_TEXT},
    {21, "Init Progress", "InitProgress", PARAM_TEXT},
    {22, "Rebuild Progress", "RebuildProgress", PARAM_TEXT},
    {23, "Check Progress", "CheckProgress", PARAM_TEXT},
    PARAM_TABLE_END,
};
static_assert(std::size(ldParams_Table) == 25);

// Children of "PhysicalDrive".
constexpr ParamTableEntry pdParams_Table[] = {
    {0, "PortNumber", "PortNumber", PARAM_INTEGER},
    {1, "Name", "Name", PARAM_TEXT},
    {2, "Vendor", "Vendor", PARAM_TEXT},
    {3, "Product", "Product", PARAM_TEXT},
    {4, "Type", "Type", PARAM_TEXT},
    {5, "FirmwareVersion", "FirmwareVersion", PARAM_TEXT},
    {6, "SerialNumber", "SerialNumber", PARAM_TEXT},
    {7, "TransferSpeed", "TransferSpeed", PARAM_INTEGER},
    {8, "TransferWidth", "TransferWidth", PARAM_INTEGER},
    {9, "RPM", "RPM", PARAM_TEXT},
    {10, "DeviceNumber", "DeviceNumber", PARAM_INTEGER},
    {11, "Slot", "Slot", PARAM_INTEGER},
    {12, "EnclosureNumber", "EnclosureNumber", PARAM_INTEGER},
    {13, "SASAddress00", "SASAddress00", PARAM_TEXT},
    {14, "PhysicalSize", "PhysicalSize", PARAM_INTEGER},
    {15, "ConfigurableSize", "ConfigurableSize", PARAM_INTEGER},
    {16, "Status", "Status", PARAM_TEXT},
    {17, "Activity", "Activity", PARAM_TEXT},
    {18, "ForeignConfig", "ForeignConfig", PARAM_TEXT},
    {19, "MediaErrorCount", "MediaErrorCount", PARAM_INTEGER},
    {20, "MiscErrors", "MiscErrors", PARAM_INTEGER},
    {21, "PFACount", "PFACount", PARAM_INTEGER},
    {22, "MediaType", "MediaType", PARAM_TEXT},
    {23, "SMART Status", "SMARTStatus", PARAM_TEXT},
    {24, "PowerStatus", "PowerStatus", PARAM_TEXT},
    {25, "Temperature", "Temperature", PARAM_INTEGER},
    {26, "Bad blocks", nullptr, PARAM_INTEGER},
    PARAM_TABLE_END,
};
static_assert(std::size(pdParams_Table) == 28);

// Children of "Enclosure"; 4, the logical identifier, has no row.
constexpr ParamTableEntry enclParams_Table[] = {
    {0, "EnclosureNumber", "EnclosureNumber", PARAM_INTEGER},
    {1, "Vendor", "Vendor", PARAM_TEXT},
    {2, "Product", "Product", PARAM_TEXT},
    {3, "Hardware Version", "HardwareVersion", PARAM_TEXT},
    {5, "Name", "Name", PARAM_TEXT},
    {6, "Status", "Status", PARAM_TEXT},
    {7, "Enclosure Support", nullptr, PARAM_INTEGER},
    PARAM_TABLE_END,
};
static_assert(std::size(enclParams_Table) == 8);

// Children of "Processor".
constexpr ParamTableEntry enclProcParams_Table[] = {
    {0, "Port Number", "PortNumber", PARAM_INTEGER},
    {1, "Device Number", "DeviceNumber", PARAM_INTEGER},
    {2, "EnclosureNumber", "EnclosureNumber", PARAM_INTEGER},
    {3, "Name", "Name", PARAM_TEXT},
    {4, "Type", "Type", PARAM_TEXT},
    {5, "Vendor", "Vendor", PARAM_TEXT},
    {6, "Product", "Product", PARAM_TEXT},
    {7, "Serial Number", "SerialNumber", PARAM_TEXT},
    {8, "Hardware Version", "HardwareVersion", PARAM_TEXT},
    {9, "Firmware Version", "FirmwareVersion", PARAM_TEXT},
    {10, "Status", "Status", PARAM_TEXT},
    PARAM_TABLE_END,
};
static_assert(std::size(enclProcParams_Table) == 12);

// Children of "Fan".
constexpr ParamTableEntry enclFanParams_Table[] = {
    {0, "Name", "Name", PARAM_TEXT},
    {1, "Location", "Location", PARAM_TEXT},
    {2, "Fan Speed", "FanSpeed", PARAM_TEXT},
    {3, "Status", "Status", PARAM_TEXT},
    PARAM_TABLE_END,
};
static_assert(std::size(enclFanParams_Table) == 5);

// Children of "PowerSupply".
constexpr ParamTableEntry enclPsParams_Table[] = {
    {0, "Serial Number", "SerialNumber", PARAM_TEXT},
    {1, "Hardware Version", "HardwareVersion", PARAM_TEXT},
    {2, "Status", "Status", PARAM_TEXT},
    {3, "Name", "Name", PARAM_TEXT},
    PARAM_TABLE_END,
};
static_assert(std::size(enclPsParams_Table) == 5);

// Children of "TemperatureSensor". The two pairs of limits bear the same names.
constexpr ParamTableEntry enclTempSensorParams_Table[] = {
    {0, "Name", "Name", PARAM_TEXT},
    {1, "Location", "Location", PARAM_TEXT},
    {2, "Critical Temperature Low", "CriticalTemperatureL", PARAM_INTEGER},
    {3, "Warning Temperature High", "WarningTemperatureH", PARAM_INTEGER},
    {4, "Critical Temperature Low", "CriticalTemperatureL", PARAM_INTEGER},
    {5, "Warning Temperature High", "WarningTemperatureH", PARAM_INTEGER},
    {6, "Status", "Status", PARAM_TEXT},
    {7, "Temperature", "Temperature", PARAM_INTEGER},
    PARAM_TABLE_END,
};
static_assert(std::size(enclTempSensorParams_Table) == 9);

// Children of "Multiplexer".
constexpr ParamTableEntry mxParams_Table[] = {
    {0, "Status", "Status", PARAM_TEXT},
    {1, "Overall Status", "StatusOverall", PARAM_TEXT},
    {2, "Status of Adapters", "StatusAdapters", PARAM_TEXT},
    {3, "Status of Logical Drives", "StatusLogicalDrives", PARAM_TEXT},
    {4, "Status of Disks", "StatusDisks", PARAM_TEXT},
    PARAM_TABLE_END,
};
static_assert(std::size(mxParams_Table) == 6);
// clang-format on
