#pragma once

// The commands beside the words of words/words.h. Each adds itself to the program's commands; its work is the command's
// callback, which throws what main() reports.

#include <CLI/CLI.hpp>
#include <string>

namespace sim {

// Where the commands look.
struct Places {
    std::string root; // --root, BMC_ROOT, bmc
    std::string file; // --file: a machine file at rest

    std::string directory() const;
    std::string machine() const;
};

void addCheckCommand(CLI::App& command); // "check" and "schema"

// Both outlive the parsing.
void addFaultCommand(CLI::App& app, const Places& places);
void addLogCommand(CLI::App& app, const Places& places);
void addNowCommands(CLI::App& app, const Places& places); // "status" and "wait"
void addStepCommand(CLI::App& app, const Places& places);
void addPlayCommand(CLI::App& app); // where raidtree's library is built too

} // namespace sim
