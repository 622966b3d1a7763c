// The host of a described machine: its files below BMC_ROOT, its time from the simulator's clock.

#include "platform/host.h"

#include "simulator/machine/callLog.h"
#include "simulator/machine/clock.h"
#include "simulator/machine/root.h"

#include <cstring>
#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

const char* hostPath(const char* fixedPath, HostPathBuffer& buffer) {
    return sim::pathBelowRoot(fixedPath, buffer.text, sizeof buffer.text);
}

unsigned hostSleep(unsigned seconds) {
    return sim::clockSleep(seconds);
}

HostTime hostTime() {
    const sim::ClockTime time = sim::clockTime();
    return {time.seconds, time.microseconds};
}

int hostStartThread(pthread_t* thread, void* (*body)(void*)) {
    return sim::clockStartThread(thread, body);
}

// No process of the described machine runs here: the signal is noted, not sent.
int hostSignal(pid_t pid, int signal) {
    sim::logCall("hostSignal", {pid, signal}, 0);
    return 0;
}

void hostSyslog(const char* text) {
    const sim::NotCancelled guard;
    hostSyslogFromHandler(text);
}

void hostSyslogFromHandler(const char* text) {
    HostPathBuffer path;
    const int descriptor = open(hostPath("/simulator/syslog", path), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (descriptor < 0) return;
    char newline[] = "\n";
    const iovec line[] = {{const_cast<char*>(text), strlen(text)}, {newline, 1}};
    if (writev(descriptor, line, 2) < 0) { // nothing is left to say it to
        close(descriptor);
        return;
    }
    close(descriptor);
}
