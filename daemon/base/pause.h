#pragma once

// Where the main thread may be interrupted. The signals kept take effect only in the functions below, where it is in
// the middle of no write and of no library. Elsewhere their handlers keep them (deferSignal), and the next of these
// places delivers them.

#include <atomic>
#include <csignal>
#include <sys/types.h>

// In the order of delivery: SIGINT does more than SIGTERM. Other threads have them blocked.
struct KeptSignal {
    int number;
    bool endsDaemon;
};
inline constexpr KeptSignal KEPT_SIGNALS[] = {{SIGINT, true}, {SIGTERM, true}, {SIGUSR1, false}};

// The daemon's process id; 0 until the daemon is registered. Tells the daemon from a process forked from it.
extern std::atomic<pid_t> g_mainPid;

// The seconds that a termination signal waits for the main thread, and that an exit may take.
constexpr unsigned GIVE_UP_SECONDS = 5;

// For handlers. True: the signal is kept for the next wait and the handler is to return. False: act now.
bool deferSignal(int signal);

// For handlers that call libraries: signals that arrive meanwhile are kept as in a pass, and delivered at its end.
void keepSignalsDuring(void (*work)());

// The termination signal that is being kept, 0: none. Async-signal-safe.
int getDeferredTermination();

// Starts the time that is left for ending, unless it runs already: SIGALRM comes when it is over.
void startGiveUpTimer();
bool isGiveUpTimerRunning();

// Delivers what was kept: before a file is opened and truncated, and between the calls into a library that may each
// take their time. Nearly free when nothing was kept.
void deliverSignals();

// Sleeps; returns early when a handler runs meanwhile. What was kept from before is delivered first and shortens
// nothing. Any thread.
void pauseSeconds(unsigned seconds);

// Takes the lockf lock on the first byte of an open file; 0 or -1 with errno. Signals are delivered only while
// another process holds it. Moves the file position to 0.
int lockFirstByte(int fd);
void unlockFirstByte(int fd);

// The same for half a second, within which a reader has read; 0 or -1.
int lockFirstByteSoon(int fd);
