#pragma once

// Texts as the value functions form them: put together from pieces, far cheaper than a format does.

#include "platform/storelib.h"

#include <string_view>

// A text that grows piece by piece in a buffer of fixed size. It ends with a NUL and is cut where the buffer ends; a
// size of 0 or less takes nothing.
struct TextBuffer {
    char* text;
    int size;
    int length = 0;
};

// The text of a field of fixed width, which may lack its NUL.
template <size_t width>
struct FieldText {
    char text[width + 1];
};

// A number with sixteen hexadecimal digits.
struct HexNumber {
    uint64_t value;
};

void putPiece(TextBuffer& buffer, std::string_view piece);
void putPiece(TextBuffer& buffer, const char* piece); // NULL counts as an empty text
void putPiece(TextBuffer& buffer, int32_t number);
void putPiece(TextBuffer& buffer, HexNumber number);
template <size_t width>
void putPiece(TextBuffer& buffer, const FieldText<width>& field) {
    putPiece(buffer, field.text);
}

// Appends the pieces in their order: texts, integers, fields, HexNumber.
template <class... Pieces>
void put(TextBuffer& buffer, const Pieces&... pieces) {
    (putPiece(buffer, pieces), ...);
}

// A field as it stands, and with the blanks cut at both ends.
template <size_t width>
FieldText<width> endField(const char (&field)[width]) {
    FieldText<width> ended{};
    memcpy(ended.text, field, strnlen(field, width));
    return ended;
}
template <size_t width>
FieldText<width> trimField(const char (&field)[width]) {
    FieldText<width> trimmed{};
    raid_StrncpyTrim(trimmed.text, field, width);
    return trimmed;
}
