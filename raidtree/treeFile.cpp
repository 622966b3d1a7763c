// The file as its writer wants it read: see readServer.

#include "raidtree/server.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace raidtree {

namespace {

constexpr size_t LARGEST = size_t{32} << 20; // ten times the tree of 8 x 240 drives
constexpr std::chrono::milliseconds PATIENCE(500), PAUSE(10);
constexpr std::string_view LAST_LINE = "</QPRaidStorageDeviceTree>";

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
    throw InputError((path == "-" ? "standard input" : path) + ": " + why);
}

struct OpenFile {
    explicit OpenFile(const std::string& path)
        : fd(path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {
        if (fd == -1) refuse(path, strerror(errno));
        if (struct stat entry{}; fstat(fd, &entry) == 0) {
            if (S_ISDIR(entry.st_mode)) fail(path, "a directory");
            isFile = S_ISREG(entry.st_mode);
            if (isFile && static_cast<uint64_t>(entry.st_size) > LARGEST) fail(path, "larger than 32 MiB");
            size = isFile ? static_cast<size_t>(entry.st_size) : 0;
        }
        if (!isFile) fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK); // a pipe is waited for
    }
    ~OpenFile() { close(fd); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    [[noreturn]] void fail(const std::string& path, const std::string& why) const {
        close(fd);
        refuse(path, why);
    }

    // A lock for reading meets the writer's lockf, needs no permission to write and belongs to this descriptor alone.
    // Closing lets it go.
    bool lock() const {
        struct flock range {};
        range.l_type = F_RDLCK;
        range.l_whence = SEEK_SET;
        range.l_len = 1;
        return fcntl(fd, F_OFD_SETLK, &range) == 0 || (errno != EAGAIN && errno != EACCES);
    }

    int fd;
    bool isFile = false;
    size_t size = 0; // as far as it is known
};

std::string readAll(const OpenFile& file, const std::string& path) {
    std::string text;
    for (size_t length = 0;; text.resize(length)) {
        text.resize(length == 0 ? file.size + 4096 : length + 4096 + length / 2);
        const ssize_t count = read(file.fd, text.data() + length, text.size() - length);
        if (count == -1 && errno == EINTR) continue;
        if (count == -1) refuse(path, strerror(errno));
        length += static_cast<size_t>(count);
        if (length > LARGEST) refuse(path, "larger than 32 MiB");
        if (count == 0) {
            text.resize(length);
            return text;
        }
    }
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view BLANKS = " \t\r\n";
    const size_t first = text.find_first_not_of(BLANKS);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(BLANKS) + 1 - first);
}

// Cut off between truncation and the last byte? Another document ends in another way, which its reader will tell.
bool isTorn(std::string_view text) {
    return trimmed(text).empty() || (text.find("<QPRaidStorageDeviceTree") != std::string_view::npos &&
                                     !trimmed(text).ends_with(LAST_LINE) && !trimmed(text).ends_with("/>"));
}

} // namespace

std::string readTreeText(const std::string& path) {
    const auto end = std::chrono::steady_clock::now() + PATIENCE;
    const char* trouble = nullptr;
    do {
        if (trouble != nullptr) std::this_thread::sleep_for(PAUSE);
        const OpenFile file(path);
        if (file.isFile && !file.lock()) {
            trouble = "locked by another process for half a second";
            continue;
        }
        std::string text = readAll(file, path);
        if (!isTorn(text)) return text;
        trouble = trimmed(text).empty() ? "empty; no update has written it"
                                        : "not whole; its last update was cut off, or the disk is full";
        if (!file.isFile) break;
    } while (std::chrono::steady_clock::now() < end);
    refuse(path, trouble);
}

} // namespace raidtree
