// Thousands of passes of one daemon on a machine that changes before each update: what is published follows, and at the
// end memory, descriptors and threads are what they were after the first of them. A point is a seed.

#include "tests/torture/scene.h"
#include "tests/torture/torture.h"

#include <csignal>
#include <filesystem>
#include <random>
#include <regex>

namespace {

using nlohmann::json;

constexpr int PASSES = 10000;
constexpr int SETTLED = 1000; // passes, after which memory stays
constexpr int UPDATE_PASSES = 5;
constexpr long MOST_SPREAD = 512; // KiB that the C library has and does not use; the heap's own pages stay as many
constexpr int SAME_STATE = 1000000;
constexpr uintmax_t RST_LOG_BOUND = 131072 + 600; // a line may pass it
constexpr uintmax_t DAEMON_LOG_BOUND = 64000;
constexpr const char* SERVERS[] = {"two-controllers", "enclosures", "rich", "half-failing", "empty"};
constexpr const char* KINDS[] = {"error", "empty", "short", "garbage", "counts"};

void update(Scene& scene, int& pass, int state, const json& change) {
    scene.describe(change);
    scene.change(state);
    scene.runToPass(pass += UPDATE_PASSES);
    scene.demandPublished(state);
    scene.demandNoFaults();
    demand(std::filesystem::file_size(scene.path(RST_LOG)) <= RST_LOG_BOUND, "the RST log grows");
    demand(std::filesystem::file_size(scene.path(DAEMON_LOG)) <= DAEMON_LOG_BOUND, "the daemon log grows");
}

json machineOf(const char* server, const json& faults) {
    const json file = json::parse(fileText(std::string(MACHINES "/") + server + ".json"));
    return {{"controllers", file["controllers"]}, {"faults", faults}};
}

// In a state that is the same each time, with a trace.
std::string figures(Scene& scene, int& pass) {
    scene.write(TRACE, "");
    update(scene, pass, SAME_STATE, machineOf(SERVERS[0], json::array()));
    const std::string process = "/proc/" + std::to_string(scene.pid());
    std::smatch heap;
    const std::string maps = fileText(process + "/smaps");
    std::regex_search(maps, heap, std::regex(R"(\[heap\]\n(?:\w+:.*\n)*?Rss: +(\d+))"));
    int descriptors = 0;
    std::error_code closed;
    for (const auto& entry : std::filesystem::directory_iterator(process + "/fd")) {
        const auto file = std::filesystem::read_symlink(entry, closed).filename(); // "until": the clock looks at it
        if (!closed && file != "until" && file != "until (deleted)") ++descriptors;
    }
    return "heap " + heap[1].str() + " kB, threads " + scene.statusField("Threads") + ", descriptors " +
           std::to_string(descriptors);
}

std::string runSeed(const std::string& seed) {
    std::mt19937 random(unsigned(std::stoul(seed)));
    Scene scene;
    scene.layFiles();
    scene.setEnvironment("BMC_TRACE", "0");
    int pass = 1;
    scene.runToPass(pass);
    std::string settled;
    long data = 0;
    for (int state = 0; pass < PASSES; ++state) {
        json change = {{"agents", {{"state", random() % 2 * 2}}}};
        json faults = json::array();
        if (random() % 4 == 0) faults = {{{"call", "raid_PhysicalDeviceGetInfo"}, {"kind", KINDS[random() % 5]}}};
        change.update(machineOf(SERVERS[random() % std::size(SERVERS)], faults));
        if (random() % 8 == 0) scene.remove(TRACE);
        if (random() % 8 == 0) scene.write(TRACE, "");
        if (random() % 64 == 0) scene.write(DAEMON_LOG, std::string(70000, 'x'));
        update(scene, pass, state, change);
        if (!settled.empty() || pass < SETTLED) continue;
        settled = figures(scene, pass);
        data = std::stol(scene.statusField("VmData"));
    }
    const std::string found = figures(scene, pass);
    demand(found == settled, found + "; before: " + settled);
    demand(std::stol(scene.statusField("VmData")) <= data + MOST_SPREAD,
           "the data grow: " + scene.statusField("VmData"));
    scene.end(SIGTERM);
    scene.demandNoFaults();
    return {};
}

std::vector<std::string> seeds() {
    return {"1", "2", "3", "4", "5", "6", "7", "8", "9", "10"};
}

const bool REGISTERED = addTorture({"soak", true, seeds, runSeed});

} // namespace
