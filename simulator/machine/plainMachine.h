#pragma once

// A machine file in its plain form: each device by itself, codes as numbers, nothing for people. Who changes a machine
// works on that form, and what changed is carried over into the file as it was written.

#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace sim {

// A device, put together, and the members of "devices" that it comes from, the strongest last.
// NOLINTNEXTLINE(bugprone-exception-escape): moving JSON throws nothing, though it does not say so
struct DeviceSources {
    nlohmann::ordered_json plain;
    std::vector<std::string> names;
};

// The devices of a controller that has ranges, by id. Ranges come first, in the order of the file, then what is said of
// single devices: that wins, null takes the device away.
std::map<uint16_t, DeviceSources> putTogether(const nlohmann::ordered_json& devices);

bool hasRanges(const nlohmann::ordered_json& devices);

nlohmann::ordered_json plainMachine(nlohmann::ordered_json machine);

// Makes the changes from one plain form to another in the file that the first one comes from.
void carryOver(nlohmann::ordered_json& machine, const nlohmann::ordered_json& before,
               const nlohmann::ordered_json& after);

} // namespace sim
