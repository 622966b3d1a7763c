#pragma once

// A check for a monitoring system: one line with performance data, then details; the exit status tells the state.

#include "raidtree/render.h"

#include <cstdint>
#include <optional>
#include <string>

namespace raidtree {

enum CheckState : int { CHECK_OK = 0, CHECK_WARNING = 1, CHECK_CRITICAL = 2, CHECK_UNKNOWN = 3 };

struct CheckOptions {
    std::optional<int64_t> maxUpdateAge;  // seconds; none: the log of updates is not asked
    std::optional<size_t> expectedDrives; // a drive that was pulled leaves the tree
    std::optional<Server> baseline;       // the tree as it has to be: what is gone since is missing
};

struct CheckResult {
    CheckState state;
    std::string text;
};

CheckResult checkServer(const Report& report, const States& states, const CheckOptions& options);

// What cannot be judged.
CheckResult checkUnknown(const std::string& why);

} // namespace raidtree
