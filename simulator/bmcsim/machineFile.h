#pragma once

// A machine file on disk.

#include <nlohmann/json.hpp>
#include <string>

namespace sim {

// Throws a std::runtime_error that names the file and what is wrong with it.
nlohmann::ordered_json loadMachine(const std::string& path);

// By rename, in the user's order of members; the file as it was stays beside it with ".old" behind its name. A
// symbolic link stays one: its target is replaced.
void storeMachine(const std::string& path, const nlohmann::ordered_json& machine);

} // namespace sim
