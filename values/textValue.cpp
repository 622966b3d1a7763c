#include "values/textValue.h"

#include <algorithm>
#include <charconv>

void putPiece(TextBuffer& buffer, std::string_view piece) {
    if (buffer.size <= 0) return;
    const size_t copied = std::min(piece.size(), size_t(buffer.size - buffer.length) - 1);
    if (copied > 0) memcpy(buffer.text + buffer.length, piece.data(), copied);
    buffer.length += int(copied);
    buffer.text[buffer.length] = '\0';
}

void putPiece(TextBuffer& buffer, const char* piece) {
    putPiece(buffer, std::string_view(piece == nullptr ? "" : piece));
}

void putPiece(TextBuffer& buffer, int32_t number) {
    char digits[11]; // "-2147483648"
    const char* end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    putPiece(buffer, std::string_view(digits, size_t(end - digits)));
}

void putPiece(TextBuffer& buffer, HexNumber number) {
    char digits[16];
    for (char* digit = digits + sizeof digits; digit != digits; number.value >>= 4)
        *--digit = "0123456789ABCDEF"[number.value & 15];
    putPiece(buffer, std::string_view(digits, sizeof digits));
}

void putPiece(TextBuffer& buffer, TrimmedField field) {
    char text[TRIMMED_WIDTH_MAX + 1] = {};
    raid_StrncpyTrim(text, field.field, field.width);
    putPiece(buffer, text);
}
