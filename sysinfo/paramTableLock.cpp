#include "sysinfo/paramTableLock.h"

#include "daemon/base/pause.h"
#include "sysinfo/lcmParameters.h"

#include <cstdio>
#include <pthread.h>

namespace {

pthread_mutex_t g_paramTableMutex = PTHREAD_MUTEX_INITIALIZER;

constexpr int LOCK_ATTEMPTS = 10;
constexpr unsigned LOCK_RETRY_SECONDS = 3;

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

ParamTableLock::ParamTableLock(char* message) : taken_(lockParamTable() != 0) {
    if (!taken_) snprintf(message, LCM_MESSAGE_SIZE, "lock database filelist failed");
}

ParamTableLock::~ParamTableLock() {
    if (taken_) unlockParamTable();
}
