// The daemon's way from start to end: start-up as named steps, then one pass a minute.

#include "daemon/base/logs.h"
#include "daemon/base/pause.h"
#include "daemon/logRotation.h"
#include "daemon/signals.h"
#include "platform/csm.h"
#include "platform/host.h"
#include "platform/procmanager.h"
#include "rst/dqmiConnection.h"
#include "rst/updateCycle.h"
#include "sysinfo/agentStatus.h"
#include "sysinfo/systemInfoCycle.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

clock_t g_startTicks; // processor time used before the daemon was one; for a debugger

namespace {

constexpr unsigned PASS_SECONDS = 60;
constexpr int STATUS_PERIOD = 2; // passes
constexpr int TREE_PERIOD = 5;   // passes

// There are no options: whatever getopt finds is a question about the usage.
void rejectOptions(int argc, char* argv[]) {
    if (getopt(argc, argv, "h?") == -1) return;
    const char* slash = strrchr(argv[0], '/');
    printf("Usage: %s\n", slash == nullptr ? argv[0] : slash + 1);
    printf("\n");
    exit(0);
}

// So that no log ever becomes standard output.
void openStandardStreams() {
    int fd = open("/dev/null", O_RDWR);
    while (fd >= 0 && fd <= STDERR_FILENO) fd = open("/dev/null", O_RDWR);
    if (fd > STDERR_FILENO) close(fd);
}

// The commands that are run take every byte for a character; in another locale grep calls such a file binary.
void setCommandLocale() {
    setenv("LC_ALL", "C", 1);
}

void logStart(const char* program) {
    const time_t now = hostTime().seconds;
    char text[64] = ""; // with the newline of ctime: the record spans two lines
    ctime_r(&now, text);
    logMessage("%s\tstarted %s version %s pid:%d\n", text, program, DAEMON_VERSION, getpid());
}

void registerDaemon() {
    g_procMonRegistered = ProcMonitorRegister(DAEMON_PATH, 0, DAEMON_NAME, 0, 0) == 0 ? 1 : 0;
    g_mainPid = getpid();
}

// The thread starts with the daemon's signals blocked: their handlers are the main thread's.
int startAgentThread(pthread_t& thread) {
    blockDaemonSignals();
    const int result = hostStartThread(&thread, agentStatusThread);
    unblockDaemonSignals();
    return result;
}

void enterVar() {
    umask(0);
    HostPathBuffer buffer;
    if (chdir(hostPath("/var", buffer)) != 0) return; // nothing here depends on it
}

// Passes count from 1: the tree comes with the first, the status at the end of its period.
void runPass(int pass) {
    noteLocalTime();
    rotateLogFile(); // first, so that the pass's own lines stay
    systemInfoCycle();
    if (pass % STATUS_PERIOD == 0) updateSystemStatus();
    if ((pass - 1) % TREE_PERIOD == 0) updateRAIDStorageTree();
    pauseSeconds(PASS_SECONDS);
}

} // namespace

int main(int argc, char* argv[]) {
    rejectOptions(argc, argv);
    const pid_t child = fork();
    if (child != 0) return child == -1 ? -1 : 0;
    if (setsid() == -1) return -2;
    g_startTicks = clock();

    openStandardStreams();
    setCommandLocale();
    openLogFile();
    logStart(argv[0]);
    installFirstHandlers();
    registerDaemon();
    installSignalHandlers();
    atexit(onExit);
    pthread_t agentThread;
    const int threadResult = startAgentThread(agentThread);
    hostSyslog("deamon version " DAEMON_VERSION " started.");
    enterVar();
    openDQMIConnectionOnce();
    CSM_Init();

    for (int pass = 1; g_running != 0; ++pass) runPass(pass);

    if (threadResult == 0) pthread_cancel(agentThread);
    return 0;
}
