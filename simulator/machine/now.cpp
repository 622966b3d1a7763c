#include "simulator/machine/now.h"

#include "simulator/machine/clock.h"
#include "simulator/machine/faults.h"
#include "simulator/machine/root.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

namespace sim {
namespace {

constexpr int64_t UPDATE_SECONDS = 300; // from one update to the next
constexpr size_t LINE_LENGTH = 192;

std::atomic<int64_t> nextUpdate{0};
std::atomic<bool> isTaken{true};
std::atomic<bool> isStanding{false};

const std::string& ownFile() {
    static const std::string& path = *new std::string(simulatorFile("now")); // outlives exit handlers
    return path;
}

// What is left of an earlier process says nothing of this one; nor does this one's when it has ended.
void removeFiles() {
    unlink(ownFile().c_str());
    unlink(simulatorFile("clock").c_str());
}

void begin() {
    static const bool begun = [] {
        removeFiles();
        return atexit(removeFiles) == 0;
    }();
    (void)begun; // an end without it leaves the files, as a kill does
}

void publish() {
    if (!hasMachine()) return;
    const int error = errno;
    const NotCancelled guard;
    begin();
    char line[LINE_LENGTH + 1];
    const int64_t time = secondsSinceStart();
    const int length = snprintf(
        line, sizeof line,
        R"({"time": %lld, "nextUpdate": %lld, "file": "%s", "standing": %s, "speed": %.9g, "start": %lld, "pid": %ld})",
        static_cast<long long>(time), static_cast<long long>(nextUpdate.load()), isTaken ? "taken" : "refused",
        isStanding ? "true" : "false", clockSpeed(), static_cast<long long>(clockTime().seconds - time),
        static_cast<long>(getpid()));
    if (length > 0 && size_t(length) < LINE_LENGTH) {
        memset(line + length, ' ', LINE_LENGTH - size_t(length));
        line[LINE_LENGTH - 1] = '\n';
        if (!overwriteFile(ownFile().c_str(), {line, LINE_LENGTH})) unlink(ownFile().c_str()); // it is not true
    }
    errno = error;
}

} // namespace

void publishTime() {
    publish();
}

void publishUpdate() {
    nextUpdate = secondsSinceStart() + UPDATE_SECONDS;
    publish();
}

void publishFile(bool taken) {
    isTaken = taken;
    publish();
}

void publishStanding(bool standing) {
    isStanding = standing;
    publish();
}

} // namespace sim
