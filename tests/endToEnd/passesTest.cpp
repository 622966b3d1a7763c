// What the daemon does minute by minute.

#include "tests/endToEnd/daemonProcess.h"

#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace {

using Passes = EndToEnd;

TEST_F(Passes, truncateTheLogBeyondItsLimit) {
    daemon.runToPass(1);
    const int log = daemon.open(DAEMON_LOG, O_WRONLY | O_APPEND);
    const auto grow = [&](size_t size) {
        const std::string text(size - daemon.read(DAEMON_LOG).size(), 'x');
        EXPECT_EQ(::write(log, text.data(), text.size()), ssize_t(text.size()));
    };
    grow(64000);
    daemon.runToPass(2);
    EXPECT_EQ(daemon.read(DAEMON_LOG).size(), 64000U);
    grow(64001);
    daemon.runToPass(3);
    EXPECT_EQ(daemon.read(DAEMON_LOG), "");
    grow(64001);
    daemon.remove(DAEMON_LOG);
    daemon.runToPass(4);
    EXPECT_FALSE(std::filesystem::exists(daemon.path(DAEMON_LOG))) << "is not made again";
    EXPECT_EQ(daemon.end(SIGTERM), 0);
    EXPECT_FALSE(std::filesystem::exists(daemon.path(DAEMON_LOG)));
}

TEST_F(Passes, traceIntoNothingButARegularFile) {
    daemon.write("victim", "untouched");
    daemon.makeFifo(TRACE);
    daemon.runToPass(1);
    daemon.remove(TRACE);
    std::filesystem::create_symlink(daemon.path("victim"), daemon.path(TRACE));
    daemon.describeName("second");
    daemon.runToPass(6);
    EXPECT_NE(daemon.read(TREE).find("<Name>second</Name>"), std::string::npos);
    EXPECT_EQ(daemon.read("victim"), "untouched");
}

} // namespace
