// bmcsim fault: the faults of the machine file.

#include "simulator/bmcsim/commands.h"
#include "simulator/bmcsim/machineFile.h"
#include "simulator/machine/faults.h"
#include "simulator/machine/machineReader.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <optional>

namespace sim {
namespace {

using Json = nlohmann::ordered_json;

struct Wanted {
    std::string call;
    std::string kind;
    std::optional<unsigned> controller;
    std::optional<unsigned> device;
    std::optional<unsigned long> nth;
    std::optional<unsigned long> times;
};

template <class Value>
void putIfGiven(Json& fault, const char* name, const Value& value) {
    if (value) fault[name] = *value;
}

void add(const Places& places, const Wanted& wanted) {
    Json machine = loadMachine(places.machine());
    Json fault = {{"call", wanted.call}};
    putIfGiven(fault, "controller", wanted.controller);
    putIfGiven(fault, "device", wanted.device);
    putIfGiven(fault, "nth", wanted.nth);
    putIfGiven(fault, "times", wanted.times);
    fault["kind"] = wanted.kind;
    Json& faults = machine["faults"];
    if (faults.is_null()) faults = Json::array();
    faults.push_back(fault);
    storeMachine(places.machine(), machine);
    printf("fault %zu: %s\n", faults.size() - 1, fault.dump().c_str());
}

// Written by the daemon's stand-ins: by the fault's index how often it struck.
Json strikesOf(const Places& places) {
    std::ifstream stream(places.directory() + "/simulator/faults");
    Json strikes = Json::parse(stream, nullptr, false);
    return strikes.is_object() ? strikes : Json::object();
}

void list(const Places& places) {
    const Json machine = loadMachine(places.machine());
    const Json faults = machine.value("faults", Json::array());
    const Json strikes = places.file.empty() ? strikesOf(places) : Json::object();
    for (size_t i = 0; i < faults.size(); ++i) {
        const uint64_t struck = strikes.value(std::to_string(i), uint64_t{0});
        printf("%zu  struck %llu times  %s\n", i, static_cast<unsigned long long>(struck), faults[i].dump().c_str());
    }
    if (faults.empty()) printf("no faults\n");
}

void clear(const Places& places) {
    Json machine = loadMachine(places.machine());
    const size_t count = machine.value("faults", Json::array()).size();
    machine.erase("faults");
    if (count > 0) storeMachine(places.machine(), machine);
    printf("%zu faults taken away\n", count);
}

} // namespace

void addFaultCommand(CLI::App& app, const Places& places) {
    CLI::App* fault = app.add_subcommand(
        "fault", "calls of the libraries go wrong: bmcsim fault add raid_GetEnclosureList --times 2 --kind error");
    fault->require_subcommand(1);
    static Wanted wanted;
    CLI::App* adding = fault->add_subcommand("add", "one more fault: docs/machine-file.md tells the kinds");
    adding->add_option("CALL", wanted.call, "a function's name")->required();
    adding->add_option("--kind", wanted.kind, "error, empty, short, garbage, counts, slow or hang")->required();
    adding->add_option("--controller", wanted.controller, "of this controller's id only");
    adding->add_option("--device", wanted.device, "of this drive, enclosure or volume only");
    adding->add_option("--nth", wanted.nth, "from the N-th call on that fits, otherwise the first");
    adding->add_option("--times", wanted.times, "so many calls, otherwise all");
    adding->callback([&places] { add(places, wanted); });
    fault->add_subcommand("list", "the faults, and how often each struck")->callback([&places] { list(places); });
    fault->add_subcommand("clear", "takes all away")->callback([&places] { clear(places); });
}

} // namespace sim
