#include "raidtree/fields.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <string_view>

namespace raidtree {

namespace {

constexpr Use IDENTITY = Use::identity, SETTING = Use::setting, STATE = Use::state, SUMMARY = Use::summary,
              MEASURED = Use::measured, COUNTED = Use::counted, MOVING = Use::moving, SIZE = Use::size;

const Field<Volume> VOLUME_FIELDS[] = {
    {"LogicalSize", "sizeBytes", SIZE, &Volume::sizeBytes, Form::mebibytes},
    {"PhysicalSize", "drivesSizeBytes", SIZE, &Volume::drivesSizeBytes, Form::mebibytes},
    {"RAIDLevel", "raidLevel", IDENTITY, &Volume::raidLevel},
    {"Stripesize", "stripeSize", SETTING, &Volume::stripeSize},
    {"Name", "name", IDENTITY, &Volume::name},
    {"InitState", "initState", STATE, &Volume::initState},
    {"WriteMode", "writeMode", SETTING, &Volume::writeMode},
    {"ReadMode", "readMode", SETTING, &Volume::readMode},
    {"CacheMode", "cacheMode", SETTING, &Volume::cacheMode},
    {"AccessMode", "accessMode", SETTING, &Volume::accessMode},
    {"DefaultWriteMode", "defaultWriteMode", SETTING, &Volume::defaultWriteMode},
    {"DefaultReadMode", "defaultReadMode", SETTING, &Volume::defaultReadMode},
    {"DefaultCacheMode", "defaultCacheMode", SETTING, &Volume::defaultCacheMode},
    {"DefaultAccessMode", "defaultAccessMode", SETTING, &Volume::defaultAccessMode},
    {"DiskCacheMode", "driveCacheMode", SETTING, &Volume::driveCacheMode},
    {"Emulate512E", "emulation512e", SETTING, &Volume::emulation512e},
    {"Status", "status", STATE, &Volume::status},
    {"Activity", "activity", STATE, &Volume::activity, Form::activity},
    {nullptr, "progressRatio", MEASURED, &Volume::progressRatio},
    {"DisplayName", "displayName", IDENTITY, &Volume::displayName},
    {"InitProgress", "initProgressRatio", MEASURED, &Volume::initProgressRatio, Form::progress},
    {"RebuildProgress", "reconstructionProgressRatio", MEASURED, &Volume::reconstructionProgressRatio, Form::progress},
    {"CheckProgress", "checkProgressRatio", MEASURED, &Volume::checkProgressRatio, Form::progress},
};

const Field<Battery> BATTERY_FIELDS[] = {
    {"Name", "name", IDENTITY, &Battery::name},
    {"Vendor", "vendor", IDENTITY, &Battery::vendor},
    {"ManufactureDate", "manufactureDate", IDENTITY, &Battery::manufactureDate},
    {"DesignCapacity", "designCapacityMah", SETTING, &Battery::designCapacityMah},
    {"DesignVoltage", "designVolts", SETTING, &Battery::designVolts, Form::volts},
    {"Type", "type", IDENTITY, &Battery::type},
    {"IntelligentBBU", "intelligent", IDENTITY, &Battery::intelligent},
    {"SerialNumber", "serialNumber", IDENTITY, &Battery::serialNumber, Form::zeroIsNone},
    {"Status", "status", STATE, &Battery::status},
    {"NextLearnTime", "nextLearnTime", MOVING, &Battery::nextLearnTime},
    {"DeviceName", "deviceName", IDENTITY, &Battery::deviceName},
    {"AutoLearnMode", "autoLearnMode", SETTING, &Battery::autoLearnMode},
    {"AutoLearnPeriod", "autoLearnPeriodDays", SETTING, &Battery::autoLearnPeriodDays},
    {"Voltage", "volts", MEASURED, &Battery::volts, Form::volts},
    {"Temperature", "temperatureCelsius", MEASURED, &Battery::temperatureCelsius, Form::zeroIsNone},
    {"Capacitance", "chargeRatio", MEASURED, &Battery::chargeRatio, Form::percent},
    {"RemainingCapacity", "remainingCapacityMah", MOVING, &Battery::remainingCapacityMah},
};

const Field<Fan> FAN_FIELDS[] = {
    {"Name", "name", IDENTITY, &Fan::name},     {"Location", "location", IDENTITY, &Fan::location},
    {"FanSpeed", "speed", MOVING, &Fan::speed}, {nullptr, "speedRpm", MEASURED, &Fan::speedRpm},
    {"Status", "status", STATE, &Fan::status},
};

const Field<PowerSupply> POWER_SUPPLY_FIELDS[] = {
    {"SerialNumber", "serialNumber", IDENTITY, &PowerSupply::serialNumber},
    {"HardwareVersion", "hardwareVersion", IDENTITY, &PowerSupply::hardwareVersion},
    {"Status", "status", STATE, &PowerSupply::status},
    {"Name", "name", IDENTITY, &PowerSupply::name},
};

const Field<Sensor> SENSOR_FIELDS[] = {
    {"Name", "name", IDENTITY, &Sensor::name},
    {"Location", "location", IDENTITY, &Sensor::location},
    {"CriticalTemperatureL", "criticalLowCelsius", SIZE, &Sensor::criticalLowCelsius},
    {"WarningTemperatureH", "warningHighCelsius", SIZE, &Sensor::warningHighCelsius},
    {"CriticalTemperatureL", "warningLowCelsius", SIZE, &Sensor::warningLowCelsius},
    {"WarningTemperatureH", "criticalHighCelsius", SIZE, &Sensor::criticalHighCelsius},
    {"Status", "status", STATE, &Sensor::status},
    {"Temperature", "temperatureCelsius", MEASURED, &Sensor::temperatureCelsius},
};

const Field<Processor> PROCESSOR_FIELDS[] = {
    {"PortNumber", "port", IDENTITY, &Processor::port},
    {"DeviceNumber", "deviceId", IDENTITY, &Processor::deviceId},
    {"EnclosureNumber", "enclosure", IDENTITY, &Processor::enclosure},
    {"Name", "name", IDENTITY, &Processor::name},
    {"Type", "type", IDENTITY, &Processor::type},
    {"Vendor", "vendor", IDENTITY, &Processor::vendor},
    {"Product", "product", IDENTITY, &Processor::product},
    {"SerialNumber", "serialNumber", IDENTITY, &Processor::serialNumber},
    {"HardwareVersion", "hardwareVersion", IDENTITY, &Processor::hardwareVersion},
    {"FirmwareVersion", "firmwareVersion", IDENTITY, &Processor::firmwareVersion},
    {"Status", "status", SUMMARY, &Processor::status},
};

const Field<Enclosure> ENCLOSURE_FIELDS[] = {
    {nullptr, "port", IDENTITY, &Enclosure::port},
    {"Vendor", "vendor", IDENTITY, &Enclosure::vendor},
    {"Product", "product", IDENTITY, &Enclosure::product},
    {"HardwareVersion", "hardwareVersion", IDENTITY, &Enclosure::hardwareVersion},
    {"Name", "name", IDENTITY, &Enclosure::name},
    {"Status", "status", SUMMARY, &Enclosure::status},
};

const Field<Drive> DRIVE_FIELDS[] = {
    {nullptr, "port", IDENTITY, &Drive::port},
    {"PortNumber", "portNumber", IDENTITY, &Drive::portNumber},
    {"Name", "name", IDENTITY, &Drive::name},
    {"Vendor", "vendor", IDENTITY, &Drive::vendor},
    {"Product", "product", IDENTITY, &Drive::product},
    {"Type", "interface", IDENTITY, &Drive::interface},
    {"FirmwareVersion", "firmwareVersion", IDENTITY, &Drive::firmwareVersion},
    {"SerialNumber", "serialNumber", IDENTITY, &Drive::serialNumber},
    {"TransferSpeed", "linkMegabytesPerSecond", SETTING, &Drive::linkMegabytesPerSecond, Form::zeroIsNone},
    {"TransferWidth", "linkWidth", SETTING, &Drive::linkWidth},
    {"RPM", "speedRpm", SETTING, &Drive::speedRpm, Form::thousands},
    {"DeviceNumber", "deviceId", IDENTITY, &Drive::deviceId},
    {"Slot", "slot", IDENTITY, &Drive::slot},
    {"EnclosureNumber", "enclosure", IDENTITY, &Drive::enclosure},
    {"SASAddress00", "sasAddress", IDENTITY, &Drive::sasAddress},
    {"PhysicalSize", "sizeBytes", SIZE, &Drive::sizeBytes, Form::mebibytes},
    {"ConfigurableSize", "usableBytes", SIZE, &Drive::usableBytes, Form::mebibytes},
    {"Status", "status", STATE, &Drive::status},
    {"Activity", "activity", STATE, &Drive::activity},
    {"ForeignConfig", "foreignConfig", STATE, &Drive::foreignConfig},
    {"MediaErrorCount", "mediaErrors", COUNTED, &Drive::mediaErrors},
    {"MiscErrors", "otherErrors", COUNTED, &Drive::otherErrors},
    {"PFACount", "predictedFailures", COUNTED, &Drive::predictedFailures},
    {"MediaType", "mediaType", IDENTITY, &Drive::mediaType},
    {"SMARTStatus", "smartStatus", STATE, &Drive::smartStatus},
    {"PowerStatus", "powerStatus", STATE, &Drive::powerStatus},
    {"Temperature", "temperatureCelsius", MEASURED, &Drive::temperatureCelsius},
};

const Field<Adapter> ADAPTER_FIELDS[] = {
    {"Type", "type", IDENTITY, &Adapter::type},
    {"AdapterNumber", "position", IDENTITY, &Adapter::position},
    {"Name", "name", IDENTITY, &Adapter::name},
    {"Vendor", "vendor", IDENTITY, &Adapter::vendor},
    {"Product", "product", IDENTITY, &Adapter::product},
    {"SerialNumber", "serialNumber", IDENTITY, &Adapter::serialNumber},
    {"SASAddress", "sasAddress", IDENTITY, &Adapter::sasAddress},
    {"PortCount", "ports", IDENTITY, &Adapter::ports},
    {"MaxChannelInUse", "highestPortInUse", MOVING, &Adapter::highestPortInUse},
    {"DriverName", "driverName", SETTING, &Adapter::driverName},
    {"DriverVersion", "driverVersion", SETTING, &Adapter::driverVersion},
    {"UEFIDriverVersion", "uefiDriverVersion", SETTING, &Adapter::uefiDriverVersion},
    {"Protocol", "protocol", IDENTITY, &Adapter::protocol},
    {"FWPackageVersion", "firmwarePackageVersion", IDENTITY, &Adapter::firmwarePackageVersion},
    {"FirmwareVersion", "firmwareVersion", IDENTITY, &Adapter::firmwareVersion},
    {"FirmwareBuildTime", "firmwareBuildTime", IDENTITY, &Adapter::firmwareBuildTime},
    {"BIOSVersion", "biosVersion", IDENTITY, &Adapter::biosVersion},
    {"BIOSBuildTime", "biosBuildTime", IDENTITY, &Adapter::biosBuildTime},
    {"MemorySize", "memoryBytes", SIZE, &Adapter::memoryBytes, Form::mebibytes},
    {"FlashROMSize", "flashBytes", SIZE, &Adapter::flashBytes, Form::mebibytes},
    {"AlarmPresent", "alarmPresent", IDENTITY, &Adapter::alarmPresent},
    {"NVRAMSize", "nvramBytes", SIZE, &Adapter::nvramBytes, Form::kibibytes},
    {"CorrErrorCount", "correctedMemoryErrors", COUNTED, &Adapter::correctedMemoryErrors},
    {"UnCorrErrorCount", "uncorrectedMemoryErrors", COUNTED, &Adapter::uncorrectedMemoryErrors},
    {"Activity", "activity", STATE, &Adapter::activity},
    {"InconsistPolicy", "inconsistencyPolicy", SETTING, &Adapter::inconsistencyPolicy},
    {"SMARTSupport", "smartSupport", SETTING, &Adapter::smartSupport},
    {"PollingInterval", "smartPollSeconds", SETTING, &Adapter::smartPollSeconds},
    {"PatrolReadMode", "patrolReadMode", SETTING, &Adapter::patrolReadMode},
    {"NextExec", "nextPatrolRead", MOVING, &Adapter::nextPatrolRead, Form::patrolTime},
    {"PatrolReadMaxPD", "patrolReadDrives", SETTING, &Adapter::patrolReadDrives},
    {"ContinousPatrolling", "continuousPatrolling", SETTING, &Adapter::continuousPatrolling},
    {"PatrolReadDelay", "patrolReadDelayHours", SETTING, &Adapter::patrolReadDelayHours},
    {"PatrolRdIterations", "patrolReads", COUNTED, &Adapter::patrolReads},
    {"PatrolReadRate", "patrolReadRatePercent", SETTING, &Adapter::patrolReadRatePercent},
    {"AlarmControl", "alarm", SETTING, &Adapter::alarm},
    {"RebuildRate", "rebuildRatePercent", SETTING, &Adapter::rebuildRatePercent},
    {"BGIRate", "backgroundInitRatePercent", SETTING, &Adapter::backgroundInitRatePercent},
    {"MDCRate", "checkRatePercent", SETTING, &Adapter::checkRatePercent},
    {"MigrationRate", "reconstructionRatePercent", SETTING, &Adapter::reconstructionRatePercent},
    {"AutoFlushFreq", "flushSeconds", SETTING, &Adapter::flushSeconds},
    {"DelayBetweenSpins", "spinUpDelaySeconds", SETTING, &Adapter::spinUpDelaySeconds},
    {"DevicesPerSpins", "spinUpDrives", SETTING, &Adapter::spinUpDrives},
    {"AutoRebuild", "autoRebuild", SETTING, &Adapter::autoRebuild},
    {"CoercionMode", "coercionMode", SETTING, &Adapter::coercionMode},
    {"AbortMDCOnError", "abortCheckOnError", SETTING, &Adapter::abortCheckOnError},
    {"InitMode", "initMode", SETTING, &Adapter::initMode},
    {"BootLogDriveNumber", "bootVolume", SETTING, &Adapter::bootVolume},
    {"CopyBack", "copyback", SETTING, &Adapter::copyback},
    {"CopybackOnSMARTError", "copybackOnSmartError", SETTING, &Adapter::copybackOnSmartError},
    {"CorrectMediaErrorsPR", "patrolReadCorrects", SETTING, &Adapter::patrolReadCorrects},
    {"CopybackSSDPnSMARTErr", "copybackSsdOnSmartError", SETTING, &Adapter::copybackSsdOnSmartError},
    {"PROnSSD", "patrolReadOnSsd", SETTING, &Adapter::patrolReadOnSsd},
    {"SpindownUnconfDisks", "spindownUnconfigured", SETTING, &Adapter::spindownUnconfigured},
    {"SpindownHotSpare", "spindownHotSpares", SETTING, &Adapter::spindownHotSpares},
    {"SpindownDelayTime", "spindownMinutes", SETTING, &Adapter::spindownMinutes},
    {"MDCScheduleMode", "checkSchedule", SETTING, &Adapter::checkSchedule},
    {"NCQ", "commandQueueing", SETTING, &Adapter::commandQueueing},
    {"ChipTemperature", "temperatureCelsius", MEASURED, &Adapter::temperatureCelsius, Form::zeroIsNone},
    {"Status", "status", SUMMARY, &Adapter::status},
};

const Field<Summary> SUMMARY_FIELDS[] = {
    {"Status", "status", SUMMARY, &Summary::status},
    {"StatusOverall", "overall", SUMMARY, &Summary::overall},
    {"StatusAdapters", "adapters", SUMMARY, &Summary::adapters},
    {"StatusLogicalDrives", "volumes", SUMMARY, &Summary::volumes},
    {"StatusDisks", "drives", SUMMARY, &Summary::drives},
};

// The unit at the end of a key, and how its values are shown.
struct Unit {
    std::string_view suffix;
    const char* text;
};
constexpr Unit UNITS[] = {{"Bytes", ""},       {"MegabytesPerSecond", " MB/s"},
                          {"Celsius", " C"},   {"Volts", " V"},
                          {"Rpm", " rpm"},     {"Ratio", " %"},
                          {"Mah", " mAh"},     {"Seconds", " s"},
                          {"Minutes", " min"}, {"Hours", " h"},
                          {"Days", " d"},      {"Percent", " %"},
                          {"volts", " V"}};

const Unit* unitOf(std::string_view key) {
    const auto* unit =
        std::find_if(std::begin(UNITS), std::end(UNITS), [key](const Unit& u) { return key.ends_with(u.suffix); });
    return unit == std::end(UNITS) ? nullptr : unit;
}

std::string valueText(const std::string& value, std::string_view) {
    return value;
}
std::string valueText(const Truth& value, std::string_view) {
    if (!value) return {};
    return *value ? "true" : "false";
}
std::string valueText(const Number& value, std::string_view key) {
    if (!value) return {};
    if (key.ends_with("Bytes")) return sizeText(*value);
    const Unit* unit = unitOf(key);
    return std::to_string(*value) + (unit != nullptr ? unit->text : "");
}
std::string valueText(const Real& value, std::string_view key) {
    if (!value) return {};
    const Unit* unit = unitOf(key);
    const bool isRatio = key.ends_with("Ratio");
    return decimalText(isRatio ? *value * 100 : *value, isRatio ? 1 : 3) + (unit != nullptr ? unit->text : "");
}

} // namespace

// clang-format off
// NOLINTBEGIN(bugprone-macro-parentheses): a type
#define KIND(Record, kind, table)                                                                                      \
    template <> const char* kindName<Record>() { return kind; }                                                        \
    template <> std::span<const Field<Record>> fieldsOf<Record>() { return table; }                                    \
    template <> std::string fieldText(const Record& record, const Field<Record>& field) {                              \
        return std::visit([&](auto member) { return valueText(record.*member, field.key); }, field.member);            \
    }
KIND(Adapter, "adapter", ADAPTER_FIELDS)
KIND(Volume, "volume", VOLUME_FIELDS)
KIND(Battery, "battery", BATTERY_FIELDS)
KIND(Enclosure, "enclosure", ENCLOSURE_FIELDS)
KIND(Processor, "processor", PROCESSOR_FIELDS)
KIND(Fan, "fan", FAN_FIELDS)
KIND(PowerSupply, "powerSupply", POWER_SUPPLY_FIELDS)
KIND(Sensor, "sensor", SENSOR_FIELDS)
KIND(Drive, "drive", DRIVE_FIELDS)
KIND(Summary, "tree", SUMMARY_FIELDS)
#undef KIND
// NOLINTEND(bugprone-macro-parentheses)
// clang-format on

std::string fieldTitle(const char* key) {
    std::string_view bare = key;
    if (const Unit* unit = unitOf(bare); unit != nullptr && unit->suffix.size() < bare.size())
        bare.remove_suffix(unit->suffix.size());
    std::string title;
    for (const char c : bare) {
        if (isupper(static_cast<unsigned char>(c)) != 0) title += ' ';
        title += static_cast<char>(tolower(static_cast<unsigned char>(c)));
    }
    return title;
}

std::string decimalText(double value, int digits) {
    std::array<char, 64> text{};
    snprintf(text.data(), text.size(), "%.*f", digits, value);
    return text.data();
}

std::string sizeText(int64_t bytes) {
    constexpr const char* PREFIXES[] = {"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    size_t step = 0;
    auto value = static_cast<double>(bytes);
    for (; value >= 1023.95 && step + 1 < std::size(PREFIXES); ++step) value /= 1024;
    return decimalText(value, step > 3 ? 1 : 0) + " " + PREFIXES[step];
}

} // namespace raidtree
