#pragma once

// Where the main thread may be interrupted. SIGTERM, SIGINT and SIGUSR1 take effect only in the functions below,
// where it holds no lock and is in the middle of no write. Elsewhere their handlers keep them (deferSignal), and
// the next of these places delivers them.

#include <atomic>
#include <sys/types.h>

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

// Delivers what was kept. For the places before a file is opened and truncated.
void deliverSignals();

// Sleeps; returns early when a handler ran, also one for a signal kept from before. Any thread.
void pauseSeconds(unsigned seconds);

// Takes the lockf lock on the first byte of an open file; 0 or -1 with errno. Signals are delivered only while
// another process holds it. Moves the file position to 0.
int lockFirstByte(int fd);
void unlockFirstByte(int fd);

// The same for half a second, within which a reader has read; 0 or -1.
int lockFirstByteSoon(int fd);
