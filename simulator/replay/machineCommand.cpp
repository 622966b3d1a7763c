#include "simulator/replay/machineCommand.h"

#include "simulator/replay/machineFromCalls.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>

namespace sim {
namespace {

constexpr int BAD_RECORD = 3;

struct Options {
    std::string record;
    bool anonymous = false;
};

[[noreturn]] void refuse(const std::string& text) {
    std::cerr << text << '\n';
    throw CLI::RuntimeError(BAD_RECORD);
}

void printMachine(const Options& options) {
    std::ifstream file;
    const bool isInput = options.record == "-";
    if (!isInput) file.open(options.record, std::ios::binary);
    if (!isInput && !file) refuse(options.record + ": " + strerror(errno));
    MachineFromCalls made;
    try {
        made = machineFromCalls(isInput ? std::cin : file, options.anonymous);
    } catch (const BadRecord& error) {
        refuse(options.record + ": " + error.what());
    }
    std::cout << made.machine.dump(2) << '\n' << std::flush;
    if (!std::cout) refuse("the machine file cannot be written");
    for (const std::string& note : made.notes) std::cerr << "note: " << note << '\n';
    if (!made.neverMade.empty()) std::cerr << "calls that were never made, whose answers nobody knows:\n";
    for (const std::string& name : made.neverMade) std::cerr << "  " << name << '\n';
}

} // namespace

void addMachineCommand(CLI::App& command) {
    const auto options = std::make_shared<Options>();
    CLI::App* machine = command.add_subcommand("machine", "make a machine file out of a record of calls");
    machine->footer("Example: bmcsim machine bmc/simulator/calls.jsonl > machine.json\n"
                    "The calls that the record does not have are listed on standard error.");
    machine->add_option("RECORD", options->record, "the record (calls.jsonl); -: standard input")->required();
    machine->add_flag("--anonymize", options->anonymous,
                      "replace serial numbers, names, addresses and host texts by others of the same length");
    machine->callback([options] { printMachine(*options); });
}

} // namespace sim
