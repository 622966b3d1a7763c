#include "simulator/machine/clock.h"

#include "simulator/machine/now.h"
#include "simulator/machine/root.h"
#include "simulator/machine/virtualClock.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace sim {
namespace {

constexpr int64_t DEFAULT_VIRTUAL_START = 1767225600; // 2026-01-01 00:00:00 UTC
constexpr double FASTEST = 1e6;

int64_t microsecondsOf(clockid_t clock) {
    timespec time = {};
    clock_gettime(clock, &time);
    return int64_t{time.tv_sec} * 1000000 + time.tv_nsec / 1000;
}

std::optional<int64_t> secondsSetting(const char* name) {
    const char* text = getenv(name);
    if (text == nullptr) return {};
    const std::optional<int64_t> seconds = parseSeconds(text);
    if (!seconds) refuseToStart(std::string(name) + "=" + text + ": not a number of seconds");
    return seconds;
}

double speedSetting(const char* text) {
    char* end = nullptr;
    const double speed = strtod(text, &end);
    if (end == text || *end != 0 || !std::isfinite(speed) || speed < 1 || speed > FASTEST)
        refuseToStart(std::string("BMC_SPEED=") + text + ": neither a number from 1 to 1000000 nor max");
    return speed;
}

// Time that runs by itself, `speed` times as fast as real time.
struct RunningClock {
    double speed = 1;
    clockid_t source = CLOCK_REALTIME;
    int64_t start = 0;       // microseconds since 1970
    int64_t sourceStart = 0; // the same moment on the source

    int64_t microseconds() const {
        const int64_t elapsed = microsecondsOf(source) - sourceStart;
        return start + (speed == 1 ? elapsed : int64_t(double(elapsed) * speed));
    }
    unsigned sleep(unsigned seconds) const {
        const double realSeconds = seconds / speed;
        timespec left = {};
        left.tv_sec = time_t(realSeconds);
        left.tv_nsec = long((realSeconds - std::floor(realSeconds)) * 1e9);
        if (clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) != EINTR) return 0;
        const double realLeft = double(left.tv_sec) + double(left.tv_nsec) / 1e9;
        return unsigned(std::ceil(realLeft * speed));
    }
};

struct Clock {
    int64_t start = 0; // seconds since 1970
    std::optional<RunningClock> running;
    VirtualClock* virtualClock = nullptr; // when there is no running one
};

Clock makeClock() {
    const char* speed = getenv("BMC_SPEED");
    const std::optional<int64_t> start = secondsSetting("BMC_TIME");
    const std::optional<int64_t> limit = secondsSetting("BMC_UNTIL");
    Clock clock;
    if (speed != nullptr && std::string(speed) == "max") {
        clock.start = start.value_or(DEFAULT_VIRTUAL_START);
        clock.virtualClock = new VirtualClock(clock.start, limit, simulatorFile("clock"), simulatorFile("until"));
        return clock;
    }
    clock.running.emplace();
    if (speed != nullptr) clock.running->speed = speedSetting(speed);
    if (clock.running->speed != 1 || start) {
        clock.running->source = CLOCK_MONOTONIC;
        clock.running->start = start ? *start * 1000000 : microsecondsOf(CLOCK_REALTIME);
        clock.running->sourceStart = microsecondsOf(CLOCK_MONOTONIC);
    }
    clock.start = clock.running->microseconds() / 1000000;
    return clock;
}

const Clock& theClock() {
    static const Clock& clock = *new Clock(makeClock()); // outlives exit handlers
    return clock;
}

} // namespace

ClockTime clockTime() {
    const Clock& clock = theClock();
    if (!clock.running) return {clock.virtualClock->now(), 0};
    const int64_t time = clock.running->microseconds();
    return {time / 1000000, int32_t(time % 1000000)};
}

int64_t secondsSinceStart() {
    return clockTime().seconds - theClock().start;
}

double clockSpeed() {
    return theClock().running ? theClock().running->speed : 0;
}

unsigned clockSleep(unsigned seconds) {
    publishTime();
    const Clock& clock = theClock();
    return clock.running ? clock.running->sleep(seconds) : clock.virtualClock->sleep(seconds);
}

int clockStartThread(pthread_t* thread, void* (*body)(void*)) {
    const Clock& clock = theClock();
    return clock.running ? pthread_create(thread, nullptr, body, nullptr)
                         : clock.virtualClock->startThread(thread, body);
}

} // namespace sim
