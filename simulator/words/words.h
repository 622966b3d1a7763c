#pragma once

// What testers do to a described machine, in words: "drive 0/8 fail". A word changes all that a real controller would
// change together.

#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

namespace sim {

struct WordResult {
    std::vector<std::string> lines; // what changed
    std::string error;              // empty: done
    int status = 0;                 // 2: no such word or object, 3: the machine cannot express it
};

// With an error `machine` is as it was.
WordResult applyWords(nlohmann::ordered_json& machine, std::span<const std::string> words);

// Tables of what the machine is: "drives", "volumes", "enclosures", "battery", "host" and "faults", each a list of rows
// whose members are the columns.
nlohmann::ordered_json describeMachine(nlohmann::ordered_json machine);

} // namespace sim
