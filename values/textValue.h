#pragma once

// Texts as the value functions form them. Buffers are written with a NUL and never beyond their size; a size of
// 0 or less writes nothing.

#include "platform/storelib.h"

#include <cstddef>

void clearText(char* target, int size);

// The text up to its NUL, or its first `length` characters. NULL counts as an empty text.
void copyText(char* target, int size, const char* text);
void copyText(char* target, int size, const char* text, size_t length);

// A text field of fixed width that may lack its NUL: ended, and blanks cut at both ends.
template <size_t width> struct TrimmedText {
    char text[width + 1];
};
template <size_t width> TrimmedText<width> trimField(const char (&field)[width]) {
    TrimmedText<width> trimmed{};
    raid_StrncpyTrim(trimmed.text, field, width);
    return trimmed;
}
