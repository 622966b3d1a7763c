#include "tests/fuzz/memoryMachine.h"

#include "daemon/logs.h"
#include "platform/host.h"
#include "platform/procmanager.h"
#include "simulator/machine/callLog.h"
#include "tests/fuzz/fuzz.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>

MemoryMachine g_machine;

namespace {

struct TemporaryRoot {
    std::string path = (std::filesystem::temp_directory_path() / "fuzzRootXXXXXX").string();

    TemporaryRoot() {
        demand(mkdtemp(path.data()) != nullptr, "a temporary directory can be made");
        for (const char* directory : {"/var/run", "/tmp", "/conf", "/proc"})
            std::filesystem::create_directories(path + directory);
        // The daemon's own remarks are no findings.
        demand(freopen("/dev/null", "w", stdout) != nullptr, "standard output can be discarded");
    }
    ~TemporaryRoot() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
};

bool fails() {
    const uint32_t call = g_machine.calls++;
    return call >= g_machine.failsFrom || g_machine.failingCalls.contains(call);
}

// Owned by g_machine.
template <class Kind>
std::shared_ptr<const Kind> shared(const Kind& object) {
    return {std::shared_ptr<const Kind>(), &object};
}

} // namespace

const std::string& fuzzRoot() {
    static const TemporaryRoot root;
    return root.path;
}

std::string readFileBelow(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(fuzzRoot() + path, std::ios::binary).rdbuf();
    return text.str();
}

void writeFileBelow(const std::string& path, std::string_view text) {
    std::ofstream(fuzzRoot() + path, std::ios::binary) << text;
}

// These come before those of the library bmcsim, since they stand in the executable.
namespace sim {

std::shared_ptr<const Machine> currentMachine() {
    static const Machine nothing;
    return shared(fails() ? nothing : g_machine.machine);
}

std::shared_ptr<const Controllers> takeControllers() {
    return fails() ? nullptr : shared(g_machine.controllers);
}

std::shared_ptr<const Controller> findController(uint32_t id) {
    const auto& all = g_machine.controllers;
    const auto found = std::find_if(all.begin(), all.end(), [id](const Controller& c) { return c.id == id; });
    return fails() || found == all.end() ? nullptr : shared(*found);
}

bool tracing() {
    return false;
}

void logCall(const char* /*name*/, std::initializer_list<CallValue> /*arguments*/, CallValue /*result*/,
             CallOutput /*output*/) {}

} // namespace sim

int ProcMonitorRegister(const char* /*path*/, int /*flags*/, const char* /*name*/, int /*priority*/, int /*count*/) {
    return 0;
}

int ProcMonitorRegisterExt(int /*pid*/, const char* /*path*/, int /*flags*/, const char* /*name*/, int /*priority*/,
                           int /*count*/, const char* const* /*arguments*/) {
    return 0;
}

int ProcMonitorDeRegister(const char* /*path*/) {
    return 0;
}

const char* hostPath(const char* fixedPath, HostPathBuffer& buffer) {
    if (strcmp(fixedPath, RST_LOG_FILE) == 0) return "/dev/null";
    snprintf(buffer.text, sizeof buffer.text, "%s%s", fuzzRoot().c_str(), fixedPath);
    return buffer.text;
}

unsigned hostSleep(unsigned /*seconds*/) {
    return 0;
}

HostTime hostTime() {
    return {g_machine.now, 0};
}

int hostStartThread(pthread_t* /*thread*/, void* (* /*body*/)(void*)) {
    return EAGAIN;
}

int hostSignal(pid_t pid, int /*signal*/) {
    g_machine.signalled.push_back(pid);
    return 0;
}

void hostSyslog(const char* /*text*/) {}
void hostSyslogFromHandler(const char* /*text*/) {}
