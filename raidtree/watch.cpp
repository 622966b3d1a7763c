#include "raidtree/watch.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace raidtree {

namespace {

constexpr int LOOK_MILLISECONDS = 5000;
constexpr int SETTLE_MILLISECONDS = 20; // what belongs together comes together

} // namespace

FileWatch::FileWatch(std::string path, int end)
    : path_(std::move(path)), fd_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)), end_(end) {
    if (fd_ == -1) throw InputError(std::string("changes of files cannot be watched: ") + strerror(errno));
    wait();
}

FileWatch::~FileWatch() {
    close(fd_);
}

bool FileWatch::wait() {
    const bool isFirst = folderWatch_ == -1;
    // Both again each time: another file or folder may bear the name by now. For what is the same this does nothing.
    const std::string folder = std::filesystem::path(path_).parent_path().string();
    folderWatch_ = inotify_add_watch(fd_, folder.empty() ? "." : folder.c_str(),
                                     IN_CREATE | IN_MOVED_TO | IN_DELETE | IN_MOVED_FROM);
    const int file = inotify_add_watch(fd_, path_.c_str(), IN_CLOSE_WRITE | IN_MODIFY | IN_ATTRIB);
    if (file != fileWatch_ && fileWatch_ != -1) inotify_rm_watch(fd_, fileWatch_);
    const bool isOther = file != fileWatch_;
    fileWatch_ = file;
    if (isFirst || isOther) return true;

    pollfd events[] = {{fd_, POLLIN, 0}, {end_, POLLIN, 0}}; // none is -1
    poll(events, 2, LOOK_MILLISECONDS);
    do {
        std::array<char, 4096> ignored{};
        while (read(fd_, ignored.data(), ignored.size()) > 0) {
        }
    } while (poll(events, 1, SETTLE_MILLISECONDS) > 0);
    return events[1].revents == 0;
}

void watchServer(const std::string& path, const std::function<void(const Server& before, const Server& now)>& changed,
                 const std::function<void(const std::string& why)>& failed) {
    FileWatch watch(path);
    std::string lastText;
    std::string lastError;
    std::optional<Server> last;
    for (;; watch.wait()) {
        try {
            std::string text = readTreeText(path);
            if (last && text == lastText && lastError.empty()) continue;
            Server now = parseServer(text, path);
            changed(last ? *last : Server{}, now);
            last = std::move(now);
            lastText = std::move(text);
            lastError.clear();
        } catch (const InputError& error) {
            if (lastError != error.what()) failed(error.what());
            lastError = error.what();
        }
    }
}

} // namespace raidtree
