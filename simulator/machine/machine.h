#pragma once

// The described machine, as the stand-in libraries read it.

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

using Bytes = std::vector<uint8_t>;
using Records = std::map<std::string, Bytes, std::less<>>; // by name; an absent one cannot be read

struct Device {
    Records records;
    std::map<uint8_t, std::optional<Bytes>> pages; // nothing: the page is valid but cannot be read
    std::optional<uint32_t> sasRpm;
    std::optional<uint32_t> ataRpm;
    std::optional<int32_t> temperature;
    std::vector<std::optional<std::array<float, 4>>> thresholds; // by sensor
};

struct Controller {
    uint32_t id = 0;
    std::optional<int32_t> number;
    Records records;
    std::map<uint16_t, Device> devices;
    std::map<uint8_t, Records> logicalDrives;
    std::optional<int32_t> batteryStatus;
    std::optional<int32_t> virtualDiskStatus;
};
using Controllers = std::vector<Controller>;

struct ProcessMonitor {
    int32_t registerResult = 0;
    int32_t registerExtResult = 0;
    int32_t deregisterResult = 0;
};

struct Machine {
    std::shared_ptr<const Controllers> controllers; // NULL: their list cannot be read
    std::map<uint16_t, Bytes> configSpace;
    std::optional<Bytes> agentsAnswer; // nothing: no agent interface
    ProcessMonitor processMonitor;
};

// The newest good description; a change of the file is seen at once. Never NULL.
std::shared_ptr<const Machine> currentMachine();

// The controllers change hands only here, so that all that is read until the next call comes from one
// description. NULL: the list cannot be read.
std::shared_ptr<const Controllers> takeControllers();

// Of the controllers taken last; NULL: unknown.
std::shared_ptr<const Controller> findController(uint32_t id);

// As far as both go; the rest of the buffer stays as it is. Returns the number of bytes copied.
size_t copyRecord(const Bytes& record, void* buffer, size_t length);

} // namespace sim
