#pragma once

// The described machine, as the stand-in libraries read it.

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

using Bytes = std::vector<uint8_t>;
using Records = std::map<std::string, Bytes, std::less<>>; // by name; an absent one cannot be read

struct Device {
    Records records;
    std::map<uint8_t, std::optional<Bytes>> pages; // nothing: the page is valid but cannot be read
    std::optional<uint32_t> sasRpm;
    std::optional<uint32_t> ataRpm;
    std::optional<int32_t> temperature;
    std::vector<std::optional<std::array<float, 4>>> thresholds; // by sensor
};

struct Controller {
    uint32_t id = 0;
    std::optional<int32_t> number;
    Records records;
    std::map<uint16_t, Device> devices;
    std::map<uint8_t, Records> logicalDrives;
    std::optional<int32_t> batteryStatus;
    std::optional<int32_t> virtualDiskStatus;
};
using Controllers = std::vector<Controller>;

struct ProcessMonitor {
    int32_t registerResult = 0;
    int32_t registerExtResult = 0;
    int32_t deregisterResult = 0;
};

// A value of the parameter database, with the state and type that its entry shows.
struct ParameterValue {
    int32_t state = 0;
    int32_t type = 0;
    uint32_t length = 0;
    std::optional<Bytes> value; // at least `length` bytes, as far as memory is given for it
};
using ParameterInstances = std::map<int32_t, std::vector<ParameterValue>>;
using ParameterGroups = std::map<std::string, std::map<std::string, ParameterInstances, std::less<>>, std::less<>>;

struct IpmiUser {
    std::optional<uint8_t> code; // completion code of Get User Name; nothing: it cannot be sent
    Bytes name;
    std::optional<std::array<uint8_t, 4>> snmp; // enable byte and settings; nothing: they cannot be read
};

struct Ipmi {
    bool session = false;
    int32_t lanChannel = 1;
    std::optional<Bytes> userAccess; // the answer, from its completion code; nothing: it cannot be sent
    std::map<uint8_t, IpmiUser> users;
};

struct Dqmi {
    int32_t connection = -1;
    std::vector<bool> opens; // which transactions open, in order; the last one stands for all further ones
    bool readable = true;
    int32_t status = 0;
    std::optional<uint32_t> length; // that the header gives in place of the answer's own
    std::optional<Bytes> answer;
};

enum class FaultKind : uint8_t { none, error, empty, half, garbage, counts, slow, hang };

// Which calls go wrong; faults.h says what that means.
struct FaultRule {
    std::string call; // empty: any
    std::optional<uint32_t> controller;
    std::optional<uint32_t> device;
    uint64_t nth = 1;
    std::optional<uint64_t> times; // nothing: for ever
    FaultKind kind = FaultKind::none;

    bool operator==(const FaultRule&) const = default;
};

// What one call answers; answers.h says more.
struct AnswerRule {
    double number = 0;
    std::optional<std::string> text;
    std::optional<Bytes> output;
};
using AnswerRules = std::map<std::string, AnswerRule, std::less<>>; // by the arguments, as a record has them

struct Machine {
    std::shared_ptr<const Controllers> controllers; // NULL: their list cannot be read
    std::map<uint16_t, Bytes> configSpace;
    std::set<uint16_t> configSpaceWriteFails;
    std::optional<Bytes> agentsAnswer; // nothing: no agent interface
    ProcessMonitor processMonitor;
    ParameterGroups parameters;
    Ipmi ipmi;
    std::optional<Dqmi> dqmi;                              // nothing: no interface
    std::map<int32_t, std::vector<std::string>> processes; // command lines by process id
    std::vector<FaultRule> faults;
    std::map<std::string, AnswerRules, std::less<>> answers; // by the function's name
    uint64_t reading = 0; // of the file, counted from 1; what a timeline makes of it has the same
};

// The newest good description; a change of the file is seen at once. Never NULL.
std::shared_ptr<const Machine> currentMachine();

// The controllers change hands only here, so that all that is read until the next call comes from one
// description. NULL: the list cannot be read.
std::shared_ptr<const Controllers> takeControllers();

// Of the controllers taken last; NULL: unknown.
std::shared_ptr<const Controller> findController(uint32_t id);

// As far as both go; the rest of the buffer stays as it is. Returns the number of bytes copied.
size_t copyRecord(const Bytes& record, void* buffer, size_t length);

} // namespace sim
