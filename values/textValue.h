#pragma once

// Texts as the value functions form them. Buffers are written with a NUL and never beyond their size; a size of
// 0 or less writes nothing.

#include "platform/storelib.h"

#include <cstddef>

void clearText(char* target, int size);

// The text up to its NUL, or its first `length` characters. NULL counts as an empty text.
void copyText(char* target, int size, const char* text);
void copyText(char* target, int size, const char* text, size_t length);

// Puts a text together from pieces, far cheaper than a format does: most of a tree's texts are made this way. Cut
// where the target ends. size > 0.
class TextComposer {
  public:
    TextComposer(char* target, int size) : end_(target), room_(size_t(size) - 1) { *target = '\0'; }
    TextComposer& add(const char* text); // NULL counts as an empty text
    TextComposer& add(int32_t number);
    TextComposer& addHex(uint64_t number); // sixteen digits

  private:
    void append(const char* text, size_t length);

    char* end_; // where the NUL is
    size_t room_;
};

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
