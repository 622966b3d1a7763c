// How the daemon takes signals: asleep, in a pass, in a wait for a lock, in a hang, in its end; and how it crashes.

#include "tests/endToEnd/daemonProcess.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <deque>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest-spi.h>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace {

using Signals = EndToEnd;

constexpr char STARTED[] = "deamon version 1.4.2  started.\n";
constexpr char STOPPED[] = "deamon version 1.4.2  started.\ndemon version 1.4.2  stopped.\n";

// What the daemon log holds behind the start record, if that is still there; each line without its time.
std::string logOf(const DaemonProcess& daemon) {
    std::string text;
    std::istringstream lines(daemon.read(DAEMON_LOG));
    for (std::string line; std::getline(lines, line);)
        text = line.find(" pid:") != std::string::npos ? "" : text + line.substr(line.find('\t') + 1) + "\n";
    return text;
}

std::string terminationLines(int signal) {
    return "ZEB_MIRA_Update got signal " + std::to_string(signal) + "\nZEB_MIRA_Update: Yes, the signal was for me!\n";
}

std::string interruptLines(int registered) {
    return "ZEB_MIRA_Update got signal 2 \nZEB_MIRA_Update is registered " + std::to_string(registered) + " \n";
}

// It gives up its own registration, not that of snmpd.
void expectEnd(DaemonProcess& daemon, const std::string& log, int deregistrations) {
    EXPECT_EQ(daemon.waitForEnd(), 0);
    EXPECT_EQ(logOf(daemon), log);
    const std::vector<Call> calls = daemon.calls("ProcMonitorDeRegister");
    const auto isOwn = [](const Call& call) { return call.arguments == R"(["/usr/local/bin/ZEB_MIRA_Update"])"; };
    EXPECT_EQ(std::count_if(calls.begin(), calls.end(), isOwn), deregistrations);
}

// To a pass that reports the status, comes to the tree next, and is to hang there.
void letRunIntoTreeUpdate(DaemonProcess& daemon, int pass = 6) {
    daemon.letRunToPass(pass);
    waitFor("the pass", [&] { return daemon.calls("updateSystemStatus").size() == size_t(pass / 2); });
    waitFor("its hang", [&] { return daemon.statusField("State").starts_with("S"); });
}

TEST(SignalsAsleep, endTheDaemonAtOnce) {
    const struct {
        int signal;
        int registerResult;
        std::string log;
        int deregistrations;
    } rows[] = {{SIGTERM, 0, terminationLines(SIGTERM), 0}, {SIGINT, 0, interruptLines(1), 1},
                {SIGINT, 7, interruptLines(0), 0},
#ifndef __SANITIZE_ADDRESS__ // which has handlers of its own
                {SIGSEGV, 0, terminationLines(SIGSEGV), 0}, {SIGABRT, 0, terminationLines(SIGABRT), 0},
                {SIGILL, 0, terminationLines(SIGILL), 0},
#endif
                {SIGTRAP, 0, terminationLines(SIGTRAP), 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.log);
        DaemonProcess daemon;
        daemon.describe({{"processMonitor", {{"register", row.registerResult}}}});
        daemon.runToPass(1);
        daemon.end(row.signal);
        expectEnd(daemon, row.log, row.deregistrations);
        EXPECT_TRUE(daemon.read(DAEMON_LOG).find("\n05:45\tZEB_MIRA_Update got") != std::string::npos);
        EXPECT_EQ(daemon.read(SYSLOG), STOPPED);
        daemon.finish();
    }
}

TEST(SignalsBeforeRegistration, endTheDaemonAtOnce) {
    for (const int signal : {SIGTERM, SIGINT}) {
        DaemonProcess daemon;
        daemon.describe({{"faults", {{{"call", "ProcMonitorRegister"}, {"kind", "hang"}}}}});
        EXPECT_EQ(daemon.launch(), 0);
        waitFor("the registration", [&] { return !daemon.read("simulator/count").empty(); });
        EXPECT_EQ(daemon.end(signal), 0);
        EXPECT_EQ(logOf(daemon), "ZEB_MIRA_Update got signal " + std::to_string(signal) + "\n");
    }
}

TEST_F(Signals, sigusr1EndsTheSleepAndNothingElse) {
    daemon.runToPass(1);
    daemon.signal(SIGUSR1);
    waitFor("pass 2", [&] { return daemon.calls("updateSystemStatus").size() == 1; });
    EXPECT_EQ(daemon.calls("updateSystemStatus")[0].time, 30);
    daemon.runToPass(3);
    EXPECT_EQ(logOf(daemon), "");
}

// Passes 6 and 16 hang where the tree update says so on standard output, a pipe that is full.
TEST_F(Signals, areKeptWithinAPass) {
    daemon.makeFifo("stdout");
    const int output = daemon.open("stdout", O_RDWR | O_NONBLOCK);
    daemon.runToPass(1);
    daemon.write(TRACE, "");
    char block[4096] = {};
    const auto fill = [&] {
        while (::write(output, block, sizeof block) > 0) continue;
    };
    const auto letGoOn = [&] {
        while (::read(output, block, sizeof block) > 0) continue;
    };
    fill();
    letRunIntoTreeUpdate(daemon);
    daemon.signal(SIGUSR1);
    letGoOn();
    daemon.runToPass(8);
    EXPECT_EQ(daemon.calls("updateSystemStatus").back().time, 420) << "the pause is not shortened";

    daemon.runToPass(15);
    const std::string rstLog = daemon.read(RST_LOG);
    fill();
    letRunIntoTreeUpdate(daemon, 16);
    daemon.signal(SIGUSR1);
    daemon.signal(SIGTERM);
    daemon.signal(SIGINT); // comes before it all the same
    EXPECT_EQ(logOf(daemon), "");
    letGoOn();
    expectEnd(daemon, interruptLines(1), 1);
    EXPECT_EQ(daemon.read(RST_LOG), rstLog) << "not before the next file was opened";
}

