#pragma once

// Tables of the members that objects of a machine file may have. A row reads its member, and says for the schema what
// it may be and what it is for.

#include "simulator/machine/codeWords.h"
#include "simulator/machine/jsonNode.h"

#include <cmath>
#include <functional>
#include <limits>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace sim {

// A kind of value: reads one, and describes it in the words of JSON Schema, draft 7.
template <class T>
struct Form {
    std::function<void(const Node&, T&)> read;
    std::function<Json()> schema;
};

template <class Owner>
struct Member {
    std::string_view name;
    std::string_view sentence;
    std::function<void(const Node&, Owner&)> read;
    std::function<Json()> schema;
};
template <class Owner>
using MemberTable = std::vector<Member<Owner>>;

template <class Owner, class Value>
Member<Owner> member(std::string_view name, Value Owner::*place, Form<std::type_identity_t<Value>> form,
                     std::string_view sentence) {
    return {name, sentence, [place, read = form.read](const Node& node, Owner& owner) { read(node, owner.*place); },
            form.schema};
}
template <class Owner, class Value>
Member<Owner> member(std::string_view name, std::optional<Value> Owner::*place, Form<std::type_identity_t<Value>> form,
                     std::string_view sentence) {
    return {name, sentence,
            [place, read = form.read](const Node& node, Owner& owner) { read(node, (owner.*place).emplace()); },
            form.schema};
}

template <class Owner>
std::vector<std::string_view> namesOf(const MemberTable<Owner>& table) {
    std::vector<std::string_view> names;
    for (const auto& row : table) names.push_back(row.name);
    return names;
}

// A member that is null counts as absent.
template <class Owner>
void readMembers(const Node& node, Owner& owner, const MemberTable<Owner>& table) {
    forEachMember(node, [&](const Node& member) {
        for (const auto& row : table) {
            if (row.name != member.key) continue;
            if (!member.json.is_null()) row.read(member, owner);
            return;
        }
        if (member.key == "comment") member.fail("must be a text");
        member.failName("unknown member" + suggestName(member.key, namesOf(table)));
    });
}

inline Json orNull(Json schema) {
    if (schema.contains("type") && schema["type"].is_string() && !schema.contains("enum")) {
        schema["type"] = Json::array({schema["type"], "null"});
        return schema;
    }
    return {{"anyOf", Json::array({std::move(schema), {{"type", "null"}}})}};
}

inline Json described(const Json& schema, std::string_view sentence) {
    Json result = {{"description", sentence}};
    result.update(schema);
    return result;
}

template <class Owner>
Json schemaOf(const MemberTable<Owner>& table) {
    Json properties = {{"comment", {{"description", "For people; not read."}, {"type", "string"}}}};
    for (const auto& row : table) properties[std::string(row.name)] = described(orNull(row.schema()), row.sentence);
    return {{"type", "object"}, {"additionalProperties", false}, {"properties", std::move(properties)}};
}

// The schema of an object, with a member that it must have.
inline Json withRequired(Json schema, const char* name) {
    schema["required"] = Json::array({name});
    Json& member = schema["properties"][name];
    if (member.contains("anyOf")) member["anyOf"].erase(member["anyOf"].size() - 1); // null
    if (member.contains("type")) member["type"] = member["type"][0];
    return schema;
}

// The value of each member has the same form, whatever its name.
inline Json schemaOfMembers(const char* pattern, Json value) {
    return {{"type", "object"},
            {"additionalProperties", false},
            {"properties", {{"comment", {{"type", "string"}}}}},
            {"patternProperties", {{pattern, std::move(value)}}}};
}
constexpr const char* DECIMAL_NAME = "^[0-9]+$";

template <class T>
Form<T> objectForm(const MemberTable<T>& (*table)()) {
    return {[table](const Node& node, T& value) { readMembers(node, value, table()); },
            [table] { return schemaOf(table()); }};
}

template <class Number>
Form<Number> unsignedForm(uint64_t largest = std::numeric_limits<Number>::max()) {
    return {[largest](const Node& node, Number& value) { value = static_cast<Number>(readUnsigned(node, largest)); },
            [largest] {
                return Json{{"type", "integer"}, {"minimum", 0}, {"maximum", largest}};
            }};
}

inline Form<int32_t> integerForm() {
    return {[](const Node& node, int32_t& value) { value = readInteger(node); },
            [] {
                return Json{{"type", "integer"}, {"minimum", INT32_MIN}, {"maximum", INT32_MAX}};
            }};
}

inline Form<std::string> textForm() {
    return {[](const Node& node, std::string& value) { value = readText(node); },
            [] {
                return Json{{"type", "string"}};
            }};
}

inline Form<bool> flagForm() {
    return {[](const Node& node, bool& value) {
                if (!node.json.is_boolean()) node.fail("must be true or false");
                value = node.json.get<bool>();
            },
            [] {
                return Json{{"type", "boolean"}};
            }};
}

// The code of a word, nothing when the value is no text.
inline std::optional<uint32_t> readWord(const Node& node, std::span<const CodeText> words) {
    if (!node.json.is_string() || words.empty()) return {};
    const std::string& word = readText(node);
    std::vector<std::string_view> names;
    for (const CodeText& row : words) {
        if (word == row.text) return row.code;
        names.emplace_back(row.text);
    }
    std::string hint = suggestName(word, names);
    if (hint.empty()) {
        for (const std::string_view name : names) hint += (hint.empty() ? " (" : ", ") + std::string(name);
        hint += ")";
    }
    node.fail("unknown word" + hint);
}

inline Json wordsSchema(std::span<const CodeText> words) {
    Json names = Json::array();
    for (const CodeText& row : words) names.push_back(row.text);
    return {{"enum", std::move(names)}};
}

inline Form<int32_t> codeForm(std::span<const CodeText> words) {
    return {[words](const Node& node, int32_t& value) {
                const std::optional<uint32_t> code = readWord(node, words);
                value = code ? int32_t(*code) : readInteger(node);
            },
            [words] {
                return Json{{"anyOf", Json::array({integerForm().schema(), wordsSchema(words)})}};
            }};
}

constexpr size_t ANY_COUNT = SIZE_MAX;

template <class T>
Form<std::vector<T>> listForm(Form<T> form) {
    return {[read = form.read](const Node& node, std::vector<T>& list) {
                forEachElement(node, ANY_COUNT, [&](const Node& element) {
                    T value{};
                    read(element, value);
                    list.push_back(std::move(value));
                });
            },
            [schema = form.schema] {
                return Json{{"type", "array"}, {"items", schema()}};
            }};
}

// Members that are named by numbers; one that is null is as good as none.
template <class Key, class Value>
Form<std::map<Key, Value>> byNumberForm(Form<std::type_identity_t<Value>> form) {
    return {[read = form.read](const Node& node, std::map<Key, Value>& values) {
                forEachMember(node, [&](const Node& member) {
                    if (member.json.is_null()) {
                        numberOf(member, std::numeric_limits<Key>::max());
                    } else {
                        read(member, addByNumber(member, values));
                    }
                });
            },
            [schema = form.schema] { return schemaOfMembers(DECIMAL_NAME, orNull(schema())); }};
}

} // namespace sim
