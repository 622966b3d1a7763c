#pragma once

// Texts as the value functions form them. Buffers are written with a NUL and never beyond their size; a size of
// 0 or less writes nothing.

#include "platform/storelib.h"

#include <cstddef>

void clearText(char* target, int size);

// The text up to its NUL, or its first `length` characters. NULL counts as an empty text.
void copyText(char* target, int size, const char* text);
void copyText(char* target, int size, const char* text, size_t length);

// The text of a field of fixed width, which may lack its NUL.
template <size_t width>
struct FieldText {
    char text[width + 1];
};

// As it stands, and with the blanks cut at both ends.
template <size_t width>
FieldText<width> endField(const char (&field)[width]) {
    FieldText<width> ended{};
    copyText(ended.text, sizeof ended.text, field, width);
    return ended;
}
template <size_t width>
FieldText<width> trimField(const char (&field)[width]) {
    FieldText<width> trimmed{};
    raid_StrncpyTrim(trimmed.text, field, width);
    return trimmed;
}
