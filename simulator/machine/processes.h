#pragma once

// The processes that the described machine runs, as its "/proc" shows them.

#include "simulator/machine/machine.h"

namespace sim {

// Lays out BMC_ROOT/proc/<pid>/cmdline for each, and takes away those of an earlier description. What others
// have put there stays.
void layOutProcesses(const Machine& machine);

// Whether the file simulator/adopted has the id: one a line, of processes of this computer that belong to the described
// machine without standing in its file.
bool isAdopted(int32_t pid);

} // namespace sim
