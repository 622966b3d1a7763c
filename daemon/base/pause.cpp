#include "daemon/base/pause.h"

#include "platform/host.h"

#include <cerrno>
#include <ctime>
#include <optional>
#include <unistd.h>

std::atomic<pid_t> g_mainPid = 0;
static_assert(std::atomic<pid_t>::is_always_lock_free && std::atomic<unsigned>::is_always_lock_free);

namespace {

std::atomic<unsigned> g_deferredSignals = 0; // by bit number
std::atomic<bool> g_waiting = false;         // the main thread is in a wait
std::atomic<bool> g_giveUpTimerRuns = false;

bool inMainThread() {
    return gettid() == getpid();
}

// Not of the host's time: what is waited for is another process.
int64_t monotonicMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

// While it lives, the main thread waits: kept signals are delivered at its beginning, others as they arrive.
class Wait {
  public:
    Wait() : outer_(g_waiting.exchange(true)) {
        const unsigned kept = g_deferredSignals.exchange(0);
        for (const KeptSignal& signal : KEPT_SIGNALS)
            if ((kept & 1U << signal.number) != 0) raise(signal.number);
    }
    ~Wait() { g_waiting = outer_; } // a handler may wait itself
    Wait(const Wait&) = delete;
    Wait& operator=(const Wait&) = delete;

  private:
    const bool outer_;
};

} // namespace

bool deferSignal(int signal) {
    if (g_waiting || getpid() != g_mainPid) return false;
    g_deferredSignals |= 1U << signal;
    for (const KeptSignal& kept : KEPT_SIGNALS)
        if (signal == kept.number && kept.endsDaemon) startGiveUpTimer();
    return true;
}

void keepSignalsDuring(void (*work)()) {
    const bool waited = g_waiting.exchange(false);
    work();
    g_waiting = waited;
    deliverSignals();
}

int getDeferredTermination() {
    for (const KeptSignal& signal : KEPT_SIGNALS)
        if (signal.endsDaemon && (g_deferredSignals & 1U << signal.number) != 0) return signal.number;
    return 0;
}

void startGiveUpTimer() {
    if (!g_giveUpTimerRuns.exchange(true)) alarm(GIVE_UP_SECONDS);
}

bool isGiveUpTimerRunning() {
    return g_giveUpTimerRuns;
}

void deliverSignals() {
    if (g_deferredSignals != 0 && inMainThread()) {
        const Wait wait;
    }
}

void pauseSeconds(unsigned seconds) {
    if (!inMainThread()) {
        hostSleep(seconds);
        return;
    }
    const Wait wait;
    hostSleep(seconds);
}

int lockFirstByte(int fd) {
    if (lseek(fd, 0, SEEK_SET) == -1) return -1;
    if (lockf(fd, F_TLOCK, 1) == 0) return 0;
    if (errno != EACCES && errno != EAGAIN) return -1;
    if (!inMainThread()) return lockf(fd, F_LOCK, 1);
    const Wait wait;
    return lockf(fd, F_LOCK, 1);
}

int lockFirstByteSoon(int fd) {
    constexpr timespec interval = {0, 10'000'000};
    const int64_t deadline = monotonicMilliseconds() + 500;
    std::optional<Wait> wait;
    while (lseek(fd, 0, SEEK_SET) == 0) {
        if (lockf(fd, F_TLOCK, 1) == 0) return 0;
        if ((errno != EACCES && errno != EAGAIN) || monotonicMilliseconds() >= deadline) break;
        if (!wait && inMainThread()) wait.emplace();
        nanosleep(&interval, nullptr);
    }
    return -1;
}

void unlockFirstByte(int fd) {
    if (lseek(fd, 0, SEEK_SET) == 0 && lockf(fd, F_ULOCK, 1) != 0) return; // closing releases it in any case
}
