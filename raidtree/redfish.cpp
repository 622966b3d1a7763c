#include "raidtree/redfish.h"

#include "raidtree/walk.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <nlohmann/json.hpp>
#include <set>

namespace raidtree {

namespace {

using Json = nlohmann::ordered_json;

const std::string ROOT = "/redfish/v1";
const std::string SYSTEM = ROOT + "/Systems/server";
const std::string OWN_CHASSIS = ROOT + "/Chassis/server"; // of what stands in no enclosure

Json linkTo(const std::string& path) {
    return {{"@odata.id", path}};
}

std::string lastOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

const char* healthName(Severity severity) {
    return severity == Severity::critical ? "Critical" : severity == Severity::warning ? "Warning" : "OK";
}

// What the tree does not say is absent.
void addText(Json& to, const char* name, const std::string& text) {
    if (!text.empty()) to[name] = text;
}
template <class Value>
void addValue(Json& to, const char* name, const std::optional<Value>& value) {
    if (value) to[name] = *value;
}

struct NamedText {
    const char *text, *name;
};

// The word of Redfish for a text of the tree, where it has one.
template <size_t size>
void addWord(Json& to, const char* name, const NamedText (&words)[size], const std::string& text) {
    for (const NamedText& word : words)
        if (text == word.text) to[name] = word.name;
}

constexpr NamedText LEVELS[] = {
    {"RAID-0", "RAID0"},   {"RAID-1", "RAID1"},   {"RAID-3", "RAID3"},   {"RAID-5", "RAID5"},   {"RAID-6", "RAID6"},
    {"RAID-1E", "RAID1E"}, {"RAID-00", "RAID00"}, {"RAID-10", "RAID10"}, {"RAID-50", "RAID50"}, {"RAID-60", "RAID60"}};
constexpr NamedText READ_POLICIES[] = {
    {"Read-ahead", "ReadAhead"}, {"Adaptive Read-ahead", "AdaptiveReadAhead"}, {"No Read-ahead", "Off"}};
constexpr NamedText WRITE_POLICIES[] = {{"Write-through", "WriteThrough"},
                                        {"Write-back", "ProtectedWriteBack"},
                                        {"Always Write-back", "UnprotectedWriteBack"}};
constexpr NamedText OPERATIONS[] = {{"MDC in progress", "CheckConsistency"},
                                    {"MDC paused", "CheckConsistency"},
                                    {"BGI in progress", "Initialize"},
                                    {"BGI paused", "Initialize"},
                                    {"Initialization in progress", "Initialize"},
                                    {"Initialization paused", "Initialize"},
                                    {"Reconstructing in progress", "ChangeRAIDType"},
                                    {"Modify paused", "ChangeRAIDType"},
                                    {"Secure erase in progress", "Sanitize"},
                                    {"Secure erase paused", "Sanitize"}};
constexpr NamedText MEDIA[] = {{"HDD", "HDD"}, {"SSD", "SSD"}};
constexpr NamedText PROTOCOLS[] = {{"SAS", "SAS"}, {"SATA", "SATA"}, {"NVMe", "NVMe"}, {"PCIe", "PCIe"}};

// "0x5000C50000A11201"
void addIdentifier(Json& to, const std::string& address) {
    if (address.size() != 18 || !address.starts_with("0x")) return;
    to["Identifiers"] = Json::array({{{"DurableName", address.substr(2)}, {"DurableNameFormat", "NAA"}}});
}

// "64 KB"
void addStripe(Json& to, const std::string& text) {
    int64_t size = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), size);
    const std::string_view unit(end, static_cast<size_t>(text.data() + text.size() - end));
    if (error != std::errc() || size < 1 || size > 1048576) return;
    if (unit == " KB") to["StripSizeBytes"] = size << 10;
    if (unit == " MB") to["StripSizeBytes"] = size << 20;
}

void addPlace(Json& to, const std::string& where) {
    if (!where.empty()) to["Location"] = {{"PartLocation", {{"ServiceLabel", where}}}};
}

class Redfish {
  public:
    Redfish(const Report& report, const States& states) : report_(report), states_(states) {}
    RedfishResources make();

