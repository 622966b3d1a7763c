// Every call of a library hangs in turn, in the main thread or in the agents': a point is a range of calls by their
// number, as long waits are had side by side.

#include "tests/torture/scene.h"
#include "tests/torture/torture.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <deque>
#include <sstream>

namespace {

using nlohmann::json;
using Clock = std::chrono::steady_clock;

constexpr int SIDE_BY_SIDE = 40;
constexpr int LAST_PASS = 2; // in which the status is reported as well
constexpr auto PATIENCE = std::chrono::seconds(6);

void begin(Scene& scene, const json& faults) {
    scene.layFiles();
    scene.remove(TRACE);
    scene.setEnvironment("BMC_TRACE", "0");
    scene.describe(json::parse(fileText(MACHINES "/rich.json")));
    scene.describe({{"faults", faults}});
    scene.change(0);
    scene.launch();
    scene.runToPass(LAST_PASS);
}

std::vector<std::string> ranges() {
    Scene scene;
    begin(scene, json::array());
    const int calls = std::stoi(scene.read("simulator/count"));
    scene.end(SIGTERM);
    std::vector<std::string> points;
    for (int first = 1; first <= calls; first += SIDE_BY_SIDE)
        points.push_back(std::to_string(first) + " " + std::to_string(std::min(first + SIDE_BY_SIDE - 1, calls)));
    return points;
}

// What stood still goes on, and nothing else was given up.
void demandRecovery(Scene& scene, int call) {
    try {
        scene.confStates();
        const std::string tree = scene.read(TREE);
        demand(tree.empty() || tree.ends_with("</QPRaidStorageDeviceTree>\n"), "a part of the tree is left: " + tree);
        scene.demandNoLocks();
        for (const Call& entry : scene.calls("ProcMonitorDeRegister"))
            demand(entry.arguments.find("MIRA") == std::string::npos, "the registration was given up");
        scene.describe({{"faults", nullptr}});
        scene.restart();
        scene.runToPass(LAST_PASS);
        scene.demandPublished(0);
        demand(scene.end(SIGTERM) == 0, "ended with another status than 0");
        scene.demandNoFaults();
    } catch (const std::exception& exception) {
        throw std::runtime_error("call " + std::to_string(call) + ": " + exception.what());
    }
}

std::string runRange(const std::string& point) {
    std::istringstream numbers(point);
    int first = 0;
    int last = 0;
    numbers >> first >> last;
    const auto hang = [](int call) { return json{{{"nth", call}, {"times", 1}, {"kind", "hang"}}}; };

    std::deque<Scene> scenes(size_t(last - first + 1));
    for (size_t i = 0; i < scenes.size(); ++i) begin(scenes[i], hang(first + int(i)));
    const auto told = Clock::now();
    for (const Scene& scene : scenes) kill(scene.pid(), SIGTERM);
    for (Scene& scene : scenes) {
        const int status = scene.waitForEnd();
        demand(Clock::now() - told <= PATIENCE, "the end took too long");
        demand(status == 0, "ended with another status than 0");
    }
    for (size_t i = 0; i < scenes.size(); ++i) demandRecovery(scenes[i], first + int(i));

    for (int call = first; call <= last; ++call) {
        Scene scene;
        begin(scene, hang(call));
        demand(scene.end(SIGKILL) == -1, "was not killed");
        demandRecovery(scene, call);
    }
    return {};
}

const bool REGISTERED = addTorture({"hangs", true, ranges, runRange});

} // namespace
