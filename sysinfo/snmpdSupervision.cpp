#include "sysinfo/snmpdSupervision.h"

#include "daemon/base/pause.h"
#include "platform/appHelper.h"
#include "platform/host.h"
#include "platform/ipmi.h"
#include "platform/lcm.h"
#include "platform/procmanager.h"
#include "sysinfo/snmpRewrite.h"

#include <atomic>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr uint16_t CONFIG_SNMP_ENABLED = 5128;
constexpr char SNMPD_PATH[] = "/usr/sbin/snmpd";
constexpr char SNMPD_NAME[] = "snmpd";
constexpr char PID_FILE[] = "/var/run/snmpd.pid";
constexpr char RUN_FILE[] = "/var/run/snmpd.run";
constexpr char START_MARKER[] = "/tmp/snmp.start";

// The monitor is told of six arguments: five texts and the closing NULL.
constexpr const char* SNMPD_ARGUMENTS[] = {"-c",  SNMP_CONF_FILE,       "--agentXSocket=\"/var/agentXsock\"",
                                           "-Lf", "/var/log/snmpd.log", nullptr};
constexpr int SNMPD_ARGUMENT_COUNT = 6;
static_assert(sizeof SNMPD_ARGUMENTS / sizeof SNMPD_ARGUMENTS[0] == SNMPD_ARGUMENT_COUNT);

constexpr int SESSION_TIMEOUT = 60;
constexpr int USER_TIMEOUT = 5;
constexpr uint8_t NETFN_APP = 0x18; // 0x06, LUN 0
constexpr uint8_t COMMAND_GET_USER_ACCESS = 0x44;
constexpr uint8_t COMMAND_GET_USER_NAME = 0x46;
constexpr uint8_t FIRST_USER = 2;
constexpr uint8_t USER_COUNT_MASK = 0x3F;

constexpr size_t COMMAND_LINE_SIZE = 1024;

std::atomic<unsigned char> g_snmpdRegistered = 0;
static_assert(std::atomic<unsigned char>::is_always_lock_free);

// 1: read.
int readSnmpEnabled(uint32_t& enabled) {
    enabled = 0;
    return LCMconfigSpaceRead(CONFIG_SNMP_ENABLED, 0, &enabled, sizeof enabled);
}

bool registerSnmpd(int pid) {
    return ProcMonitorRegisterExt(pid, SNMPD_PATH, 0, SNMPD_NAME, 0, SNMPD_ARGUMENT_COUNT, SNMPD_ARGUMENTS) == 0;
}

// argv[0] of a process, "" when there is none to be read.
void readProgram(const char* process, char (&program)[COMMAND_LINE_SIZE]) {
    program[0] = '\0';
    char path[64];
    snprintf(path, sizeof path, "/proc/%.32s/cmdline", process);
    HostPathBuffer buffer;
    FILE* file = fopen(hostPath(path, buffer), "re");
    if (file == nullptr) return;
    if (fgets(program, sizeof program, file) == nullptr) program[0] = '\0';
    fclose(file);
}

bool isSnmpd(const char* process) {
    char program[COMMAND_LINE_SIZE];
    readProgram(process, program);
    const char* slash = strrchr(program, '/');
    return strcmp(slash == nullptr ? program : slash + 1, SNMPD_NAME) == 0;
}

bool mentionsSnmpd(const char* process) {
    char program[COMMAND_LINE_SIZE];
    readProgram(process, program);
    return strstr(program, SNMPD_NAME) != nullptr;
}

// SIGHUP goes to every process whose program's path contains the name, as a program under another name may be snmpd.
// SIGINT, which ends most programs, goes to those of that very name.
void signalEverySnmpd(int signal) {
    const auto isMeant = signal == SIGHUP ? mentionsSnmpd : isSnmpd;
    HostPathBuffer buffer;
    DIR* directory = opendir(hostPath("/proc", buffer));
    if (directory == nullptr) return;
    while (const dirent* entry = readdir(directory)) {
        if (entry->d_name[0] < '0' || entry->d_name[0] > '9') continue;
        if (!isMeant(entry->d_name)) continue;
        const long pid = strtol(entry->d_name, nullptr, 10);
        if (pid > 1 && pid <= INT_MAX) hostSignal(pid_t(pid), signal);
    }
    closedir(directory);
}

// A process id from a file may be another program's by now: then the search takes over.
void signalSnmpd(long pid, int signal) {
    char process[24];
    snprintf(process, sizeof process, "%ld", pid);
    if (pid > 1 && pid <= INT_MAX && isSnmpd(process))
        hostSignal(pid_t(pid), signal);
    else
        signalEverySnmpd(signal);
}

