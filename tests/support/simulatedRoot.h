#pragma once

// The private root directory of a test run: one temporary directory for the whole process, as the simulator reads
// BMC_ROOT once, removed at its end.

#include <nlohmann/json_fwd.hpp>
#include <string>

// Sets BMC_ROOT at the first call.
const std::string& simulatedRoot();

// Puts the machine file in place and lets the library take the controllers from it.
void describeMachine(const nlohmann::json& machine);
