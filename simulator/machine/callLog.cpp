#include "simulator/machine/callLog.h"

#include "simulator/machine/clock.h"
#include "simulator/machine/root.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

namespace sim {
namespace {

void appendHex(std::string& line, const unsigned char* bytes, size_t size) {
    static constexpr char DIGITS[] = "0123456789abcdef";
    line += '"';
    for (size_t i = 0; i < size; ++i) {
        line += DIGITS[bytes[i] >> 4];
        line += DIGITS[bytes[i] & 15];
    }
    line += '"';
}

// Bytes outside ASCII are written as the characters of the same number, so that any text gives a valid line.
void appendText(std::string& line, const char* text) {
    line += '"';
    for (; *text != 0; ++text) {
        const auto byte = static_cast<unsigned char>(*text);
        if (byte == '"' || byte == '\\') line += '\\';
        if (byte >= 0x20 && byte < 0x7F) {
            line += *text;
        } else {
            char escape[8];
            snprintf(escape, sizeof escape, "\\u%04x", byte);
            line += escape;
        }
    }
    line += '"';
}

} // namespace

void CallValue::appendTo(std::string& line) const {
    switch (kind_) {
    case Kind::Null: line += "null"; break;
    case Kind::Number: line += std::to_string(number_); break;
    case Kind::Text: appendText(line, static_cast<const char*>(data_)); break;
    case Kind::Hex: appendHex(line, static_cast<const unsigned char*>(data_), size_); break;
    }
}

void logCall(const char* name, const CallValue* arguments, size_t count, CallValue result, CallOutput output) {
    try {
        std::string line = "{\"time\": " + std::to_string(clockTime().seconds) + ", \"call\": ";
        appendText(line, name);
        line += ", \"args\": [";
        for (size_t i = 0; i < count; ++i) {
            if (i > 0) line += ", ";
            arguments[i].appendTo(line);
        }
        line += "], \"result\": ";
        result.appendTo(line);
        if (output.data != nullptr) {
            line += ", \"out\": ";
            appendHex(line, static_cast<const unsigned char*>(output.data), output.size);
        }
        line += "}\n";
        appendToSimulatorFile("calls.jsonl", line);
    } catch (const std::exception&) { // no memory: the call goes unrecorded, the caller goes on
        return;
    }
}

void logCall(const char* name, std::initializer_list<CallValue> arguments, CallValue result, CallOutput output) {
    logCall(name, arguments.begin(), arguments.size(), result, output);
}

bool tracing() {
    static const bool enabled = [] {
        const char* setting = getenv("BMC_TRACE");
        return setting != nullptr && strcmp(setting, "1") == 0;
    }();
    return enabled;
}

} // namespace sim
