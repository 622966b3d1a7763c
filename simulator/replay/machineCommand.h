#pragma once

// The command's word "machine".

namespace CLI {
class App;
}

namespace sim {

// bmcsim machine CALLS.jsonl [--anonymize]: the machine file on standard output, what it lacks on standard error.
void addMachineCommand(CLI::App& command);

} // namespace sim
