#pragma once

// Walks a parsed machine file, knows the way to each value, and collects what does not fit. For the readers alone: the
// JSON library is slow to compile.

#include "simulator/machine/mistakes.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace sim {

using Json = nlohmann::ordered_json; // members keep the order of the file

// Thrown by the readers where nothing more can be read of a value; the walk over what it stands in goes on.
struct DoesNotFit {
    Mistake mistake;
};
struct TooManyMistakes {};

inline std::string escaped(std::string_view name) { // as JSON pointers want it
    std::string result;
    for (const char c : name) {
        if (c == '~' || c == '/') {
            result += c == '~' ? "~0" : "~1";
        } else {
            result += c;
        }
    }
    return result;
}

struct Node {
    const Json& json;
    const Node* parent = nullptr;             // NULL: the whole file
    std::string_view key = {};                // of a member
    size_t index = 0;                         // of an element
    std::vector<Mistake>* mistakes = nullptr; // of the whole file

    std::string path() const {
        if (parent == nullptr) return {};
        return parent->path() + "/" + (parent->json.is_array() ? std::to_string(index) : escaped(key));
    }
    [[noreturn]] void fail(const std::string& text, const std::string& earlier = {}) const {
        throw DoesNotFit{{path(), text, false, earlier}};
    }
    [[noreturn]] void failName(const std::string& text, const std::string& earlier = {}) const {
        throw DoesNotFit{{path(), text, true, earlier}};
    }

    std::vector<Mistake>& allMistakes() const {
        // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.UndefReturn): the root has them
        return parent == nullptr ? *mistakes : parent->allMistakes();
    }

    template <class Read>
    void attempt(Read read) const {
        try {
            read();
        } catch (DoesNotFit& reason) {
            allMistakes().push_back(std::move(reason.mistake));
            if (allMistakes().size() >= MOST_MISTAKES) throw TooManyMistakes();
        }
    }
};

inline bool isGiven(const Node& node, const char* name) {
    const auto member = node.json.find(name);
    return member != node.json.end() && !member->is_null();
}

// Every object may have a text for people.
inline bool isComment(const std::string& name, const Json& value) {
    return name == "comment" && value.is_string();
}

template <class Visit>
void forEachMember(const Node& node, Visit visit) {
    if (!node.json.is_object()) node.fail("must be an object");
    for (auto member = node.json.begin(); member != node.json.end(); ++member) {
        if (isComment(member.key(), member.value())) continue;
        const Node child{member.value(), &node, member.key()};
        child.attempt([&] { visit(child); });
    }
}

template <class Visit>
void forEachElement(const Node& node, size_t most, Visit visit) {
    if (!node.json.is_array()) node.fail("must be an array");
    if (node.json.size() > most) node.fail("has more than " + std::to_string(most) + " elements");
    for (size_t i = 0; i < node.json.size(); ++i) {
        const Node child{node.json[i], &node, {}, i};
        child.attempt([&] { visit(child); });
    }
}

template <class Number>
std::optional<Number> parseNumber(std::string_view text) {
    Number number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && stop == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

inline const std::string& readText(const Node& node) {
    if (!node.json.is_string()) node.fail("must be a text");
    return node.json.get_ref<const std::string&>();
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

// The number that a member is named by.
inline uint64_t numberOf(const Node& member, uint64_t largest) {
    const std::optional<uint64_t> number = parseNumber<uint64_t>(member.key);
    if (!number || *number > largest)
        member.failName("the name must be a decimal number from 0 to " + std::to_string(largest));
    return *number;
}

// Adds a value for a member that is named by a number, which no earlier member was.
template <class Key, class Value>
Value& addByNumber(const Node& member, std::map<Key, Value>& values) {
    const uint64_t number = numberOf(member, std::numeric_limits<Key>::max());
    const auto [place, fresh] = values.try_emplace(static_cast<Key>(number));
    if (fresh) return place->second;
    auto earlier = member.parent->json.begin();
    while (parseNumber<uint64_t>(earlier.key()) != number) ++earlier;
    member.failName("given twice", member.parent->path() + "/" + escaped(earlier.key()));
}

} // namespace sim
