// Signals at random moments of a daemon that is busy without a pause: passes follow each other, and the machine changes
// under them. A point is a signal and its moment in microseconds.

#include "tests/torture/scene.h"
#include "tests/torture/torture.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <regex>
#include <sstream>

namespace {

using nlohmann::json;
using Clock = std::chrono::steady_clock;

constexpr unsigned SEED = 20260101;
constexpr int MOMENTS = 1000;
constexpr int LATEST_MOMENT = 60000; // microseconds; a tree update, with its five passes, takes about 10000
constexpr int MANY_PASSES = 100000;
const std::map<std::string, int> SIGNALS = {{"TERM", SIGTERM}, {"INT", SIGINT}, {"USR1", SIGUSR1}};

std::vector<std::string> moments() {
    std::mt19937 random(SEED);
    std::vector<std::string> points;
    for (int i = 0; i < MOMENTS; ++i)
        points.push_back(std::next(SIGNALS.begin(), i % 3)->first + " " + std::to_string(random() % LATEST_MOMENT));
    return points;
}

// Returns the state that the machine is left in.
int flapUntil(Scene& scene, Clock::time_point moment) {
    int state = 0;
    while (Clock::now() < moment) {
        if (moment - Clock::now() < std::chrono::milliseconds(1)) continue; // waits, to be in time
        scene.describe({{"agents", {{"state", state % 3}}}});
        scene.change(++state);
    }
    return state;
}

void demandWholeLines(const std::string& text, const std::string& form) {
    const std::regex line(form);
    std::istringstream lines(text);
    for (std::string found; std::getline(lines, found);) demand(std::regex_match(found, line), "a torn line: " + found);
    demand(text.empty() || text.back() == '\n', "the last line is torn: " + text);
}

void demandWholeFiles(const Scene& scene) {
    scene.confStates();
    demandWholeLines(scene.read(RST_LOG), R"(|\d{4}/\d\d/\d\d \d\d:\d\d:\d\d\.\d{6}\t.*)");
    const std::string tree = scene.read(TREE);
    demand(tree.starts_with("<?xml") && tree.ends_with("</QPRaidStorageDeviceTree>\n"), "no whole tree: " + tree);
}

void demandStop(const Scene& scene, int signal) {
    const std::string log = scene.read(DAEMON_LOG);
    const std::string line =
        signal == SIGTERM ? "ZEB_MIRA_Update: Yes, the signal was for me!\n" : "ZEB_MIRA_Update is registered 1 \n";
    demand(log.ends_with(line), "the last line is not of the signal: " + log);
    demand(scene.read(SYSLOG).ends_with("\ndemon version 1.4.2  stopped.\n"), "no stop line");
    const std::vector<Call> calls = scene.calls("ProcMonitorDeRegister");
    const auto own = std::count_if(calls.begin(), calls.end(),
                                   [](const Call& call) { return call.arguments.find("MIRA") != std::string::npos; });
    demand(own == (signal == SIGINT ? 1 : 0), "the registration was given up " + std::to_string(own) + " times");
}

void demandLifeGoesOn(Scene& scene, int state) {
    scene.change(state);
    waitFor("the machine's last state to be published", [&] {
        return scene.confStates() == ConfStates{state, state, state} &&
               scene.read(TREE).find("<Name>state" + std::to_string(state) + "</Name>") != std::string::npos;
    });
}

std::string runMoment(const std::string& point) {
    const size_t blank = point.find(' ');
    const int signal = SIGNALS.at(point.substr(0, blank));
    const std::chrono::microseconds moment(std::stol(point.substr(blank)));
    Scene scene;
    scene.layFiles();
    scene.describe({{"controllers", json::parse(fileText(MACHINES "/two-controllers.json"))["controllers"]}});
    scene.setEnvironment("BMC_TRACE", "0");
    scene.change(0);
    scene.runToPass(1);
    scene.letRunToPass(MANY_PASSES);
    const int state = flapUntil(scene, Clock::now() + moment);
    if (signal == SIGUSR1) {
        scene.signal(signal);
        demandLifeGoesOn(scene, state + 1);
        scene.end(SIGTERM);
    } else {
        demand(scene.end(signal) == 0, "ended with another status than 0");
        demandStop(scene, signal);
    }
    demandWholeFiles(scene);
    scene.demandNoFaults();
    return {};
}

const bool REGISTERED = addTorture({"signals", true, moments, runMoment});

} // namespace