// One that takes its time is no hang: nothing is given up, and the drives behind it are not waited for.
TEST_F(Signals, takeEffectBetweenReadsOfDrives) {
    const nlohmann::json drives = {{"count", 2}, {"addr", {{{"deviceId", 8}}, {{"deviceId", 9}}}}};
    daemon.runToPass(5);
    daemon.write(DAEMON_LOG, std::string(64001, 'x')); // the pass truncates it before it writes
    daemon.describe({{"controllers",
                      {{{"id", 0},
                        {"records",
                         {{"MR_CTRL_INFO", {{"pdPresentCount", 2}}},
                          {"MR_CTRL_PROP", nlohmann::json::object()},
                          {"MR_PD_LIST", drives}}}}}},
                     {"faults", {{{"call", "raid_PhysicalDeviceGetInfo"}, {"kind", "slow"}}}}});
    daemon.letRunTo(301); // in the first drive's read, from 300 to 303
    waitFor("the read", [&] { return daemon.read("simulator/clock") == "standing"; });
    daemon.signal(SIGINT);
    EXPECT_EQ(logOf(daemon), "");
    daemon.letRunTo(304);
    expectEnd(daemon, interruptLines(1), 1);
    EXPECT_EQ(daemon.calls("raid_PhysicalDeviceGetInfo").size(), 1U);
}

TEST(SignalsInALockWait, takeEffectAtOnce) {
    for (const char* file : {RST_LOG, TREE}) {
        SCOPED_TRACE(file);
        DaemonProcess daemon;
        daemon.runToPass(1);
        const int lock = daemon.open(file, O_RDWR); // until it is closed no other may be: that would unlock too
        const std::string waiting = "-> POSIX  ADVISORY  WRITE " + std::to_string(daemon.pid()) + " ";
        const auto comeToLock = [&](const char* name, int pass) {
            daemon.describeName(name);
            ASSERT_EQ(lockf(lock, F_LOCK, 1), 0);
            const auto begin = std::chrono::steady_clock::now();
            daemon.letRunToPass(pass);
            waitFor("the daemon to wait", [&] { return fileText("/proc/locks").find(waiting) != std::string::npos; });
            const auto waited = std::chrono::steady_clock::now() - begin;
            EXPECT_TRUE(file != TREE || waited >= std::chrono::milliseconds(500)) << "a reader is let read";
        };
        comeToLock("second", 6);
        daemon.signal(SIGUSR1); // does not end this wait
        waitFor("its next wait", [&] { return fileText("/proc/locks").find(waiting) != std::string::npos; });
        EXPECT_EQ(std::filesystem::file_size(daemon.path(TREE)) == 0, file == TREE);
        ASSERT_EQ(lockf(lock, F_ULOCK, 1), 0);
        daemon.runToPass(6);
        EXPECT_NE(daemon.read(TREE).find("<Name>second</Name>"), std::string::npos);

        comeToLock("third", 11);
        daemon.end(SIGINT);
        expectEnd(daemon, interruptLines(1), 1);
        EXPECT_EQ(daemon.read(SYSLOG), STOPPED);
        daemon.finish();
    }
}

// All at the same time, as each takes five seconds.
TEST(SignalsInAHang, areGivenUp) {
    const struct {
        int signal;
        bool inPass; // else in the end, where it writes to syslog
        std::string log;
        std::string syslog;
    } rows[] = {{SIGTERM, true, terminationLines(SIGTERM), STOPPED},
                {SIGINT, true, interruptLines(1), STOPPED},
                {SIGTERM, false, terminationLines(SIGTERM), STARTED}};
    const auto begin = std::chrono::steady_clock::now();
    std::deque<DaemonProcess> daemons(std::size(rows));
    for (size_t i = 0; i < std::size(rows); ++i) {
        daemons[i].runToPass(1);
        if (rows[i].inPass) {
            daemons[i].makeFifo(RST_LOG); // that nobody reads
            letRunIntoTreeUpdate(daemons[i]);
        } else {
            std::filesystem::rename(daemons[i].path(SYSLOG), daemons[i].path("syslog"));
            daemons[i].makeFifo(SYSLOG);
        }
        daemons[i].signal(rows[i].signal);
        if (!rows[i].inPass) waitFor("its handler's lines", [&] { return logOf(daemons[i]) == rows[i].log; });
    }
    const auto told = std::chrono::steady_clock::now();
    std::this_thread::sleep_until(told + std::chrono::seconds(3));
    for (size_t i = 0; i < std::size(rows); ++i)
        kill(daemons[i].pid(), rows[i].inPass ? rows[i].signal : SIGINT); // a second one changes nothing
    for (size_t i = 0; i < std::size(rows); ++i) {
        SCOPED_TRACE(i);
        expectEnd(daemons[i], rows[i].log, 0);
        EXPECT_EQ(daemons[i].read(rows[i].inPass ? SYSLOG : "syslog"), rows[i].syslog);
        daemons[i].finish();
    }
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    EXPECT_LT(std::chrono::steady_clock::now() - told, std::chrono::seconds(7));
}

// Without this look at the log, a crash would pass for a stop in every test.
TEST(SignalsOfACrash, areNoticedByEveryTest) {
    DaemonProcess daemon;
    daemon.runToPass(1);
    kill(daemon.pid(), SIGTRAP);
    EXPECT_EQ(daemon.waitForEnd(), 0);
    EXPECT_NONFATAL_FAILURE(daemon.finish(), "got signal 5");
}

} // namespace
