// The machine itself.

#include "platform/host.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

const char* hostPath(const char* fixedPath, HostPathBuffer&) {
    return fixedPath;
}

unsigned hostSleep(unsigned seconds) {
    return sleep(seconds);
}

HostTime hostTime() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return {now.tv_sec, int32_t(now.tv_nsec / 1000)};
}

int hostStartThread(pthread_t* thread, void* (*body)(void*)) {
    return pthread_create(thread, nullptr, body, nullptr);
}

int hostSignal(pid_t pid, int signal) {
    return kill(pid, signal);
}

void hostSyslog(const char* text) {
    openlog(nullptr, 0, LOG_DAEMON);
    syslog(LOG_NOTICE, "%s", text);
    closelog();
}

// syslog(3) may be what the handler interrupted: the datagram is put together here, without a time, which the
// system's logger adds.
void hostSyslogFromHandler(const char* text) {
    char message[256] = "<29>ZEB_MIRA_Update: "; // facility daemon (3 << 3), level notice (5)
    strncat(message, text, sizeof message - strlen(message) - 1);
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd == -1) return;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path, "/dev/log", sizeof "/dev/log");
    // A system without a logger has nowhere to say so.
    (void)sendto(fd, message, strlen(message), 0, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    close(fd);
}
