#include "daemon/pause.h"

#include "platform/host.h"

#include <csignal>
#include <unistd.h>

std::atomic<pid_t> g_mainPid = 0;
static_assert(std::atomic<pid_t>::is_always_lock_free && std::atomic<unsigned>::is_always_lock_free);

namespace {

std::atomic<unsigned> g_deferredSignals = 0; // by bit number
std::atomic<bool> g_waiting = false;         // the main thread is in a wait
std::atomic<bool> g_giveUpTimerRuns = false;

constexpr int TERMINATION_SIGNALS[] = {SIGTERM, SIGINT};

bool inMainThread() {
    return gettid() == getpid();
}

// Opens the wait; true when a kept signal's handler ran. Whatever arrives from then on is handled at once.
bool openWait() {
    g_waiting = true;
    const unsigned kept = g_deferredSignals.exchange(0);
    for (const int signal : {SIGTERM, SIGINT, SIGUSR1})
        if ((kept & 1U << signal) != 0) raise(signal);
    return kept != 0;
}

} // namespace

bool deferSignal(int signal) {
    if (g_waiting || getpid() != g_mainPid) return false;
    g_deferredSignals |= 1U << signal;
    for (const int termination : TERMINATION_SIGNALS)
        if (signal == termination) startGiveUpTimer();
    return true;
}

int getDeferredTermination() {
    for (const int signal : TERMINATION_SIGNALS)
        if ((g_deferredSignals & 1U << signal) != 0) return signal;
    return 0;
}

void startGiveUpTimer() {
    if (!g_giveUpTimerRuns.exchange(true)) alarm(GIVE_UP_SECONDS);
}

void pauseSeconds(unsigned seconds) {
    if (!inMainThread()) {
        hostSleep(seconds);
        return;
    }
    if (!openWait()) hostSleep(seconds);
    g_waiting = false;
}

int lockFirstByte(int fd) {
    if (lseek(fd, 0, SEEK_SET) == -1) return -1;
    if (!inMainThread()) return lockf(fd, F_LOCK, 1);
    openWait();
    const int result = lockf(fd, F_LOCK, 1);
    g_waiting = false; // leaves errno alone
    return result;
}

void unlockFirstByte(int fd) {
    if (lseek(fd, 0, SEEK_SET) == 0 && lockf(fd, F_ULOCK, 1) != 0) return; // closing releases it in any case
}
