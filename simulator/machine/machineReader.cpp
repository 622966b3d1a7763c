#include "simulator/machine/machineReader.h"

#include "simulator/machine/answersReader.h"
#include "simulator/machine/faults.h"
#include "simulator/machine/jsonNode.h"
#include "simulator/machine/recordParser.h"

#include <cmath>
#include <cstring>
#include <set>
#include <utility>

namespace sim {
namespace {

constexpr size_t ANY_COUNT = SIZE_MAX;

void parseRecords(const Node& node, RecordOwner owner, Records& records) {
    forEachMember(node, [&](const Node& member) {
        const RecordLayout* layout = findRecordLayout(owner, member.key);
        if (layout == nullptr) member.fail("unknown record");
        if (!member.json.is_null()) records.emplace(layout->name, parseRecord(member, *layout));
    });
}

// Null is no number; what is too large is infinite.
float readFloat(const Node& node) {
    using Limits = std::numeric_limits<float>;
    if (node.json.is_null()) return Limits::quiet_NaN();
    if (!node.json.is_number()) node.fail("must be a number or null");
    const auto number = node.json.get<double>();
    return std::fabs(number) <= Limits::max() ? static_cast<float>(number)
                                              : (number > 0 ? Limits::infinity() : -Limits::infinity());
}

std::optional<std::array<float, 4>> readThresholds(const Node& node) {
    if (node.json.is_null()) return {};
    std::array<float, 4> values{};
    forEachElement(node, values.size(), [&](const Node& value) { values[value.index] = readFloat(value); });
    if (node.json.size() != values.size()) node.fail("must have four values");
    return values;
}

void readDevice(const Node& node, Device& device) {
    readMembers(node, {{"records", [&](const Node& n) { parseRecords(n, RecordOwner::device, device.records); }},
                       {"pages",
                        [&](const Node& n) {
                            forEachMember(n, [&](const Node& page) {
                                std::optional<Bytes>& place = addByNumber(page, device.pages);
                                if (!page.json.is_null()) place = parseRecord(page);
                            });
                        }},
                       {"sasRpm", [&](const Node& n) { device.sasRpm = uint32_t(readUnsigned(n, UINT32_MAX)); }},
                       {"ataRpm", [&](const Node& n) { device.ataRpm = uint32_t(readUnsigned(n, UINT32_MAX)); }},
                       {"temperature", [&](const Node& n) { device.temperature = readInteger(n); }},
                       {"thresholds", [&](const Node& n) {
                            forEachElement(n, ANY_COUNT, [&](const Node& sensor) {
                                device.thresholds.push_back(readThresholds(sensor));
                            });
                        }}});
}

void readLogicalDrive(const Node& node, Records& records) {
    readMembers(node, {{"records", [&](const Node& n) { parseRecords(n, RecordOwner::logicalDrive, records); }}});
}

// A null device or logical drive is as good as none.
template <class Key, class Value, class Read>
void readByNumber(const Node& node, std::map<Key, Value>& values, Read read) {
    forEachMember(node, [&](const Node& member) {
        if (member.json.is_null()) {
            numberOf(member, std::numeric_limits<Key>::max());
        } else {
            read(member, addByNumber(member, values));
        }
    });
}

Controller readController(const Node& node) {
    Controller controller;
    if (!node.json.is_object()) node.fail("must be an object");
    if (node.json.value("id", Json()).is_null()) node.fail("has no id");
    readMembers(node,
                {{"id", [&](const Node& n) { controller.id = uint32_t(readUnsigned(n, UINT32_MAX)); }},
                 {"number", [&](const Node& n) { controller.number = readInteger(n); }},
                 {"records", [&](const Node& n) { parseRecords(n, RecordOwner::controller, controller.records); }},
                 {"devices", [&](const Node& n) { readByNumber(n, controller.devices, readDevice); }},
                 {"logicalDrives", [&](const Node& n) { readByNumber(n, controller.logicalDrives, readLogicalDrive); }},
                 {"batteryStatus", [&](const Node& n) { controller.batteryStatus = readInteger(n); }},
                 {"virtualDiskStatus", [&](const Node& n) { controller.virtualDiskStatus = readInteger(n); }}});
    return controller;
}

std::shared_ptr<const Controllers> readControllers(const Node& node) {
    auto controllers = std::make_shared<Controllers>();
    std::set<uint32_t> ids;
    forEachElement(node, ANY_COUNT, [&](const Node& element) {
        controllers->push_back(readController(element));
        if (!ids.insert(controllers->back().id).second) element.fail("has the id of an earlier controller");
    });
    return controllers;
}

Bytes textItem(const std::string& text) {
    Bytes bytes(text.begin(), text.end());
    bytes.push_back(0);
    return bytes;
}

void readConfigSpace(const Node& node, std::map<uint16_t, Bytes>& items) {
    readByNumber(node, items, [](const Node& item, Bytes& bytes) {
        bytes = item.json.is_string() ? textItem(readText(item)) : parseRecord(item);
    });
}

// A good answer: completion code 0, then the enterprise number, 1 and the state.
Bytes agentsAnswer(uint64_t state) {
    return {0, 0, 0, 0, 1, uint8_t(state)};
}

void readAgents(const Node& node, std::optional<Bytes>& answer) {
    if (node.json.is_object() && node.json.size() > 1) node.fail("must have either a response or a state");
    readMembers(node, {{"response", [&](const Node& n) { answer = parseRecord(n); }},
                       {"state", [&](const Node& n) { answer = agentsAnswer(readUnsigned(n, 2)); }}});
}

void readProcessMonitor(const Node& node, ProcessMonitor& monitor) {
    readMembers(node, {{"register", [&](const Node& n) { monitor.registerResult = readInteger(n); }},
                       {"registerExt", [&](const Node& n) { monitor.registerExtResult = readInteger(n); }},
                       {"deregister", [&](const Node& n) { monitor.deregisterResult = readInteger(n); }}});
}

constexpr uint32_t LARGEST_VALUE = 1 << 24; // memory that a value or answer is given for a length

constexpr size_t LARGEST_SUM = 1 << 26; // of all values

// As the value functions of the parameter database number them.
constexpr int32_t TYPE_RAW = 0;
constexpr int32_t TYPE_TEXT = 1;
constexpr int32_t TYPE_NUMBER = 2;
constexpr int32_t TYPE_INVALID = 255;
constexpr int32_t STATE_AVAILABLE = 0;
constexpr int32_t STATE_NOT_AVAILABLE = 3;

// In 8 bytes; negative numbers in two's complement.
Bytes readNumberValue(const Node& node) {
    if (!node.json.is_number_integer()) node.fail("must be a whole number");
    const auto number = node.json.get<int64_t>();
    Bytes bytes(sizeof number);
    memcpy(bytes.data(), &number, sizeof number);
    return bytes;
}

Bytes readAnyValue(const Node& node) {
    return node.json.is_string() ? textItem(readText(node)) : readNumberValue(node);
}

struct ValueType {
    std::string_view name;
    int32_t state;
    int32_t type;
    Bytes (*read)(const Node&);
};
constexpr ValueType VALUE_TYPES[] = {
    {"raw", STATE_AVAILABLE, TYPE_RAW, parseHex},
    {"text", STATE_AVAILABLE, TYPE_TEXT, [](const Node& node) { return textItem(readText(node)); }},
    {"number", STATE_AVAILABLE, TYPE_NUMBER, readNumberValue},
    {"invalid", STATE_AVAILABLE, TYPE_INVALID, readAnyValue},
    {"not available", STATE_NOT_AVAILABLE, TYPE_RAW, readAnyValue},
};

const ValueType& findValueType(const Node& value) {
    if (!value.json.is_object() || !value.json.contains("type")) value.fail("must be an object with a type");
    const Node node{value.json["type"], &value, "type"};
    const std::string& name = readText(node);
    for (const ValueType& type : VALUE_TYPES)
        if (type.name == name) return type;
    node.fail("must be raw, text, number, invalid or not available");
}

// A number has 4 bytes where they suffice.
uint32_t lengthOf(const ValueType& type, const Bytes& value) {
    if (type.type != TYPE_NUMBER) return uint32_t(value.size());
    int64_t number = 0;
    memcpy(&number, value.data(), sizeof number);
    return number >= INT32_MIN && number <= int64_t{UINT32_MAX} ? 4 : 8;
}

// The value's memory is exactly as long as its length says, unless that is absurd.
ParameterValue readParameterValue(const Node& node) {
    const ValueType& type = findValueType(node);
    ParameterValue result{type.state, type.type, 0, {}};
    std::optional<uint32_t> length;
    readMembers(node, {{"type", [](const Node&) {}},
                       {"value", [&](const Node& n) { result.value = type.read(n); }},
                       {"length", [&](const Node& n) { length = uint32_t(readUnsigned(n, UINT32_MAX)); }}});
    if (result.value && !length) length = lengthOf(type, *result.value);
    result.length = length.value_or(0);
    if (result.value && result.length <= LARGEST_VALUE) result.value->resize(result.length);
    return result;
}

void readParameters(const Node& node, ParameterGroups& groups) {
    size_t taken = 0; // by values, whose lengths may be much more than the file's
    forEachMember(node, [&](const Node& group) {
        forEachMember(group, [&](const Node& name) {
            ParameterInstances& instances = groups[std::string(group.key)][std::string(name.key)];
            forEachMember(name, [&](const Node& instance) {
                if (instance.json.is_null()) return;
                std::vector<ParameterValue>& values = instances[signedNumberOf(instance)];
                forEachElement(instance, ANY_COUNT, [&](const Node& value) {
                    values.push_back(readParameterValue(value));
                    if (values.back().value) taken += values.back().value->size();
                    if (taken > LARGEST_SUM) value.fail("makes the values longer than 64 MiB in all");
                });
            });
        });
    });
}

bool readFlag(const Node& node) {
    if (!node.json.is_boolean()) node.fail("must be true or false");
    return node.json.get<bool>();
}

void readUser(const Node& node, IpmiUser& user) {
    readMembers(node, {{"code", [&](const Node& n) { user.code = uint8_t(readUnsigned(n, UINT8_MAX)); }},
                       {"name", [&](const Node& n) { user.name = parseRecord(n); }},
                       {"snmp", [&](const Node& n) {
                            user.snmp.emplace();
                            forEachElement(n, user.snmp->size(), [&](const Node& byte) {
                                (*user.snmp)[byte.index] = uint8_t(readUnsigned(byte, UINT8_MAX));
                            });
                            if (n.json.size() != user.snmp->size()) n.fail("must have four bytes");
                        }}});
}

void readIpmi(const Node& node, Ipmi& ipmi) {
    readMembers(node, {{"session", [&](const Node& n) { ipmi.session = readFlag(n); }},
                       {"lanChannel", [&](const Node& n) { ipmi.lanChannel = readInteger(n); }},
                       {"userAccess", [&](const Node& n) { ipmi.userAccess = parseRecord(n); }},
                       {"users", [&](const Node& n) { readByNumber(n, ipmi.users, readUser); }}});
}

// "ok" or "fail".
bool readSuccess(const Node& node) {
    const std::string& word = readText(node);
    if (word != "ok" && word != "fail") node.fail("must be ok or fail");
    return word == "ok";
}

Dqmi readDqmi(const Node& node) {
    Dqmi dqmi;
    readMembers(node, {{"connection", [&](const Node& n) { dqmi.connection = readInteger(n); }},
                       {"open",
                        [&](const Node& n) {
                            forEachElement(n, ANY_COUNT, [&](const Node& e) { dqmi.opens.push_back(readSuccess(e)); });
                        }},
                       {"read", [&](const Node& n) { dqmi.readable = readSuccess(n); }},
                       {"status", [&](const Node& n) { dqmi.status = readInteger(n); }},
                       {"length", [&](const Node& n) { dqmi.length = uint32_t(readUnsigned(n, UINT32_MAX)); }},
                       {"text", [&](const Node& n) {
                            if (!n.json.is_string()) {
                                dqmi.answer = parseRecord(n);
                                return;
                            }
                            const std::string& text = readText(n);
                            dqmi.answer.emplace(text.begin(), text.end());
                        }}});
    const uint32_t length = dqmi.length.value_or(0);
    if (dqmi.answer && length > dqmi.answer->size() && length <= LARGEST_VALUE) dqmi.answer->resize(length);
    return dqmi;
}

void readProcess(const Node& node, std::vector<std::string>& commandLine) {
    readMembers(node, {{"cmdline", [&](const Node& n) {
                            forEachElement(n, ANY_COUNT, [&](const Node& e) { commandLine.push_back(readText(e)); });
                        }}});
}

void readProcesses(const Node& node, std::map<int32_t, std::vector<std::string>>& processes) {
    readByNumber(node, processes, readProcess);
    if (processes.contains(0)) node.fail("0 is no process id");
}

struct FaultWord {
    std::string_view word;
    FaultKind kind;
};
constexpr FaultWord FAULT_WORDS[] = {{"error", FaultKind::error},   {"empty", FaultKind::empty},
                                     {"short", FaultKind::half},    {"garbage", FaultKind::garbage},
                                     {"counts", FaultKind::counts}, {"slow", FaultKind::slow},
                                     {"hang", FaultKind::hang}};

FaultKind readFaultKind(const Node& node) {
    const std::string& text = readText(node);
    for (const auto& [word, kind] : FAULT_WORDS)
        if (word == text) return kind;
    node.fail("must be error, empty, short, garbage, counts, slow or hang");
}

uint64_t readPositive(const Node& node) {
    const uint64_t number = readUnsigned(node, INT64_MAX);
    if (number == 0) node.fail("must be at least 1");
    return number;
}

FaultRule readFault(const Node& node) {
    FaultRule rule;
    readMembers(node, {{"call", [&](const Node& n) { rule.call = readText(n); }},
                       {"controller", [&](const Node& n) { rule.controller = uint32_t(readUnsigned(n, UINT32_MAX)); }},
                       {"device", [&](const Node& n) { rule.device = uint32_t(readUnsigned(n, UINT16_MAX)); }},
                       {"nth", [&](const Node& n) { rule.nth = readPositive(n); }},
                       {"times", [&](const Node& n) { rule.times = readPositive(n); }},
                       {"kind", [&](const Node& n) { rule.kind = readFaultKind(n); }}});
    if (rule.kind == FaultKind::none) node.fail("has no kind");
    const LibraryCall* call = findLibraryCall(rule.call);
    if (!rule.call.empty() && call == nullptr) node.fail("there is no library function \"" + rule.call + "\"");
    const size_t wanted = rule.device ? 2 : (rule.controller ? 1 : 0);
    if (call != nullptr && call->identifiers < wanted)
        node.fail(rule.call + (wanted == 2 ? " names no device" : " names no controller"));
    return rule;
}

void readFaults(const Node& node, std::vector<FaultRule>& faults) {
    forEachElement(node, ANY_COUNT, [&](const Node& fault) { faults.push_back(readFault(fault)); });
}

void readWriteFailures(const Node& node, std::set<uint16_t>& ids) {
    forEachElement(node, ANY_COUNT, [&](const Node& id) { ids.insert(uint16_t(readUnsigned(id, UINT16_MAX))); });
}

Machine readWhole(const Node& node) {
    Machine machine;
    readMembers(node,
                {{"controllers", [&](const Node& n) { machine.controllers = readControllers(n); }},
                 {"configSpace", [&](const Node& n) { readConfigSpace(n, machine.configSpace); }},
                 {"configSpaceWriteFails", [&](const Node& n) { readWriteFailures(n, machine.configSpaceWriteFails); }},
                 {"agents", [&](const Node& n) { readAgents(n, machine.agentsAnswer); }},
                 {"processMonitor", [&](const Node& n) { readProcessMonitor(n, machine.processMonitor); }},
                 {"lcm", [&](const Node& n) { readParameters(n, machine.parameters); }},
                 {"ipmi", [&](const Node& n) { readIpmi(n, machine.ipmi); }},
                 {"dqmi", [&](const Node& n) { machine.dqmi = readDqmi(n); }},
                 {"processes", [&](const Node& n) { readProcesses(n, machine.processes); }},
                 {"faults", [&](const Node& n) { readFaults(n, machine.faults); }},
                 {"answers", [&](const Node& n) { readAnswers(n, machine); }},
                 {"timeline", [](const Node&) {}}}); // read last, by readTimeline
    return machine;
}

std::unique_ptr<Timeline> readTimeline(const Node& file) {
    std::unique_ptr<Timeline> timeline;
    forEachMember(file, [&](const Node& member) {
        if (member.key == "timeline" && !member.json.is_null())
            timeline = std::make_unique<Timeline>(file, member, [](const Json& json) {
                return std::make_unique<Machine>(readWhole(Node{json, nullptr, {}}));
            });
    });
    return timeline;
}

// The JSON library keeps the last of several members of one name; here that would lose what was described.
class DuplicateFinder {
  public:
    bool operator()(int /*depth*/, Json::parse_event_t event, const Json& parsed) {
        using Event = Json::parse_event_t;
        if (event == Event::object_start) {
            names_.emplace_back();
        } else if (event == Event::object_end) {
            names_.pop_back();
        } else if (event == Event::key) {
            const auto& name = parsed.get_ref<const std::string&>();
            if (!names_.back().insert(name).second) throw DoesNotFit{{}, "the member \"" + name + "\" is given twice"};
        }
        return true;
    }

