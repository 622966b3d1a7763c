#pragma once

#include <cstddef>
#include <cstring>

// A text field of fixed width with a NUL behind it, which the field itself may lack.
template <size_t Width>
struct FieldText {
    char text[Width + 1];
};

template <size_t Width>
FieldText<Width> copyField(const char (&field)[Width]) {
    FieldText<Width> copy{};
    memcpy(copy.text, field, strnlen(field, Width));
    return copy;
}
