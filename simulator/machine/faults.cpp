#include "simulator/machine/faults.h"

#include "platform/storelibDriveRecords.h"
#include "platform/storelibRecords.h"
#include "simulator/machine/clock.h"
#include "simulator/machine/root.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <iterator>
#include <limits>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace sim {
namespace {

constexpr unsigned SLOW_SECONDS = 3;
constexpr unsigned HANG_SECONDS = 1U << 30; // a piece of eternity

constexpr LibraryCall LIBRARY_CALLS[] = {
#define LIBRARY_CALL_AS(signature, name, kind, result, identifiers, ...)                                               \
    {#name, CallKind::kind, CallResult::result, identifiers},
#include "simulator/record/libraryCalls.inc"
#undef LIBRARY_CALL_AS
};

constexpr FaultWord FAULT_WORDS[] = {{"error", FaultKind::error},   {"empty", FaultKind::empty},
                                     {"short", FaultKind::half},    {"garbage", FaultKind::garbage},
                                     {"counts", FaultKind::counts}, {"slow", FaultKind::slow},
                                     {"hang", FaultKind::hang}};

thread_local bool doesWithout = false;

// Where records say how many of something they or others hold.
struct CountField {
    std::string_view record;
    size_t offset;
    size_t size;
};
#define COUNT(type, member)                                                                                            \
    { #type, offsetof(type, member), sizeof(type::member) }
constexpr CountField COUNT_FIELDS[] = {
    COUNT(SL_CTRL_LIST_T, count),
    COUNT(MR_CTRL_INFO, devicePortCount),
    COUNT(MR_CTRL_INFO, imageComponentCount),
    COUNT(MR_CTRL_INFO, ldPresentCount),
    COUNT(MR_CTRL_INFO, pdPresentCount),
    COUNT(MR_PD_LIST, size),
    COUNT(MR_PD_LIST, count),
    COUNT(MR_SAS_CONNECTORS, count),
    COUNT(MR_ENCL_LIST, count),
    COUNT(MR_CONFIG_DATA, logDrvCount),
    COUNT(MR_PD_INFO, pathCount),
    COUNT(SL_ENCL_STATUS_T, slotCount),
    COUNT(SL_ENCL_STATUS_T, psuCount),
    COUNT(SL_ENCL_STATUS_T, fanCount),
    COUNT(SL_ENCL_STATUS_T, sensorCount),
    COUNT(SL_ENCL_STATUS_T, alarmCount),
    {"SL_PD_IN_LD_T", 0, 4},
    {"LDS_OF_PD", 0, 4},
    {"page", 2, 2}, // the length of what follows
};

// The same number gives the same byte for each index, in every run.
uint8_t garbageByte(uint64_t number, size_t index) {
    uint64_t mixed = (number << 20 ^ index) * 0x9E3779B97F4A7C15;
    mixed = (mixed ^ mixed >> 31) * 0xBF58476D1CE4E5B9;
    return uint8_t(mixed >> 56);
}

// Never NUL, never longer than a value's text may be.
std::string garbageText(uint64_t number) {
    constexpr uint64_t texts = 64; // they are kept
    constexpr size_t longest = 300;
    number %= texts;
    std::string text(1 + garbageByte(number, 0) * longest / UINT8_MAX, '\0');
    for (size_t i = 0; i < text.size(); ++i) text[i] = char(garbageByte(number, i + 1) | 1);
    return text;
}

// The number of calls as a line of fixed length in memory that is the file's.
class CountFile {
  public:
    CountFile() {
        const std::string path = simulatorFile("count");
        unlink(path.c_str()); // of an earlier process, which may still count in it
        const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
        if (descriptor < 0) return;
        if (ftruncate(descriptor, sizeof(Line)) == 0) {
            void* memory = mmap(nullptr, sizeof(Line), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
            if (memory != MAP_FAILED) line_ = static_cast<Line*>(memory);
        }
        close(descriptor);
    }

    void show(uint64_t count) {
        if (line_ == nullptr) return;
        Line line;
        memset(line.digits, ' ', sizeof line.digits);
        for (size_t i = sizeof line.digits; i > 0 && count > 0; count /= 10) line.digits[--i] = char('0' + count % 10);
        *line_ = line;
    }

  private:
    struct Line {
        char digits[15];
        char end = '\n';
    };
    Line* line_ = nullptr;
};

// How often each fault struck, by its place in the machine file, as a line of JSON in simulator/faults: {"0":  3, "1":
// 0}. Its length stays, so that it is rewritten in place.
class StrikeFile {
  public:
    StrikeFile() { remove(); }

    void begin(size_t faults) {
        strikes_.assign(faults, 0);
        remove();
        if (faults > 0) write();
    }
    void strike(size_t fault) {
        ++strikes_[fault];
        try {
            write();
        } catch (const std::exception&) { // no memory: the next one tells it
            return;
        }
    }

  private:
    void remove() const { unlink(path_.c_str()); }
    void write() const {
        std::string line;
        for (size_t i = 0; i < strikes_.size(); ++i) {
            char text[64];
            snprintf(text, sizeof text, R"(%s"%zu": %15llu)", i == 0 ? "{" : ", ", i,
                     static_cast<unsigned long long>(strikes_[i]));
            line += text;
        }
        overwriteFile(path_.c_str(), line + "}\n");
    }

    const std::string path_ = simulatorFile("faults");
    std::vector<uint64_t> strikes_;
};

// What has happened so far: calls of all, and those that fitted each rule of the machine in force.
class CallCounter {
  public:
    Fault next(std::string_view name, std::span<const CallValue> arguments) {
        const NotCancelled guard;
        const std::shared_ptr<const Machine> machine = currentMachine();
        const std::lock_guard lock(mutex_);
        file_.show(++count_);
        if (machine->reading != machine_->reading || machine->faults != machine_->faults) {
            fitted_.assign(machine->faults.size(), 0);
            strikes_.begin(machine->faults.size());
        }
        machine_ = machine;
        std::optional<size_t> met;
        for (size_t i = 0; i < fitted_.size(); ++i)
            if (applies(machine->faults[i], fitted_[i], name, arguments) && !met) met = i;
        if (!met) return {};
        strikes_.strike(*met);
        return {machine->faults[*met].kind, count_};
    }

  private:
    bool applies(const FaultRule& rule, uint64_t& fitted, std::string_view name,
                 std::span<const CallValue> arguments) const {
        if (!fits(rule, name, arguments)) return false;
        const uint64_t number = rule.call.empty() ? count_ : ++fitted;
        return number >= rule.nth && (!rule.times || number - rule.nth < *rule.times);
    }

    static bool fits(const FaultRule& rule, std::string_view name, std::span<const CallValue> arguments) {
        if (!rule.call.empty() && rule.call != name) return false;
        if (!rule.controller && !rule.device) return true;
        const LibraryCall* call = findLibraryCall(name);
        const size_t identifiers = call != nullptr ? call->identifiers : 0;
        const auto isAt = [&](size_t index, const std::optional<uint32_t>& wanted) {
            return !wanted || (index < identifiers && arguments[index].number() == *wanted);
        };
        return isAt(0, rule.controller) && isAt(1, rule.device);
    }

    std::mutex mutex_;
    CountFile file_;
    StrikeFile strikes_;
    uint64_t count_ = 0;
    std::shared_ptr<const Machine> machine_ = std::make_shared<Machine>();
    std::vector<uint64_t> fitted_;
};

} // namespace

std::span<const LibraryCall> libraryCalls() {
    return LIBRARY_CALLS;
}

const LibraryCall* findLibraryCall(std::string_view name) {
    const auto* found = std::find_if(std::begin(LIBRARY_CALLS), std::end(LIBRARY_CALLS),
                                     [&](const LibraryCall& call) { return call.name == name; });
    return found != std::end(LIBRARY_CALLS) ? found : nullptr;
}

std::span<const FaultWord> faultWords() {
    return FAULT_WORDS;
}

std::vector<std::string> idleFaults(const Machine& machine) {
    const auto isIdle = [&](const FaultRule& rule) {
        if ((!rule.controller && !rule.device) || machine.controllers == nullptr) return rule.controller || rule.device;
        return std::none_of(
            machine.controllers->begin(), machine.controllers->end(), [&](const Controller& controller) {
                if (rule.controller && controller.id != *rule.controller) return false;
                return !rule.device || controller.devices.contains(uint16_t(*rule.device)) ||
                       (*rule.device <= UINT8_MAX && controller.logicalDrives.contains(uint8_t(*rule.device)));
            });
    };
    std::vector<std::string> lines;
    for (size_t i = 0; i < machine.faults.size(); ++i) {
        const FaultRule& rule = machine.faults[i];
        if (!isIdle(rule)) continue;
        std::string whom = rule.controller ? "controller " + std::to_string(*rule.controller) : "a controller";
        if (rule.device) whom += " with device " + std::to_string(*rule.device);
        lines.push_back("/faults/" + std::to_string(i) + ": " + whom + " is not described: it strikes nothing");
    }
    return lines;
}

bool hasMachine() {
    return !doesWithout && getenv("BMC_ROOT") != nullptr; // there are functions that need none
}

WithoutMachine::WithoutMachine() {
    doesWithout = true;
}

WithoutMachine::~WithoutMachine() {
    doesWithout = false;
}

const char* keepText(std::string text) {
    static std::mutex& mutex = *new std::mutex; // outlives exit handlers
    static std::set<std::string>& kept = *new std::set<std::string>;
    const std::lock_guard lock(mutex);
    return kept.insert(std::move(text)).first->c_str();
}

const char* Fault::name() const {
    for (const FaultWord& row : FAULT_WORDS)
        if (row.kind == kind_) return row.word;
    return nullptr;
}

void Fault::wait() const {
    if (kind_ == FaultKind::slow)
        for (unsigned left = SLOW_SECONDS; left > 0;) left = clockSleep(left);
    while (kind_ == FaultKind::hang) clockSleep(HANG_SECONDS);
}

void Fault::spoil(void* data, size_t size, std::string_view record) const {
    auto* bytes = static_cast<uint8_t*>(data);
    switch (kind_) {
    case FaultKind::none:
    case FaultKind::slow:
    case FaultKind::hang: break;
    case FaultKind::error:
    case FaultKind::empty: std::fill_n(bytes, size, uint8_t{0}); break;
    case FaultKind::half: std::fill(bytes + size / 2, bytes + size, uint8_t{0}); break;
    case FaultKind::garbage:
        for (size_t i = 0; i < size; ++i) bytes[i] = garbageByte(callNumber_, i);
        break;
    case FaultKind::counts:
        for (const CountField& field : COUNT_FIELDS)
            if (field.record == record && field.offset + field.size <= size)
                std::fill_n(bytes + field.offset, field.size, uint8_t{0xFF});
        break;
    }
}

uint32_t Fault::spoiledLength(uint32_t length) const {
    switch (kind_) {
    case FaultKind::empty: return 0;
    case FaultKind::half: return length / 2;
    case FaultKind::counts: return std::numeric_limits<uint32_t>::max();
    case FaultKind::none:
    case FaultKind::error:
    case FaultKind::garbage:
    case FaultKind::slow:
    case FaultKind::hang: break;
    }
    return length;
}

int Fault::spoiledNumber(int number) const {
    switch (kind_) {
    case FaultKind::empty: return 0;
    case FaultKind::half: return number & 0xFF;
    case FaultKind::counts: return std::numeric_limits<int>::max();
    case FaultKind::garbage: spoil(&number, sizeof number); break;
    case FaultKind::none:
    case FaultKind::error:
    case FaultKind::slow:
    case FaultKind::hang: break;
    }
    return number;
}

const char* Fault::spoiledText(const char* text) const {
    constexpr size_t longest = 4096;
    try {
        switch (kind_) {
        case FaultKind::empty: return "";
        case FaultKind::half: return keepText(std::string(text, strlen(text) / 2));
        case FaultKind::counts: return keepText(std::string(longest, 'x'));
        case FaultKind::garbage: return keepText(garbageText(callNumber_));
        case FaultKind::none:
        case FaultKind::error:
        case FaultKind::slow:
        case FaultKind::hang: break;
        }
    } catch (const std::exception&) { // no memory
        return text;
    }
    return text;
}

Fault beginCall(const char* name, std::span<const CallValue> arguments) {
    if (!hasMachine()) return {};
    static CallCounter& counter = *new CallCounter; // outlives exit handlers
    const Fault fault = counter.next(name, arguments);
    if (fault.hangs()) logCall(Share::always, name, arguments, CallValue(nullptr, 0), {}, fault.name());
    fault.wait();
    return fault;
}

} // namespace sim