  private:
    // A resource, told what every resource tells.
    void add(const std::string& path, const char* type, const std::string& id, const std::string& name, Json&& more) {
        Json resource = {{"@odata.id", path == ROOT ? path + "/" : path}, {"@odata.type", type}};
        if (!id.empty()) resource["Id"] = id;
        resource["Name"] = name.empty() ? id : name;
        for (const auto& [key, value] : more.items()) resource[key] = value;
        resources_[path] = resource.dump() + "\n";
        types_.insert(std::string(type + 1, strrchr(type, '.')));
    }
    void addCollection(const std::string& path, const char* kind, const std::string& name, const Json& members) {
        add(path, (std::string("#") + kind + "Collection." + kind + "Collection").c_str(), "", name,
            {{"Members@odata.count", members.size()}, {"Members", members}});
    }

    template <class Record>
    Json statusOf(const Record& record) const {
        const Meaning meaning = states_.meaningOf(std::string(kindName<Record>()) + ".status", record.status);
        Json status = Json::object();
        addText(status, "State", meaning.state);
        if (meaning.state != "Absent") status["Health"] = healthName(severityOf(record, states_));
        return status;
    }
    // With the worst of what belongs to it.
    template <class IsPart>
    Json rolledUp(Json status, IsPart isPart) const {
        Severity worst = Severity::ok;
        for (const Problem& problem : report_.problems)
            if (isPart(problem)) worst = std::max(worst, problem.severity);
        status["HealthRollup"] = healthName(worst);
        return status;
    }

    static std::string storagePath(const Adapter& adapter) {
        return SYSTEM + "/Storage/" + std::to_string(adapter.number);
    }
    static std::string drivePath(const Adapter& adapter, const Drive& drive) {
        return storagePath(adapter) + "/Drives/" + std::to_string(drive.number);
    }
    static std::string chassisPath(const Adapter& adapter, int64_t enclosure) {
        return ROOT + "/Chassis/enclosure-" + std::to_string(adapter.number) + "-" + std::to_string(enclosure);
    }
    static std::string batteryPath(const Adapter& adapter) {
        return OWN_CHASSIS + "/PowerSubsystem/Batteries/" + std::to_string(adapter.number);
    }
    static const Enclosure* enclosureOf(const Adapter& adapter, const Drive& drive) {
        const auto isIt = [&](const Enclosure& e) { return drive.enclosure == e.number; };
        const auto entry = std::find_if(adapter.enclosures.begin(), adapter.enclosures.end(), isIt);
        return drive.enclosure && entry != adapter.enclosures.end() ? &*entry : nullptr;
    }
    static std::string chassisOf(const Adapter& adapter, const Drive& drive) {
        return enclosureOf(adapter, drive) != nullptr ? chassisPath(adapter, *drive.enclosure) : OWN_CHASSIS;
    }

    void addService();
    void addMetadata();
    void addStorage(const Adapter& adapter);
    Json controllerOf(const Adapter& adapter) const;
    void addVolume(const Adapter& adapter, const Volume& volume);
    void addDrive(const Adapter& adapter, const Drive& drive);
    void addBattery(const Adapter& adapter, const Battery& battery);
    void addOwnChassis();
    void addEnclosure(const Adapter& adapter, const Enclosure& enclosure);
    void addPower(const std::string& chassis, const char* kind, const char* list, const Json& members);
    void addTemperature(const std::string& chassis, const std::string& id, const std::string& name,
                        const Number& celsius, const std::string& of);

    const Report& report_;
    const States& states_;
    RedfishResources resources_;
    std::set<std::string> types_;
    std::map<std::string, Json> sensors_; // links, by chassis
};

