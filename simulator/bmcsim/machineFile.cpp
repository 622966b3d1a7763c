#include "simulator/bmcsim/machineFile.h"

#include "simulator/machine/machineReader.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace sim {
namespace {

std::string readText(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) throw std::runtime_error(path + ": " + strerror(errno));
    return {std::istreambuf_iterator<char>(stream), {}};
}

void writeText(const std::string& path, const std::string& text, mode_t mode) {
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
    bool written = descriptor >= 0;
    for (size_t done = 0; written && done < text.size();) {
        const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
        written = count > 0;
        done += size_t(written ? count : 0);
    }
    written = written && fsync(descriptor) == 0;
    const int error = errno;
    if (descriptor >= 0) close(descriptor);
    if (written) return;
    unlink(path.c_str());
    throw std::runtime_error(path + ": " + strerror(error));
}

std::string describeAll(const std::string& path, const std::vector<Mistake>& mistakes) {
    std::string text;
    for (const std::string& line : describeMistakes(path, mistakes, 10)) text += (text.empty() ? "" : "\n") + line;
    return text;
}

} // namespace

nlohmann::ordered_json loadMachine(const std::string& path) {
    const std::string text = readText(path);
    const MachineReading reading = readMachine(text);
    if (reading.machine == nullptr) throw std::runtime_error(describeAll(path, reading.mistakes));
    return nlohmann::ordered_json::parse(text);
}

void storeMachine(const std::string& path, const nlohmann::ordered_json& machine) {
    const std::string target = std::filesystem::canonical(path);
    const std::string text = machine.dump(2) + "\n";
    // What the daemon would refuse does not get into its file.
    MachineReading reading = readMachine(text);
    if (reading.machine == nullptr) {
        for (Mistake& mistake : reading.mistakes) mistake.line = 0; // of a text that nobody sees
        throw WrongChange(describeAll("not changed", reading.mistakes));
    }
    struct stat status = {};
    if (stat(target.c_str(), &status) != 0) throw std::runtime_error(path + ": " + strerror(errno));
    const mode_t mode = status.st_mode & 0777;
    writeText(target + ".old", readText(target), mode);
    writeText(target + ".new", text, mode);
    if (rename((target + ".new").c_str(), target.c_str()) != 0) throw std::runtime_error(path + ": " + strerror(errno));
}

} // namespace sim
