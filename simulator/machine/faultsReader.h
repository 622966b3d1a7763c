#pragma once

// Reads the member "faults" of a machine file.

#include "simulator/machine/machine.h"
#include "simulator/machine/memberTable.h"

namespace sim {

struct LibraryCall;

const LibraryCall& readLibraryCall(const Node& node);
Form<std::vector<FaultRule>> faultsForm();

} // namespace sim
