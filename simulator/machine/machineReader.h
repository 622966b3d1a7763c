#pragma once

// Reads a machine file.

#include "simulator/machine/machine.h"
#include "simulator/machine/timeline.h"

#include <memory>
#include <string>
#include <string_view>

namespace sim {

struct MachineReading {
    std::unique_ptr<Machine> machine;   // at the start; NULL: `fault` says what does not fit, and where
    std::unique_ptr<Timeline> timeline; // NULL: it stays so
    std::string fault;
};
MachineReading readMachine(std::string_view text);

} // namespace sim
