#include "platform/storelibRecords.h"
#include "simulator/words/adapter.h"

#include <algorithm>

namespace sim {
namespace {

constexpr const char* BATTERY_RECORDS[] = {"MR_BBU_STATUS", "MR_BBU_CAPACITY_INFO", "MR_BBU_DESIGN_INFO",
                                           "MR_BBU_PROPERTIES"};
constexpr uint64_t STATE_BITS = 0x0F; // of fwStatus

// What was taken away waits in "removed" for its return; the daemon does not look there.
Json& removedOf(Json& machine, const char* kind) {
    Json& removed = machine["removed"];
    if (removed.is_null()) removed = Json::object();
    if (!removed[kind].is_object()) removed[kind] = Json::object();
    return removed[kind];
}

void forgetRemoved(Json& machine, const char* kind, const std::string& number) {
    removedOf(machine, kind).erase(number);
    if (machine["removed"][kind].empty()) machine["removed"].erase(kind);
    if (machine["removed"].empty()) machine.erase("removed");
}

void setBatteryPresent(const Adapter& adapter, bool present) {
    RecordEdit info = adapter.record("MR_CTRL_INFO");
    const uint64_t without = info.number("/hwPresent") & ~uint64_t{MR_HW_PRESENT_BBU};
    info.set("/hwPresent", present ? without | MR_HW_PRESENT_BBU : without);
}

// A new member of the machine moves the others: what refers to the adapter comes first.
void removeBattery(Json& machine, const Adapter& adapter) {
    Json kept = Json::object();
    for (const char* name : BATTERY_RECORDS) {
        if (adapter.record(name).exists()) kept[name] = adapter.record(name).json();
        adapter.json["records"].erase(name);
    }
    setBatteryPresent(adapter, false);
    adapter.json["batteryStatus"] = 0;
    adapter.say("battery " + adapter.number + " is no longer there");
    const std::string number = adapter.number;
    removedOf(machine, "batteries")[number] = kept;
}

void returnBattery(Json& machine, const Adapter& adapter) {
    const Json kept = machine.at("removed").at("batteries").at(adapter.number);
    for (const auto& [name, record] : kept.items()) adapter.json["records"][name] = record;
    setBatteryPresent(adapter, true);
}

constexpr struct {
    const char* word;
    uint64_t state;  // of the battery
    uint64_t charge; // per cent; 0: as it was
} BATTERY_WORDS[] = {{"fail", 2, 0}, {"low", 1, 12}, {"learn", 1, 40}, {"ok", 0, 96}, {"remove", 0, 0}};

void setCharge(const Adapter& adapter, uint64_t percent) {
    RecordEdit capacity = adapter.record("MR_BBU_CAPACITY_INFO");
    if (capacity.exists()) {
        capacity.set("/relativeStateOfCharge", percent);
        capacity.set("/remainingCapacity", capacity.number("/fullChargeCapacity") * percent / 100);
        return;
    }
    RecordEdit status = adapter.record("MR_BBU_STATUS"); // a capacitor tells its charge there
    const uint64_t charge = adapter.record("MR_BBU_DESIGN_INFO").number("/designCapacity") * percent / 100;
    status.set("/chargeLow", charge & 0xFF);
    status.set("/chargeHigh", charge >> 8 & 0xFF);
}

} // namespace

void applyBattery(Json& machine, Words words, Lines& lines) {
    if (words.size() != 3) throw WrongWord("battery ADAPTER fail|low|learn|ok|remove, such as: battery 0 low");
    const auto& word = findWord(BATTERY_WORDS, words[2]);
    const Adapter adapter = findAdapter(machine, words[1], lines);
    const Json* removed = findMember(machine, "removed");
    const bool wasRemoved =
        removed != nullptr && removed->contains("batteries") && removed->at("batteries").contains(adapter.number);
    if (words[2] == std::string("ok") && wasRemoved) returnBattery(machine, adapter);
    RecordEdit status = adapter.record("MR_BBU_STATUS");
    if (!status.exists()) throw WrongWord("adapter " + adapter.number + " has no battery");
    if (words[2] == std::string("remove")) return removeBattery(machine, adapter);
    const std::string before = stateName(codes::BATTERY_STATES, status.number("/fwStatus") & STATE_BITS);
    status.set("/fwStatus", (status.number("/fwStatus") & ~STATE_BITS) | word.state);
    adapter.json["batteryStatus"] = word.state;
    if (word.charge != 0) setCharge(adapter, word.charge);
    RecordEdit properties = adapter.record("MR_BBU_PROPERTIES");
    if (words[2] == std::string("learn") && properties.exists())
        properties.set("/nextLearnTime", properties.number("/nextLearnTime") + properties.number("/autoLearnPeriod"));
    adapter.say("battery " + adapter.number + ": " + before + " -> " + stateName(codes::BATTERY_STATES, word.state) +
                (word.charge != 0 ? ", charged to " + std::to_string(word.charge) + " %" : ""));
    if (wasRemoved) forgetRemoved(machine, "batteries", std::string(adapter.number));
}

void applyController(Json& machine, Words words, Lines& lines) {
    constexpr struct { const char* word; } both[] = {{"remove"}, {"return"}};
    if (words.size() != 3) throw WrongWord("controller ADAPTER remove|return, such as: controller 1 remove");
    findWord(both, words[2]);
    const std::string& number = words[1];
    if (words[2] == "remove") {
        const Adapter adapter = findAdapter(machine, number, lines);
        Json& controllers = machine["controllers"];
        const auto isWanted = [&](const Json& controller) { return &controller == &adapter.json; };
        const auto place = std::find_if(controllers.begin(), controllers.end(), isWanted);
        const Json kept = {{"at", place - controllers.begin()}, {"controller", *place}};
        controllers.erase(place);
        removedOf(machine, "controllers")[number] = kept;
        lines.push_back("adapter " + number + " is no longer there");
        lines.emplace_back(NO_NEWS);
        return;
    }
    readNumber(number, UINT16_MAX, "adapter");
    const Json* removed = findMember(machine, "removed");
    if (removed == nullptr || !removed->contains("controllers") || !removed->at("controllers").contains(number))
        throw WrongWord("adapter " + number + " was not removed");
    const Json kept = removed->at("controllers").at(number);
    Json& controllers = machine["controllers"];
    const auto index = std::min<uint64_t>(kept.at("at").get<uint64_t>(), controllers.size());
    controllers.insert(controllers.begin() + ptrdiff_t(index), kept.at("controller"));
    forgetRemoved(machine, "controllers", number);
    lines.push_back("adapter " + number + " is there again");
    lines.emplace_back(NO_NEWS);
}

void applyAgents(Json& machine, Words words, Lines& lines) {
    constexpr struct {
        const char* word;
        int state;
    } states[] = {{"down", 0}, {"limited", 1}, {"connected", 2}};
    if (words.size() != 2) throw WrongWord("agents connected|limited|down");
    machine["agents"] = {{"state", findWord(states, words[1]).state}};
    lines.push_back("agents: " + words[1]);
}

// The server's name goes to the tree by way of the configuration space, where the agents' value of the domain name puts
// it; snmpd's goes by the system's name.
void applyHost(Json& machine, Words words, Lines& lines) {
    constexpr struct {
        const char* word;
        const char* parameter;
    } rows[] = {{"name", "SystemName"}, {"location", "CabinetLocation"}, {"contact", "SystemContact"}};
    if (words.size() != 3) throw WrongWord("host name|location|contact TEXT, such as: host location \"Hall 2\"");
    const auto& row = findWord(rows, words[1]);
    const Json value = {{{"type", "text"}, {"value", words[2]}}};
    Json& information = machine["lcm"]["System Information"];
    information[row.parameter]["0"] = value;
    if (words[1] == "name") {
        information["OsDomainName"]["0"] = value;
        machine["configSpace"]["513"] = words[2];
    }
    lines.push_back("host " + words[1] + ": " + words[2]);
}

} // namespace sim
