#include "simulator/machine/hostReader.h"

#include "simulator/machine/recordParser.h"

#include <array>
#include <cstring>

namespace sim {
namespace {

Bytes textItem(const std::string& text) {
    Bytes bytes(text.begin(), text.end());
    bytes.push_back(0);
    return bytes;
}

Form<Bytes> configItemForm() {
    return {[](const Node& item, Bytes& bytes) {
                bytes = item.json.is_string() ? textItem(readText(item)) : parseRecord(item);
            },
            [] {
                return Json{{"anyOf", Json::array({textForm().schema(), anyRecordSchema()})}};
            }};
}

// A good answer: completion code 0, then the enterprise number, 1 and the state.
Bytes agentsAnswer(uint64_t state) {
    return {0, 0, 0, 0, 1, uint8_t(state)};
}

constexpr CodeText AGENT_STATES[] = {{0, "down"}, {1, "limited"}, {2, "connected"}};

Form<Bytes> agentStateForm() {
    return {[](const Node& node, Bytes& answer) {
                const std::optional<uint32_t> code = readWord(node, AGENT_STATES);
                answer = agentsAnswer(code ? *code : readUnsigned(node, 2));
            },
            [] {
                return Json{{"anyOf", Json::array({unsignedForm<uint8_t>(2).schema(), wordsSchema(AGENT_STATES)})}};
            }};
}

struct Agents {
    std::optional<Bytes> answer;
};
const MemberTable<Agents>& agentMembers() {
    static const MemberTable<Agents> table = {
        member("response", &Agents::answer, anyRecordForm(), "All bytes of the answer, from the completion code on."),
        member("state", &Agents::answer, agentStateForm(),
               "The state in a good answer: 0 down, 1 connected, limited, 2 connected."),
    };
    return table;
}

const MemberTable<ProcessMonitor>& processMonitorMembers() {
    static const MemberTable<ProcessMonitor> table = {
        member("register", &ProcessMonitor::registerResult, integerForm(), "What registering returns."),
        member("registerExt", &ProcessMonitor::registerExtResult, integerForm(),
               "What registering with a command line returns."),
        member("deregister", &ProcessMonitor::deregisterResult, integerForm(), "What signing off returns."),
    };
    return table;
}

constexpr uint32_t LARGEST_VALUE = 1 << 24; // memory that a value or answer is given for a length
constexpr size_t LARGEST_SUM = 1 << 26;     // of all values

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

struct ValueRead {
    const ValueType* type;
    std::optional<Bytes> bytes;
    std::optional<uint32_t> length;
};

const MemberTable<ValueRead>& valueMembers() {
    static const MemberTable<ValueRead> table = {
        {"type", "How the value is to be understood.", [](const Node&, ValueRead&) {},
         [] {
             Json names = Json::array();
             for (const ValueType& type : VALUE_TYPES) names.push_back(type.name);
             return Json{{"enum", std::move(names)}};
         }},
        {"value", "A text, a whole number, or of type raw bytes in hexadecimal.",
         [](const Node& node, ValueRead& value) { value.bytes = value.type->read(node); },
         [] {
             return Json{{"type", Json::array({"string", "integer"})}};
         }},
        member("length", &ValueRead::length, unsignedForm<uint32_t>(), "Bytes, in place of the value's own length."),
    };
    return table;
}

// The value's memory is exactly as long as its length says, unless that is absurd. `taken` are the bytes of all values,
// whose lengths may be much more than the file's.
ParameterValue readParameterValue(const Node& node, size_t& taken) {
    ValueRead read{&findValueType(node), {}, {}};
    readMembers(node, read, valueMembers());
    if (read.bytes && !read.length) read.length = lengthOf(*read.type, *read.bytes);
    ParameterValue result{read.type->state, read.type->type, read.length.value_or(0), std::move(read.bytes)};
    if (!result.value) return result;
    const size_t size = result.length <= LARGEST_VALUE ? result.length : result.value->size();
    if (taken + size > LARGEST_SUM) node.fail("makes the values longer than 64 MiB in all");
    taken += size;
    result.value->resize(size);
    return result;
}

void readParameters(const Node& node, ParameterGroups& groups) {
    size_t taken = 0;
    forEachMember(node, [&](const Node& group) {
        forEachMember(group, [&](const Node& name) {
            ParameterInstances& instances = groups[std::string(group.key)][std::string(name.key)];
            forEachMember(name, [&](const Node& instance) {
                if (instance.json.is_null()) return;
                const std::optional<int32_t> number = parseNumber<int32_t>(instance.key);
                if (!number) instance.failName("the name must be a decimal number of 32 bits");
                std::vector<ParameterValue>& values = instances[*number];
                forEachElement(instance, ANY_COUNT,
                               [&](const Node& value) { values.push_back(readParameterValue(value, taken)); });
            });
        });
    });
}

Json parametersSchema() {
    Json value = withRequired(schemaOf(valueMembers()), "type");
    const Json list = {{"type", Json::array({"array", "null"})}, {"items", std::move(value)}};
    const Json instances = schemaOfMembers("^-?[0-9]+$", list);
    const Json comment = {{"comment", {{"type", Json::array({"string", "object"})}}}}; // a group may be called so
    const Json group = {{"type", "object"}, {"properties", comment}, {"additionalProperties", instances}};
    return {{"type", "object"}, {"properties", comment}, {"additionalProperties", group}};
}

Form<std::array<uint8_t, 4>> fourBytesForm() {
    return {[](const Node& node, std::array<uint8_t, 4>& bytes) {
                forEachElement(node, bytes.size(),
                               [&](const Node& byte) { bytes[byte.index] = uint8_t(readUnsigned(byte, UINT8_MAX)); });
                if (node.json.size() != bytes.size()) node.fail("must have four bytes");
            },
            [] {
                Json list = listForm(unsignedForm<uint8_t>()).schema();
                list["minItems"] = list["maxItems"] = 4;
                return list;
            }};
}

const MemberTable<IpmiUser>& userMembers() {
    static const MemberTable<IpmiUser> table = {
        member("code", &IpmiUser::code, unsignedForm<uint8_t>(), "Completion code of Get User Name."),
        member("name", &IpmiUser::name, anyRecordForm(), "The bytes of the name."),
        member("snmp", &IpmiUser::snmp, fourBytesForm(), "The enable byte and the three SNMP settings."),
    };
    return table;
}

const MemberTable<Ipmi>& ipmiMembers() {
    static const MemberTable<Ipmi> table = {
        member("session", &Ipmi::session, flagForm(), "Whether there is a session."),
        member("lanChannel", &Ipmi::lanChannel, integerForm(), "The channel of the LAN; 1 when absent."),
        member("userAccess", &Ipmi::userAccess, anyRecordForm(),
               "The answer to Get User Access, from its completion code on."),
        member("users", &Ipmi::users, byNumberForm<uint8_t, IpmiUser>(objectForm(userMembers)), "By user id."),
    };
    return table;
}

// "ok" or "fail".
Form<bool> successForm() {
    return {[](const Node& node, bool& success) {
                const std::string& word = readText(node);
                if (word != "ok" && word != "fail") node.fail("must be ok or fail");
                success = word == "ok";
            },
            [] {
                return Json{{"enum", {"ok", "fail"}}};
            }};
}

const MemberTable<Dqmi>& dqmiMembers() {
    static const MemberTable<Dqmi> table = {
        member("connection", &Dqmi::connection, integerForm(), "What connecting returns; -1 when absent: none."),
        member("open", &Dqmi::opens, listForm(successForm()),
               "Which transactions open, in order; the last entry stands for all further ones."),
        member("read", &Dqmi::readable, successForm(), "Whether an answer is received."),
        member("status", &Dqmi::status, integerForm(), "In the answer's header."),
        member("length", &Dqmi::length, unsignedForm<uint32_t>(), "In the answer's header, in place of its own."),
        {"text", "The answer: a text without its NUL, or bytes.",
         [](const Node& node, Dqmi& dqmi) {
             if (!node.json.is_string()) {
                 dqmi.answer = parseRecord(node);
                 return;
             }
             const std::string& text = readText(node);
             dqmi.answer.emplace(text.begin(), text.end());
         },
         configItemForm().schema},
    };
    return table;
}

struct Process {
    std::vector<std::string> commandLine;
};
const MemberTable<Process>& processMembers() {
    static const MemberTable<Process> table = {
        member("cmdline", &Process::commandLine, listForm(textForm()), "The program and its arguments."),
    };
    return table;
}

} // namespace

Form<std::map<uint16_t, Bytes>> configSpaceForm() {
    return byNumberForm<uint16_t, Bytes>(configItemForm());
}

Form<std::set<uint16_t>> writeFailuresForm() {
    return {[](const Node& node, std::set<uint16_t>& ids) {
                forEachElement(node, ANY_COUNT,
                               [&](const Node& id) { ids.insert(uint16_t(readUnsigned(id, UINT16_MAX))); });
            },
            listForm(unsignedForm<uint16_t>()).schema};
}

Form<std::optional<Bytes>> agentsForm() {
    return {[](const Node& node, std::optional<Bytes>& answer) {
                if (node.json.is_object() && node.json.contains("state") && node.json.contains("response"))
                    node.fail("must have either a response or a state");
                Agents agents;
                readMembers(node, agents, agentMembers());
                answer = std::move(agents.answer);
            },
            [] {
                Json schema = schemaOf(agentMembers());
                schema["not"] = {{"required", Json::array({"state", "response"})}};
                return schema;
            }};
}

Form<ProcessMonitor> processMonitorForm() {
    return objectForm(processMonitorMembers);
}

Form<ParameterGroups> parametersForm() {
    return {readParameters, parametersSchema};
}

Form<Ipmi> ipmiForm() {
    return objectForm(ipmiMembers);
}

Form<Dqmi> dqmiForm() {
    return {[](const Node& node, Dqmi& dqmi) {
                readMembers(node, dqmi, dqmiMembers());
                const uint32_t length = dqmi.length.value_or(0);
                if (dqmi.answer && length > dqmi.answer->size() && length <= LARGEST_VALUE) dqmi.answer->resize(length);
            },
            [] { return schemaOf(dqmiMembers()); }};
}

Form<std::map<int32_t, std::vector<std::string>>> processesForm() {
    const Form<std::vector<std::string>> process = {[](const Node& node, std::vector<std::string>& commandLine) {
                                                        if (numberOf(node, INT32_MAX) == 0)
                                                            node.failName("0 is no process id");
                                                        Process read;
                                                        readMembers(node, read, processMembers());
                                                        commandLine = std::move(read.commandLine);
                                                    },
                                                    [] { return schemaOf(processMembers()); }};
    return byNumberForm<int32_t, std::vector<std::string>>(process);
}

} // namespace sim
