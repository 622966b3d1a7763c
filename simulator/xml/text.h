#pragma once

// Texts as they enter a document: what XML 1.0 forbids (controls but tab, line feed and carriage return, U+FFFE,
// U+FFFF) becomes U+FFFD, and so does each longest piece that is not UTF-8 but could have begun a character.

#include <cstddef>

#pragma GCC visibility push(hidden) // the process that loads the library has names of its own

namespace xmlParser {

struct TextSize {
    size_t bytes; // of the clean text, without the NUL
    bool asItIs;  // nothing to replace
};

TextSize measureText(const char* text);
void copyText(char* out, const char* text, TextSize size); // size.bytes characters and a NUL

inline bool isCleanText(const char* text) {
    return measureText(text).asItIs;
}
bool isWhiteSpace(const char* text);

} // namespace xmlParser

#pragma GCC visibility pop
