#pragma once

// Takes from a record what tells whose machine it is.

#include "simulator/replay/blocks.h"

#include <vector>

namespace sim {

// Serial numbers, names, addresses and host texts become others of the same length: a letter another letter, a digit
// another digit, the same for the same text in every record. Bytes of the controllers' records that have no name become
// zero. Wherever else such a text stands, in answers and in arguments, it is the same; hashes are made anew.
void anonymize(std::vector<ReplayedCall>& calls, const BlockIndex& blocks);

} // namespace sim
