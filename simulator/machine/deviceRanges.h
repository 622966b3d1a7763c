#pragma once

// Ranges of device ids in a machine file, and what follows from a controller's devices.

#include "simulator/machine/machine.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sim {

struct DeviceRange {
    uint16_t first;
    uint16_t last;
};
std::optional<DeviceRange> parseDeviceRange(std::string_view name); // "8..31"

// {n} is the number, {n-8} and the like (+ - * / %, one after the other from the left) what is reckoned from it,
// {n:4} has zeros in front. Braces with anything else stay as they are.
std::string fillIn(std::string_view text, uint16_t number);

// How many devices and enclosures a controller's lists hold.
size_t mostDevices();

Bytes listDevices(const std::map<uint16_t, Device>& devices);    // MR_PD_LIST
Bytes listEnclosures(const std::map<uint16_t, Device>& devices); // MR_ENCL_LIST

} // namespace sim
