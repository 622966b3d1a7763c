// The agents' thread beside the passes, in running time, so that ThreadSanitizer can see both at work; and a reader of
// the tree who takes the file's lock and reads once, beside the writer.

#include "tests/torture/scene.h"
#include "tests/torture/torture.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <thread>
#include <unistd.h>

namespace {

using nlohmann::json;

constexpr std::chrono::seconds FLAPPING(15);
constexpr int READERS = 20;
constexpr int UPDATES = 500; // that each of them is to see
constexpr int READS = 10;    // between two changes of the machine
constexpr int MANY_PASSES = 10000000;

json machineOf(const char* file) {
    return json::parse(fileText(MACHINES "/" + std::string(file)));
}

// They answer with states, a refusal and nothing in turn, each for a minute of the daemon's time.
std::string flapAgents(int speed) {
    const json answers[] = {{{"state", 2}}, {{"state", 0}}, {{"state", 1}}, {{"response", {{"raw", {{"0", "C1"}}}}}}};
    const std::chrono::microseconds minute(60'000'000 / speed);
    Scene scene;
    scene.layFiles();
    scene.setEnvironment("BMC_SPEED", std::to_string(speed));
    scene.setEnvironment("BMC_TRACE", "0");
    scene.launch();
    waitFor("the first tree", [&] { return !scene.read(TREE).empty(); });
    const auto end = std::chrono::steady_clock::now() + FLAPPING;
    for (int i = 0; std::chrono::steady_clock::now() < end; ++i) {
        scene.describe({{"agents", nullptr}});
        if (i % 5 < 4) scene.describe({{"agents", answers[i % 5]}});
        scene.change(i);
        if (i % 10 == 0) scene.signal(SIGUSR1);
        std::this_thread::sleep_for(minute); // NOLINT: the time under test is a running one
    }
    scene.end(SIGTERM);
    scene.demandNoFaults();
    demand(scene.calls("LCMipmiSendCmdC").size() > 20, "the agents were hardly asked");
    return {};
}

// The text, or nothing when the file is empty.
std::string readLocked(const std::string& path) {
    std::string text(size_t{1} << 16U, '\0'); // twice its size
    const int fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
    demand(fd != -1 && lockf(fd, F_LOCK, 1) == 0, "cannot lock the tree");
    const ssize_t length = read(fd, text.data(), text.size());
    close(fd);
    text.resize(size_t(std::max<ssize_t>(length, 0)));
    return text;
}

std::string readWhileWritten() {
    Scene scene;
    scene.describe({{"controllers", machineOf("two-controllers.json")["controllers"]}});
    scene.setEnvironment("BMC_TRACE", "0");
    scene.runToPass(1);
    scene.letRunToPass(MANY_PASSES);
    std::string last;
    int updates = 0;
    int empty = 0;
    int reads = 0;
    for (int state = 1; updates < UPDATES; ++state) {
        scene.describeName(std::to_string(state).c_str());
        for (int i = 0; i < READS; ++i, ++reads) {
            const std::string text = readLocked(scene.path(TREE));
            if (text.empty() && ++empty > 0) continue;
            demand(text.starts_with("<?xml") && text.ends_with("</QPRaidStorageDeviceTree>\n"),
                   "a part of " + std::to_string(text.size()) + " bytes");
            if (text != last) ++updates;
            last = text;
        }
    }
    printf("%d updates, %d reads, %d of an empty file\n", updates, reads, empty);
    scene.end(SIGTERM);
    scene.demandNoFaults();
    return {};
}

std::vector<std::string> points() {
    // At the first speed the threads mostly sleep, at the last one hardly ever.
    std::vector<std::string> all = {"agents 600", "agents 10000", "agents 20000", "agents 40000"};
    for (int i = 1; i <= READERS; ++i) all.push_back("reader " + std::to_string(i));
    return all;
}

std::string run(const std::string& point) {
    return point.starts_with("agents") ? flapAgents(std::stoi(point.substr(point.find(' ')))) : readWhileWritten();
}

const bool REGISTERED = addTorture({"concurrency", true, points, run});

} // namespace
