#include "simulator/machine/recordParser.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

namespace sim {
namespace {

constexpr uint64_t LARGEST_RECORD = uint64_t{1} << 20;

int hexDigit(char character) {
    if (character >= '0' && character <= '9') return character - '0';
    if (character >= 'a' && character <= 'f') return character - 'a' + 10;
    if (character >= 'A' && character <= 'F') return character - 'A' + 10;
    return -1;
}

void store(const Node& node, Bytes& record, size_t offset, const void* bytes, size_t size) {
    if (offset + size > record.size())
        node.fail("lies beyond the record's " + std::to_string(record.size()) + " bytes");
    if (size > 0) memcpy(record.data() + offset, bytes, size);
}

void readStruct(const Node& node, Bytes& record, size_t offset, std::span<const Field> fields);

void readValue(const Node& node, Bytes& record, size_t offset, const Field& field) {
    if (field.kind == FieldKind::record) {
        readStruct(node, record, offset, field.members);
    } else if (field.kind == FieldKind::number) {
        const std::optional<uint32_t> code = readWord(node, field.words);
        const uint64_t number = code ? *code : readUnsigned(node, UINT64_MAX >> (64 - 8 * field.size));
        store(node, record, offset, &number, field.size);
    } else {
        const std::string& text = readText(node);
        if (text.size() > field.size) node.fail("is longer than " + std::to_string(field.size) + " bytes");
        store(node, record, offset, text.data(), text.size());
    }
}

std::vector<std::string_view> namesOf(std::span<const Field> fields) {
    std::vector<std::string_view> names = {"size", "raw"};
    for (const Field& field : fields) names.push_back(field.name);
    return names;
}

void readField(const Node& node, Bytes& record, size_t offset, std::span<const Field> fields) {
    const auto field =
        std::find_if(fields.begin(), fields.end(), [&](const Field& candidate) { return candidate.name == node.key; });
    if (field == fields.end()) node.failName("unknown member" + suggestName(node.key, namesOf(fields)));
    if (field->count == 0) {
        readValue(node, record, offset + field->offset, *field);
        return;
    }
    forEachElement(node, field->count, [&](const Node& element) {
        readValue(element, record, offset + field->offset + element.index * field->size, *field);
    });
}

void readStruct(const Node& node, Bytes& record, size_t offset, std::span<const Field> fields) {
    forEachMember(node, [&](const Node& member) { readField(member, record, offset, fields); });
}

// Lays the raw bytes over the record; without a size the record grows to hold them.
void readRaw(const Node& raw, Bytes& record, bool grows) {
    forEachMember(raw, [&](const Node& member) {
        const auto offset = size_t(numberOf(member, LARGEST_RECORD));
        const Bytes bytes = parseHex(member);
        if (grows) record.resize(std::max(record.size(), offset + bytes.size()));
        store(member, record, offset, bytes.data(), bytes.size());
    });
}

Bytes parseRecord(const Node& node, std::optional<size_t> size, std::span<const Field> fields) {
    if (!node.json.is_object()) node.fail("must be an object or null");
    if (const auto other = node.json.find("size"); other != node.json.end())
        size = size_t(readUnsigned({*other, &node, "size"}, LARGEST_RECORD));
    Bytes record(size.value_or(0));
    forEachMember(node, [&](const Node& member) {
        if (member.key != "size" && member.key != "raw") readField(member, record, 0, fields);
    });
    if (const auto raw = node.json.find("raw"); raw != node.json.end())
        readRaw({*raw, &node, "raw"}, record, !size.has_value());
    return record;
}

Json structSchema(std::span<const Field> fields, bool ofDevice);

// In devices of a range a number may be a text with the device's number in it.
Json valueSchema(const Field& field, bool ofDevice) {
    if (field.kind == FieldKind::record) return structSchema(field.members, ofDevice);
    if (field.kind == FieldKind::text) return {{"type", "string"}, {"maxLength", field.size}};
    Json forms = Json::array({unsignedForm<uint64_t>(UINT64_MAX >> (64 - 8 * field.size)).schema()});
    if (!field.words.empty()) forms.push_back(wordsSchema(field.words));
    if (ofDevice) forms.push_back({{"type", "string"}, {"pattern", "\\{n"}});
    return forms.size() == 1 ? forms[0] : Json{{"anyOf", forms}};
}

Json structSchema(std::span<const Field> fields, bool ofDevice) {
    Json properties = {{"comment", {{"type", "string"}}}};
    for (const Field& field : fields) {
        Json value = valueSchema(field, ofDevice);
        if (field.count > 0) value = {{"type", "array"}, {"maxItems", field.count}, {"items", std::move(value)}};
        properties[std::string(field.name)] = described(value, field.sentence);
    }
    return {{"type", "object"}, {"additionalProperties", false}, {"properties", std::move(properties)}};
}

} // namespace

// Pairs of hexadecimal digits; blanks may stand between pairs.
Bytes parseHex(const Node& node) {
    const std::string& text = readText(node);
    Bytes bytes;
    for (size_t i = 0; i < text.size();) {
        if (text[i] == ' ') {
            ++i;
            continue;
        }
        const int high = hexDigit(text[i]);
        const int low = i + 1 < text.size() ? hexDigit(text[i + 1]) : -1;
        if (high < 0 || low < 0) node.fail("must be pairs of hexadecimal digits");
        bytes.push_back(uint8_t(high * 16 + low));
        i += 2;
    }
    return bytes;
}

Bytes parseRecord(const Node& node, const RecordLayout& layout) {
    return parseRecord(node, layout.size, layout.members);
}

Bytes parseRecord(const Node& node) {
    return parseRecord(node, std::nullopt, {});
}

Form<Bytes> anyRecordForm() {
    return {[](const Node& node, Bytes& bytes) { bytes = parseRecord(node); }, anyRecordSchema};
}

Json hexSchema() {
    return {{"type", "string"}, {"pattern", "^ *([0-9a-fA-F]{2} *)*$"}};
}

Json recordSchema(const RecordLayout& layout) {
    Json schema = structSchema(layout.members, layout.owner == RecordOwner::device);
    schema["properties"]["size"] = {{"description", "Bytes of the record, in place of its own size."},
                                    {"type", "integer"},
                                    {"minimum", 0},
                                    {"maximum", LARGEST_RECORD}};
    schema["properties"]["raw"] =
        described(schemaOfMembers(DECIMAL_NAME, hexSchema()), "Bytes in hexadecimal by offset, laid over the members.");
    return described(schema, layout.sentence);
}

Json anyRecordSchema() {
    return {{"$ref", "#/definitions/BYTES"}};
}

} // namespace sim
