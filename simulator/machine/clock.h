#pragma once

// The machine's time. BMC_SPEED chooses it: real (1), N times as fast, or virtual ("max"); BMC_TIME and
// BMC_UNTIL say where it starts and stands still.

#include <cstdint>
#include <pthread.h>

namespace sim {

struct ClockTime {
    int64_t seconds; // since 1970
    int32_t microseconds;
};

// Safe in signal handlers after its first call.
ClockTime clockTime();

// Since the process first asked for the time.
int64_t secondsSinceStart();

// How many times as fast as real time; 0: virtual.
double clockSpeed();

// Returns early with the seconds left when a signal handler ran in the calling thread. A cancellation point.
unsigned clockSleep(unsigned seconds);

// 0, or the error number of pthread_create. In virtual time the thread first runs when its starter sleeps.
int clockStartThread(pthread_t* thread, void* (*body)(void*));

} // namespace sim
