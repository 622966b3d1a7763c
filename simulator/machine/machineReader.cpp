#include "simulator/machine/machineReader.h"

#include "simulator/machine/jsonNode.h"
#include "simulator/machine/recordReader.h"

#include <cmath>
#include <set>
#include <utility>

namespace sim {
namespace {

constexpr size_t ANY_COUNT = SIZE_MAX;

void readRecords(const Node& node, RecordOwner owner, Records& records) {
    forEachMember(node, [&](const Node& member) {
        const RecordLayout* layout = findRecordLayout(owner, member.key);
        if (layout == nullptr) member.fail("unknown record");
        if (!member.json.is_null()) records.emplace(layout->name, readRecord(member, *layout));
    });
}

float readFloat(const Node& node) {
    if (!node.json.is_number()) node.fail("must be a number");
    const auto number = node.json.get<double>();
    if (std::fabs(number) > std::numeric_limits<float>::max()) node.fail("is too large");
    return static_cast<float>(number);
}

std::optional<std::array<float, 4>> readThresholds(const Node& node) {
    if (node.json.is_null()) return {};
    std::array<float, 4> values{};
    forEachElement(node, values.size(), [&](const Node& value) { values[value.index] = readFloat(value); });
    if (node.json.size() != values.size()) node.fail("must have four values");
    return values;
}

void readDevice(const Node& node, Device& device) {
    readMembers(node,
                {{"records", [&](const Node& n) { readRecords(n, RecordOwner::Device, device.records); }},
                 {"pages",
                  [&](const Node& n) {
                      forEachMember(n, [&](const Node& page) {
                          std::optional<Bytes>& place = addByNumber(page, device.pages);
                          if (!page.json.is_null()) place = readRecord(page);
                      });
                  }},
                 {"sasRpm", [&](const Node& n) { device.sasRpm = static_cast<uint32_t>(readUnsigned(n, UINT32_MAX)); }},
                 {"ataRpm", [&](const Node& n) { device.ataRpm = static_cast<uint32_t>(readUnsigned(n, UINT32_MAX)); }},
                 {"temperature", [&](const Node& n) { device.temperature = readInteger(n); }},
                 {"thresholds", [&](const Node& n) {
                      forEachElement(n, ANY_COUNT,
                                     [&](const Node& sensor) { device.thresholds.push_back(readThresholds(sensor)); });
                  }}});
}

void readLogicalDrive(const Node& node, Records& records) {
    readMembers(node, {{"records", [&](const Node& n) { readRecords(n, RecordOwner::LogicalDrive, records); }}});
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
    if (!node.json.contains("id")) node.fail("has no id");
    readMembers(node,
                {{"id", [&](const Node& n) { controller.id = static_cast<uint32_t>(readUnsigned(n, UINT32_MAX)); }},
                 {"number", [&](const Node& n) { controller.number = readInteger(n); }},
                 {"records", [&](const Node& n) { readRecords(n, RecordOwner::Controller, controller.records); }},
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
        bytes = item.json.is_string() ? textItem(readText(item)) : readRecord(item);
    });
}

// A good answer: completion code 0, then the enterprise number, 1 and the state.
Bytes agentsAnswer(uint64_t state) {
    return {0, 0, 0, 0, 1, static_cast<uint8_t>(state)};
}

void readAgents(const Node& node, std::optional<Bytes>& answer) {
    if (node.json.is_object() && node.json.size() > 1) node.fail("must have either a response or a state");
    readMembers(node, {{"response", [&](const Node& n) { answer = readRecord(n); }},
                       {"state", [&](const Node& n) { answer = agentsAnswer(readUnsigned(n, 2)); }}});
}

void readProcessMonitor(const Node& node, ProcessMonitor& monitor) {
    readMembers(node, {{"register", [&](const Node& n) { monitor.registerResult = readInteger(n); }},
                       {"registerExt", [&](const Node& n) { monitor.registerExtResult = readInteger(n); }},
                       {"deregister", [&](const Node& n) { monitor.deregisterResult = readInteger(n); }}});
}

Machine readWhole(const Node& node) {
    Machine machine;
    readMembers(node, {{"controllers", [&](const Node& n) { machine.controllers = readControllers(n); }},
                       {"configSpace", [&](const Node& n) { readConfigSpace(n, machine.configSpace); }},
                       {"agents", [&](const Node& n) { readAgents(n, machine.agentsAnswer); }},
                       {"processMonitor", [&](const Node& n) { readProcessMonitor(n, machine.processMonitor); }}});
    return machine;
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

} // namespace

MachineReading readMachine(std::string_view text) {
    MachineReading reading;
    try {
        const Json json = Json::parse(text, DuplicateFinder());
        reading.machine = std::make_unique<Machine>(readWhole(Node{json, nullptr, {}}));
    } catch (const Json::parse_error& error) {
        reading.fault = lineAndColumn(text, error.byte) + ": " + bareText(error.what());
    } catch (const Json::exception& error) {
        reading.fault = error.what();
    } catch (const DoesNotFit& error) {
        reading.fault = (error.path.empty() ? "the file" : error.path) + ": " + error.text;
    }
    return reading;
}

} // namespace sim
