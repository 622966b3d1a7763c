// Stand-in for libprocmanager. What it monitors is shown in simulator/monitor: a file a process, by its
// name, that holds its id.

#include "platform/procmanager.h"

#include "simulator/machine/callLog.h"
#include "simulator/machine/machine.h"
#include "simulator/machine/root.h"

#include <exception>
#include <mutex>
#include <unistd.h>

namespace {

constexpr int MOST_ARGUMENTS = 64;

// By path, the name that it was registered with.
struct Monitored {
    std::mutex mutex;
    std::map<std::string, std::string, std::less<>> names;
};

Monitored& monitored() {
    static Monitored& instance = *new Monitored; // outlives exit handlers
    return instance;
}

std::string monitorFile(const std::string& name) {
    return sim::simulatorFile("monitor/" + name);
}

void noteProcess(const char* path, const char* name, int pid) {
    if (path == nullptr || name == nullptr) return;
    const std::string fileName = name;
    if (fileName.empty() || fileName.front() == '.' || fileName.find('/') != std::string::npos) return;
    const sim::NotCancelled guard;
    const std::lock_guard lock(monitored().mutex);
    mkdir(sim::simulatorFile("monitor").c_str(), 0755);
    sim::replaceFile(monitorFile(fileName), std::to_string(pid) + "\n");
    monitored().names[path] = fileName;
}

void forgetProcess(const char* path) {
    if (path == nullptr) return;
    const sim::NotCancelled guard;
    const std::lock_guard lock(monitored().mutex);
    const auto entry = monitored().names.find(path);
    if (entry == monitored().names.end()) return;
    unlink(monitorFile(entry->second).c_str());
    monitored().names.erase(entry);
}

// The call's line, with each argument text behind the count.
void logRegistration(const char* call, std::vector<sim::CallValue> values, int argumentCount,
                     const char* const* arguments, int result) {
    for (int i = 0; arguments != nullptr && i < argumentCount && i < MOST_ARGUMENTS; ++i)
        values.emplace_back(arguments[i]);
    sim::logCall(call, values.data(), values.size(), result);
}

} // namespace

int ProcMonitorRegister(const char* path, int flags, const char* name, int priority, int argumentCount) {
    const int result = sim::currentMachine()->processMonitor.registerResult;
    try {
        if (result == 0) noteProcess(path, name, getpid());
        sim::logCall("ProcMonitorRegister", {path, flags, name, priority, argumentCount}, result);
    } catch (const std::exception&) { // no memory to note it with
        return result;
    }
    return result;
}

int ProcMonitorRegisterExt(int pid, const char* path, int flags, const char* name, int priority, int argumentCount,
                           const char* const* arguments) {
    const int result = sim::currentMachine()->processMonitor.registerExtResult;
    try {
        if (result == 0) noteProcess(path, name, pid);
        logRegistration("ProcMonitorRegisterExt", {pid, path, flags, name, priority, argumentCount}, argumentCount,
                        arguments, result);
    } catch (const std::exception&) { // no memory to note it with
        return result;
    }
    return result;
}

int ProcMonitorDeRegister(const char* path) {
    const int result = sim::currentMachine()->processMonitor.deregisterResult;
    try {
        if (result == 0) forgetProcess(path);
    } catch (const std::exception&) { // no memory: the file stays
        return result;
    }
    sim::logCall("ProcMonitorDeRegister", {path}, result);
    return result;
}
