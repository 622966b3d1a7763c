#pragma once

// What becomes of a described machine over time: the member "timeline" of its file. The machine is a function of the
// file and of the time: a file that is read again is played from its start.

#include "simulator/machine/machine.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sim {

struct Node;
struct TimelineStep;

nlohmann::ordered_json timelineSchema();

// Reads a whole machine file, its timeline passed over; throws its first mistake as DoesNotFit.
using MachineOf = std::function<std::unique_ptr<Machine>(const nlohmann::ordered_json&)>;

class Timeline {
  public:
    // `file` is a whole machine file with the member. All steps are tried: what does not fit is collected.
    Timeline(const Node& file, const Node& member, MachineOf machineOf);
    ~Timeline();
    Timeline(const Timeline&) = delete;
    Timeline& operator=(const Timeline&) = delete;

    // Seconds after the daemon's start; nothing: the machine stays as it is from here on.
    std::optional<int64_t> next() const;

    // The machine after all that is due until `second`.
    std::unique_ptr<Machine> play(int64_t second);

    // Each moment with what is done then, in words, in the order in which it is played.
    std::vector<std::pair<int64_t, std::string>> plan() const;

  private:
    struct Moment {
        int64_t at;
        size_t step;
    };

    static void apply(nlohmann::ordered_json& file, const TimelineStep& step);
    void tryAll() const;

    std::vector<TimelineStep> steps_;
    std::vector<Moment> moments_; // in the order of time, equal ones in that of the file
    size_t played_ = 0;
    std::unique_ptr<nlohmann::ordered_json> file_; // as it is after what has been played
    const MachineOf machineOf_;
};

} // namespace sim
