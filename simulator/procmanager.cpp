// Stand-in for libprocmanager. What it monitors is shown in simulator/monitor: a file a process, by its
// name, that holds its id.

#include "platform/procmanager.h"

#include "simulator/machine/call.h"
#include "simulator/machine/machine.h"
#include "simulator/machine/root.h"

#include <exception>
#include <mutex>
#include <unistd.h>

namespace {

constexpr int FAILED = 1;
constexpr int MOST_ARGUMENTS = 64;
constexpr size_t CALL_VALUES = 6; // of ProcMonitorRegisterExt, before them

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

void noteProcess(const char* path, const char* name, int pid) try {
    if (path == nullptr || name == nullptr) return;
    const std::string fileName = name;
    if (fileName.empty() || fileName.front() == '.' || fileName.find('/') != std::string::npos) return;
    const sim::NotCancelled guard;
    const std::lock_guard lock(monitored().mutex);
    mkdir(sim::simulatorFile("monitor").c_str(), 0755);
    sim::replaceFile(monitorFile(fileName), std::to_string(pid) + "\n");
    monitored().names[path] = fileName;
} catch (const std::exception&) { // no memory to note it with
    return;
}

void forgetProcess(const char* path) try {
    if (path == nullptr) return;
    const sim::NotCancelled guard;
    const std::lock_guard lock(monitored().mutex);
    const auto entry = monitored().names.find(path);
    if (entry == monitored().names.end()) return;
    unlink(monitorFile(entry->second).c_str());
    monitored().names.erase(entry);
} catch (const std::exception&) { // no memory: the file stays
    return;
}

} // namespace

int ProcMonitorRegister(const char* path, int flags, const char* name, int priority, int argumentCount) {
    return sim::recordedCall("ProcMonitorRegister", {path, flags, name, priority, argumentCount}, FAILED, [&] {
        const int result = sim::currentMachine()->processMonitor.registerResult;
        if (result == 0) noteProcess(path, name, getpid());
        return sim::Answer<int>{result};
    });
}

int ProcMonitorRegisterExt(int pid, const char* path, int flags, const char* name, int priority, int argumentCount,
                           const char* const* arguments) {
    sim::CallValue values[CALL_VALUES + MOST_ARGUMENTS] = {pid, path, flags, name, priority, argumentCount};
    size_t count = CALL_VALUES; // then each argument's text
    for (int i = 0; arguments != nullptr && i < argumentCount && i < MOST_ARGUMENTS; ++i)
        values[count++] = arguments[i];
    return sim::answerCall(sim::Share::always, "ProcMonitorRegisterExt", {values, count}, FAILED, {}, [&] {
        const int result = sim::currentMachine()->processMonitor.registerExtResult;
        if (result == 0) noteProcess(path, name, pid);
        return sim::Answer<int>{result};
    });
}

int ProcMonitorDeRegister(const char* path) {
    return sim::recordedCall("ProcMonitorDeRegister", {path}, FAILED, [&] {
        const int result = sim::currentMachine()->processMonitor.deregisterResult;
        if (result == 0) forgetProcess(path);
        return sim::Answer<int>{result};
    });
}
