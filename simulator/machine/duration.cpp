#include "simulator/machine/duration.h"

#include <charconv>
#include <cstdio>
#include <iterator>

namespace sim {
namespace {

constexpr int64_t LONGEST = int64_t{100} * 366 * 86400;

// Takes a number off the front; a text without one, or with one that is too large, has none.
std::optional<int64_t> takeNumber(std::string_view& text) {
    int64_t number = 0;
    if (text.empty() || text.front() == '-') return {};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || number > LONGEST) return {};
    text.remove_prefix(size_t(end - text.data()));
    return number;
}

// "HH:MM:SS", whose hours have been taken.
std::optional<int64_t> parseClock(int64_t hours, std::string_view rest) {
    const auto isDigit = [&](size_t at) { return rest[at] >= '0' && rest[at] <= '9'; };
    if (rest.size() != 6 || rest[3] != ':' || !isDigit(1) || !isDigit(2) || !isDigit(4) || !isDigit(5)) return {};
    const int64_t minutes = (rest[1] - '0') * 10 + rest[2] - '0';
    const int64_t seconds = (rest[4] - '0') * 10 + rest[5] - '0';
    if (minutes > 59 || seconds > 59 || hours > LONGEST / 3600) return {};
    return hours * 3600 + minutes * 60 + seconds;
}

struct Unit {
    std::string_view name;
    int64_t seconds;
};
constexpr Unit UNITS[] = {{"d", 86400}, {"h", 3600}, {"min", 60}, {"s", 1}};

} // namespace

std::optional<int64_t> parseDuration(std::string_view text) {
    std::optional<int64_t> number = takeNumber(text);
    if (!number || text.empty()) return number;
    if (text.front() == ':') return parseClock(*number, text);
    int64_t sum = 0;
    const Unit* last = nullptr;
    while (number) {
        const std::string_view name = text.substr(0, text.find_first_of(" 0123456789"));
        const Unit* unit =
            last == nullptr ? std::begin(UNITS) : last + 1; // from the greatest to the smallest, each once
        while (unit != std::end(UNITS) && unit->name != name) ++unit;
        if (unit == std::end(UNITS) || *number > (LONGEST - sum) / unit->seconds) return {};
        sum += *number * unit->seconds;
        last = unit;
        text.remove_prefix(name.size());
        if (text.empty()) return sum;
        if (text.front() == ' ') text.remove_prefix(1);
        number = takeNumber(text);
    }
    return {};
}

std::string clockText(int64_t seconds) {
    const int64_t absolute = seconds < 0 ? -seconds : seconds;
    char text[40];
    snprintf(text, sizeof text, "%s%02lld:%02lld:%02lld", seconds < 0 ? "-" : "",
             static_cast<long long>(absolute / 3600), static_cast<long long>(absolute / 60 % 60),
             static_cast<long long>(absolute % 60));
    return text;
}

std::string lengthText(int64_t seconds) {
    constexpr struct {
        int64_t seconds;
        const char* name;
    } UNITS[] = {{86400, " d"}, {3600, " h"}, {60, " min"}, {1, " s"}};
    std::string text;
    int units = 0;
    for (const auto& unit : UNITS) {
        if (seconds < unit.seconds || units == 2) continue;
        text += (units == 0 ? "" : " ") + std::to_string(seconds / unit.seconds) + unit.name;
        seconds %= unit.seconds;
        ++units;
    }
    return text.empty() ? "0 s" : text;
}

} // namespace sim
