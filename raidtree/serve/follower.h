#pragma once

// Follows the tree and its log in a thread of its own.

#include "raidtree/serve/answers.h"

#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace raidtree {

class Follower {
  public:
    // `look` reads and publishes; it is called at once, after each change of the file and every few seconds.
    Follower(const std::string& path, std::function<Publication()> look);
    ~Follower();
    Follower(const Follower&) = delete;
    Follower& operator=(const Follower&) = delete;

    std::shared_ptr<const Publication> latest() const;

  private:
    void follow(const std::string& path);

    std::function<Publication()> look_;
    int end_; // readable: it is over
    mutable std::mutex mutex_;
    std::shared_ptr<const Publication> latest_;
    std::thread thread_;
};

} // namespace raidtree
