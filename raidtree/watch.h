#pragma once

// Each change of the tree as it is published.

#include "raidtree/server.h"

#include <functional>
#include <optional>
#include <string>

namespace raidtree {

// Waits for the file to be written, truncated, removed or replaced; what the kernel does not tell (another link, a
// network's file system) is looked for every few seconds.
class FileWatch {
  public:
    explicit FileWatch(std::string path, int end = -1);
    ~FileWatch();
    FileWatch(const FileWatch&) = delete;
    FileWatch& operator=(const FileWatch&) = delete;

    bool wait(); // false: `end` can be read

  private:
    std::string path_;
    int fd_;
    int end_;
    int fileWatch_ = -1;
    int folderWatch_ = -1;
};

// Reads the tree again and again, for ever: `changed` is told of each that reads otherwise than the one before,
// `failed` of each new reason why it cannot be read.
void watchServer(const std::string& path, const std::function<void(const Server& before, const Server& now)>& changed,
                 const std::function<void(const std::string& why)>& failed);

} // namespace raidtree
