#pragma once

// What differs between two states of a server.

#include "raidtree/server.h"

#include <string>
#include <vector>

namespace raidtree {

struct Change {
    enum class Kind : uint8_t { gone, added, changed };
    Kind kind;
    std::string label;    // of the object, as it is now; as it was, if it is gone
    std::string title;    // where it is, or its name
    std::string field;    // key of the value; empty: the object itself
    std::string from, to; // values as people read them
};

// Drives are matched by their serial numbers, then by their bays; other objects by their numbers. `everything`: with
// temperatures, counters and what else moves by itself.
std::vector<Change> compareServers(const Server& before, const Server& now, bool everything);

// "drive 0/3 (bay 1:2, S3): status Online -> Failed"
std::string changeText(const Change& change);

} // namespace raidtree