void Redfish::addService() {
    resources_["/redfish"] = Json{{"v1", ROOT + "/"}}.dump() + "\n";
    const Server& server = report_.server;
    add(ROOT, "#ServiceRoot.v1_21_0.ServiceRoot", "RootService", "RAID storage tree",
        {{"RedfishVersion", "1.21.0"},
         {"Systems", linkTo(ROOT + "/Systems")},
         {"Chassis", linkTo(ROOT + "/Chassis")},
         {"Links", {{"Sessions", linkTo(ROOT + "/SessionService/Sessions")}}}});
    // Nobody logs in, but clients look for it.
    add(ROOT + "/SessionService", "#SessionService.v1_1_8.SessionService", "SessionService", "Sessions",
        {{"ServiceEnabled", false}, {"Sessions", linkTo(ROOT + "/SessionService/Sessions")}});
    addCollection(ROOT + "/SessionService/Sessions", "Session", "Sessions", Json::array());
    addCollection(ROOT + "/Systems", "ComputerSystem", "Systems", Json::array({linkTo(SYSTEM)}));
    Severity worst = Severity::ok;
    for (const Problem& problem : report_.problems) worst = std::max(worst, problem.severity);
    add(SYSTEM, "#ComputerSystem.v1_28_0.ComputerSystem", "server", server.name,
        {{"Status", {{"Health", healthName(worst)}, {"HealthRollup", healthName(worst)}}},
         {"Actions", Json::object()}, // clients insist on these two, with nothing in them
         {"Boot", Json::object()},
         {"Storage", linkTo(SYSTEM + "/Storage")},
         {"Links", {{"Chassis", Json::array({linkTo(OWN_CHASSIS)})}}}});
    Json storages = Json::array();
    Json chassis = Json::array({linkTo(OWN_CHASSIS)});
    for (const Adapter& adapter : server.adapters) {
        storages.push_back(linkTo(storagePath(adapter)));
        for (const Enclosure& enclosure : adapter.enclosures)
            chassis.push_back(linkTo(chassisPath(adapter, enclosure.number)));
    }
    addCollection(SYSTEM + "/Storage", "Storage", "Storage", storages);
    addCollection(ROOT + "/Chassis", "Chassis", "Chassis", chassis);
}

Json Redfish::controllerOf(const Adapter& adapter) const {
    Json more = {{"Status", statusOf(adapter)}};
    addText(more, "Manufacturer", adapter.vendor);
    addText(more, "Model", adapter.product);
    addText(more, "SerialNumber", adapter.serialNumber);
    addText(more, "FirmwareVersion", adapter.firmwareVersion);
    addIdentifier(more, adapter.sasAddress);
    if (adapter.memoryBytes) more["CacheSummary"] = {{"TotalCacheSizeMiB", *adapter.memoryBytes >> 20}};
    Json rates = Json::object();
    const auto addRate = [&](const char* name, const Number& percent) {
        if (percent && *percent <= 100) rates[name] = *percent;
    };
    addRate("RebuildRatePercent", adapter.rebuildRatePercent);
    addRate("ConsistencyCheckRatePercent", adapter.checkRatePercent);
    addRate("TransformationRatePercent", adapter.reconstructionRatePercent);
    if (!rates.empty()) more["ControllerRates"] = rates;
    return more;
}

void Redfish::addStorage(const Adapter& adapter) {
    const std::string path = storagePath(adapter);
    const std::string id = std::to_string(adapter.number);
    const std::string name = adapter.name.empty() ? titleOf(adapter) : adapter.name;
    Json drives = Json::array();
    Json volumes = Json::array();
    Json enclosures = Json::array({linkTo(OWN_CHASSIS)});
    for (const Drive& drive : adapter.drives) drives.push_back(linkTo(drivePath(adapter, drive)));
    for (const Volume& volume : adapter.volumes)
        volumes.push_back(linkTo(path + "/Volumes/" + std::to_string(volume.number)));
    for (const Enclosure& enclosure : adapter.enclosures)
        enclosures.push_back(linkTo(chassisPath(adapter, enclosure.number)));

    Json controller = controllerOf(adapter);
    Json member = controller; // as older clients look for it
    member["@odata.id"] = path + "#/StorageControllers/0";
    member["MemberId"] = "0";
    member["Name"] = name.empty() ? id : name;
    const Json status =
        rolledUp(statusOf(adapter), [&](const Problem& p) { return p.place.adapter == adapter.number; });
    add(path, "#Storage.v1_22_0.Storage", id, name,
        {{"Status", status},
         {"StorageControllers", Json::array({member})},
         {"Controllers", linkTo(path + "/Controllers")},
         {"Volumes", linkTo(path + "/Volumes")},
         {"Drives@odata.count", drives.size()},
         {"Drives", drives},
         {"Links", {{"Enclosures@odata.count", enclosures.size()}, {"Enclosures", enclosures}}}});
    addCollection(path + "/Controllers", "StorageController", "Controllers",
                  Json::array({linkTo(path + "/Controllers/0")}));
    if (adapter.battery) {
        controller["Links"] = {{"Batteries@odata.count", 1},
                               {"Batteries", Json::array({linkTo(batteryPath(adapter))})}};
        addBattery(adapter, *adapter.battery);
    }
    add(path + "/Controllers/0", "#StorageController.v1_12_0.StorageController", "0", name, std::move(controller));
    addTemperature(OWN_CHASSIS, "adapter-" + id, "Adapter " + id, adapter.temperatureCelsius, path + "/Controllers/0");
    addCollection(path + "/Volumes", "Volume", "Volumes", volumes);
    for (const Volume& volume : adapter.volumes) addVolume(adapter, volume);
    for (const Drive& drive : adapter.drives) addDrive(adapter, drive);
    for (const Enclosure& enclosure : adapter.enclosures) addEnclosure(adapter, enclosure);
}

