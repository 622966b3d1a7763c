#pragma once

// A machine file on disk.

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

namespace sim {

// Throws a std::runtime_error that names the file and what is wrong with it.
nlohmann::ordered_json loadMachine(const std::string& path);

// What was asked for would make the file a faulty one.
class WrongChange : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// By rename, in the user's order of members; the file as it was stays beside it with ".old" behind its name. A
// symbolic link stays one: its target is replaced. Throws std::runtime_error, and WrongChange before it has done
// anything.
void storeMachine(const std::string& path, const nlohmann::ordered_json& machine);

} // namespace sim
