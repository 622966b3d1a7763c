#include "simulator/xml/text.h"

#include <cstdint>
#include <cstring>

namespace xmlParser {

namespace {

constexpr char REPLACEMENT[] = "\xEF\xBF\xBD"; // U+FFFD
constexpr size_t REPLACEMENT_BYTES = sizeof REPLACEMENT - 1;

// Longer texts are not measured, and their size cannot be allocated; thrice this still fits.
constexpr size_t LONGEST_TEXT = PTRDIFF_MAX / 4;

struct Piece {
    size_t bytes;
    bool allowed;
};

// The character at the start of the text or, when there is none, the bytes that one replacement stands for.
Piece firstPiece(const unsigned char* text) {
    const unsigned char lead = text[0];
    if (lead < 0x80) return {1, lead >= 0x20 || lead == '\t' || lead == '\n' || lead == '\r'};
    if (lead < 0xC2 || lead > 0xF4) return {1, false};
    const size_t bytes = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    // Of the second byte: no longer form than needed, no surrogates, nothing above U+10FFFF.
    unsigned char low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    unsigned char high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    for (size_t i = 1; i < bytes; ++i) {
        if (text[i] < low || text[i] > high) return {i, false};
        low = 0x80;
        high = 0xBF;
    }
    const bool nonCharacter = lead == 0xEF && text[1] == 0xBF && text[2] >= 0xBE;
    return {bytes, !nonCharacter};
}

bool isPrintableAscii(const char* text, size_t length) {
    constexpr uint64_t ONES = 0x0101010101010101U;
    uint64_t suspects = 0;
    for (; length >= sizeof suspects; text += sizeof suspects, length -= sizeof suspects) {
        uint64_t word = 0;
        memcpy(&word, text, sizeof word);
        suspects |= word | (word - 0x20 * ONES); // a byte below 0x20 borrows: bit 7 of it is set
    }
    for (; length > 0; ++text, --length) {
        const auto byte = static_cast<unsigned char>(*text);
        suspects |= static_cast<unsigned char>(byte | (byte - 0x20));
    }
    return (suspects & 0x80 * ONES) == 0;
}

} // namespace

TextSize measureText(const char* text) {
    const size_t length = strlen(text);
    if (isPrintableAscii(text, length)) return {length, true};
    if (length > LONGEST_TEXT) return {PTRDIFF_MAX, true};
    TextSize size{0, true};
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    while (*bytes != '\0') {
        const Piece piece = firstPiece(bytes);
        size.bytes += piece.allowed ? piece.bytes : REPLACEMENT_BYTES;
        size.asItIs = size.asItIs && piece.allowed;
        bytes += piece.bytes;
    }
    return size;
}

void copyText(char* out, const char* text, TextSize size) {
    if (size.asItIs) {
        memcpy(out, text, size.bytes + 1);
        return;
    }
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    while (*bytes != '\0') {
        const Piece piece = firstPiece(bytes);
        const size_t written = piece.allowed ? piece.bytes : REPLACEMENT_BYTES;
        if (piece.allowed) {
            memcpy(out, bytes, written);
        } else {
            memcpy(out, REPLACEMENT, written);
        }
        out += written;
        bytes += piece.bytes;
    }
    *out = '\0';
}

bool isWhiteSpace(const char* text) {
    return text[strspn(text, " \t\r\n")] == '\0';
}

} // namespace xmlParser
