#include "simulator/words/words.h"

#include "platform/storelibDriveRecords.h"
#include "simulator/machine/plainMachine.h"
#include "simulator/words/adapter.h"

#include <map>

namespace sim {
namespace {

constexpr struct {
    const char* word;
    void (*apply)(Json&, Words, Lines&);
} OBJECTS[] = {{"drive", applyDrive},     {"volume", applyVolume},         {"enclosure", applyEnclosure},
               {"fan", applyFan},         {"supply", applySupply},         {"sensor", applySensor},
               {"battery", applyBattery}, {"controller", applyController}, {"agents", applyAgents},
               {"host", applyHost}};

std::vector<Adapter> adaptersOf(Json& machine, Lines& lines) {
    std::vector<Adapter> adapters;
    Json* controllers = findMember(machine, "controllers");
    if (controllers == nullptr || !controllers->is_array()) return adapters;
    for (Json& controller : *controllers)
        adapters.push_back({controller, std::to_string(controller.value("number", -1)), lines});
    return adapters;
}

std::map<std::string, std::string> statesOf(Json& machine) {
    Lines none;
    std::map<std::string, std::string> states;
    for (const Adapter& adapter : adaptersOf(machine, none)) states[adapter.number] = adapterState(adapter);
    return states;
}

} // namespace

WordResult applyWords(nlohmann::ordered_json& machine, std::span<const std::string> words) {
    WordResult result;
    const Json plain = plainMachine(machine);
    Json changed = plain;
    try {
        if (words.empty()) throw WrongWord("no word given");
        const std::map<std::string, std::string> before = statesOf(changed);
        findWord(OBJECTS, words[0]).apply(changed, words, result.lines);
        for (const auto& [number, state] : statesOf(changed))
            if (before.contains(number) && before.at(number) != state)
                result.lines.push_back("adapter " + number + ": " + before.at(number) + " -> " + state);
        carryOver(machine, plain, changed);
    } catch (const WrongWord& wrong) {
        result = {{}, wrong.what(), 2};
    } catch (const std::exception& fault) { // what the file has is not of the kind that the word needs
        result = {{}, fault.what(), 3};
    }
    return result;
}

namespace {

using Row = nlohmann::ordered_json; // of a table: texts and numbers by their headings

Row driveRow(const Adapter& adapter, uint64_t id) {
    const RecordEdit drive = adapter.drive(id);
    const uint64_t temperature = drive.number("/temperature");
    const std::vector<uint64_t> enclosures = adapter.enclosures();
    std::string bay = std::to_string(drive.number("/slotNumber"));
    for (size_t i = 0; i < enclosures.size(); i++)
        if (enclosures[i] == drive.number("/enclDeviceId")) bay = "e" + std::to_string(i + 1) + ":" + bay;
    return {{"drive", adapter.number + "/" + std::to_string(id)},
            {"bay", bay},
            {"state", stateName(codes::DRIVE_STATES, drive.number("/fwState"))},
            {"model", drive.text("/product")},
            {"serial", drive.text("/vendorSpecific")},
            {"degrees", temperature == 0 || temperature == MR_PD_TEMPERATURE_NOT_REPORTED ? Row() : Row(temperature)},
            {"volume", volumeOf(adapter, id)}};
}

void addDrives(const Adapter& adapter, Row& rows) {
    if (adapter.devices() == nullptr) return;
    for (const auto& [name, device] : adapter.devices()->items())
        if (adapter.isDrive(std::stoul(name))) rows.push_back(driveRow(adapter, std::stoul(name)));
}

void addVolumes(const Adapter& adapter, Row& rows) {
    if (adapter.volumes() == nullptr) return;
    for (const auto& [target, volume] : adapter.volumes()->items()) {
        const RecordEdit info(volume, RecordOwner::logicalDrive, "MR_LD_INFO");
        if (!info.exists()) continue;
        std::string drives;
        for (const uint64_t drive : drivesOf(volume)) drives += (drives.empty() ? "" : " ") + std::to_string(drive);
        const bool spans = info.number("/ldConfig/params/spanDepth") > 1;
        rows.push_back(
            {{"volume", adapter.number + "/" + target},
             {"name", info.text("/ldConfig/properties/name")},
             {"level", "RAID-" + std::to_string(info.number("/ldConfig/params/primaryRaidLevel")) + (spans ? "0" : "")},
             {"state", stateName(codes::VOLUME_STATES, info.number("/ldConfig/params/state"))},
             {"drives", drives}});
    }
}

void addEnclosures(const Adapter& adapter, Row& rows) {
    const std::vector<uint64_t> ids = adapter.enclosures();
    for (size_t i = 0; i < ids.size(); i++) {
        Json* device = adapter.device(ids[i]);
        if (device == nullptr) continue;
        const RecordEdit info(*device, RecordOwner::device, "MR_PD_INFO");
        const RecordEdit status(*device, RecordOwner::device, "SL_ENCL_STATUS_T");
        Row row = {{"enclosure", adapter.number + "/" + std::to_string(i + 1)}, {"model", info.text("/product")}};
        uint64_t place = 0;
        for (const char* part : {"slot", "psu", "fan", "sensor"}) {
            std::string bad;
            const uint64_t count = status.number(std::string("/") + part + "Count");
            for (uint64_t k = 0; k < count && place + k < std::size(SL_ENCL_STATUS_T{}.element); k++) {
                const uint64_t code = status.number("/element/" + std::to_string(place + k) + "/status");
                const bool isWell = code == SL_ENCL_ELEM_STATUS_OK || code == SL_ENCL_ELEM_STATUS_NOT_INSTALLED;
                if (!isWell) bad += " " + std::to_string(k) + ":" + stateName(codes::ELEMENT_STATES, code);
            }
            place += count;
            row[std::string(part) + "s"] = std::to_string(count) + (bad.empty() ? "" : bad);
        }
        rows.push_back(row);
    }
}

void addBattery(const Adapter& adapter, Row& rows) {
    const RecordEdit status = adapter.record("MR_BBU_STATUS");
    if (!status.exists()) return;
    const RecordEdit capacity = adapter.record("MR_BBU_CAPACITY_INFO");
    rows.push_back({{"battery", adapter.number},
                    {"type", stateName(codes::BATTERY_TYPES, status.number("/batteryType"))},
                    {"state", stateName(codes::BATTERY_STATES, status.number("/fwStatus") & 0x0F)},
                    {"charge", capacity.exists() ? Row(capacity.number("/relativeStateOfCharge")) : Row()},
                    {"degrees", status.number("/temperature")}});
}

Row hostRows(const Json& machine) {
    Row rows = Row::array();
    const Json agents = machine.value(Json::json_pointer("/agents/state"), Json());
    constexpr const char* states[] = {"down", "limited", "connected"};
    rows.push_back({{"what", "agents"},
                    {"value", agents.is_number_unsigned() && agents < 3 ? Row(states[agents.get<size_t>()]) : Row()}});
    for (const char* parameter : {"SystemName", "CabinetLocation", "SystemContact", "OsDomainName"}) {
        const Json::json_pointer place(std::string("/lcm/System Information/") + parameter + "/0/0/value");
        rows.push_back({{"what", parameter}, {"value", machine.contains(place) ? machine.at(place) : Json()}});
    }
    return rows;
}

constexpr struct {
    const char* word;
    void (*add)(const Adapter&, Row&);
} TABLES[] = {{"drives", addDrives}, {"volumes", addVolumes}, {"enclosures", addEnclosures}, {"battery", addBattery}};

} // namespace

nlohmann::ordered_json describeMachine(nlohmann::ordered_json machine) {
    Lines none;
    machine = plainMachine(std::move(machine));
    Row tables = Row::object();
    for (const auto& [word, add] : TABLES) {
        tables[word] = Row::array();
        for (const Adapter& adapter : adaptersOf(machine, none)) add(adapter, tables[word]);
    }
    tables["host"] = hostRows(machine);
    tables["faults"] = machine.value("faults", Json::array());
    return tables;
}

} // namespace sim
