#include "simulator/machine/mistakes.h"

#include "simulator/machine/log.h"

#include <algorithm>
#include <cctype>
#include <numeric>

namespace sim {
namespace {

constexpr size_t LONGEST_TEXT = 400;

// Names of members come from the file: nothing of them may end a line or steer a terminal.
std::string printable(std::string_view text) {
    return plainText(text.substr(0, LONGEST_TEXT)) + (text.size() > LONGEST_TEXT ? "..." : "");
}

std::string lower(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), [](unsigned char c) { return char(tolower(c)); });
    return result;
}

// How many characters have to be put in, taken out or replaced.
size_t distance(const std::string& a, const std::string& b) {
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t above = row[j];
            row[j] = std::min({above + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
            diagonal = above;
        }
    }
    return row.back();
}

} // namespace

std::vector<std::string> describeMistakes(const std::string& file, const std::vector<Mistake>& mistakes, size_t most) {
    std::vector<std::string> lines;
    for (const Mistake& mistake : mistakes) {
        if (lines.size() == most) {
            lines.push_back(file + ": and " + std::to_string(mistakes.size() - most) + " more");
            break;
        }
        std::string line = file;
        if (mistake.line > 0) line += ":" + std::to_string(mistake.line) + ":" + std::to_string(mistake.column);
        line += ": ";
        if (!mistake.pointer.empty()) line += printable(mistake.pointer) + ": ";
        lines.push_back(line + printable(mistake.text));
    }
    return lines;
}

void placeAt(Mistake& mistake, std::string_view text, size_t offset) {
    const std::string_view before = text.substr(0, offset);
    const std::string_view ofLine = before.substr(before.rfind('\n') + 1); // from 0 on when there is no newline
    mistake.line = size_t(std::count(before.begin(), before.end(), '\n')) + 1;
    mistake.column = size_t(std::count_if(ofLine.begin(), ofLine.end(), [](char c) { return (c & 0xC0) != 0x80; })) + 1;
}

std::string suggestName(std::string_view word, const std::vector<std::string_view>& names) {
    constexpr size_t longest = 64;
    if (word.size() > longest) return {};
    size_t nearest = std::max<size_t>(1, word.size() / 3) + 1;
    std::string_view found;
    for (const std::string_view name : names) {
        const size_t far = distance(lower(word), lower(name));
        if (far < nearest) {
            nearest = far;
            found = name;
        }
    }
    return found.empty() ? std::string() : " (did you mean \"" + std::string(found) + "\"?)";
}

} // namespace sim
