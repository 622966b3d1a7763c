#pragma once

// Lengths of time as people write them.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sim {

// Seconds: "00:07:00" (hours may be more than 23), "90" or numbers with units, as "5min" and "1d 12h" (d, h, min, s).
// Nothing for any other text, and for more than a hundred years.
std::optional<int64_t> parseDuration(std::string_view text);

// "00:07:00"; behind a minus sign where it is negative.
std::string clockText(int64_t seconds);

// "3 min 12 s": the two largest units that are not nothing.
std::string lengthText(int64_t seconds);

} // namespace sim
