#include "values/textValue.h"

#include <algorithm>

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
