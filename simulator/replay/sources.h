#pragma once

// Which record of the machine file a call reads, and where the values of other reading calls stand in it.

#include "simulator/machine/recordLayout.h"
#include "simulator/replay/recordFile.h"

#include <string>

namespace sim {

// The member that a reading function fills: a record or a value. Empty: it reads something else.
std::string memberReadBy(const std::string& function);

// NULL: the call reads none, or one that a machine file does not know.
const RecordLayout* recordReadBy(const ReplayedCall& call);

// Of a direct command: the drive or logical drive that it is about.
std::string referenceOf(const ReplayedCall& call);

} // namespace sim
