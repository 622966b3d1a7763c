#pragma once

// What the texts of the controller library mean, and from where on a number is too high: states.json.

#include "raidtree/server.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace raidtree {

enum class Severity : uint8_t { ok, info, warning, critical };

const char* severityName(Severity severity);

struct Meaning {
    Severity severity = Severity::warning;
    std::string says;      // for people; the text itself where the table has no other words
    std::string shortForm; // a few letters, for the cell of a bay
    std::string state;     // of Redfish: Enabled, unless the table has another; empty: not known
    bool isKnown = false;
};

struct Limit { // reached or exceeded
    Number warning, critical;
};

struct States {
    using Texts = std::map<std::string, Meaning, std::less<>>;
    std::map<std::string, Texts, std::less<>> texts;  // by "drive.status"
    std::map<std::string, Limit, std::less<>> limits; // by "drive.temperatureCelsius"

    // A text that is not in the table is a warning that names the text; so is none.
    Meaning meaningOf(std::string_view field, const std::string& text) const;
    Severity severityOf(std::string_view field, int64_t value) const;
};

// states.json as it was when this was built.
States builtInStates();

// Adds what the file says, or puts it in the place of what was there. Throws InputError.
void extendStates(States& states, const std::string& path);

} // namespace raidtree
