#include "simulator/words/adapter.h"

#include "platform/storelibDriveRecords.h"

#include <algorithm>
#include <charconv>

namespace sim {

std::string stateName(std::span<const CodeText> table, uint64_t code) {
    const char* text = codeText(table, uint32_t(code), nullptr);
    return text != nullptr ? text : "state " + std::to_string(code);
}

uint64_t readNumber(const std::string& text, uint64_t highest, const char* what) {
    if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos ||
        std::stoul(text) > highest)
        throw WrongWord("\"" + text + "\" is no " + what + " (0 to " + std::to_string(highest) + ")");
    return std::stoul(text);
}

uint64_t readProgress(Words words) {
    if (words.size() != 4) throw WrongWord("\"" + words[2] + "\" wants a percentage, such as 40%");
    std::string text = words[3];
    if (!text.empty() && text.back() == '%') text.pop_back();
    return readNumber(text, 100, "percentage") * FULL_PROGRESS / 100;
}

int64_t readChange(const std::string& text, int64_t before, int64_t lowest, int64_t highest, const char* what) {
    const bool isRelative = !text.empty() && (text[0] == '+' || text[0] == '-');
    int64_t number = 0;
    const char* const begin = text.data() + (isRelative ? 1 : 0);
    const auto [end, error] = std::from_chars(begin, text.data() + text.size(), number);
    const bool isNumber =
        error == std::errc() && end == text.data() + text.size() && number >= 0 && number <= INT32_MAX;
    if (isRelative) number = before + (text[0] == '-' ? -number : number);
    if (!isNumber || number < lowest || number > highest)
        throw WrongWord("\"" + text + "\" is no " + what + " (" + std::to_string(lowest) + " to " +
                        std::to_string(highest) + ", or +N or -N from " + std::to_string(before) + ")");
    return number;
}

size_t distance(const std::string& a, const std::string& b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); j++) row[j] = j;
    for (size_t i = 1; i <= a.size(); i++) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); j++) {
            const size_t above = row[j];
            row[j] = std::min({above + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
            diagonal = above;
        }
    }
    return row.back();
}

Json* Adapter::device(uint64_t id) const {
    return devices() != nullptr ? findMember(*devices(), std::to_string(id)) : nullptr;
}

RecordEdit Adapter::drive(uint64_t id) const {
    static Json none;
    Json* found = device(id);
    return {found != nullptr ? *found : none, RecordOwner::device, "MR_PD_INFO"};
}

bool Adapter::isDrive(uint64_t id) const {
    const RecordEdit info = drive(id);
    return info.exists() && (info.number("/scsiDevType") & SCSI_DEVICE_TYPE_MASK) == SCSI_DEVICE_TYPE_DISK;
}

// Without a list of their own they stand in it in the order of their ids.
std::vector<uint64_t> Adapter::enclosures() const {
    std::vector<uint64_t> ids;
    const RecordEdit list = record("MR_ENCL_LIST");
    if (list.exists()) {
        const uint64_t count = std::min<uint64_t>(list.number("/count"), std::size(MR_ENCL_LIST{}.encl));
        for (uint64_t i = 0; i < count; i++) ids.push_back(list.number("/encl/" + std::to_string(i) + "/deviceId"));
    } else if (devices() != nullptr) {
        for (const auto& [name, device] : devices()->items())
            if (RecordEdit(device, RecordOwner::device, "SL_ENCL_STATUS_T").exists()) ids.push_back(std::stoul(name));
        std::sort(ids.begin(), ids.end());
    }
    return ids;
}

Json& Adapter::enclosure(uint64_t enclosureNumber) const {
    const std::vector<uint64_t> ids = enclosures();
    const bool isThere = enclosureNumber >= 1 && enclosureNumber <= ids.size();
    Json* found = isThere ? device(ids[size_t(enclosureNumber - 1)]) : nullptr;
    if (found == nullptr) throw WrongWord("there is no enclosure " + number + "/" + std::to_string(enclosureNumber));
    return *found;
}

Adapter findAdapter(Json& machine, const std::string& number, Lines& lines) {
    const uint64_t wanted = readNumber(number, UINT16_MAX, "adapter");
    Json* controllers = findMember(machine, "controllers");
    if (controllers != nullptr && controllers->is_array())
        for (Json& controller : *controllers)
            if (controller.is_object() && controller.value("number", -1) == int64_t(wanted))
                return {controller, number, lines};
    throw WrongWord("there is no adapter " + number);
}

Named findObject(Json& machine, const std::string& name, size_t parts, Lines& lines) {
    Lines texts;
    for (size_t begin = 0; begin <= name.size();) {
        const size_t end = std::min(name.find('/', begin), name.size());
        texts.push_back(name.substr(begin, end - begin));
        begin = end + 1;
    }
    if (texts.size() != parts + 1)
        throw WrongWord("\"" + name + "\" is not of the form ADAPTER/" + (parts == 1 ? "NUMBER" : "ENCLOSURE/NUMBER"));
    Named named = {findAdapter(machine, texts[0], lines), {}};
    for (size_t i = 1; i < texts.size(); i++) named.numbers.push_back(readNumber(texts[i], UINT16_MAX, "number"));
    return named;
}

std::string adapterState(const Adapter& adapter) {
    uint64_t worst = 0;
    for (const char* member : {"batteryStatus", "virtualDiskStatus"})
        if (const Json* status = findMember(adapter.json, member))
            worst = std::max(worst, codeOf(*status, codes::SUMMARY_STATES));
    return stateName(codes::SUMMARY_STATES, worst);
}

} // namespace sim
