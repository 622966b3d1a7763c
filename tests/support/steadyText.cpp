#include "tests/support/steadyText.h"

#include <sstream>

namespace {

// Addresses stand behind these; NULL remains "0".
constexpr const char* POINTERS[] = {
    "oobMRCache= 0x", "(doc = 0x",       "- doc = 0x",         "xmlDocument= 0x",           "xmlStr= 0x",
    "pSts= 0x",       "pEnclStatus= 0x", "mrPRProperties= 0x", "mrPdSataInfo[instIdx]= 0x", "delete_my_memory(0x"};
constexpr const char* FIGURES[] = {"vmrss=", "VmRSS="};
constexpr char ALLOCATED[] = "CALLOC:address= 0x";
constexpr char RELEASED[] = "FREE:address= 0x";
constexpr char HEX_DIGITS[] = "0123456789abcdef";
constexpr size_t TIME_LENGTH = 27; // "2026/01/01 00:00:00.000000" and a tab

std::string printable(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        if ((c >= ' ' && c <= '~' && c != '\\') || c == '\t')
            escaped += c;
        else
            escaped.append("\\x").append(1, HEX_DIGITS[c >> 4 & 15]).append(1, HEX_DIGITS[c & 15]);
    }
    return escaped;
}

// The digits behind the marker.
std::string digitsBehind(const std::string& line, size_t at) {
    return line.substr(at, line.find_first_not_of(HEX_DIGITS, at) - at);
}

} // namespace

std::string SteadyText::cut(std::string line) {
    if (line.size() >= TIME_LENGTH && line[4] == '/' && line[TIME_LENGTH - 1] == '\t') line.erase(0, TIME_LENGTH);
    for (const char* figure : FIGURES)
        if (const size_t at = line.find(figure); at != std::string::npos) line.erase(at);
    for (const char* pointer : POINTERS) {
        size_t at = line.find(pointer);
        if (at == std::string::npos) continue;
        at += std::char_traits<char>::length(pointer);
        if (const std::string digits = digitsBehind(line, at); digits != "0") line.replace(at, digits.size(), "@");
    }
    if (const size_t at = line.find(ALLOCATED); at != std::string::npos) {
        blocks_[digitsBehind(line, at + sizeof ALLOCATED - 1)] = ++count_;
        return line.substr(0, at) + "CALLOC #" + std::to_string(count_);
    }
    if (const size_t at = line.find(RELEASED); at != std::string::npos) {
        const auto block = blocks_.extract(digitsBehind(line, at + sizeof RELEASED - 1));
        return line.substr(0, at) + "FREE #" + (block.empty() ? "?" : std::to_string(block.mapped()));
    }
    return line;
}

std::string SteadyText::of(const std::string& text) {
    std::istringstream lines(text);
    std::string steady;
    for (std::string line; std::getline(lines, line);) steady += printable(cut(line)) + "\n";
    return steady;
}
