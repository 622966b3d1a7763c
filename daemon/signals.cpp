#include "daemon/signals.h"

#include "daemon/base/logs.h"
#include "daemon/base/pause.h"
#include "platform/host.h"
#include "platform/procmanager.h"
#include "sysinfo/snmpdSupervision.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <sys/syscall.h>
#include <unistd.h>

std::atomic<unsigned char> g_running = 1;
std::atomic<int> g_procMonRegistered = 0;

namespace {

constexpr char STOP_TEXT[] = "demon version " DAEMON_VERSION " stopped.";

std::atomic<bool> g_stopNoted = false;

// SIGALRM is the time limit of the exit.
void changeMask(int howKept, int howLimit) {
    sigset_t kept;
    sigset_t limit;
    sigemptyset(&kept);
    sigemptyset(&limit);
    for (const KeptSignal& signal : KEPT_SIGNALS) sigaddset(&kept, signal.number);
    sigaddset(&limit, SIGALRM);
    pthread_sigmask(howKept, &kept, nullptr);
    pthread_sigmask(howLimit, &limit, nullptr);
}

// From here on nothing interrupts a handler that ends the daemon but the time limit of the exit.
void blockRequests() {
    changeMask(SIG_BLOCK, SIG_UNBLOCK);
}

// A thread that a library started may be given a signal of the main thread's: it is passed on.
bool passToMainThread(int signal) {
    if (gettid() == getpid()) return false;
    syscall(SYS_tgkill, getpid(), getpid(), signal);
    return true;
}

// What every handler of a kept signal begins with.
template <void (*act)(int)>
void onKeptSignal(int signal) {
    if (!passToMainThread(signal) && !deferSignal(signal)) act(signal);
}

constexpr bool isKept(int signal) {
    return std::ranges::any_of(KEPT_SIGNALS, [signal](const KeptSignal& kept) { return kept.number == signal; });
}

template <int signal, void (*act)(int)>
void installKept() {
    static_assert(isKept(signal), "a signal that arrives in a pass is delivered after it only from KEPT_SIGNALS");
    std::signal(signal, onKeptSignal<act>);
}

[[noreturn]] void endDaemon() {
    startGiveUpTimer();
    exit(0);
}

void noteTermination(int signal) {
    HandlerLine().add("ZEB_MIRA_Update got signal ").add(signal).add("\n").write();
    if (getpid() != g_mainPid) return;
    HandlerLine().add("ZEB_MIRA_Update: Yes, the signal was for me!\n").write();
    g_running = 0;
}

void onTerminateSignal(int signal) {
    blockRequests();
    noteTermination(signal);
    for (const int other : {SIGTERM, SIGABRT, SIGSEGV, SIGKILL, SIGTRAP, SIGBUS, SIGILL}) std::signal(other, SIG_DFL);
    endDaemon();
}

void noteInterrupt() {
    HandlerLine().add("ZEB_MIRA_Update got signal 2 \n").write();
}

void noteRegistration() {
    HandlerLine().add("ZEB_MIRA_Update is registered ").add(g_procMonRegistered).add(" \n").write();
}

void onInterruptSignal(int signal) {
    blockRequests();
    noteInterrupt();
    if (getpid() != g_mainPid) {
        HandlerLine()
            .add("ZEB_MIRA_Update child process ")
            .add(getpid())
            .add(" got a signal ")
            .add(signal)
            .add(",  ZEB_MIRA_Update pid: ")
            .add(g_mainPid)
            .add(" \n")
            .write();
    } else if (signal == SIGINT) {
        noteRegistration();
        startGiveUpTimer();
        if (g_procMonRegistered != 0) g_procMonRegistered = ProcMonitorDeRegister(DAEMON_PATH);
    }
    endDaemon();
}

// The process monitor may keep its answer for itself. Nothing is there yet that an exit would have to undo.
void onSignalBeforeRegistration(int signal) {
    HandlerLine().add("ZEB_MIRA_Update got signal ").add(signal).add("\n").write();
    _exit(0);
}

// Returns, and so ends the pause that it interrupts. A library may hang here as in a pass.
void onSnmpdRestartSignal(int signal) {
    if (signal != SIGUSR1) return;
    const int error = errno;
    installKept<SIGUSR1, onSnmpdRestartSignal>();
    keepSignalsDuring(restartSnmpdRegistration);
    errno = error;
}

// The time for ending is over: the main thread hangs in a pass, or in the exit.
void onGiveUp(int) {
    if (!isGiveUpTimerRunning()) return; // another's alarm
    if (getpid() != g_mainPid) _exit(0);
    switch (const int signal = getDeferredTermination()) {
    case 0: break;
    case SIGINT:
        noteInterrupt();
        noteRegistration();
        break;
    default: noteTermination(signal);
    }
    if (!g_stopNoted) hostSyslogFromHandler(STOP_TEXT);
    _exit(0);
}

} // namespace

void installFirstHandlers() {
    for (const int request : {SIGTERM, SIGINT}) std::signal(request, onSignalBeforeRegistration);
}

void installSignalHandlers() {
    installKept<SIGTERM, onTerminateSignal>();
    installKept<SIGINT, onInterruptSignal>();
    installKept<SIGUSR1, onTerminateSignal>();
    // A fault of the program acts at once. SIGKILL is refused, as it must be; the list names every signal that ends the
    // daemon.
    for (const int fatal : {SIGABRT, SIGSEGV, SIGKILL, SIGTRAP, SIGILL}) std::signal(fatal, onTerminateSignal);
    installKept<SIGUSR1, onSnmpdRestartSignal>(); // the setting in force
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGALRM, onGiveUp);
}

void blockDaemonSignals() {
    changeMask(SIG_BLOCK, SIG_BLOCK);
}

void unblockDaemonSignals() {
    changeMask(SIG_UNBLOCK, SIG_UNBLOCK);
}

void onExit() {
    if (getpid() == g_mainPid) {
        hostSyslog(STOP_TEXT);
        g_stopNoted = true;
        g_running = 0;
    } else {
        HandlerLine()
            .add("ZEB_MIRA_Update child process ")
            .add(getpid())
            .add(" exit,  ZEB_MIRA_Update pid: ")
            .add(g_mainPid)
            .add(" \n")
            .write();
    }
    if (const int fd = g_logFd.exchange(-1); fd != -1) close(fd);
}
