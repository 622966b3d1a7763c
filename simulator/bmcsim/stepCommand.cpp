// bmcsim step: lets a standing clock go on.

#include "simulator/bmcsim/commands.h"
#include "simulator/bmcsim/daemonNow.h"
#include "simulator/machine/duration.h"

#include <chrono>
#include <cstdio>
#include <thread>

namespace sim {
namespace {

constexpr int NO_CLOCK = 1;
constexpr int WRONG_LENGTH = 2;
constexpr std::chrono::seconds PATIENCE(600);

[[noreturn]] void refuse(int status, const std::string& text) {
    fprintf(stderr, "bmcsim: %s\n", text.c_str());
    throw CLI::RuntimeError(status);
}

DaemonNow nowOf(const std::string& root) {
    const std::optional<DaemonNow> now = readNow(root);
    if (!now) refuse(NO_CLOCK, "no daemon runs below " + root);
    if (now->speed != 0) refuse(NO_CLOCK, "its clock runs by itself; one that stands: ./run --speed max");
    return *now;
}

DaemonNow waitUntil(const std::string& root, int64_t second) {
    const auto end = std::chrono::steady_clock::now() + PATIENCE;
    while (std::chrono::steady_clock::now() < end) {
        const DaemonNow now = nowOf(root);
        if (now.isStanding && now.time >= second) return now;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    refuse(NO_CLOCK, "the clock does not come to stand at " + clockText(second));
}

void step(const std::string& root, const std::string& length) {
    const std::optional<int64_t> seconds = parseDuration(length);
    if (!seconds || *seconds == 0)
        refuse(WRONG_LENGTH, "\"" + length + R"(" is no length of time, such as 5min, "1h 30min" or 00:05:00)");
    const DaemonNow before = waitUntil(root, 0);
    UpdateLog log(root);
    log.added();
    moveClock(root, before, before.time + *seconds);
    const DaemonNow now = waitUntil(root, before.time + *seconds);
    printf("time %s -> %s\n", clockText(before.time).c_str(), clockText(now.time).c_str());
    const std::vector<int> results = log.added();
    for (const int result : results) printf("update: %s\n", resultText(result));
    if (results.empty()) printf("no update; the next one is at %s\n", clockText(now.nextUpdate).c_str());
    if (!now.isTaken) printf("the machine file is refused: see simulator/log\n");
}

} // namespace

void addStepCommand(CLI::App& app, const Places& places) {
    static std::string length;
    CLI::App* command =
        app.add_subcommand("step", "let a standing clock go on, and tell the updates: bmcsim step 5min");
    command->add_option("LENGTH", length, "as 90, 5min, \"1h 30min\" or 00:05:00")->required();
    command->callback([&places] { step(places.directory(), length); });
}

} // namespace sim
