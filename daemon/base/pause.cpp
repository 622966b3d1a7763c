#include "daemon/base/pause.h"

#include "platform/host.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <optional>
#include <unistd.h>

std::atomic<pid_t> g_mainPid = 0;
static_assert(std::atomic<pid_t>::is_always_lock_free && std::atomic<unsigned>::is_always_lock_free);

namespace {

std::atomic<unsigned> g_deferredSignals = 0; // by bit number
std::atomic<bool> g_waiting = false;         // the main thread is in a wait
std::atomic<bool> g_giveUpTimerRuns = false;

// In the order of delivery: SIGINT does more than SIGTERM.
constexpr int TERMINATION_SIGNALS[] = {SIGINT, SIGTERM};

bool inMainThread() {
    return gettid() == getpid();
}

// While it lives, the main thread waits: kept signals are delivered at its beginning, others as they arrive.
class Wait {
  public:
    Wait() : outer_(g_waiting.exchange(true)), kept_(g_deferredSignals.exchange(0)) {
        for (const int signal : {SIGINT, SIGTERM, SIGUSR1})
            if ((kept_ & 1U << signal) != 0) raise(signal);
    }
    ~Wait() { g_waiting = outer_; } // a handler may wait itself
    Wait(const Wait&) = delete;
    Wait& operator=(const Wait&) = delete;

    bool hasDelivered() const { return kept_ != 0; }

  private:
    const bool outer_;
    const unsigned kept_;
};

} // namespace

bool deferSignal(int signal) {
    if (g_waiting || getpid() != g_mainPid) return false;
    g_deferredSignals |= 1U << signal;
    for (const int termination : TERMINATION_SIGNALS)
        if (signal == termination) startGiveUpTimer();
    return true;
}

void keepSignalsDuring(void (*work)()) {
    const bool waited = g_waiting.exchange(false);
    work();
    g_waiting = waited;
    deliverSignals();
}

int getDeferredTermination() {
    for (const int signal : TERMINATION_SIGNALS)
        if ((g_deferredSignals & 1U << signal) != 0) return signal;
    return 0;
}

void startGiveUpTimer() {
    if (!g_giveUpTimerRuns.exchange(true)) alarm(GIVE_UP_SECONDS);
}

bool isGiveUpTimerRunning() {
    return g_giveUpTimerRuns;
}

void deliverSignals() {
    if (inMainThread()) {
        const Wait wait;
    }
}

void pauseSeconds(unsigned seconds) {
    if (!inMainThread()) {
        hostSleep(seconds);
        return;
    }
    const Wait wait;
    if (!wait.hasDelivered()) hostSleep(seconds);
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
    constexpr int attempts = 2000;
    constexpr timespec interval = {0, 250000}; // not of the host's time: what is waited for is another process
    std::optional<Wait> wait;
    for (int attempt = 1; lseek(fd, 0, SEEK_SET) == 0; ++attempt) {
        if (lockf(fd, F_TLOCK, 1) == 0) return 0;
        if ((errno != EACCES && errno != EAGAIN) || attempt == attempts) break;
        if (!wait && inMainThread()) wait.emplace();
        nanosleep(&interval, nullptr);
    }
    return -1;
}

void unlockFirstByte(int fd) {
    if (lseek(fd, 0, SEEK_SET) == 0 && lockf(fd, F_ULOCK, 1) != 0) return; // closing releases it in any case
}
