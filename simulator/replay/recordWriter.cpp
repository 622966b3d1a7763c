#include "simulator/replay/recordWriter.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace sim {
namespace {

constexpr size_t RAW_GAP = 8; // so many zeros end a piece of raw bytes

// What the named members do not tell stays in the copy.
class MemberWriter {
  public:
    explicit MemberWriter(Bytes bytes) : rest_(std::move(bytes)) {}

    // Null where all is zero, or where it is not what the member can say.
    Json writeStruct(size_t offset, std::span<const Field> fields) {
        Json json = nullptr;
        for (const Field& field : fields) {
            Json value = field.count == 0 ? writeValue(offset + field.offset, field) : writeArray(offset, field);
            if (!value.is_null()) json[std::string(field.name)] = std::move(value);
        }
        return json;
    }
    const Bytes& rest() const { return rest_; }

  private:
    Json writeArray(size_t offset, const Field& field) {
        Json array = Json::array();
        size_t used = 0;
        for (size_t i = 0; i < field.count; ++i) {
            array.push_back(writeValue(offset + field.offset + i * field.size, field));
            if (!array.back().is_null()) used = i + 1;
        }
        array.erase(array.begin() + static_cast<Json::difference_type>(used), array.end());
        for (Json& element : array)
            if (element.is_null()) element = field.kind == FieldKind::record ? Json::object() : emptyOf(field.kind);
        return array.empty() ? Json() : array;
    }

    static Json emptyOf(FieldKind kind) { return kind == FieldKind::text ? Json("") : Json(0); }

    Json writeValue(size_t offset, const Field& field) {
        if (field.kind == FieldKind::record) return writeStruct(offset, field.members);
        if (offset + field.size > rest_.size()) return nullptr;
        uint8_t* bytes = rest_.data() + offset;
        if (std::all_of(bytes, bytes + field.size, [](uint8_t byte) { return byte == 0; })) return nullptr;
        return field.kind == FieldKind::number ? takeNumber(bytes, field.size) : takeText(bytes, field.size);
    }

    static Json takeNumber(uint8_t* bytes, size_t size) {
        uint64_t number = 0;
        memcpy(&number, bytes, size);
        std::fill_n(bytes, size, uint8_t{0});
        return number;
    }

    // What stands behind the NUL stays raw.
    static Json takeText(uint8_t* bytes, size_t size) {
        const size_t length = strnlen(reinterpret_cast<const char*>(bytes), size);
        if (length == 0 || !isPlainText(bytes, length)) return nullptr;
        Json text = std::string(bytes, bytes + length);
        std::fill_n(bytes, length, uint8_t{0});
        return text;
    }

    Bytes rest_;
};

size_t lengthWithoutZeros(const Bytes& bytes) {
    size_t length = bytes.size();
    while (length > 0 && bytes[length - 1] == 0) --length;
    return length;
}

// The pieces of `record` that are not zero in `bytes`. Zeros between them may be what members have told: raw bytes lie
// over these, so they are the record's own.
Json rawOf(const Bytes& bytes, const Bytes& record) {
    Json raw = nullptr;
    const size_t end = lengthWithoutZeros(bytes);
    for (size_t start = 0; start < end;) {
        if (bytes[start] == 0) {
            ++start;
            continue;
        }
        size_t stop = start;
        for (size_t i = start; i < end && i - stop < RAW_GAP; ++i)
            if (bytes[i] != 0) stop = i + 1;
        raw[std::to_string(start)] = hexOf(record.data() + start, stop - start);
        start = stop;
    }
    return raw;
}

} // namespace

bool isPlainText(const uint8_t* bytes, size_t size) {
    return std::all_of(bytes, bytes + size, [](uint8_t byte) { return byte >= 0x20 && byte < 0x7F; });
}

Json recordToJson(const Bytes& bytes, const RecordLayout* layout) {
    const size_t used = lengthWithoutZeros(bytes);
    const size_t own = layout != nullptr ? layout->size : 0;
    const Bytes record(bytes.begin(),
                       bytes.begin() + static_cast<ptrdiff_t>(std::max(used, std::min(own, bytes.size()))));
    MemberWriter writer(record);
    Json json = Json::object();
    if (layout != nullptr && record.size() != own) json["size"] = record.size();
    if (layout != nullptr)
        if (const Json members = writer.writeStruct(0, layout->members); !members.is_null()) json.update(members);
    if (const Json raw = rawOf(writer.rest(), record); !raw.is_null()) json["raw"] = raw;
    if (layout == nullptr && used == 0) json["size"] = bytes.size();
    return json;
}

Json itemToJson(const Bytes& bytes) {
    const size_t used = lengthWithoutZeros(bytes);
    if (used > 1 && used < bytes.size() && isPlainText(bytes.data(), used))
        return std::string(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(used));
    return recordToJson(bytes, nullptr);
}

} // namespace sim
