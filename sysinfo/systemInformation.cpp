#include "sysinfo/systemInformation.h"

#include "daemon/pause.h"

#include <algorithm>
#include <iterator>
#include <pthread.h>

namespace {

pthread_mutex_t g_paramTableMutex = PTHREAD_MUTEX_INITIALIZER;

constexpr int LOCK_ATTEMPTS = 10;
constexpr unsigned LOCK_RETRY_SECONDS = 3;

constexpr int PARAM_COUNT = 13;
int64_t g_lastWritten[PARAM_COUNT]; // seconds since 1970, 0: to be written

} // namespace

int lockParamTable() {
    for (int attempt = 0; attempt < LOCK_ATTEMPTS; ++attempt) {
        if (pthread_mutex_trylock(&g_paramTableMutex) == 0) return 1;
        pauseSeconds(LOCK_RETRY_SECONDS);
    }
    return 0;
}

void unlockParamTable() {
    pthread_mutex_unlock(&g_paramTableMutex);
}

void clearWrittenMarkers() {
    std::fill(std::begin(g_lastWritten), std::end(g_lastWritten), 0);
}
