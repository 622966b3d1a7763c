#include "simulator/machine/plainMachine.h"

#include "simulator/machine/deviceRanges.h"
#include "simulator/machine/jsonNode.h"
#include "simulator/machine/recordLayout.h"

#include <algorithm>

namespace sim {
namespace {

using DeviceNumber = std::optional<uint16_t>; // nothing: no range has the device, {n} is a text like any other

void dropComment(Json& object) {
    if (const auto comment = object.find("comment"); comment != object.end() && comment->is_string())
        object.erase(comment);
}

void fillInText(Json& value, DeviceNumber device) {
    if (value.is_string() && device) value = fillIn(value.get_ref<const std::string&>(), *device);
}

// A text in the place of a number: one that has digits once it is filled in, or a word for a code.
void settleNumber(Json& value, std::span<const CodeText> words, DeviceNumber device) {
    if (!value.is_string()) return;
    fillInText(value, device);
    const std::string text = value;
    if (const std::optional<uint64_t> number = parseNumber<uint64_t>(text); number && device) value = *number;
    for (const CodeText& row : words)
        if (text == row.text) value = row.code;
}

void settleRaw(Json& raw, DeviceNumber device) {
    if (!raw.is_object()) return;
    dropComment(raw);
    for (auto& bytes : raw) fillInText(bytes, device);
}

void settleRecord(Json& record, std::span<const Field> fields, DeviceNumber device);

void settleMember(Json& value, const Field& field, DeviceNumber device) {
    if (field.kind == FieldKind::record) {
        settleRecord(value, field.members, device);
    } else if (field.kind == FieldKind::number) {
        settleNumber(value, field.words, device);
    } else {
        fillInText(value, device);
    }
}

void settleRecord(Json& record, std::span<const Field> fields, DeviceNumber device) {
    if (!record.is_object()) return;
    dropComment(record);
    for (auto member = record.begin(); member != record.end(); ++member) {
        if (member.key() == "raw") settleRaw(member.value(), device);
        const auto field = std::find_if(fields.begin(), fields.end(),
                                        [&](const Field& candidate) { return candidate.name == member.key(); });
        if (field == fields.end()) continue;
        if (field->count > 0 && member.value().is_array()) {
            for (auto& element : member.value()) settleMember(element, *field, device);
        } else if (field->count == 0) {
            settleMember(member.value(), *field, device);
        }
    }
}

void settleRecords(Json& owner, RecordOwner kind, DeviceNumber device = {}) {
    if (!owner.is_object()) return;
    dropComment(owner);
    const auto records = owner.find("records");
    if (records == owner.end() || !records->is_object()) return;
    dropComment(*records);
    for (auto record = records->begin(); record != records->end(); ++record)
        if (const RecordLayout* layout = findRecordLayout(kind, record.key()); layout != nullptr)
            settleRecord(record.value(), layout->members, device);
}

void settleDevice(Json& json, DeviceNumber device) {
    settleRecords(json, RecordOwner::device, device);
    if (!json.is_object() || !device) return;
    for (const char* name : {"sasRpm", "ataRpm", "temperature"})
        if (json.contains(name)) settleNumber(json[name], {}, device);
    if (const auto pages = json.find("pages"); pages != json.end() && pages->is_object())
        for (auto& page : *pages) settleRecord(page, {}, device);
    const Json::json_pointer info("/records/MR_PD_INFO");
    if (json.contains(info) && json[info].is_object() && !json[info].contains("size") &&
        !json[info].contains("deviceId"))
        json[info]["deviceId"] = *device;
}

// Members of `over` take the place of those of `base`; objects are merged.
void merge(Json& base, const Json& over) {
    if (!base.is_object() || !over.is_object()) {
        base = over;
        return;
    }
    for (auto member = over.begin(); member != over.end(); ++member) merge(base[member.key()], member.value());
}

bool isRange(std::string_view name) {
    return name.find("..") != std::string_view::npos;
}

// What follows from the devices of ranges is then made of them by name.
void settleController(Json& controller) {
    if (!controller.is_object()) return;
    settleRecords(controller, RecordOwner::controller);
    for (const char* name : {"batteryStatus", "virtualDiskStatus"})
        if (controller.contains(name)) settleNumber(controller[name], codes::SUMMARY_STATES, {});
    if (const auto drives = controller.find("logicalDrives"); drives != controller.end() && drives->is_object()) {
        dropComment(*drives);
        for (auto& drive : *drives) settleRecords(drive, RecordOwner::logicalDrive);
    }
    const auto devices = controller.find("devices");
    if (devices == controller.end() || !devices->is_object()) return;
    dropComment(*devices);
    if (!hasRanges(*devices)) {
        for (auto& device : *devices) settleDevice(device, {});
        return;
    }
    Json plain = Json::object();
    for (const auto& [id, device] : putTogether(*devices)) plain[std::to_string(id)] = device.plain;
    *devices = std::move(plain);
    Json& records = controller["records"];
    for (const char* list : {"MR_PD_LIST", "MR_ENCL_LIST"})
        if (!records.contains(list)) records[list] = "devices";
}

} // namespace

std::map<uint16_t, DeviceSources> putTogether(const Json& devices) {
    std::map<uint16_t, DeviceSources> covered;
    for (auto entry = devices.begin(); entry != devices.end(); ++entry) {
        const std::optional<DeviceRange> ids = parseDeviceRange(entry.key());
        if (!ids || !entry.value().is_object()) continue;
        for (uint32_t id = ids->first; id <= ids->last && id - ids->first < mostDevices(); ++id) {
            DeviceSources& device = covered[uint16_t(id)];
            merge(device.plain, entry.value());
            device.names.push_back(entry.key());
        }
    }
    for (auto entry = devices.begin(); entry != devices.end(); ++entry) {
        const std::optional<uint16_t> id = parseNumber<uint16_t>(entry.key());
        if (!id) continue;
        merge(covered[*id].plain, entry.value());
        covered[*id].names.push_back(entry.key());
    }
    std::erase_if(covered, [](const auto& device) { return device.second.plain.is_null(); });
    for (auto& [id, device] : covered) settleDevice(device.plain, id);
    return covered;
}

bool hasRanges(const Json& devices) {
    if (!devices.is_object()) return false;
    for (auto entry = devices.begin(); entry != devices.end(); ++entry)
        if (isRange(entry.key())) return true;
    return false;
}

Json plainMachine(Json machine) {
    if (!machine.is_object()) return machine;
    if (const auto controllers = machine.find("controllers"); controllers != machine.end() && controllers->is_array())
        for (auto& controller : *controllers) settleController(controller);
    return machine;
}

namespace {

// ofRange: what a range says shows through, so that null takes away.
void carryOver(Json& machine, const Json& before, const Json& after, bool ofRange);

// Of lists that have got longer or shorter: the elements keep what they were written as where their "id" tells them.
void carryOverList(Json& machine, const Json& before, const Json& after) {
    Json list = Json::array();
    for (const Json& element : after) {
        list.push_back(element);
        for (size_t i = 0; i < std::min(before.size(), machine.size()); ++i) {
            if (!element.is_object() || !element.contains("id") || !before[i].is_object() ||
                before[i].value("id", Json()) != element["id"])
                continue;
            list.back() = machine[i];
            carryOver(list.back(), before[i], element, false);
        }
    }
    machine = std::move(list);
}

void carryOverMembers(Json& machine, const Json& before, const Json& after, bool ofRange) {
    for (auto member = after.begin(); member != after.end(); ++member)
        if (!before.contains(member.key()) || before[member.key()] != member.value())
            carryOver(machine[member.key()], before.value(member.key(), Json()), member.value(), ofRange);
    for (auto member = before.begin(); member != before.end(); ++member) {
        if (after.contains(member.key())) continue;
        machine.erase(member.key());
        if (ofRange) machine[member.key()] = nullptr;
    }
}

void carryOver(Json& machine, const Json& before, const Json& after, bool ofRange) {
    if (before == after) return;
    if (machine.is_null() && before.is_object()) machine = Json::object(); // a device of a range gets its own entry
    if (machine.is_array() && before.is_array() && after.is_array()) {
        if (before.size() != after.size() || machine.size() != after.size())
            return carryOverList(machine, before, after);
        for (size_t i = 0; i < after.size(); ++i) carryOver(machine[i], before[i], after[i], ofRange);
    } else if (machine.is_object() && before.is_object() && after.is_object()) {
        carryOverMembers(machine, before, after, ofRange || hasRanges(machine));
    } else {
        machine = after;
    }
}

} // namespace

void carryOver(Json& machine, const Json& before, const Json& after) {
    carryOver(machine, before, after, false);
}

} // namespace sim
