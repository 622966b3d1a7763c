#include "raidtree/updateLog.h"

#include "raidtree/server.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace raidtree {

namespace {

constexpr int64_t LONGEST_UPDATE_SECONDS = 60;
constexpr off_t TAIL = off_t{256} << 10; // the daemon begins its log anew at half of this

constexpr std::string_view START = "updateRAIDStorageTree(): START:", END = "updateRAIDStorageTree(): END";
constexpr std::string_view RESULTS[] = {"ret=", "END with ERROR= ", "END with '"}; // the number follows

constexpr int NOT_READ = 4;

std::optional<int> resultOf(std::string_view line) {
    for (const std::string_view mark : RESULTS) {
        const size_t at = line.find(mark);
        if (at == std::string_view::npos) continue;
        const std::string_view digits = line.substr(at + mark.size());
        int result = 0;
        if (std::from_chars(digits.data(), digits.data() + digits.size(), result).ec == std::errc()) return result;
    }
    return std::nullopt;
}

} // namespace

std::optional<int> lastResult(const std::string& text, bool mayBeAtWork) {
    std::string_view rest = text;
    bool hasBegun = false;
    std::optional<int> ended; // the block that is being read
    std::optional<int> before;
    bool anyBefore = false;
    for (size_t end = 0; end != std::string_view::npos; rest.remove_prefix(std::min(end + 1, rest.size()))) {
        end = rest.find('\n');
        const std::string_view line = rest.substr(0, end);
        if (line.find(START) != std::string_view::npos) {
            if (hasBegun || ended) {
                before = ended ? ended : NOT_READ;
                anyBefore = true;
            }
            hasBegun = true;
            ended.reset();
        } else if (line.find(END) != std::string_view::npos) {
            if (const std::optional<int> result = resultOf(line)) ended = result;
        }
        if (end == std::string_view::npos) break;
    }
    if (ended) return ended;
    if (mayBeAtWork) return anyBefore ? before : std::nullopt;
    return NOT_READ;
}

Update readUpdateLog(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    struct stat entry {};
    std::string text;
    bool isRead = fd != -1 && fstat(fd, &entry) == 0;
    if (isRead && !S_ISREG(entry.st_mode)) {
        isRead = false;
        errno = EINVAL;
    }
    while (isRead) {
        char block[16384];
        const off_t from = std::max<off_t>(0, entry.st_size - TAIL) + static_cast<off_t>(text.size());
        const ssize_t count = pread(fd, block, sizeof block, from);
        if (count <= 0 || text.size() > static_cast<size_t>(2 * TAIL)) {
            isRead = count >= 0;
            break;
        }
        text.append(block, static_cast<size_t>(count));
    }
    const int error = errno;
    if (fd != -1) close(fd);
    if (!isRead) throw InputError(path + ": " + strerror(error));

    Update update;
    update.log = path;
    update.seconds = entry.st_mtime;
    update.ageSeconds = std::max<int64_t>(0, time(nullptr) - entry.st_mtime);
    update.result = lastResult(text, update.ageSeconds < LONGEST_UPDATE_SECONDS);
    return update;
}

std::string resultText(const std::optional<int>& result) {
    constexpr const char* TEXTS[] = {"written", "nothing new", "no document", "not written", "controllers not read"};
    if (!result) return "the first one is at work";
    if (*result >= 0 && *result < static_cast<int>(std::size(TEXTS))) return TEXTS[*result];
    return "result " + std::to_string(*result);
}

std::string ageText(int64_t seconds) {
    if (seconds < 120) return std::to_string(seconds) + " s";
    if (seconds < 7200) return std::to_string(seconds / 60) + " min";
    if (seconds < 172800) return std::to_string(seconds / 3600) + " h";
    return std::to_string(seconds / 86400) + " days";
}

std::string updateText(const Update& update) {
    return resultText(update.result) + ", " + ageText(update.ageSeconds) + " ago";
}

} // namespace raidtree
