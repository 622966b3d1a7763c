#include "raidtree/serve/follower.h"

#include "raidtree/watch.h"

#include <sys/eventfd.h>
#include <unistd.h>

namespace raidtree {

Follower::Follower(const std::string& path, std::function<Publication()> look)
    : look_(std::move(look)), end_(eventfd(0, EFD_CLOEXEC)), latest_(std::make_shared<Publication>(look_())),
      thread_([this, path] { follow(path); }) {}

Follower::~Follower() {
    eventfd_write(end_, 1);
    thread_.join();
    close(end_);
}

std::shared_ptr<const Publication> Follower::latest() const {
    const std::lock_guard guard(mutex_);
    return latest_;
}

void Follower::follow(const std::string& path) {
    FileWatch watch(path, end_);
    while (watch.wait()) {
        auto now = std::make_shared<const Publication>(look_());
        const std::lock_guard guard(mutex_);
        latest_ = std::move(now);
    }
}

} // namespace raidtree
