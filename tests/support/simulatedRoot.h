#pragma once

// What tests in this process share. Their root directory: one temporary directory for the whole process, as the
// simulator reads BMC_ROOT once, removed at its end.

#include <nlohmann/json_fwd.hpp>
#include <string>

// Sets BMC_ROOT at the first call.
const std::string& simulatedRoot();

// Puts a file in place: a new inode, so that the change is noticed whatever the clock shows.
void placeFile(const std::string& file, const std::string& text);

// Puts the machine file in place and lets the library take the controllers from it.
void describeMachine(const nlohmann::json& machine);

// The JSON file of the same name beside a test's source: cases of this for thisTest.cpp.
nlohmann::json casesOf(const char* source);