void Redfish::addVolume(const Adapter& adapter, const Volume& volume) {
    const std::string id = std::to_string(volume.number);
    Json more = {{"Status", statusOf(volume)}};
    addText(more, "DisplayName", volume.displayName);
    addValue(more, "CapacityBytes", volume.sizeBytes);
    addWord(more, "RAIDType", LEVELS, volume.raidLevel);
    addStripe(more, volume.stripeSize);
    addWord(more, "ReadCachePolicy", READ_POLICIES, volume.readMode);
    addWord(more, "WriteCachePolicy", WRITE_POLICIES, volume.writeMode);
    Json operation = Json::object();
    addWord(operation, "Operation", OPERATIONS, volume.activity);
    if (!operation.empty()) {
        if (volume.progressRatio) operation["PercentageComplete"] = static_cast<int>(*volume.progressRatio * 100);
        more["Operations"] = Json::array({operation});
    }
    add(storagePath(adapter) + "/Volumes/" + id, "#Volume.v1_10_2.Volume", id,
        volume.name.empty() ? "Volume " + id : volume.name, std::move(more));
}

void Redfish::addDrive(const Adapter& adapter, const Drive& drive) {
    const std::string id = std::to_string(drive.number);
    const std::string path = drivePath(adapter, drive);
    const std::string chassis = chassisOf(adapter, drive);
    Json more = {{"Status", statusOf(drive)}};
    addText(more, "Manufacturer", drive.vendor);
    addText(more, "Model", drive.product);
    addText(more, "SerialNumber", drive.serialNumber);
    addText(more, "Revision", drive.firmwareVersion);
    addText(more, "FirmwareVersion", drive.firmwareVersion);
    addValue(more, "CapacityBytes", drive.sizeBytes);
    addWord(more, "MediaType", MEDIA, drive.mediaType);
    addWord(more, "Protocol", PROTOCOLS, drive.interface);
    addValue(more, "RotationSpeedRPM", drive.speedRpm);
    // Ten bits on the line for each byte.
    if (drive.linkMegabytesPerSecond)
        more["NegotiatedSpeedGbs"] = static_cast<double>(*drive.linkMegabytesPerSecond) / 100;
    addIdentifier(more, drive.sasAddress);
    if (drive.predictedFailures) more["FailurePredicted"] = *drive.predictedFailures > 0;
    if (drive.slot)
        more["PhysicalLocation"] = {
            {"PartLocation",
             {{"LocationType", "Bay"}, {"LocationOrdinalValue", *drive.slot}, {"ServiceLabel", bayOf(drive)}}}};
    if (!drive.activity.empty() && drive.activity != "Idle")
        more["Operations"] = Json::array({{{"OperationName", drive.activity}}});
    more["Links"] = {{"Chassis", linkTo(chassis)}, {"Storage", linkTo(storagePath(adapter))}};
    add(path, "#Drive.v1_22_0.Drive", id, drive.name.empty() ? "Drive " + id : drive.name, std::move(more));
    addTemperature(chassis, "drive-" + std::to_string(adapter.number) + "-" + id,
                   "Drive " + std::to_string(adapter.number) + "/" + id, drive.temperatureCelsius, path);
}

