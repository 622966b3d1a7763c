#pragma once

// The daemon log and the RST log.

#include <atomic>
#include <cstddef>

inline constexpr char DAEMON_LOG_FILE[] = "/var/LogFile.MIRA_update";
inline constexpr char RST_LOG_FILE[] = "/var/LogFile.RST";
constexpr long RST_LOG_LIMIT_KIB = 128; // the file is started afresh at this size

// Descriptor of the daemon log, -1: closed, nothing is written.
extern std::atomic<int> g_logFd;

// Writes "HH:MM<tab>message", cut at 127 characters, in one call. The newline is the message's own.
[[gnu::format(printf, 1, 2)]] void logMessage(const char* format, ...);

// Writes "YYYY/MM/DD HH:MM:SS.uuuuuu<tab>message<newline>", the message cut at 511 characters, under the file's
// lock. 0, or -1 when the file could not be opened, locked, written or closed: the line is lost.
[[gnu::format(printf, 1, 2)]] int logRST(const char* format, ...);

// Once a pass: how local time differs from UTC, for the handlers, which must not ask.
void noteLocalTime();

// A line of the daemon log put together by a signal handler that may have interrupted anything.
class HandlerLine {
  public:
    HandlerLine();
    HandlerLine& add(const char* text);
    HandlerLine& add(int number);
    void write() const;

  private:
    char text_[128];
    size_t length_;
};
