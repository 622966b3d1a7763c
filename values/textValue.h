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

// The same with the blanks cut at both ends, as a piece to put.
constexpr size_t TRIMMED_WIDTH_MAX = 40;
struct TrimmedField {
    const char* field;
    size_t width;
};

// A number with sixteen hexadecimal digits.
struct HexNumber {
    uint64_t value;
};

void putPiece(TextBuffer& buffer, std::string_view piece);
void putPiece(TextBuffer& buffer, const char* piece); // NULL counts as an empty text
void putPiece(TextBuffer& buffer, int32_t number);
void putPiece(TextBuffer& buffer, HexNumber number);
void putPiece(TextBuffer& buffer, TrimmedField field);
template <size_t width>
void putPiece(TextBuffer& buffer, const FieldText<width>& field) {
    putPiece(buffer, field.text);
}

// Appends the pieces in their order.
template <class... Pieces>
void put(TextBuffer& buffer, const Pieces&... pieces) {
    (putPiece(buffer, pieces), ...);
}

// A field as it stands, to put.
template <size_t width>
std::string_view viewField(const char (&field)[width]) {
    return {field, strnlen(field, width)};
}
template <size_t width>
TrimmedField trimmed(const char (&field)[width]) {
    static_assert(width <= TRIMMED_WIDTH_MAX);
    return {field, width};
}

// Copies that end with a NUL: of a field as it stands, and with the blanks cut at both ends.
template <size_t width>
FieldText<width> endField(const char (&field)[width]) {
    FieldText<width> ended{};
    memcpy(ended.text, field, strnlen(field, width));
    return ended;
}
template <size_t width>
FieldText<width> trimField(const char (&field)[width]) {
    FieldText<width> text{};
    raid_StrncpyTrim(text.text, field, width);
    return text;
}