// A temperature that the element itself tells; its limits are the reader's, not the element's.
void Redfish::addTemperature(const std::string& chassis, const std::string& id, const std::string& name,
                             const Number& celsius, const std::string& of) {
    if (!celsius) return;
    const std::string path = chassis + "/Sensors/" + id;
    add(path, "#Sensor.v1_13_0.Sensor", id, name,
        {{"ReadingType", "Temperature"},
         {"ReadingUnits", "Cel"},
         {"Reading", *celsius},
         {"RelatedItem@odata.count", 1},
         {"RelatedItem", Json::array({linkTo(of)})}});
    sensors_[chassis].push_back(linkTo(path));
}

void Redfish::addBattery(const Adapter& adapter, const Battery& battery) {
    const std::string id = std::to_string(adapter.number);
    const std::string path = batteryPath(adapter);
    const bool isCapacitor = battery.type.find("Capacitor") != std::string::npos;
    const auto reading = [](Json& to, const char* name, const Real& value) {
        if (value) to[name] = {{"Reading", *value}};
    };
    Json more = {{"Status", statusOf(battery)}, {"EnergyStorageType", isCapacitor ? "Supercapacitor" : "Battery"}};
    addText(more, "Manufacturer", battery.vendor);
    addText(more, "Model", battery.deviceName);
    if (battery.serialNumber) more["SerialNumber"] = std::to_string(*battery.serialNumber);
    if (battery.designCapacityMah && !isCapacitor)
        more["CapacityRatedAmpHours"] = static_cast<double>(*battery.designCapacityMah) / 1000;
    more["Links"] = {{"StorageControllers@odata.count", 1},
                     {"StorageControllers", Json::array({linkTo(storagePath(adapter) + "/Controllers/0")})}};
    more["Metrics"] = linkTo(path + "/Metrics");
    add(path, "#Battery.v1_5_0.Battery", id, battery.name.empty() ? "Battery " + id : battery.name, std::move(more));

    Json metrics = Json::object();
    reading(metrics, "ChargePercent", battery.chargeRatio ? Real(*battery.chargeRatio * 100) : Real());
    if (battery.temperatureCelsius)
        reading(metrics, "TemperatureCelsius", static_cast<double>(*battery.temperatureCelsius));
    if (battery.remainingCapacityMah && !isCapacitor)
        reading(metrics, "StoredChargeAmpHours", static_cast<double>(*battery.remainingCapacityMah) / 1000);
    if (battery.volts) metrics["CellVoltages"] = Json::array({{{"Reading", *battery.volts}}});
    add(path + "/Metrics", "#BatteryMetrics.v1_1_0.BatteryMetrics", "Metrics", "Metrics", std::move(metrics));
}

void Redfish::addPower(const std::string& chassis, const char* kind, const char* list, const Json& members) {
    const std::string path = chassis + "/PowerSubsystem";
    add(path, "#PowerSubsystem.v1_1_4.PowerSubsystem", "PowerSubsystem", "Power", {{list, linkTo(path + "/" + list)}});
    addCollection(path + "/" + list, kind, list, members);
}

void Redfish::addOwnChassis() {
    Json more = {{"ChassisType", "Other"}, {"Sensors", linkTo(OWN_CHASSIS + "/Sensors")}};
    Json batteries = Json::array();
    Json drives = Json::array();
    for (const Adapter& adapter : report_.server.adapters) {
        if (adapter.battery) batteries.push_back(linkTo(batteryPath(adapter)));
        for (const Drive& drive : adapter.drives)
            if (chassisOf(adapter, drive) == OWN_CHASSIS) drives.push_back(linkTo(drivePath(adapter, drive)));
    }
    more["PowerSubsystem"] = linkTo(OWN_CHASSIS + "/PowerSubsystem");
    more["Links"] = {{"ComputerSystems", Json::array({linkTo(SYSTEM)})}, {"Drives", drives}};
    addPower(OWN_CHASSIS, "Battery", "Batteries", batteries);
    add(OWN_CHASSIS, "#Chassis.v1_28_0.Chassis", "server", report_.server.name, std::move(more));
}

