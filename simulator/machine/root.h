#pragma once

// The private root directory BMC_ROOT, and the simulator's own files in its directory "simulator".

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace sim {

// Finds the root and lays out its directories at the first call; ends the process with status 2 when there
// is no usable root. Afterwards safe in signal handlers.
std::string_view rootDirectory();

// `fixedPath` below the root, in `buffer`; an empty text when it does not fit. As safe as rootDirectory().
const char* pathBelowRoot(const char* fixedPath, char* buffer, size_t size);

std::string simulatorFile(std::string_view name);

// One write at the end of a file of the simulator.
void appendToSimulatorFile(std::string_view name, std::string_view text);

// The whole file or none of it, by rename; false when it cannot be written.
bool replaceFile(const std::string& path, std::string_view text);

// The beginning of the file anew, in one piece; makes it when it is missing. Allocates nothing.
bool overwriteFile(const char* path, std::string_view text);

// Ends the process with status 2: it was started with settings that cannot be used.
[[noreturn]] void refuseToStart(const std::string& text);

// Which file a path named when it was looked at, and in which state; equal values mean no change.
struct FileIdentity {
    ino_t inode = 0; // 0: no file
    off_t size = 0;
    int64_t modified = 0; // nanoseconds

    bool operator==(const FileIdentity&) const = default;
};
FileIdentity identityOf(const struct stat& status);
FileIdentity identityOf(const std::string& path);

// Keeps a thread from being cancelled while it holds the simulator's locks and descriptors.
class NotCancelled {
  public:
    NotCancelled();
    ~NotCancelled();
    NotCancelled(const NotCancelled&) = delete;
    NotCancelled& operator=(const NotCancelled&) = delete;

  private:
    int previous_ = 0;
};

} // namespace sim
