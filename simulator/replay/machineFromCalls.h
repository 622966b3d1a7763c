#pragma once

// A machine file out of a record of calls.

#include "simulator/replay/recordFile.h"

#include <istream>
#include <string>
#include <vector>

namespace sim {

struct MachineFromCalls { // NOLINT(bugprone-exception-escape): moving JSON throws nothing
    Json machine;
    std::vector<std::string> neverMade; // functions that the record does not have
    std::vector<std::string> notes;     // what the machine file cannot say
};

// Throws BadRecord. Anonymous: serial numbers, names, addresses and host texts are replaced (anonymize.h).
MachineFromCalls machineFromCalls(std::istream& record, bool anonymous = false);

} // namespace sim
