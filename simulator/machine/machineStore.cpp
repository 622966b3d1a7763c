#include "simulator/machine/machineStore.h"

#include "simulator/machine/faults.h"
#include "simulator/machine/log.h"
#include "simulator/machine/machineReader.h"
#include "simulator/machine/now.h"
#include "simulator/machine/processes.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <exception>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace sim {
namespace {

constexpr off_t LARGEST_FILE = off_t{64} << 20;

struct FileText {
    std::string text;
    std::string fault; // empty: `text` is the file
    FileIdentity identity;
};

FileText textOf(const std::string& path) {
    FileText result;
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status = {};
    if (descriptor < 0 || fstat(descriptor, &status) != 0) {
        result.fault = strerror(errno);
    } else {
        result.identity = identityOf(status);
        if (!S_ISREG(status.st_mode)) result.fault = "not a regular file";
        if (status.st_size > LARGEST_FILE) result.fault = "longer than 64 MiB";
    }
    if (result.fault.empty()) {
        result.text.resize(size_t(status.st_size));
        const ssize_t length = read(descriptor, result.text.data(), result.text.size());
        if (length < 0) result.fault = strerror(errno);
        result.text.resize(size_t(std::max<ssize_t>(length, 0)));
    }
    if (descriptor >= 0) close(descriptor);
    return result;
}

// A file that was written just now may be written again within the same tick of the file system's clock, in the
// same size: until it has lain for a while, only its text tells.
bool isSettled(const FileIdentity& identity) {
    constexpr int64_t longestTick = 100'000'000;
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec - identity.modified > longestTick;
}

MachineStore& theStore() {
    static MachineStore& store =
        *new MachineStore(std::string(rootDirectory()) + "/machine.json", layOutProcesses); // outlives exit handlers
    return store;
}

} // namespace

MachineStore::MachineStore(std::string path, std::function<void(const Machine&)> onChange, int64_t (*seconds)())
    : path_(std::move(path)), onChange_(std::move(onChange)), seconds_(seconds), machine_(std::make_shared<Machine>()) {
}

void MachineStore::refresh() {
    try {
        if (!looked_ || !settled_ || identityOf(path_) != identity_) readFile();
        if (timeline_ == nullptr) return;
        const int64_t now = seconds_();
        if (const std::optional<int64_t> next = timeline_->next(); next && *next <= now) put(timeline_->play(now));
    } catch (const std::exception&) { // no memory: the next call tries again
        looked_ = false;
    }
}

void MachineStore::readFile() {
    FileText file = textOf(path_);
    settled_ = isSettled(file.identity);
    if (looked_ && file.identity == identity_ && file.text == text_) return;
    looked_ = true;
    identity_ = file.identity;
    text_ = file.text;
    MachineReading reading;
    if (file.fault.empty()) {
        reading = readMachine(file.text);
    } else {
        reading.mistakes.push_back({{}, file.fault});
    }
    const bool wasRefused = std::exchange(isRefused_, reading.machine == nullptr);
    publishFile(!isRefused_);
    if (isRefused_) return reportMistakes(reading.mistakes);
    if (reading_++ > 0 || wasRefused) reportNews(path_ + " has been taken over");
    for (const std::string& line : idleFaults(*reading.machine)) reportFault(path_ + ": " + line);
    timeline_ = std::move(reading.timeline);
    put(std::move(reading.machine));
}

void MachineStore::reportMistakes(const std::vector<Mistake>& mistakes) const {
    constexpr size_t mostLines = 10;
    std::vector<std::string> lines = describeMistakes(path_, mistakes, mostLines);
    lines.back() += reading_ == 0 ? "; the machine is empty until this is corrected" : "; the machine stays as it was";
    for (const std::string& line : lines) reportFault(line);
}

void MachineStore::put(std::unique_ptr<Machine> machine) {
    machine->reading = reading_;
    onChange_(*machine);
    machine_ = std::move(machine);
}

std::shared_ptr<const Machine> MachineStore::current() {
    const NotCancelled guard;
    const std::lock_guard lock(mutex_);
    refresh();
    return machine_;
}

std::shared_ptr<const Controllers> MachineStore::take() {
    const NotCancelled guard;
    const std::lock_guard lock(mutex_);
    refresh();
    handedOver_ = true;
    controllers_ = machine_->controllers;
    return controllers_;
}

std::shared_ptr<const Controllers> MachineStore::taken() {
    const NotCancelled guard;
    const std::lock_guard lock(mutex_);
    refresh();
    if (!handedOver_) {
        handedOver_ = true;
        controllers_ = machine_->controllers;
    }
    return controllers_;
}

std::shared_ptr<const Machine> currentMachine() {
    return theStore().current();
}

std::shared_ptr<const Controllers> takeControllers() {
    return theStore().take();
}

std::shared_ptr<const Controller> findController(uint32_t id) {
    const std::shared_ptr<const Controllers> controllers = theStore().taken();
    if (controllers == nullptr) return nullptr;
    const auto found = std::find_if(controllers->begin(), controllers->end(),
                                    [id](const Controller& controller) { return controller.id == id; });
    return found != controllers->end() ? std::shared_ptr<const Controller>(controllers, &*found) : nullptr;
}

size_t copyRecord(const Bytes& record, void* buffer, size_t length) {
    const size_t copied = std::min(record.size(), length);
    if (buffer == nullptr || copied == 0) return 0;
    memcpy(buffer, record.data(), copied);
    return copied;
}

} // namespace sim
