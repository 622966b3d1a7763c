#pragma once

// The machine file's own answers to single calls, which go before those of the stand-ins: another library words
// other texts, and knows results that no description of a record gives.

#include "simulator/machine/callLog.h"
#include "simulator/machine/machine.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace sim {

struct DescribedAnswer {
    double number = 0;
    const char* text = nullptr; // lives as long as the process
    std::optional<Bytes> output;

    // Fills the caller's buffer as far as it goes; of a text one byte is kept for its NUL. Nothing without an output.
    CallOutput handOut(void* buffer, size_t size, bool isText) const;
};

// Nothing: the stand-in answers.
std::optional<DescribedAnswer> findAnswer(std::string_view name, std::span<const CallValue> arguments);

// The arguments as a record has them, without brackets: what an answer is found by.
std::string argumentsText(std::span<const CallValue> arguments);

} // namespace sim
