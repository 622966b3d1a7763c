#pragma once

// A record of calls (docs/replay.md), read into memory.

#include "simulator/machine/machine.h"

#include <istream>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace sim {

using Json = nlohmann::ordered_json; // members keep their order

struct ReplayedCall {
    int64_t time; // seconds since 1970
    std::string name;
    Json arguments; // an array
    Json result;
    std::optional<Bytes> output;
    Json values;        // of a parameter; null: none
    bool hangs = false; // it met a fault and was never answered
};

// What is wrong with a line; its text names it.
struct BadRecord : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A last line without its end was being written when the record was taken, and is left out.
std::vector<ReplayedCall> readRecordFile(std::istream& record);

Bytes bytesOfHex(const std::string& hex); // throws BadRecord
std::string hexOf(const uint8_t* bytes, size_t size);

} // namespace sim
