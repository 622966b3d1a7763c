#include "simulator/replay/computed.h"

#include "simulator/machine/faults.h"
#include "simulator/record/libraryCalls.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <tuple>
#include <type_traits>
#include <utility>

namespace sim {
namespace {

constexpr size_t LARGEST_BUFFER = size_t{1} << 20;

// Thrown where an argument cannot be had as it was.
struct NotKnown {};

// Takes the recorded arguments one by one, and keeps what they point to.
struct Arguments {
    const ReplayedCall& call;
    const BlockFinder& findBlock;
    size_t next = 0;
    std::vector<Bytes> blocks = {};
    uint8_t* output = nullptr;
    size_t outputSize = 0;
    bool outputIsText = false;

    const Json& take() {
        if (next >= call.arguments.size()) throw NotKnown();
        return call.arguments[next++];
    }
    template <class T>
    T number() {
        const Json& json = take();
        if (!json.is_number_integer()) throw NotKnown();
        return static_cast<T>(json.get<int64_t>());
    }
    const uint8_t* block(size_t size) {
        const Json& json = take();
        if (json.is_null()) return nullptr;
        if (!json.is_string()) throw NotKnown();
        const auto& text = json.get_ref<const std::string&>();
        std::optional<Bytes> bytes = text.starts_with('#') ? findBlock(text) : bytesOfHex(text);
        if (!bytes || bytes->size() < size) throw NotKnown();
        bytes->push_back(0); // a block is never without memory
        blocks.push_back(std::move(*bytes));
        return blocks.back().data();
    }
    uint8_t* room(size_t size, bool isText) {
        if (size > LARGEST_BUFFER) throw NotKnown();
        blocks.emplace_back(size + 1);
        output = blocks.back().data();
        outputSize = size;
        outputIsText = isText;
        return output;
    }
};

// The size of a block or buffer is an argument that the record has further on, behind the buffers that it leaves out.
template <size_t ARGUMENT, class... Roles>
size_t sizeAt(const Arguments& arguments) {
    constexpr bool isRecorded[] = {!std::is_same_v<Roles, role::OutText<ARGUMENT>> &&
                                   !std::is_same_v<Roles, role::OutTextAnd1<ARGUMENT>> &&
                                   !std::is_same_v<Roles, role::OutOf<ARGUMENT>>...};
    size_t position = 0;
    for (size_t i = 0; i < ARGUMENT; ++i) position += isRecorded[i] ? 1 : 0;
    const Json& json = arguments.call.arguments.at(position);
    return json.is_number_integer() && json.get<int64_t>() > 0 ? json.get<size_t>() : 0;
}

template <class Type, class... Roles>
Type make(role::In /*role*/, Arguments& arguments) {
    if constexpr (std::is_pointer_v<Type>) {
        const uint8_t* block = arguments.block(sizeof(std::remove_pointer_t<Type>));
        return reinterpret_cast<Type>(block);
    } else {
        return arguments.number<Type>();
    }
}
template <class Type, class... Roles, size_t ARGUMENT>
Type make(role::BlockOf<ARGUMENT> /*role*/, Arguments& arguments) {
    const void* block = arguments.block(sizeAt<ARGUMENT, Roles...>(arguments));
    return static_cast<Type>(block);
}
template <class Type, class... Roles, size_t ARGUMENT>
Type make(role::OutText<ARGUMENT> /*role*/, Arguments& arguments) {
    return reinterpret_cast<Type>(arguments.room(sizeAt<ARGUMENT, Roles...>(arguments), true));
}
template <class Type, class... Roles, size_t ARGUMENT>
Type make(role::OutTextAnd1<ARGUMENT> /*role*/, Arguments& arguments) {
    return reinterpret_cast<Type>(arguments.room(sizeAt<ARGUMENT, Roles...>(arguments) + 1, true));
}
template <class Type, class... Roles, size_t ARGUMENT>
Type make(role::OutOf<ARGUMENT> /*role*/, Arguments& arguments) {
    return arguments.room(sizeAt<ARGUMENT, Roles...>(arguments), false);
}

// As a record has a text.
Json textOf(const char* text) {
    if (text == nullptr) return nullptr;
    std::string characters;
    for (; *text != 0; ++text) {
        const auto byte = static_cast<unsigned char>(*text);
        if (byte >= 0x80) characters += char(0xC0 | byte >> 6);
        characters += char(byte >= 0x80 ? 0x80 | (byte & 0x3F) : byte);
    }
    return characters;
}

template <CallResult RESULT, class... Roles, class Result, class... Types>
bool isSame(Result (*function)(Types...), Arguments& arguments) {
    arguments.blocks.reserve(sizeof...(Types));                                // pointers into them stay
    std::tuple<Types...> values{make<Types, Roles...>(Roles(), arguments)...}; // in the order of the arguments
    Json result = 0;
    if constexpr (std::is_void_v<Result>)
        std::apply(function, values);
    else if constexpr (RESULT == CallResult::text)
        result = textOf(std::apply(function, values));
    else
        result = std::apply(function, values);
    const bool handsOut = arguments.output != nullptr && (RESULT != CallResult::status || result == 0);
    const size_t length = handsOut && arguments.outputIsText
                              ? strnlen(reinterpret_cast<const char*>(arguments.output), arguments.outputSize)
                              : arguments.outputSize;
    const Bytes& recorded = arguments.call.output.value_or(Bytes());
    return result == arguments.call.result &&
           (!handsOut || std::equal(recorded.begin(), recorded.end(), arguments.output, arguments.output + length));
}

using Comparison = bool (*)(Arguments&);

// Functions by name, as the table has them.
template <class Signature, Signature* FUNCTION, CallKind KIND, CallResult RESULT, class... Roles>
Comparison comparisonOf() {
    if constexpr (KIND == CallKind::computes)
        return [](Arguments& arguments) { return isSame<RESULT, Roles...>(FUNCTION, arguments); };
    else
        return nullptr;
}

const std::map<std::string, Comparison, std::less<>>& comparisons() {
    using namespace role;
    static const std::map<std::string, Comparison, std::less<>> all = {
#define LIBRARY_CALL_AS(signature, name, kind, result, identifiers, ...)                                               \
    {#name, comparisonOf<signature, name, CallKind::kind, CallResult::result __VA_OPT__(, ) __VA_ARGS__>()},
#include "simulator/record/libraryCalls.inc"
#undef LIBRARY_CALL_AS
    };
    return all;
}

} // namespace

bool isStandInsAnswer(const ReplayedCall& call, const BlockFinder& findBlock) {
    const auto found = comparisons().find(call.name);
    if (found == comparisons().end() || found->second == nullptr) return false;
    const WithoutMachine guard;
    Arguments arguments{call, findBlock};
    try {
        return found->second(arguments);
    } catch (const NotKnown&) {
        return false;
    } catch (const std::out_of_range&) { // fewer arguments than the function has
        return false;
    }
}

} // namespace sim
