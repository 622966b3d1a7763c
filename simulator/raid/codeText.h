#pragma once

// Tables of the library's texts for codes.

#include <cstdint>
#include <span>

namespace sim {

struct CodeText {
    uint32_t code;
    const char* text;
};

inline const char* codeText(std::span<const CodeText> table, uint32_t code, const char* unknown) {
    for (const CodeText& row : table)
        if (row.code == code) return row.text;
    return unknown;
}

} // namespace sim
