#include "simulator/machine/controllerReader.h"

#include "platform/storelibRecords.h"
#include "simulator/machine/deviceRanges.h"
#include "simulator/machine/plainMachine.h"
#include "simulator/machine/recordParser.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>

namespace sim {
namespace {

constexpr std::string_view FROM_DEVICES = "devices"; // in place of a list: it is made of them

bool isMadeOfDevices(std::string_view record) {
    return record == "MR_PD_LIST" || record == "MR_ENCL_LIST";
}

void readRecord(const Node& node, RecordOwner owner, Records& records) {
    const RecordLayout* layout = findRecordLayout(owner, node.key);
    if (layout == nullptr) {
        std::vector<std::string_view> names;
        for (const RecordLayout& other : recordLayouts())
            if (other.owner == owner) names.push_back(other.name);
        node.failName("unknown record" + suggestName(node.key, names));
    }
    if (node.json.is_null() || (isMadeOfDevices(layout->name) && node.json == FROM_DEVICES)) return;
    records.emplace(layout->name, parseRecord(node, *layout));
}

Form<Records> recordsForm(RecordOwner owner) {
    return {[owner](const Node& node, Records& records) {
                forEachMember(node, [&](const Node& record) { readRecord(record, owner, records); });
            },
            [owner] {
                Json properties = {{"comment", {{"type", "string"}}}};
                for (const RecordLayout& layout : recordLayouts()) {
                    if (layout.owner != owner) continue;
                    Json forms = Json::array({{{"$ref", "#/definitions/" + std::string(layout.name)}}});
                    if (isMadeOfDevices(layout.name)) forms.push_back({{"enum", {FROM_DEVICES}}});
                    forms.push_back({{"type", "null"}});
                    properties[std::string(layout.name)] = {{"anyOf", std::move(forms)}};
                }
                return Json{{"type", "object"}, {"additionalProperties", false}, {"properties", std::move(properties)}};
            }};
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

using Thresholds = std::optional<std::array<float, 4>>;

Form<Thresholds> thresholdsForm() {
    return {
        [](const Node& node, Thresholds& values) {
            if (node.json.is_null()) return;
            values.emplace();
            forEachElement(node, values->size(), [&](const Node& value) { (*values)[value.index] = readFloat(value); });
            if (node.json.size() != values->size()) node.fail("must have four values");
        },
        [] {
            const Json number = {{"type", Json::array({"number", "null"})}};
            return Json{{"type", Json::array({"array", "null"})}, {"minItems", 4}, {"maxItems", 4}, {"items", number}};
        }};
}

// A page that is null is valid but unreadable.
Form<std::map<uint8_t, std::optional<Bytes>>> pagesForm() {
    return {[](const Node& node, std::map<uint8_t, std::optional<Bytes>>& pages) {
                forEachMember(node, [&](const Node& page) {
                    std::optional<Bytes>& place = addByNumber(page, pages);
                    if (!page.json.is_null()) place = parseRecord(page);
                });
            },
            [] { return schemaOfMembers(DECIMAL_NAME, orNull(anyRecordSchema())); }};
}

const MemberTable<Device>& deviceMembers() {
    static const MemberTable<Device> table = {
        member("records", &Device::records, recordsForm(RecordOwner::device), "What can be read of it, by record."),
        member("pages", &Device::pages, pagesForm(), "SES diagnostic pages by number; null: valid but unreadable."),
        member("sasRpm", &Device::sasRpm, unsignedForm<uint32_t>(), "Turns a minute, where a SAS drive is asked."),
        member("ataRpm", &Device::ataRpm, unsignedForm<uint32_t>(), "Turns a minute, where a SATA drive is asked."),
        member("temperature", &Device::temperature, integerForm(),
               "Degrees Celsius, where the drive is asked; 0 when absent."),
        member("thresholds", &Device::thresholds, listForm(thresholdsForm()),
               "For each temperature sensor high critical, high warning, low warning, low critical, or null."),
    };
    return table;
}

// Where the file has what a mistake of a device that was put together points to.
void pointToSource(std::string& pointer, const Node& devices, const Node& device, const DeviceSources& sources) {
    const std::string prefix = device.path();
    if (!pointer.starts_with(prefix)) return;
    const std::string rest = pointer.substr(prefix.size());
    const Json::json_pointer member(rest);
    const auto source = std::find_if(sources.names.rbegin(), sources.names.rend(),
                                     [&](const std::string& name) { return devices.json[name].contains(member); });
    const std::string& name = source != sources.names.rend() ? *source : sources.names.back();
    pointer = devices.path() + "/" + escaped(name) + rest;
}

void readPutTogether(const Node& devices, uint16_t id, const DeviceSources& sources, std::map<uint16_t, Device>& read) {
    std::vector<Mistake>& mistakes = devices.allMistakes();
    const size_t before = mistakes.size();
    const std::string name = std::to_string(id);
    const Node device{sources.plain, &devices, name};
    device.attempt([&] { readMembers(device, read[id], deviceMembers()); });
    for (size_t i = before; i < mistakes.size(); ++i) {
        pointToSource(mistakes[i].pointer, devices, device, sources);
        pointToSource(mistakes[i].earlier, devices, device, sources);
    }
    // What a range says once is wrong once.
    const auto isKnown = [&](const Mistake& mistake) {
        return std::any_of(mistakes.begin(), mistakes.begin() + ptrdiff_t(before), [&](const Mistake& other) {
            return other.pointer == mistake.pointer && other.text == mistake.text;
        });
    };
    mistakes.erase(std::remove_if(mistakes.begin() + ptrdiff_t(before), mistakes.end(), isKnown), mistakes.end());
}

void checkRange(const Node& range) {
    const std::optional<DeviceRange> ids = parseDeviceRange(range.key);
    if (!ids) range.failName("the name must be a device id or a range such as 8..31, up to 65535");
    if (size_t(ids->last - ids->first) >= mostDevices())
        range.failName("has more than the " + std::to_string(mostDevices()) + " devices of a controller's list");
    if (!range.json.is_object() && !range.json.is_null()) range.fail("must be an object");
}

void readDevices(const Node& node, std::map<uint16_t, Device>& devices) {
    if (!hasRanges(node.json)) return byNumberForm<uint16_t, Device>(objectForm(deviceMembers)).read(node, devices);
    std::map<uint16_t, std::nullptr_t> single;
    forEachMember(node, [&](const Node& member) {
        if (member.key.find("..") != std::string_view::npos) return checkRange(member);
        addByNumber(member, single);
    });
    for (const auto& [id, sources] : putTogether(node.json)) readPutTogether(node, id, sources, devices);
}

Form<std::map<uint16_t, Device>> devicesForm() {
    return {readDevices, [] {
                Json device = schemaOf(deviceMembers());
                return schemaOfMembers("^[0-9]+(\\.\\.[0-9]+)?$", orNull(std::move(device)));
            }};
}

struct LogicalDrive {
    Records records;
};
const MemberTable<LogicalDrive>& logicalDriveMembers() {
    static const MemberTable<LogicalDrive> table = {
        member("records", &LogicalDrive::records, recordsForm(RecordOwner::logicalDrive),
               "What can be read of it, by record."),
    };
    return table;
}

Form<Records> logicalDriveForm() {
    return {[](const Node& node, Records& records) {
                LogicalDrive drive;
                readMembers(node, drive, logicalDriveMembers());
                records = std::move(drive.records);
            },
            [] { return schemaOf(logicalDriveMembers()); }};
}

const MemberTable<Controller>& controllerMembers() {
    static const MemberTable<Controller> table = {
        member("id", &Controller::id, unsignedForm<uint32_t>(), "What the library's functions take; no two alike."),
        member("number", &Controller::number, integerForm(), "What users see; -1 when absent."),
        member("records", &Controller::records, recordsForm(RecordOwner::controller),
               "What can be read of it, by record."),
        member("devices", &Controller::devices, devicesForm(),
               "Drives and enclosures by device id; a range such as 8..31 says what its devices have in common."),
        member("logicalDrives", &Controller::logicalDrives, byNumberForm<uint8_t, Records>(logicalDriveForm()),
               "Logical drives by target id."),
        member("batteryStatus", &Controller::batteryStatus, codeForm(codes::SUMMARY_STATES),
               "How the battery does: 0 OK, 1 degraded, 2 error."),
        member("virtualDiskStatus", &Controller::virtualDiskStatus, codeForm(codes::SUMMARY_STATES),
               "How the logical drives do: 0 OK, 1 degraded, 2 error."),
    };
    return table;
}

// Sets a count of MR_CTRL_INFO that nobody gave.
void completeCount(Bytes& info, const Json& record, const char* name, size_t offset, size_t count) {
    uint16_t value = 0;
    if (record.contains(name) || offset + sizeof value > info.size()) return;
    memcpy(&value, info.data() + offset, sizeof value);
    if (value != 0) return; // raw bytes say it
    value = uint16_t(count);
    memcpy(info.data() + offset, &value, sizeof value);
}

// An absent record cannot be read: what follows from the devices is made of them only where the file says so, by a
// range or by name.
void completeFromDevices(const Node& node, Controller& controller) {
    const Json records = node.json.value("records", Json::object());
    if (!records.is_object()) return;
    const bool ranges = hasRanges(node.json.value("devices", Json()));
    const auto isMade = [&](const char* name) {
        return records.contains(name) ? records[name] == FROM_DEVICES : ranges;
    };
    if (isMade("MR_PD_LIST") && controller.devices.size() > mostDevices())
        node.fail("has more than the " + std::to_string(mostDevices()) + " devices that MR_PD_LIST holds");
    if (isMade("MR_PD_LIST")) controller.records["MR_PD_LIST"] = listDevices(controller.devices);
    if (isMade("MR_ENCL_LIST")) controller.records["MR_ENCL_LIST"] = listEnclosures(controller.devices);
    const auto info = controller.records.find("MR_CTRL_INFO");
    if (!isMade("MR_PD_LIST") || info == controller.records.end()) return;
    const Json& record = records["MR_CTRL_INFO"];
    completeCount(info->second, record, "pdPresentCount", offsetof(MR_CTRL_INFO, pdPresentCount),
                  controller.devices.size());
    completeCount(info->second, record, "ldPresentCount", offsetof(MR_CTRL_INFO, ldPresentCount),
                  controller.logicalDrives.size());
}

void readController(const Node& node, Controller& controller) {
    if (!node.json.is_object()) node.fail("must be an object");
    if (!isGiven(node, "id")) node.attempt([&] { node.fail("has no id"); });
    readMembers(node, controller, controllerMembers());
    completeFromDevices(node, controller);
}

} // namespace

Form<std::shared_ptr<const Controllers>> controllersForm() {
    return {[](const Node& node, std::shared_ptr<const Controllers>& result) {
                auto controllers = std::make_shared<Controllers>();
                std::map<Json, std::string> ids;
                forEachElement(node, ANY_COUNT, [&](const Node& element) {
                    readController(element, controllers->emplace_back());
                    if (!isGiven(element, "id")) return;
                    const auto [earlier, fresh] = ids.emplace(element.json["id"], element.path() + "/id");
                    if (!fresh) element.fail("has the id of an earlier controller", earlier->second);
                });
                result = std::move(controllers);
            },
            [] {
                Json controller = withRequired(schemaOf(controllerMembers()), "id");
                return Json{{"type", "array"}, {"items", std::move(controller)}};
            }};
}

Json recordDefinitions() {
    Json definitions = {
        {"BYTES",
         recordSchema({"BYTES", RecordOwner::controller, 0, 0, {}, "Bytes; they end with the highest one given."})}};
    for (const RecordLayout& layout : recordLayouts()) definitions[std::string(layout.name)] = recordSchema(layout);
    return definitions;
}

} // namespace sim