void Redfish::addEnclosure(const Adapter& adapter, const Enclosure& enclosure) {
    const std::string path = chassisPath(adapter, enclosure.number);
    const std::string thermal = path + "/ThermalSubsystem";
    Json more = {{"ChassisType", "StorageEnclosure"}};
    addText(more, "Manufacturer", enclosure.vendor);
    addText(more, "Model", enclosure.product);
    addText(more, "Version", enclosure.hardwareVersion);
    addText(more, "SerialNumber", enclosure.processor.serialNumber);
    more["Status"] = rolledUp(statusOf(enclosure), [&](const Problem& p) {
        return p.place.adapter == adapter.number && p.place.enclosure == enclosure.number;
    });
    more["ThermalSubsystem"] = linkTo(thermal);
    more["PowerSubsystem"] = linkTo(path + "/PowerSubsystem");
    more["Sensors"] = linkTo(path + "/Sensors");
    Json drives = Json::array();
    for (const Drive& drive : adapter.drives)
        if (enclosureOf(adapter, drive) == &enclosure) drives.push_back(linkTo(drivePath(adapter, drive)));
    more["Links"] = {{"Drives@odata.count", drives.size()},
                     {"Drives", drives},
                     {"Storage", Json::array({linkTo(storagePath(adapter))})}};
    add(path, "#Chassis.v1_28_0.Chassis", lastOf(path), enclosure.name, std::move(more));

    Json fans = Json::array();
    for (const Fan& fan : enclosure.fans) {
        const std::string id = std::to_string(fan.number);
        Json about = {{"Status", statusOf(fan)}};
        if (fan.speedRpm) about["SpeedPercent"] = {{"SpeedRPM", *fan.speedRpm}};
        addPlace(about, fan.location);
        add(thermal + "/Fans/" + id, "#Fan.v1_6_0.Fan", id, fan.name.empty() ? "Fan " + id : fan.name,
            std::move(about));
        fans.push_back(linkTo(thermal + "/Fans/" + id));
    }
    add(thermal, "#ThermalSubsystem.v1_5_0.ThermalSubsystem", "ThermalSubsystem", "Cooling",
        {{"Fans", linkTo(thermal + "/Fans")}});
    addCollection(thermal + "/Fans", "Fan", "Fans", fans);

    Json supplies = Json::array();
    for (const PowerSupply& supply : enclosure.powerSupplies) {
        const std::string id = std::to_string(supply.number);
        const std::string own = path + "/PowerSubsystem/PowerSupplies/" + id;
        Json about = {{"Status", statusOf(supply)}};
        addText(about, "SerialNumber", supply.serialNumber);
        addText(about, "Version", supply.hardwareVersion);
        add(own, "#PowerSupply.v1_7_0.PowerSupply", id, supply.name.empty() ? "Power supply " + id : supply.name,
            std::move(about));
        supplies.push_back(linkTo(own));
    }
    addPower(path, "PowerSupply", "PowerSupplies", supplies);

    for (const Sensor& sensor : enclosure.sensors) {
        const std::string id = std::to_string(sensor.number);
        Json about = {{"Status", statusOf(sensor)}, {"ReadingType", "Temperature"}, {"ReadingUnits", "Cel"}};
        addValue(about, "Reading", sensor.temperatureCelsius);
        Json thresholds = Json::object();
        for (const auto& [name, limit] : {std::pair{"UpperCaution", sensor.warningHighCelsius},
                                          {"UpperCritical", sensor.criticalHighCelsius},
                                          {"LowerCaution", sensor.warningLowCelsius},
                                          {"LowerCritical", sensor.criticalLowCelsius}})
            if (limit) thresholds[name] = {{"Reading", *limit}};
        if (!thresholds.empty()) about["Thresholds"] = thresholds;
        addPlace(about, sensor.location);
        add(path + "/Sensors/" + id, "#Sensor.v1_13_0.Sensor", id, sensor.name.empty() ? "Sensor " + id : sensor.name,
            std::move(about));
        sensors_[path].push_back(linkTo(path + "/Sensors/" + id));
    }
}

