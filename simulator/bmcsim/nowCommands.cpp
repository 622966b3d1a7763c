// bmcsim status and wait: how the running daemon and the machine file stand to each other.

#include "simulator/bmcsim/commands.h"
#include "simulator/bmcsim/daemonNow.h"
#include "simulator/machine/duration.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <thread>

namespace sim {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int NOT_SEEN = 1;

// An update whose controllers cannot be read leaves no result. No call of the stand-ins takes that long by itself.
constexpr std::chrono::seconds SILENCE(10);

void showStatus(const Places& places) {
    const std::optional<DaemonNow> now = readNow(places.directory());
    if (!now) {
        printf("No daemon of %s runs.\n", places.directory().c_str());
        throw CLI::RuntimeError(NOT_SEEN);
    }
    const std::string pace = now->speed == 0 ? "virtual time" : "speed " + CLI::detail::to_string(now->speed);
    printf("daemon        runs (process %ld, %s), its time is %s\n", long(now->pid), pace.c_str(),
           clockText(now->time).c_str());
    std::error_code none;
    const auto edited = std::filesystem::last_write_time(places.machine(), none);
    if (!none && edited > now->written)
        printf("machine file  edited, and not looked at yet: the next pass, within a minute of its time, does\n");
    else if (now->isTaken)
        printf("machine file  taken\n");
    else
        printf("machine file  refused; what is wrong is in %s/simulator/log\n", places.directory().c_str());
    printf("next update   %s\n", nextUpdateText(*now).c_str());
}

void wait(const Places& places, unsigned patience) {
    UpdateLog log(places.directory());
    log.added();
    const Clock::time_point end = Clock::now() + std::chrono::seconds(patience);
    std::optional<Clock::time_point> begun;
    while (Clock::now() < end && (!begun || Clock::now() < *begun + SILENCE)) {
        for (const int result : log.added()) {
            if (result >= 0) {
                printf("ret=%d %s\n", result, resultText(result));
                return;
            }
            begun = Clock::now();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    if (begun)
        fprintf(stderr, "bmcsim: an update has begun and left no result: the controllers could not be read\n");
    else
        fprintf(stderr, "bmcsim: no update within %u s (%s/var/LogFile.RST)\n", patience, places.directory().c_str());
    throw CLI::RuntimeError(NOT_SEEN);
}

} // namespace

void addNowCommands(CLI::App& app, const Places& places) {
    static unsigned patience = 600; // two updates
    app.add_subcommand("status", "does the daemon run, was the machine file taken, when is the next update")
        ->callback([&places] { showStatus(places); });
    CLI::App* command = app.add_subcommand("wait", "until the next update is over: bmcsim wait --timeout 60");
    command->add_option("--timeout", patience, "seconds, otherwise 600; exit status 1");
    command->callback([&places] { wait(places, patience); });
}

} // namespace sim
