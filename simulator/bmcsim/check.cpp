#include "simulator/bmcsim/commands.h"
#include "simulator/machine/disagreements.h"
#include "simulator/machine/machineReader.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>

namespace sim {
namespace {

constexpr int FAULTY_MACHINE = 3;

// False: something is wrong, and standard output says what.
bool checkFile(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    std::vector<Mistake> mistakes;
    if (!stream) {
        mistakes.push_back({{}, strerror(errno)});
    } else {
        MachineReading reading = readMachine(text);
        mistakes = reading.machine == nullptr ? reading.mistakes : findDisagreements(*reading.machine, text);
    }
    for (const std::string& line : describeMistakes(path, mistakes, MOST_MISTAKES)) printf("%s\n", line.c_str());
    return mistakes.empty();
}

} // namespace

void addCheckCommand(CLI::App& command) {
    const auto files = std::make_shared<std::vector<std::string>>();
    CLI::App* check =
        command.add_subcommand("check", "say what is wrong with machine files: bmcsim check machine.json");
    check->footer(
        "One line for each mistake: FILE:LINE:COLUMN: POINTER: what is wrong. Besides what the daemon refuses,\n"
        "counts beyond their list and lists that disagree. Exit status 0: no mistake, 3: mistakes.");
    check->add_option("FILE", *files, "machine files")->required();
    check->callback([files] {
        bool areGood = true;
        for (const std::string& file : *files) areGood = checkFile(file) && areGood;
        if (!areGood) throw CLI::RuntimeError(FAULTY_MACHINE);
    });
    CLI::App* schema = command.add_subcommand("schema", "print the JSON Schema of machine files");
    schema->footer("It is docs/machine-file.schema.json, which a machine file may name in \"$schema\" for its editor.");
    schema->callback([] { fputs(machineSchema().c_str(), stdout); });
}

} // namespace sim
