#include "simulator/machine/deviceRanges.h"

#include "platform/storelibDriveRecords.h"
#include "simulator/machine/codeWords.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>
#include <iterator>

namespace sim {
namespace {

constexpr uint8_t NO_CONNECTOR = 255;

template <class Number>
bool takeNumber(std::string_view& text, Number& number) {
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) return false;
    text.remove_prefix(size_t(stop - text.data()));
    return true;
}

bool takeText(std::string_view& text, std::string_view expected) {
    if (!text.starts_with(expected)) return false;
    text.remove_prefix(expected.size());
    return true;
}

// Takes one operation off the front; false: there is none that can be done.
bool takeOperation(std::string_view& text, uint64_t& value) {
    std::string_view rest = text;
    if (rest.empty() || std::string_view("+-*/%").find(rest[0]) == std::string_view::npos) return false;
    rest.remove_prefix(1);
    uint64_t operand = 0;
    const char sign = text[0];
    if (!takeNumber(rest, operand) || (operand == 0 && (sign == '/' || sign == '%'))) return false;
    text = rest;
    switch (sign) {
    case '+': value += operand; break;
    case '-': value -= operand; break;
    case '*': value *= operand; break;
    case '/': value /= operand; break;
    default: value %= operand; break;
    }
    return true;
}

// Takes "{n...}" off the front; nothing: what stands there is no such thing.
std::optional<std::string> takePlaceholder(std::string_view& text, uint16_t number) {
    constexpr size_t widest = 20;
    std::string_view rest = text;
    uint64_t value = number;
    size_t width = 0;
    if (!takeText(rest, "{n")) return {};
    while (takeOperation(rest, value)) {
    }
    if (takeText(rest, ":") && (!takeNumber(rest, width) || width > widest)) return {};
    if (!takeText(rest, "}")) return {};
    text = rest;
    const std::string digits = std::to_string(value);
    return std::string(width - std::min(width, digits.size()), '0') + digits;
}

std::optional<MR_PD_INFO> infoOf(const Device& device) {
    const auto record = device.records.find("MR_PD_INFO");
    if (record == device.records.end()) return {};
    MR_PD_INFO info = {};
    memcpy(&info, record->second.data(), std::min(record->second.size(), sizeof info));
    return info;
}

uint8_t modelOf(const MR_PD_INFO& info) {
    const std::string_view product(info.product, sizeof info.product);
    if (product.starts_with("SGPIO")) return MR_ENCL_TYPE_SGPIO;
    uint32_t model = 0;
    size_t longest = 0;
    for (const CodeText& row : codes::ENCLOSURE_TYPES) {
        const std::string_view name = row.text;
        if (name.size() <= longest || product.find(name) == std::string_view::npos) continue;
        model = row.code;
        longest = name.size();
    }
    return uint8_t(model);
}

template <class List>
Bytes bytesOf(const List& list) {
    Bytes bytes(sizeof list);
    memcpy(bytes.data(), &list, sizeof list);
    return bytes;
}

} // namespace

std::optional<DeviceRange> parseDeviceRange(std::string_view name) {
    DeviceRange range = {};
    if (!takeNumber(name, range.first) || !takeText(name, "..") || !takeNumber(name, range.last)) return {};
    return name.empty() && range.first <= range.last ? std::optional(range) : std::nullopt;
}

std::string fillIn(std::string_view text, uint16_t number) {
    std::string result;
    while (!text.empty()) {
        if (const std::optional<std::string> filled = takePlaceholder(text, number)) {
            result += *filled;
        } else {
            result += text[0];
            text.remove_prefix(1);
        }
    }
    return result;
}

size_t mostDevices() {
    return std::size(MR_PD_LIST{}.addr);
}

Bytes listDevices(const std::map<uint16_t, Device>& devices) {
    MR_PD_LIST list = {};
    for (const auto& [id, device] : devices) {
        if (list.count == std::size(list.addr)) break;
        const MR_PD_INFO info = infoOf(device).value_or(MR_PD_INFO{});
        MR_PD_ADDRESS& entry = list.addr[list.count];
        entry.deviceId = id;
        entry.enclDeviceId = info.enclDeviceId;
        entry.slotNumber = info.slotNumber;
        entry.scsiDevType = info.scsiDevType & SCSI_DEVICE_TYPE_MASK;
        list.count = list.count + 1;
    }
    list.size = uint32_t(offsetof(MR_PD_LIST, addr) + list.count * sizeof(MR_PD_ADDRESS));
    return bytesOf(list);
}

Bytes listEnclosures(const std::map<uint16_t, Device>& devices) {
    MR_ENCL_LIST list = {};
    for (const auto& [id, device] : devices) {
        const MR_PD_INFO info = infoOf(device).value_or(MR_PD_INFO{});
        const bool isEnclosure = (info.scsiDevType & SCSI_DEVICE_TYPE_MASK) == SCSI_DEVICE_TYPE_ENCLOSURE;
        if (!isEnclosure || list.count == std::size(list.encl)) continue;
        MR_ENCL_ENTRY& entry = list.encl[list.count];
        entry.deviceId = id;
        entry.type = modelOf(info);
        entry.enclConnectorIndex =
            info.connectedPortBitmap == 0 ? NO_CONNECTOR : uint8_t(std::countr_zero(info.connectedPortBitmap));
        list.count = list.count + 1;
    }
    return bytesOf(list);
}

} // namespace sim
