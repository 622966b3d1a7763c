#pragma once

// Walks a parsed machine file and knows the way to each value. For the two readers alone: the JSON library
// is slow to compile.

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <limits>
#include <map>
#include <string>
#include <string_view>

namespace sim {

using Json = nlohmann::ordered_json; // members keep the order of the file

// Thrown by the readers, caught by readMachine.
struct DoesNotFit {
    std::string path;
    std::string text;
};

struct Node {
    const Json& json;
    const Node* parent = nullptr; // NULL: the whole file
    std::string_view key;         // of a member
    size_t index = 0;             // of an element

    std::string path() const { // as a JSON pointer
        if (parent == nullptr) return {};
        return parent->path() + "/" + (parent->json.is_array() ? std::to_string(index) : std::string(key));
    }
    [[noreturn]] void fail(const std::string& text) const { throw DoesNotFit{path(), text}; }
};

template <class Visit>
void forEachMember(const Node& node, Visit visit) {
    if (!node.json.is_object()) node.fail("must be an object");
    for (auto member = node.json.begin(); member != node.json.end(); ++member)
        visit(Node{member.value(), &node, member.key()});
}

template <class Visit>
void forEachElement(const Node& node, size_t most, Visit visit) {
    if (!node.json.is_array()) node.fail("must be an array");
    if (node.json.size() > most) node.fail("has more than " + std::to_string(most) + " elements");
    for (size_t i = 0; i < node.json.size(); ++i) visit(Node{node.json[i], &node, {}, i});
}

// The members that an object may have, each with its reader; null counts as absent.
struct MemberReader {
    std::string_view name;
    std::function<void(const Node&)> read;
};
inline void readMembers(const Node& node, std::initializer_list<MemberReader> readers) {
    forEachMember(node, [&](const Node& member) {
        const auto* reader = std::find_if(readers.begin(), readers.end(),
                                          [&](const MemberReader& candidate) { return candidate.name == member.key; });
        if (reader == readers.end()) member.fail("unknown member");
        if (!member.json.is_null()) reader->read(member);
    });
}

inline uint64_t readUnsigned(const Node& node, uint64_t largest) {
    const bool isNegative = node.json.is_number_integer() && node.json < 0; // words of a timeline make signed ones
    if (!node.json.is_number_integer() || isNegative || node.json.get<uint64_t>() > largest)
        node.fail("must be a whole number from 0 to " + std::to_string(largest));
    return node.json.get<uint64_t>();
}

inline int32_t readInteger(const Node& node) {
    using Limits = std::numeric_limits<int32_t>;
    const bool fits = node.json.is_number_unsigned()
                          ? node.json.get<uint64_t>() <= uint64_t{Limits::max()}
                          : node.json.is_number_integer() && node.json.get<int64_t>() >= Limits::min();
    if (!fits) node.fail("must be a whole number of 32 bits");
    return node.json.get<int32_t>();
}

inline const std::string& readText(const Node& node) {
    if (!node.json.is_string()) node.fail("must be a text");
    return node.json.get_ref<const std::string&>();
}

// The number that a member is named by.
inline uint64_t numberOf(const Node& member, uint64_t largest) {
    uint64_t number = 0;
    const char* end = member.key.data() + member.key.size();
    const auto [stop, error] = std::from_chars(member.key.data(), end, number);
    if (error != std::errc() || stop != end || number > largest)
        member.fail("the name must be a decimal number from 0 to " + std::to_string(largest));
    return number;
}

// The number that a member is named by, negative ones too.
inline int32_t signedNumberOf(const Node& member) {
    int32_t number = 0;
    const char* end = member.key.data() + member.key.size();
    const auto [stop, error] = std::from_chars(member.key.data(), end, number);
    if (error != std::errc() || stop != end) member.fail("the name must be a decimal number of 32 bits");
    return number;
}

// Adds a value for a member that is named by a number, which no earlier member was.
template <class Key, class Value>
Value& addByNumber(const Node& member, std::map<Key, Value>& values) {
    const auto [place, fresh] = values.try_emplace(static_cast<Key>(numberOf(member, std::numeric_limits<Key>::max())));
    if (!fresh) member.fail("given twice");
    return place->second;
}

} // namespace sim
