// What the daemon does minute by minute.

#include "tests/endToEnd/daemonProcess.h"

#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <unistd.h>

namespace {

using Passes = EndToEnd;
// But for that of the limit file, which a standing clock looks at every now and then.
size_t countDescriptors(const DaemonProcess& daemon) {
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(daemon.pid()) + "/fd")) {
        std::error_code closed;
        const std::filesystem::path file = std::filesystem::read_symlink(entry, closed);
        if (!closed && file.filename() != "until") ++count;
    }
    return count;
}

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

// Each line is tried for, given up, and left out; the virtual clock shows the waiting.
TEST_F(Passes, goOnWithoutTheRSTLogsLock) {
    daemon.makeFifo(RST_LOG); // cannot be locked
    const int reader = daemon.open(RST_LOG, O_RDWR | O_NONBLOCK);
    daemon.runToPass(1);
    daemon.runToPass(2);
    EXPECT_NE(daemon.read(TREE), "");
    char byte = 0;
    EXPECT_EQ(::read(reader, &byte, 1), -1) << "a line was written";
    EXPECT_GT(daemon.calls("updateSystemStatus").at(0).time, 60);
}

TEST_F(Passes, leaveNothingBehind) {
    const nlohmann::json described = nlohmann::json::parse(fileText(MACHINES "/two-controllers.json"));
    daemon.describe(described);
    daemon.runToPass(6);
    const size_t descriptors = countDescriptors(daemon);
    const std::string threads = daemon.statusField("Threads");
    for (int pass = 11; pass <= 106; pass += 5) { // equal, failed, changed, switched off
        daemon.describe(described);
        if (pass % 20 == 1) daemon.describe({{"controllers", nullptr}});
        if (pass % 20 == 11) daemon.describe({{"configSpace", {{"11054", nullptr}}}});
        daemon.describeName(pass % 20 == 6 ? std::to_string(pass).c_str() : "host");
        daemon.runToPass(pass);
    }
    EXPECT_EQ(countDescriptors(daemon), descriptors);
    EXPECT_EQ(daemon.statusField("Threads"), threads);
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
