#include "daemon/base/logs.h"

#include "daemon/base/pause.h"
#include "platform/host.h"

#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

std::atomic<int> g_logFd = -1;

namespace {

constexpr size_t LOG_LINE_SIZE = 128;
constexpr size_t RST_MESSAGE_SIZE = 512;
constexpr int RST_LOCK_ATTEMPTS = 3;

// Local time less UTC in seconds, as of the last line written outside a handler: a handler must not ask.
std::atomic<long> g_utcOffset = 0;
static_assert(std::atomic<long>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

tm toLocalTime(int64_t seconds) {
    const time_t time = seconds;
    tm local{};
    tzset(); // the zone may have been changed since
    if (localtime_r(&time, &local) != nullptr) g_utcOffset = local.tm_gmtoff;
    return local;
}

// "HH:MM<tab>" without the C library's calendar.
size_t formatClock(char* text) {
    constexpr int64_t day = int64_t{24} * 60 * 60;
    const int64_t second = ((hostTime().seconds + g_utcOffset) % day + day) % day;
    const int hour = int(second / 3600);
    const int minute = int(second / 60 % 60);
    const char clock[] = {char('0' + hour / 10),   char('0' + hour % 10),   ':',
                          char('0' + minute / 10), char('0' + minute % 10), '\t'};
    memcpy(text, clock, sizeof clock);
    return sizeof clock;
}

// A log that cannot be written has nowhere to say so.
bool writeLine(int fd, const char* text, size_t length) {
    return write(fd, text, length) == ssize_t(length);
}

int openRSTLog() {
    HostPathBuffer buffer;
    const char* path = hostPath(RST_LOG_FILE, buffer);
    struct stat status;
    const bool full = stat(path, &status) == 0 && status.st_size / 1024 >= RST_LOG_LIMIT_KIB;
    return open(path, O_WRONLY | O_CREAT | O_CLOEXEC | (full ? O_TRUNC : O_APPEND), 0666);
}

int lockRSTLog(int fd) {
    for (int attempt = 1; lockFirstByte(fd) != 0; ++attempt) {
        if (attempt == RST_LOCK_ATTEMPTS) return -1;
        pauseSeconds(1);
    }
    return 0;
}

} // namespace

void logMessage(const char* format, ...) {
    const int fd = g_logFd;
    if (fd == -1) return;
    toLocalTime(hostTime().seconds);
    char line[LOG_LINE_SIZE];
    const size_t prefix = formatClock(line);
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(line + prefix, sizeof line - prefix, format, arguments);
    va_end(arguments);
    writeLine(fd, line, strlen(line));
}

void noteLocalTime() {
    toLocalTime(hostTime().seconds);
}

int logRST(const char* format, ...) {
    deliverSignals();
    const HostTime now = hostTime();
    const tm local = toLocalTime(now.seconds);
    const int fd = openRSTLog();
    if (fd == -1) return -1;
    if (lockRSTLog(fd) != 0) {
        close(fd);
        return -1;
    }

    char message[RST_MESSAGE_SIZE];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    bool written = true;
    if (length > 0) {
        char line[RST_MESSAGE_SIZE + 64];
        const int lineLength = snprintf(line, sizeof line, "%4d/%02d/%02d %02d:%02d:%02d.%06ld\t%s\n",
                                        local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                                        local.tm_min, local.tm_sec, long{now.microseconds}, message);
        written = writeLine(fd, line, size_t(lineLength));
    }
    unlockFirstByte(fd);
    return close(fd) == 0 && written ? 0 : -1;
}

HandlerLine::HandlerLine() : length_(formatClock(text_)) {}

HandlerLine& HandlerLine::add(const char* text) {
    while (*text != '\0' && length_ < sizeof text_ - 1) text_[length_++] = *text++;
    return *this;
}

HandlerLine& HandlerLine::add(int number) {
    const auto result = std::to_chars(text_ + length_, text_ + sizeof text_ - 1, number);
    if (result.ec == std::errc()) length_ = size_t(result.ptr - text_);
    return *this;
}

void HandlerLine::write() const {
    if (const int fd = g_logFd; fd != -1) writeLine(fd, text_, length_);
}
