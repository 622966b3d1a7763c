#include "raidtree/cleanText.h"

#include <algorithm>
#include <cstdint>

namespace raidtree {

namespace {

constexpr char32_t BAD = 0xFFFFFFFF;
constexpr std::string_view REPLACEMENT = "\xEF\xBF\xBD";

unsigned byteAt(std::string_view text, size_t at) {
    return static_cast<unsigned char>(text[at]);
}

// The character at the front and its length; BAD and 1 for what is not UTF-8.
char32_t decode(std::string_view text, size_t& length) {
    const unsigned lead = byteAt(text, 0);
    length = lead < 0x80 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    char32_t character = length == 1 ? lead : lead & (0x7FU >> length);
    bool isGood = length == 1 || (lead >= 0xC2 && lead <= 0xF4 && length <= text.size());
    for (size_t i = 1; isGood && i < length; ++i) {
        isGood = (byteAt(text, i) & 0xC0U) == 0x80;
        character = character << 6U | (byteAt(text, i) & 0x3FU);
    }
    constexpr char32_t SMALLEST[] = {0, 0, 0x80, 0x800, 0x10000};
    isGood =
        isGood && character >= SMALLEST[length] && character <= 0x10FFFF && (character < 0xD800 || character > 0xDFFF);
    if (isGood) return character;
    length = 1;
    return BAD;
}

bool isHarmless(char32_t c) {
    const bool isControl = c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == BAD;
    const bool turnsText = c == 0x061C || (c >= 0x200B && c <= 0x200F) || (c >= 0x2028 && c <= 0x202E) ||
                           (c >= 0x2060 && c <= 0x206F) || c == 0xFEFF;
    const bool isNone = (c & 0xFFFEU) == 0xFFFE;
    return !isControl && !turnsText && !isNone;
}

size_t characterLength(std::string_view text) {
    size_t length = 1;
    decode(text, length);
    return length;
}

} // namespace

std::string cleanText(std::string_view text) {
    std::string clean;
    clean.reserve(text.size());
    for (size_t length = 1; !text.empty(); text.remove_prefix(length)) {
        const char32_t c = decode(text, length);
        if (c == '\t' || c == '\n' || c == '\r')
            clean += ' ';
        else
            clean += isHarmless(c) ? text.substr(0, length) : REPLACEMENT;
    }
    const size_t first = clean.find_first_not_of(' ');
    if (first == std::string::npos) return {};
    return clean.substr(first, clean.find_last_not_of(' ') + 1 - first);
}

size_t textWidth(std::string_view text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(),
                                             [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; }));
}

std::string cutText(std::string_view text, size_t width) {
    if (textWidth(text) <= width) return std::string(text);
    size_t end = 0;
    for (size_t taken = 1; taken < width; ++taken) end += characterLength(text.substr(end));
    return std::string(text.substr(0, end)) + (width > 0 ? "~" : "");
}

std::string padText(std::string_view text, size_t width) {
    std::string padded = cutText(text, width);
    padded.append(width - textWidth(padded), ' ');
    return padded;
}

} // namespace raidtree
