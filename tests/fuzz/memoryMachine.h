#pragma once

// The daemon's host and a described machine, without the machine file: both stand in memory. Targets that link
// memoryMachine.cpp put a machine here and call the daemon, which asks the stand-in libraries, which ask this.

#include "simulator/machine/machine.h"
#include "tests/fuzz/fuzz.h"

#include <map>
#include <string>
#include <vector>

struct MemoryMachine {
    sim::Machine machine; // but for its controllers
    sim::Controllers controllers;
    std::map<uint32_t, sim::FaultKind> faults; // by the number of the call
    bool lastFaultStays = false;               // all calls behind it fail in the same way
    uint32_t calls = 0;
    int64_t now = 1'767'225'600; // seconds since 1970; 0: nothing counts as done before
    std::vector<int> signalled;  // process ids
};
extern MemoryMachine g_machine;

// Empties the machine at the end of an input: what is kept beyond it looks like a leak.
struct MachineOfOneInput {
    MachineOfOneInput() = default;
    ~MachineOfOneInput() { g_machine = {}; }
    MachineOfOneInput(const MachineOfOneInput&) = delete;
    MachineOfOneInput& operator=(const MachineOfOneInput&) = delete;
};

// The first bytes of an input: how many calls go wrong, of each how many are well before it, and its kind.
void takeFaults(Input& input);

// The empty temporary directory that takes the place of "/"; removed at the end. The RST log is not kept.
const std::string& fuzzRoot();
std::string readFileBelow(const std::string& path);
void writeFileBelow(const std::string& path, std::string_view text);
