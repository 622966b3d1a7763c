#pragma once

// calls.jsonl: what was asked of the libraries, one JSON object a line.

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace sim {

// An argument or a result: a number, a text (NULL: null), or bytes that are written as hex.
class CallValue {
  public:
    CallValue() : CallValue(0) {}
    template <std::integral T>
    CallValue(T number) : number_(static_cast<int64_t>(number)) {}
    CallValue(const char* text) : kind_(text != nullptr ? Kind::Text : Kind::Null), data_(text) {}
    CallValue(const void* bytes, size_t size)
        : kind_(bytes != nullptr ? Kind::Hex : Kind::Null), data_(bytes), size_(size) {}

    void appendTo(std::string& line) const;
    int64_t number() const { return number_; } // 0: none

  private:
    enum class Kind : uint8_t { Null, Number, Text, Hex };
    Kind kind_ = Kind::Number;
    int64_t number_ = 0;
    const void* data_ = nullptr;
    size_t size_ = 0;
};

struct CallOutput {
    void* data = nullptr; // NULL: the call gave none
    size_t size = 0;
    std::string_view record = {}; // its name in the machine file, when it is one
};

// Writes a call's line.
void logCall(const char* name, std::initializer_list<CallValue> arguments, CallValue result, CallOutput output = {});
void logCall(const char* name, const CallValue* arguments, size_t count, CallValue result, CallOutput output = {});

bool tracing(); // BMC_TRACE=1: every call is written

} // namespace sim
