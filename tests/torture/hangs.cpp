// Every call of a library hangs in turn, in the main thread or in the agents', and those of the handlers: a point is a
// range of calls by their number, as long waits are had side by side, or a signal and the call that hangs in its
// handler.

#include "tests/torture/duties.h"
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
constexpr int LAST_PASS = 2;         // in which the status is reported as well
constexpr char SNMPD_PID[] = "4242"; // in the files of a scene
constexpr auto GIVEN_UP = std::chrono::seconds(5);
constexpr auto PATIENCE = std::chrono::seconds(6);

// Handlers that call libraries, and the signal that then has to end the daemon.
const struct Handler {
    const char* call;
    int nth; // of its name; the start has registered snmpd
    int signal;
    int end;
} HANDLERS[] = {{"ProcMonitorDeRegister", 1, SIGUSR1, SIGTERM},
                {"ProcMonitorRegisterExt", 2, SIGUSR1, SIGINT},
                {"ProcMonitorDeRegister", 1, SIGINT, SIGTERM}};

void begin(Scene& scene, const json& faults) {
    scene.layFiles();
    scene.remove(TRACE);
    scene.setEnvironment("BMC_TRACE", "0");
    scene.describe(json::parse(fileText(MACHINES "/rich.json")));
    scene.describe(describedHost(SNMPD_PID));
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
    for (size_t i = 0; i < std::size(HANDLERS); ++i) points.push_back("handler " + std::to_string(i));
    return points;
}

void demandEnd(Scene& scene, Clock::time_point told) {
    const int status = scene.waitForEnd();
    demand(Clock::now() - told <= PATIENCE, "the end took too long");
    demand(status == 0, "ended with another status than 0");
}

// What stood still goes on.
void demandRecovery(Scene& scene) {
    scene.confStates();
    const std::string tree = scene.read(TREE);
    demand(tree.empty() || tree.ends_with("</QPRaidStorageDeviceTree>\n"), "a part of the tree is left: " + tree);
    scene.describe({{"faults", nullptr}});
    scene.restart();
    scene.runToPass(LAST_PASS);
    scene.demandPublished(0);
    demand(scene.end(SIGTERM) == 0, "ended with another status than 0");
    scene.demandNoFaults();
}

// And nothing else was given up.
void demandRecoveryFrom(int call, Scene& scene) {
    try {
        for (const Call& entry : scene.calls("ProcMonitorDeRegister"))
            demand(entry.arguments.find("MIRA") == std::string::npos, "the registration was given up");
        demandRecovery(scene);
    } catch (const std::exception& exception) {
        throw std::runtime_error("call " + std::to_string(call) + ": " + exception.what());
    }
}

void runRange(int first, int last) {
    const auto hang = [](int call) { return json{{{"nth", call}, {"times", 1}, {"kind", "hang"}}}; };

    std::deque<Scene> scenes(size_t(last - first + 1));
    for (size_t i = 0; i < scenes.size(); ++i) begin(scenes[i], hang(first + int(i)));
    const auto told = Clock::now();
    for (const Scene& scene : scenes) kill(scene.pid(), SIGTERM);
    for (Scene& scene : scenes) demandEnd(scene, told);
    demand(Clock::now() - told >= GIVEN_UP, "nothing hung");
    for (size_t i = 0; i < scenes.size(); ++i) demandRecoveryFrom(first + int(i), scenes[i]);

    for (int call = first; call <= last; ++call) {
        Scene scene;
        begin(scene, hang(call));
        demand(scene.end(SIGKILL) == -1, "was not killed");
        demandRecoveryFrom(call, scene);
    }
}

void runHandler(const Handler& handler) {
    Scene scene;
    begin(scene, json{{{"call", handler.call}, {"nth", handler.nth}, {"kind", "hang"}}});
    const std::string before = scene.read("simulator/count");
    kill(scene.pid(), handler.signal);
    waitFor("the call", [&] { return scene.read("simulator/count") != before; });
    const auto told = Clock::now();
    kill(scene.pid(), handler.end);
    demandEnd(scene, told);
    scene.remove(DAEMON_LOG); // which tells of these signals
    demandRecovery(scene);
}

std::string runPoint(const std::string& point) {
    std::istringstream words(point);
    std::string first;
    size_t last = 0;
    words >> first >> last;
    if (words.fail() || (first == "handler" && last >= std::size(HANDLERS))) return "there is no such point";
    if (first == "handler")
        runHandler(HANDLERS[last]);
    else
        runRange(std::stoi(first), int(last));
    return {};
}

const bool REGISTERED = addTorture({"hangs", true, ranges, runPoint});

} // namespace
