#pragma once

// Reads a machine file.

#include "simulator/machine/machine.h"
#include "simulator/machine/mistakes.h"
#include "simulator/machine/timeline.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

struct MachineReading {
    std::unique_ptr<Machine> machine;   // at the start; NULL: there are mistakes
    std::unique_ptr<Timeline> timeline; // NULL: it stays so
    std::vector<Mistake> mistakes;      // in the order of the file
};
MachineReading readMachine(std::string_view given);

// What a machine file may be, in JSON Schema, draft 7.
std::string machineSchema();

} // namespace sim
