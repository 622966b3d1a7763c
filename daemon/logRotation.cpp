#include "daemon/logRotation.h"

#include "daemon/base/logs.h"
#include "platform/host.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t LOG_FILE_MODE = 0644;

int openLog(int flags) {
    HostPathBuffer buffer;
    return open(hostPath(DAEMON_LOG_FILE, buffer), O_WRONLY | O_CLOEXEC | flags, LOG_FILE_MODE);
}

} // namespace

void openLogFile() {
    HostPathBuffer buffer;
    struct stat status;
    const bool appendable = stat(hostPath(DAEMON_LOG_FILE, buffer), &status) == 0 && status.st_size <= LOG_FILE_LIMIT;
    g_logFd = openLog(appendable ? O_APPEND : O_CREAT);
    if (g_logFd == -1) perror("open LogFile");
}

void rotateLogFile() {
    if (g_logFd == -1 || lseek(g_logFd, 0, SEEK_END) <= LOG_FILE_LIMIT) return;
    close(g_logFd.exchange(-1));
    g_logFd = openLog(O_TRUNC);
}
