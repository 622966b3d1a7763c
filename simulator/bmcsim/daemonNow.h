#pragma once

// A daemon that runs below a root directory: where its time is, how it is moved on, and what its updates came to.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace sim {

constexpr int64_t UPDATE_SECONDS = 300; // from one update to the next

struct DaemonNow {    // simulator/now; docs/machine-file.md tells the members
    int64_t time = 0; // of this moment
    int64_t nextUpdate = 0;
    int64_t start = 0;
    double speed = 1;
    bool isTaken = true;
    bool isStanding = false;
    pid_t pid = 0;
    std::filesystem::file_time_type written;
};
std::optional<DaemonNow> readNow(const std::string& root); // nothing: no daemon runs there

// "in 3 s (machine time 3 min 12 s)"; the machine time where it is another.
std::string nextUpdateText(const DaemonNow& now);

// Lets a standing clock go on to `second` after the daemon's start. Throws std::runtime_error.
void moveClock(const std::string& root, const DaemonNow& now, int64_t second);

// The log of updates, read on from where it was left.
class UpdateLog {
  public:
    explicit UpdateLog(const std::string& root) : path_(root + "/var/LogFile.RST") {}
    // The results of the updates that were added; -1: it has none yet, or the controllers could not be read.
    std::vector<int> added();

  private:
    std::string path_;
    size_t size_ = 0;
};
const char* resultText(int result);

} // namespace sim
