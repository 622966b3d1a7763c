#include "values/textValue.h"

#include <algorithm>
#include <charconv>

void clearText(char* target, int size) {
    if (size > 0) memset(target, 0, size_t(size));
}

void copyText(char* target, int size, const char* text) {
    copyText(target, size, text, SIZE_MAX);
}

void copyText(char* target, int size, const char* text, size_t length) {
    if (size <= 0) return;
    const size_t copied = text == nullptr ? 0 : strnlen(text, std::min(length, size_t(size) - 1));
    if (copied > 0) memcpy(target, text, copied);
    target[copied] = '\0';
}

TextComposer& TextComposer::add(const char* text) {
    if (text != nullptr) append(text, strlen(text));
    return *this;
}

TextComposer& TextComposer::add(int32_t number) {
    char digits[11]; // "-2147483648"
    append(digits, size_t(std::to_chars(digits, digits + sizeof digits, number).ptr - digits));
    return *this;
}

TextComposer& TextComposer::addHex(uint64_t number) {
    char digits[16];
    for (char* digit = digits + sizeof digits; digit != digits; number >>= 4)
        *--digit = "0123456789ABCDEF"[number & 15];
    append(digits, sizeof digits);
    return *this;
}

void TextComposer::append(const char* text, size_t length) {
    const size_t copied = std::min(length, room_);
    memcpy(end_, text, copied);
    end_ += copied;
    room_ -= copied;
    *end_ = '\0';
}
