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

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds FLAPPING(15);
constexpr std::chrono::microseconds PAUSE(50);
constexpr int READERS = 20;
constexpr int UPDATES = 500; // that each of them is to see
constexpr int MANY_PASSES = 10000000;

json machineOf(const char* file) {
    return json::parse(fileText(MACHINES "/" + std::string(file)));
}

// They answer with states, a refusal and nothing in turn, each for a minute of the daemon's time.
std::string flapAgents(const std::string& speed) {
    const json answers[] = {{{"state", 2}}, {{"state", 0}}, {{"state", 1}}, {{"response", {{"raw", {{"0", "C1"}}}}}}};
    const std::chrono::microseconds minute(60'000'000 / std::stoi(speed));
    Scene scene;
    scene.layFiles();
    scene.setEnvironment("BMC_SPEED", speed);
    scene.setEnvironment("BMC_TRACE", "0");
    scene.launch();
    waitFor("the first tree", [&] { return !scene.read(TREE).empty(); });
    const auto end = Clock::now() + FLAPPING;
    for (int i = 0; Clock::now() < end; ++i) {
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

std::string readWhileWritten(const std::string&) {
    Scene scene;
    scene.describe({{"controllers", machineOf("two-controllers.json")["controllers"]}});
    scene.setEnvironment("BMC_TRACE", "0");
    scene.runToPass(1);
    scene.letRunToPass(MANY_PASSES);
    std::string last;
    int updates = 0;
    int empty = 0;
    int reads = 0;
    for (; updates < UPDATES; ++reads) {
        for (const auto end = Clock::now() + PAUSE; Clock::now() < end;) continue; // leaves the writer a chance
        const std::string text = readLocked(scene.path(TREE));
        if (text.empty() && ++empty > 0) continue;
        demand(text.starts_with("<?xml") && text.ends_with("</QPRaidStorageDeviceTree>\n"),
               "a part of " + std::to_string(text.size()) + " bytes");
        if (text == last) continue;
        last = text;
        scene.describeName(std::to_string(++updates).c_str());
    }
    printf("%d updates, %d reads, %d of an empty file\n", updates, reads, empty);
    scene.end(SIGTERM);
    scene.demandNoFaults();
    return {};
}

// At the first the threads mostly sleep, at the last hardly ever.
std::vector<std::string> speeds() {
    return {"600", "10000", "20000", "40000"};
}

std::vector<std::string> readers() {
    std::vector<std::string> all;
    for (int i = 1; i <= READERS; ++i) all.push_back(std::to_string(i));
    return all;
}

const bool AGENTS_REGISTERED = addTorture({"agents", true, speeds, flapAgents});
const bool READERS_REGISTERED = addTorture({"readers", false, readers, readWhileWritten});

} // namespace