// What the protocol of Redfish, OData, asks for beside the resources.
void Redfish::addMetadata() {
    const auto singleton = [](const char* name) {
        return Json{{"name", name}, {"kind", "Singleton"}, {"url", ROOT + "/" + name}};
    };
    resources_[ROOT + "/odata"] =
        Json{{"@odata.context", ROOT + "/$metadata"}, {"value", {singleton("Systems"), singleton("Chassis")}}}.dump() +
        "\n";
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<edmx:Edmx "
                       "xmlns:edmx=\"http://docs.oasis-open.org/odata/ns/edmx\" Version=\"4.0\">\n";
    for (const std::string& type : types_) { // "Drive.v1_22_0"
        const std::string file = type.substr(0, type.find('.'));
        text += "  <edmx:Reference Uri=\"http://redfish.dmtf.org/schemas/v1/" + file +
                "_v1.xml\"><edmx:Include Namespace=\"" + type + "\"/></edmx:Reference>\n";
    }
    resources_[ROOT + "/$metadata"] =
        text + "  <edmx:DataServices><Schema xmlns=\"http://docs.oasis-open.org/odata/ns/edm\" Namespace=\"Service\">"
               "<EntityContainer Name=\"Service\" Extends=\"ServiceRoot.v1_21_0.ServiceContainer\"/></Schema>"
               "</edmx:DataServices>\n</edmx:Edmx>\n";
}

RedfishResources Redfish::make() {
    addService();
    sensors_[OWN_CHASSIS] = Json::array();
    for (const Adapter& adapter : report_.server.adapters)
        for (const Enclosure& enclosure : adapter.enclosures)
            sensors_[chassisPath(adapter, enclosure.number)] = Json::array();
    for (const Adapter& adapter : report_.server.adapters) addStorage(adapter);
    addOwnChassis();
    for (const auto& [chassis, links] : sensors_) addCollection(chassis + "/Sensors", "Sensor", "Sensors", links);
    addMetadata();
    return std::move(resources_);
}

} // namespace

RedfishResources redfishResources(const Report& report, const States& states) {
    return Redfish(report, states).make();
}

const std::string* findResource(const RedfishResources& resources, std::string_view path) {
    if (path.ends_with('/')) path.remove_suffix(1);
    const auto entry = resources.find(path);
    return entry != resources.end() ? &entry->second : nullptr;
}

std::string redfishError(int status, const std::string& path) {
    struct Registered {
        int status;
        const char *id, *message, *resolution;
    };
    static constexpr Registered ALL[] = {
        {404, "ResourceMissingAtURI", "The resource at the URI %1 was not found.",
         "Ask for a path that a resource names."},
        {405, "OperationNotAllowed", "The HTTP method is not allowed on this resource.", "Use GET or HEAD."},
        {503, "ServiceTemporarilyUnavailable", "There is no tree that can be read.", "Try again after a few seconds."}};
    const Registered* found =
        std::find_if(std::begin(ALL), std::end(ALL), [&](const auto& e) { return e.status == status; });
    const Registered other = {status, "GeneralError", "The request was not understood.", "Correct it."};
    const Registered& error = found != std::end(ALL) ? *found : other;
    std::string message = error.message;
    Json details = {{"@odata.type", "#Message.v1_3_0.Message"}};
    if (const size_t at = message.find("%1"); at != std::string::npos) {
        message.replace(at, 2, path);
        details["MessageArgs"] = Json::array({path});
    }
    const std::string id = std::string("Base.1.18.") + error.id;
    details["MessageId"] = id;
    details["Message"] = message;
    details["MessageSeverity"] = status == 404 ? "Critical" : "Warning";
    details["Resolution"] = error.resolution;
    return Json{{"error", {{"code", id}, {"message", message}, {"@Message.ExtendedInfo", Json::array({details})}}}}
               .dump(-1, ' ', false, Json::error_handler_t::replace) +
           "\n";
}

} // namespace raidtree