// The channel's number of users, 0 when it cannot be had.
uint8_t getMaxUserCount(IPMISession* session) {
    const uint8_t request[] = {uint8_t(etcGetDefaultLanChannelNumber()), 1};
    uint8_t response[16] = {};
    uint32_t length = sizeof response;
    const int result =
        ipmiSendCmd(session, NETFN_APP, COMMAND_GET_USER_ACCESS, request, sizeof request, response, &length);
    if (result != 0 || length < 2 || response[0] != 0) return 0;
    return response[1] & USER_COUNT_MASK;
}

// False: the user's name was asked for and refused. A request that could not be sent refuses nothing.
bool isUserKnown(IPMISession* session, uint8_t userId) {
    uint8_t response[32] = {};
    uint32_t length = sizeof response;
    const int result =
        ipmiSendCmd(session, NETFN_APP, COMMAND_GET_USER_NAME, &userId, sizeof userId, response, &length);
    return result != 0 || length == 0 || response[0] == 0;
}

// Reads a user's SNMP settings and writes the same back, which applies them to the snmpd that runs now.
void applyUserSettings(IPMISession* session, uint8_t userId) {
    uint8_t enable = 0;
    uint8_t settings[3] = {};
    const int result = LIBIPMI_HL_AMIGetSNMPConf(session, userId, &enable, settings, USER_TIMEOUT);
    if (result == 0 && enable == 1) LIBIPMI_HL_AMISetSNMPConf(session, userId, 1, settings, USER_TIMEOUT);
}

} // namespace

int getSnmpdPid(char* buffer, int* length) {
    *length = 0;
    HostPathBuffer path;
    FILE* file = fopen(hostPath(RUN_FILE, path), "re");
    if (file == nullptr) return -1;
    const bool isRead = fgets(buffer, SNMPD_PID_SIZE, file) != nullptr;
    fclose(file);
    if (!isRead) return -1;
    *length = int(strlen(buffer));
    const long pid = strtol(buffer, nullptr, 10);
    if (pid < INT_MIN || pid > INT_MAX) return -1;
    char process[32];
    snprintf(process, sizeof process, "/proc/%i", int(pid));
    struct stat status;
    return stat(hostPath(process, path), &status) == 0 ? int(pid) : -1;
}

void reloadSnmpd() {
    HostPathBuffer buffer;
    FILE* file = fopen(hostPath(PID_FILE, buffer), "re");
    if (file == nullptr) {
        signalEverySnmpd(SIGHUP);
        return;
    }
    char text[32]; // a number may stand behind an empty line
    text[fread(text, 1, sizeof text - 1, file)] = '\0';
    fclose(file);
    const unsigned long pid = strtoul(text, nullptr, 10);
    signalSnmpd(pid <= INT_MAX ? long(pid) : 0, SIGHUP);
}

void stopSnmpd() {
    char text[SNMPD_PID_SIZE];
    int length = 0;
    const int pid = getSnmpdPid(text, &length);
    if (pid <= 0) return;
    ProcMonitorDeRegister(SNMPD_PATH);
    g_snmpdRegistered = 0;
    signalSnmpd(pid, SIGINT);
    HostPathBuffer buffer;
    unlink(hostPath(START_MARKER, buffer));
}

void startSnmpd() {
    char text[SNMPD_PID_SIZE];
    int length = 0;
    const int pid = getSnmpdPid(text, &length);
    if (pid <= 0 || !registerSnmpd(pid)) return; // the system starts snmpd, this only adopts it
    g_snmpdRegistered = 1;

    uint32_t enabled = 0;
    if (readSnmpEnabled(enabled) == 0 || enabled == 0) return;
    IPMISession* session = ipmiCreateLocalSession(SESSION_TIMEOUT);
    if (session == nullptr) return;
    const uint8_t userCount = getMaxUserCount(session);
    // The last user is not visited.
    for (uint8_t userId = FIRST_USER; userId < userCount; ++userId) {
        deliverSignals(); // each user may take seconds
        if (isUserKnown(session, userId)) applyUserSettings(session, userId);
    }
    ipmiCloseLocalSession(session);
}

int superviseSnmpd() {
    uint32_t enabled = 0;
    if (readSnmpEnabled(enabled) == 0) return 0;
    if (enabled == 0) {
        stopSnmpd();
        return 0;
    }
    if (g_snmpdRegistered == 0) startSnmpd();
    return int(enabled & 0xFF);
}

void restartSnmpdRegistration() {
    ProcMonitorDeRegister(SNMPD_PATH);
    char text[SNMPD_PID_SIZE];
    int length = 0;
    const int pid = getSnmpdPid(text, &length);
    g_snmpdRegistered = pid > 0 && registerSnmpd(pid) ? 1 : 0;
}