  private:
    std::vector<std::set<std::string>> names_;
};

// Where the parser stopped. It counts the bytes that it has read.
std::string lineAndColumn(std::string_view text, size_t bytesRead) {
    const std::string_view before = text.substr(0, bytesRead > 0 ? bytesRead - 1 : 0);
    const size_t lineStart = before.rfind('\n') + 1; // 0 when there is none
    return "line " + std::to_string(std::count(before.begin(), before.end(), '\n') + 1) + ", column " +
           std::to_string(before.size() - lineStart + 1);
}

// Without the library's own prefix: "[json.exception...] parse error at line 1, column 2: ".
std::string bareText(const std::string& text) {
    const size_t prefix = text.find(": ");
    return prefix != std::string::npos ? text.substr(prefix + 2) : text;
}

// Names of members come from the file; a fault is one line of a log.
std::string oneLine(std::string text) {
    constexpr size_t longest = 1000;
    if (text.size() > longest) text = text.substr(0, longest) + "...";
    for (char& character : text)
        if (static_cast<unsigned char>(character) < 0x20 || character == 0x7F) character = '?';
    return text;
}

} // namespace

MachineReading readMachine(std::string_view text) {
    MachineReading reading;
    try {
        const Json json = Json::parse(text, DuplicateFinder());
        auto machine = std::make_unique<Machine>(readWhole(Node{json, nullptr, {}}));
        reading.timeline = readTimeline(Node{json, nullptr, {}});
        reading.machine = std::move(machine);
    } catch (const Json::parse_error& error) {
        reading.fault = lineAndColumn(text, error.byte) + ": " + bareText(error.what());
    } catch (const Json::exception& error) {
        reading.fault = error.what();
    } catch (const DoesNotFit& error) {
        reading.fault = (error.path.empty() ? "the file" : error.path) + ": " + error.text;
    }
    reading.fault = oneLine(reading.fault);
    return reading;
}

} // namespace sim
