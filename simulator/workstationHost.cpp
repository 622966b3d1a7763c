// The host of a described machine: its files below BMC_ROOT, its time from the simulator's clock.

#include "platform/host.h"

#include "simulator/machine/callLog.h"
#include "simulator/machine/clock.h"
#include "simulator/machine/machine.h"
#include "simulator/machine/processes.h"
#include "simulator/machine/root.h"

#include <cerrno>
#include <csignal>
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

// Only processes of the described machine get signals. The daemon finds process ids in files that a test may
// have made up, and they may be those of anybody here.
int hostSignal(pid_t pid, int signal) {
    const bool known = pid > 0 && (sim::currentMachine()->processes.contains(pid) || sim::isAdopted(pid));
    const int result = known ? kill(pid, signal) : 0;
    const int error = errno;
    const sim::CallValue arguments[] = {pid, signal};
    sim::logCall(sim::Share::always, "hostSignal", arguments, result);
    errno = error;
    return result;
}

namespace {

void appendToSyslog(const char* text, int flags) {
    HostPathBuffer path;
    const int descriptor =
        open(hostPath("/simulator/syslog", path), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | flags, 0644);
    if (descriptor < 0) return;
    char newline[] = "\n";
    const iovec line[] = {{const_cast<char*>(text), strlen(text)}, {newline, 1}};
    if (writev(descriptor, line, 2) < 0) { // nothing is left to say it to
        close(descriptor);
        return;
    }
    close(descriptor);
}

} // namespace

void hostSyslog(const char* text) {
    const sim::NotCancelled guard;
    appendToSyslog(text, 0);
}

// Never waits: it may be what ends a process that hangs.
void hostSyslogFromHandler(const char* text) {
    appendToSyslog(text, O_NONBLOCK);
}
