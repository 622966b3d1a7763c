#include "daemon/base/logs.h"

#include "daemon/logRotation.h"
#include "platform/host.h"
#include "tests/daemon/base/outputs.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <regex>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// What is written to the daemon log meanwhile, without the time.
std::string loggedBy(const std::function<void()>& act) {
    const std::string file = below(DAEMON_LOG_FILE);
    g_logFd = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    act();
    close(g_logFd.exchange(-1));
    const std::string text = textOf(file);
    EXPECT_TRUE(std::regex_match(text.substr(0, 6), std::regex("\\d\\d:\\d\\d\t"))) << text;
    return text.substr(6);
}

TEST(DaemonLog, cutsALineAt127Characters) {
    for (const size_t length : {0U, 119U, 120U, 121U, 200U}) {
        const std::string message = std::string(length, 'x') + "\n";
        EXPECT_EQ(loggedBy([&] { logMessage("%s", message.c_str()); }), message.substr(0, 121));
        EXPECT_EQ(loggedBy([&] { HandlerLine().add(message.c_str()).write(); }), message.substr(0, 121));
        EXPECT_EQ(loggedBy([&] { HandlerLine().add(message.c_str()).add(-2147483647 - 1).write(); }),
                  length < 111 ? message + "-2147483648" : message.substr(0, 121))
            << "a number that does not fit is left out";
    }
}

TEST(RSTLog, appendsWholeLinesAndStartsAfreshAtItsLimit) {
    const std::string file = below(RST_LOG_FILE);
    const std::regex time(R"(^\d{4}/\d\d/\d\d \d\d:\d\d:\d\d\.\d{6}\t)");
    const struct {
        size_t size; // of the log before
        std::string message;
        bool kept;
        std::string written; // behind the time
    } rows[] = {{0, "first", true, "first\n"},
                {131071, "appended", true, "appended\n"},
                {131072, "fresh", false, "fresh\n"},
                {200000, "fresh", false, "fresh\n"},
                {10, "with its newline\n", true, "with its newline\n\n"},
                {10, std::string(600, 'x'), true, std::string(511, 'x') + "\n"},
                {10, "", true, ""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.message);
        const std::string before(row.size, 'o');
        std::ofstream(file) << before;
        EXPECT_EQ(logRST("%s", row.message.c_str()), 0);
        const std::string text = textOf(file);
        const size_t kept = row.kept ? row.size : 0;
        EXPECT_EQ(text.substr(0, kept), before.substr(0, kept));
        EXPECT_EQ(std::regex_replace(text.substr(kept), time, ""), row.written);
        EXPECT_EQ(std::regex_search(text.substr(kept), time), !row.written.empty());
    }
}

TEST(RSTLog, isMadeWhenMissingAndSkippedWhenItCannotBe) {
    const std::string file = below(RST_LOG_FILE);
    std::filesystem::remove(file);
    EXPECT_EQ(logRST("made"), 0);
    EXPECT_TRUE(textOf(file).ends_with("\tmade\n"));
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_NE(logRST("skipped"), 0);
    std::filesystem::remove(file);
}

// Nobody can lock a FIFO: it tries three times, a second apart.
TEST(RSTLog, waitsForItsLockTwice) {
    const std::string file = below(RST_LOG_FILE);
    std::filesystem::remove(file);
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    const int reader = open(file.c_str(), O_RDWR | O_CLOEXEC);
    const auto seconds = [] { // the clock of the other tests stands
        const HostTime before = hostTime();
        return logRST("skipped") == -1 ? int(hostTime().seconds - before.seconds) : -1;
    };
    EXPECT_EXIT(_exit(seconds()), testing::ExitedWithCode(2), "");
    close(reader);
    std::filesystem::remove(file);
}

TEST(RSTLog, hasTheTimeOfAZoneThatWasChanged) {
    const std::string zone = getenv("TZ") != nullptr ? getenv("TZ") : "";
    std::string hours[2];
    for (const char* changed : {"ABC-3", "ABC-5"}) {
        setenv("TZ", changed, 1);
        std::filesystem::remove(below(RST_LOG_FILE));
        EXPECT_EQ(logRST("%s", changed), 0);
        hours[changed[4] == '5'] = textOf(below(RST_LOG_FILE)).substr(11, 2);
    }
    EXPECT_EQ((std::stoi(hours[0]) + 2) % 24, std::stoi(hours[1]));
    zone.empty() ? unsetenv("TZ") : setenv("TZ", zone.c_str(), 1);
}

TEST(Logs, startAfreshBeyond4GiB) {
    const std::string rstLog = below(RST_LOG_FILE);
    const std::string daemonLog = below(DAEMON_LOG_FILE);
    for (const std::string& file : {rstLog, daemonLog}) {
        std::ofstream(file).close();
        std::filesystem::resize_file(file, (uintmax_t{4} << 30) + 1);
    }
    EXPECT_EQ(logRST("fresh"), 0);
    EXPECT_LT(std::filesystem::file_size(rstLog), 100U);
    openLogFile();
    rotateLogFile();
    EXPECT_EQ(std::filesystem::file_size(daemonLog), 0U);
    close(g_logFd.exchange(-1));
}

} // namespace
