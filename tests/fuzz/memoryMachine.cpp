#include "tests/fuzz/memoryMachine.h"

#include "daemon/base/logs.h"
#include "platform/host.h"
#include "platform/procmanager.h"
#include "simulator/machine/faults.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <sstream>

MemoryMachine g_machine;

namespace {

std::string layOutRoot(const std::string& root) {
    for (const char* directory : {"/var/run", "/tmp", "/conf", "/proc"})
        std::filesystem::create_directories(root + directory);
    // The daemon's own remarks are no findings.
    demand(freopen("/dev/null", "w", stdout) != nullptr, "standard output can be discarded");
    return root;
}

// Owned by g_machine.
template <class Kind>
std::shared_ptr<const Kind> shared(const Kind& object) {
    return {std::shared_ptr<const Kind>(), &object};
}

} // namespace

void takeFaults(Input& input) {
    constexpr sim::FaultKind kinds[] = {sim::FaultKind::error, sim::FaultKind::empty, sim::FaultKind::half,
                                        sim::FaultKind::garbage, sim::FaultKind::counts};
    const uint8_t head = input.byte();
    g_machine.lastFaultStays = (head & 0x80) != 0;
    uint32_t call = 0;
    for (int count = head % 16; count > 0; --count) {
        call += input.byte();
        g_machine.faults[call++] = kinds[input.byte() % std::size(kinds)];
    }
}

const std::string& fuzzRoot() {
    static const TemporaryDirectory directory;
    static const std::string root = layOutRoot(directory.path);
    return root;
}

std::string readFileBelow(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(fuzzRoot() + path, std::ios::binary).rdbuf();
    return text.str();
}

void writeFileBelow(const std::string& path, std::string_view text) {
    std::ofstream(fuzzRoot() + path, std::ios::binary) << text;
}

// These come before those of the library machine, since they stand in the executable.
namespace sim {

std::shared_ptr<const Machine> currentMachine() {
    return shared(g_machine.machine);
}

std::shared_ptr<const Controllers> takeControllers() {
    return shared(g_machine.controllers);
}

std::shared_ptr<const Controller> findController(uint32_t id) {
    const auto& all = g_machine.controllers;
    const auto found = std::find_if(all.begin(), all.end(), [id](const Controller& c) { return c.id == id; });
    return found == all.end() ? nullptr : shared(*found);
}

Fault beginCall(const char* /*name*/, std::span<const CallValue> /*arguments*/) {
    const auto& faults = g_machine.faults;
    const uint32_t call = g_machine.calls++;
    const auto fault = faults.find(call);
    if (fault != faults.end()) return {fault->second, call};
    const bool stays = g_machine.lastFaultStays && !faults.empty() && faults.rbegin()->first < call;
    return stays ? Fault(faults.rbegin()->second, call) : Fault();
}

void logCall(Share /*share*/, const char* /*name*/, std::span<const CallValue> /*arguments*/, CallValue /*result*/,
             const CallOutput& /*output*/, const char* /*fault*/) {}

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
