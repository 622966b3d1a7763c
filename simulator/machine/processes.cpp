#include "simulator/machine/processes.h"

#include "simulator/machine/log.h"
#include "simulator/machine/root.h"

#include <exception>
#include <filesystem>
#include <fstream>
#include <string>

namespace sim {
namespace {

// The simulator's file of the process ids that it has laid out, one a line.
constexpr std::string_view LIST = "processes";

std::string directoryOf(int32_t pid) {
    return std::string(rootDirectory()) + "/proc/" + std::to_string(pid);
}

void removeEarlier(const Machine& machine) {
    std::ifstream list(simulatorFile(LIST));
    std::error_code ignored; // it may be gone already
    for (int32_t pid = 0; list >> pid;)
        if (pid > 0 && !machine.processes.contains(pid)) std::filesystem::remove_all(directoryOf(pid), ignored);
}

} // namespace

void layOutProcesses(const Machine& machine) {
    removeEarlier(machine);
    std::string list;
    for (const auto& [pid, arguments] : machine.processes) {
        std::string commandLine;
        for (const std::string& argument : arguments) commandLine.append(argument).push_back('\0');
        std::error_code ignored; // the file cannot be written then
        std::filesystem::create_directory(directoryOf(pid), ignored);
        if (!replaceFile(directoryOf(pid) + "/cmdline", commandLine)) reportFault("cannot write " + directoryOf(pid));
        list += std::to_string(pid) + "\n";
    }
    if (!list.empty() || std::filesystem::exists(simulatorFile(LIST))) replaceFile(simulatorFile(LIST), list);
}

bool isAdopted(int32_t pid) {
    const NotCancelled guard;
    try {
        std::ifstream list(simulatorFile("adopted"));
        for (int32_t listed = 0; list >> listed;)
            if (listed == pid) return true;
    } catch (const std::exception&) { // no memory
        return false;
    }
    return false;
}

} // namespace sim
