#include "simulator/words/machineEdit.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <stdexcept>

namespace sim {
namespace {

struct Place {
    uint32_t offset = 0;
    uint32_t size = 0;
    std::span<const CodeText> words;
};

Place findPlace(const RecordLayout& layout, const std::string& path) {
    Place place{0, layout.size, {}};
    std::span<const Field> members = layout.members;
    const Field* field = nullptr;
    for (size_t begin = 1; begin <= path.size();) {
        const size_t end = std::min(path.find('/', begin), path.size());
        const std::string step = path.substr(begin, end - begin);
        begin = end + 1;
        if (field != nullptr && field->count != 0 && step.find_first_not_of("0123456789") == std::string::npos) {
            place.offset += uint32_t(std::stoul(step)) * field->size;
            continue;
        }
        const auto found = std::find_if(members.begin(), members.end(), [&](const Field& f) { return f.name == step; });
        if (found == members.end()) throw std::logic_error("no member " + path + " in " + std::string(layout.name));
        field = &*found;
        place.offset += field->offset;
        place.size = field->size;
        place.words = field->words;
        members = field->members;
    }
    return place;
}

std::vector<uint8_t> parseHex(const std::string& text) {
    std::vector<uint8_t> bytes;
    std::string digits;
    for (const char c : text)
        if (c != ' ') digits += c;
    for (size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes.push_back(uint8_t(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

std::string hexOf(const std::vector<uint8_t>& bytes) {
    std::string text;
    for (const uint8_t byte : bytes) {
        char digits[3];
        snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

} // namespace

Json* findMember(Json& object, const std::string& name) {
    if (!object.is_object()) return nullptr;
    const auto found = object.find(name);
    return found == object.end() || found->is_null() ? nullptr : &*found;
}

uint64_t codeOf(const Json& value, std::span<const CodeText> table) {
    if (value.is_number_integer()) return value.get<uint64_t>();
    if (!value.is_string()) return 0;
    const auto& text = value.get_ref<const std::string&>();
    for (const CodeText& row : table)
        if (text == row.text) return row.code;
    uint64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

RecordEdit::RecordEdit(Json& owner, RecordOwner kind, const char* name) : layout_(findRecordLayout(kind, name)) {
    Json* records = findMember(owner, "records");
    if (records != nullptr) record_ = findMember(*records, name);
    if (record_ != nullptr && !record_->is_object()) record_ = nullptr; // made of the devices
}

uint8_t RecordEdit::overlay(uint32_t offset, uint8_t named) const {
    if (!hasRaw()) return named;
    for (const auto& [key, value] : record_->at("raw").items()) {
        const size_t start = std::stoul(key);
        const std::vector<uint8_t> bytes = parseHex(value.get<std::string>());
        if (offset >= start && offset - start < bytes.size()) named = bytes[offset - start];
    }
    return named;
}

bool RecordEdit::patchRaw(uint32_t offset, uint8_t newValue) {
    bool patched = false;
    if (!hasRaw()) return false;
    for (const auto& [key, value] : record_->at("raw").items()) {
        const size_t start = std::stoul(key);
        std::vector<uint8_t> bytes = parseHex(value.get<std::string>());
        if (offset < start || offset - start >= bytes.size()) continue;
        if (bytes[offset - start] != newValue) {
            bytes[offset - start] = newValue;
            value = hexOf(bytes);
        }
        patched = true;
    }
    return patched;
}

uint64_t RecordEdit::number(const std::string& path) const {
    if (!exists()) return 0;
    const Place place = findPlace(*layout_, path);
    const Json::json_pointer pointer(path);
    uint64_t named = 0;
    if (record_->contains(pointer)) named = codeOf(record_->at(pointer), place.words);
    uint64_t value = 0;
    for (uint32_t i = 0; i < place.size; i++)
        value |= uint64_t{overlay(place.offset + i, uint8_t(named >> 8 * i))} << 8 * i;
    return value;
}

std::string RecordEdit::text(const std::string& path) const {
    if (!exists()) return "";
    const Place place = findPlace(*layout_, path);
    const Json::json_pointer pointer(path);
    std::string value(place.size, '\0');
    if (record_->contains(pointer) && record_->at(pointer).is_string())
        value.replace(0, record_->at(pointer).get<std::string>().size(), record_->at(pointer).get<std::string>());
    for (uint32_t i = 0; i < place.size; i++) value[i] = char(overlay(place.offset + i, uint8_t(value[i])));
    value.resize(std::min(value.find('\0'), value.size()));
    while (!value.empty() && value.back() == ' ') value.pop_back();
    return value;
}

void RecordEdit::set(const std::string& path, uint64_t value) {
    if (!exists()) throw std::runtime_error(std::string(layout_->name) + " is not described");
    if (number(path) == value) return;
    const Place place = findPlace(*layout_, path);
    bool inRaw = true;
    for (uint32_t i = 0; i < place.size; i++) inRaw = patchRaw(place.offset + i, uint8_t(value >> 8 * i)) && inRaw;
    if (inRaw) return;
    // An array in the file may be shorter than the position: the entries before it are as good as absent.
    Json* node = record_;
    for (size_t begin = 1; begin <= path.size();) {
        const size_t end = std::min(path.find('/', begin), path.size());
        const std::string step = path.substr(begin, end - begin);
        const bool isIndex = step.find_first_not_of("0123456789") == std::string::npos;
        begin = end + 1;
        if (isIndex) {
            if (node->is_null()) *node = Json::array();
            while (node->size() <= std::stoul(step)) node->push_back(end == path.size() ? Json(0) : Json::object());
            node = &(*node)[std::stoul(step)];
        } else {
            if (node->is_null()) *node = Json::object();
            node = &(*node)[step];
        }
    }
    *node = value;
}

uint64_t RecordEdit::bytes(uint32_t offset, uint32_t size) const {
    uint64_t value = 0;
    for (uint32_t i = 0; i < size; i++) value |= uint64_t{overlay(offset + i, 0)} << 8 * i;
    return value;
}

void RecordEdit::setBytes(uint32_t offset, uint32_t size, uint64_t value) {
    for (uint32_t i = 0; i < size; i++) {
        const auto byte = uint8_t(value >> 8 * i);
        if (overlay(offset + i, 0) == byte) continue;
        if (!patchRaw(offset + i, byte)) (*record_)["raw"][std::to_string(offset + i)] = hexOf({byte});
    }
}

} // namespace sim
