#pragma once

// What the stand-in says of itself, for functions that answer from their arguments alone.

#include "simulator/replay/recordFile.h"

#include <functional>

namespace sim {

// The bytes behind a hash ("#SIZE:HASH") of a record's argument; nothing: the record does not hold them.
using BlockFinder = std::function<std::optional<Bytes>(const std::string& hashed)>;

// Whether the call has the stand-in's answer: not where it is another, or an argument is not known.
bool isStandInsAnswer(const ReplayedCall& call, const BlockFinder& findBlock);

} // namespace sim
