// From the command line to the first pass.

#include "tests/endToEnd/daemonProcess.h"

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Start = EndToEnd;

std::string startRecord(const DaemonProcess& daemon) {
    return "05:45\tSun Jan  1 05:45:00 2108\n\tstarted ZEB_MIRA_Update version 1.4.2  pid:" +
           std::to_string(daemon.pid()) + "\n";
}

TEST_F(Start, everyOptionShowsTheUsage) {
    const struct {
        std::vector<std::string> arguments;
        std::string complaint;
    } rows[] = {{{"/usr/local/bin/ZEB_MIRA_Update", "-h"}, ""},
                {{"ZEB_MIRA_Update", "-?"}, ""},
                {{"./ZEB_MIRA_Update", "-hx"}, ""},
                {{"bin/ZEB_MIRA_Update", "-x"}, "bin/ZEB_MIRA_Update: invalid option -- 'x'\n"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.arguments));
        EXPECT_EQ(daemon.launch(row.arguments), 0);
        EXPECT_EQ(daemon.pid(), 0);
        EXPECT_EQ(daemon.read("stdout"), "Usage: ZEB_MIRA_Update\n\n");
        EXPECT_EQ(daemon.read("stderr"), row.complaint);
        EXPECT_FALSE(std::filesystem::exists(daemon.path(DAEMON_LOG)));
        daemon.remove("stdout");
    }
}

TEST_F(Start, becomesADaemonInTheOrderedSteps) {
    daemon.runToPass(1);
    EXPECT_EQ(getpgid(daemon.pid()), daemon.pid());
    EXPECT_EQ(getsid(daemon.pid()), daemon.pid());
    EXPECT_EQ(daemon.read(DAEMON_LOG), startRecord(daemon));
    EXPECT_EQ(daemon.read(SYSLOG), "deamon version 1.4.2  started.\n");
    EXPECT_EQ(daemon.read("stderr"), "");
    const std::filesystem::path process = "/proc/" + std::to_string(daemon.pid());
    EXPECT_EQ(std::filesystem::read_symlink(process / "cwd"), daemon.path("var"));
    EXPECT_EQ(daemon.statusField("Umask"), "0000");
    for (const auto& [file, mode] : {std::pair(TREE, 0666), {RST_LOG, 0666}, {DAEMON_LOG, 0644}})
        EXPECT_EQ(int(std::filesystem::status(daemon.path(file)).permissions()), mode) << file;
    EXPECT_NE(std::stoull(daemon.statusField("SigIgn"), nullptr, 16) & 1ULL << (SIGPIPE - 1), 0U);
    EXPECT_EQ(daemon.statusField("Threads"), *EMULATOR == 0 ? "2" : "3") << "an emulator has one of its own";

    std::vector<std::string> steps;
    for (const Call& call : daemon.calls())
        if (steps.size() < 3) steps.push_back(call.name + call.arguments);
    const std::vector<std::string> expected = {
        R"(ProcMonitorRegister["/usr/local/bin/ZEB_MIRA_Update",0,"ZEB_MIRA_Update",0,0])", "OpenDQMIConnection[]",
        "CSM_Init[]"};
    EXPECT_EQ(steps, expected);
}

// Start-up is held up where it writes to syslog, before the first pass.
TEST(StartLog, isAppendedToOrOverwrittenFromItsStart) {
    for (const size_t size : {0U, 63000U, 64000U, 64001U}) {
        SCOPED_TRACE(size);
        DaemonProcess daemon;
        if (size > 0) daemon.write(DAEMON_LOG, std::string(size, 'x'));
        daemon.makeFifo(SYSLOG);
        EXPECT_EQ(daemon.launch(), 0) << "waits for the daemon";
        waitFor("the start record", [&] { return daemon.read(DAEMON_LOG).find("pid:") != std::string::npos; });

        const std::string record = startRecord(daemon);
        const bool overwritten = size > 64000;
        const std::string rest(overwritten ? size - record.size() : size, 'x');
        EXPECT_TRUE(daemon.read(DAEMON_LOG) == (overwritten ? record + rest : rest + record));

        daemon.open(SYSLOG, O_RDWR);
        daemon.runToPass(1);
        EXPECT_TRUE(daemon.read(DAEMON_LOG) == (size < 64000 ? rest + record : "")) << "the first pass truncates it";
        daemon.finish();
    }
}

// As a parent without standard streams and mask starts it.
TEST_F(Start, opensItsStreamsAndKeepsSignalsForTheMainThread) {
    if (*EMULATOR != 0) GTEST_SKIP() << "an emulator has streams, threads and signals of its own";
    daemon.launchUnder({"/bin/sh", "-c", R"(umask 0; exec "$0" <&- >&- 2>&-)"});
    daemon.runToPass(1);
    const std::filesystem::path process = "/proc/" + std::to_string(daemon.pid());
    for (const char* stream : {"0", "1", "2"})
        EXPECT_EQ(std::filesystem::read_symlink(process / "fd" / stream), "/dev/null");
    EXPECT_EQ(int(std::filesystem::status(daemon.path(DAEMON_LOG)).permissions()), 0644);
    constexpr unsigned long long kept = 1ULL << (SIGTERM - 1) | 1ULL << (SIGINT - 1) | 1ULL << (SIGUSR1 - 1);
    for (const auto& thread : std::filesystem::directory_iterator(process / "task")) {
        const std::string status = fileText(thread.path() / "status");
        const auto blocked = std::stoull(status.substr(status.find("SigBlk:") + 7), nullptr, 16) & kept;
        EXPECT_EQ(blocked, thread.path().filename() == std::to_string(daemon.pid()) ? 0 : kept);
    }
}

TEST_F(Start, runsWithoutALog) {
    std::filesystem::create_directory(daemon.path(DAEMON_LOG));
    daemon.runToPass(1);
    EXPECT_EQ(daemon.read("stderr"), "open LogFile: Is a directory\n");
    EXPECT_NE(daemon.read(TREE), "");
}

} // namespace
