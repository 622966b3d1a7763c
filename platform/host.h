#pragma once

// What the daemon takes from the machine under it. The executable's link decides what stands behind it:
// the machine itself (platform/plainHost.cpp) or a described one.

#include <climits>
#include <cstddef>
#include <cstdint>
#include <pthread.h>
#include <sys/types.h>

struct HostPathBuffer {
    char text[PATH_MAX];
};

struct HostTime {
    int64_t seconds; // since 1970
    int32_t microseconds;
};

// Where a fixed absolute path is found: the path itself or a text in `buffer`.
const char* hostPath(const char* fixedPath, HostPathBuffer& buffer);

// Sleeps, returns early with the seconds left when a signal handler ran. A cancellation point.
unsigned hostSleep(unsigned seconds);

HostTime hostTime();

// Starts a thread with default attributes; 0, or the error number of pthread_create.
[[nodiscard]] int hostStartThread(pthread_t* thread, void* (*body)(void*));

// As kill(2).
int hostSignal(pid_t pid, int signal);

// Notes a text for the facility daemon at the level notice. The second form is for signal handlers that
// may have interrupted anything.
void hostSyslog(const char* text);
void hostSyslogFromHandler(const char* text);
