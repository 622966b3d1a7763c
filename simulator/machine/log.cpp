#include "simulator/machine/log.h"

#include "simulator/machine/clock.h"
#include "simulator/machine/faults.h"
#include "simulator/machine/root.h"

#include <cstdio>
#include <ctime>
#include <string_view>
#include <unistd.h>

namespace sim {
namespace {

// Of the character that a text begins with; 0: that is none of UTF-8.
size_t lengthOfCharacter(std::string_view text) {
    const auto byte = [&](size_t at) -> unsigned { return static_cast<unsigned char>(text[at]); };
    const unsigned first = byte(0);
    if (first < 0x80) return first < 0x20 || first == 0x7F ? 0 : 1;
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
    for (size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0) != 0x80) return 0;
    const bool isOverlong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xF0 && byte(1) < 0x90);
    const bool isBeyond = (first == 0xED && byte(1) > 0x9F) || (first == 0xF4 && byte(1) > 0x8F);
    const bool isControl = first == 0xC2 && byte(1) < 0xA0;
    return isOverlong || isBeyond || isControl ? 0 : length;
}

std::string timeText() {
    const time_t seconds = clockTime().seconds;
    tm parts = {};
    char text[32] = "";
    if (gmtime_r(&seconds, &parts) != nullptr) strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
    return text;
}

} // namespace

std::string plainText(std::string_view text) {
    std::string plain;
    while (!text.empty()) {
        const size_t length = lengthOfCharacter(text);
        if (length == 0) {
            char code[8];
            snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned char>(text.front()));
            plain += code;
        }
        plain.append(text.substr(0, length));
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return plain;
}

void reportNews(const std::string& text) {
    if (hasMachine()) appendToSimulatorFile("log", timeText() + " " + plainText(text) + "\n");
}

void reportFault(const std::string& text) {
    const NotCancelled guard;
    const std::string line = "simulator: " + plainText(text) + "\n";
    if (write(STDERR_FILENO, line.data(), line.size()) < 0) { // the log has it as well
        reportNews(text);
        return;
    }
    reportNews(text);
}

} // namespace sim
