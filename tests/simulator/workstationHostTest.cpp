#include "platform/appHelper.h"
#include "platform/host.h"
#include "platform/lcm.h"
#include "platform/storelib.h"

#include "tests/simulator/simulatedMachine.h"

#include <csignal>
#include <optional>
#include <sys/time.h>

using simtest::readFile;
using simtest::TemporaryDirectory;

namespace {

// The settings are read once a process: each case has one of its own, started afresh.
class HostProcess : public testing::Test {
  public:
    // The new process runs this test again as far as the call that it is started for. Under an emulator a program
    // cannot start itself: there it is a mere child, which does as long as each test has a process of its own.
    HostProcess() {
        GTEST_FLAG_SET(death_test_style, *EMULATOR == 0 ? "threadsafe" : "fast");
        const char* outer = getenv("HOST_PROCESS_ROOT");
        if (outer == nullptr) directory.emplace();
        root = outer != nullptr ? outer : directory->path();
        setenv("HOST_PROCESS_ROOT", root.c_str(), 1);
    }
    ~HostProcess() override { unsetenv("HOST_PROCESS_ROOT"); }

    static void settings(const std::string& root, std::initializer_list<std::pair<const char*, const char*>> others) {
        for (const char* name : {"BMC_SPEED", "BMC_TIME", "BMC_UNTIL", "BMC_TRACE"}) unsetenv(name);
        setenv("BMC_ROOT", root.c_str(), 1);
        for (const auto& [name, value] : others) setenv(name, value, 1);
    }
    // The statement of a death test.
    [[noreturn]] static void report(const std::string& text) {
        fprintf(stderr, "<%s>", text.c_str());
        _exit(0);
    }

  protected:
    std::optional<TemporaryDirectory> directory;
    std::string root;
};

void runFirstUse(const std::string& root, const char* name, const char* value) {
    HostProcess::settings(root, {{name, value}});
    HostPathBuffer path;
    hostPath("/var", path);
    hostTime();
    _exit(0);
}

TEST_F(HostProcess, settingsThatCannotBeUsedEndItWithAClearMessage) {
    const struct {
        const char* name;
        const char* value;
        const char* message;
    } cases[] = {
        {"BMC_ROOT", "", "BMC_ROOT is not set"},
        {"BMC_ROOT", "/", "BMC_ROOT must not be / itself"},
        {"BMC_ROOT", "/proc/none/none", "cannot make the directory /proc/none/none: No such file"},
        {"BMC_SPEED", "0.5", "BMC_SPEED=0.5: neither a number from 1"},
        {"BMC_SPEED", "fast", "BMC_SPEED=fast: neither"},
        {"BMC_TIME", "-5", "BMC_TIME=-5: not a number of seconds"},
        {"BMC_UNTIL", "1h", "BMC_UNTIL=1h: not a number of seconds"},
    };
    for (const auto& [name, value, message] : cases)
        EXPECT_EXIT(runFirstUse(root, name, value), testing::ExitedWithCode(2), message);
}

void runLayOut(const std::string& directory) {
    if (chdir(directory.c_str()) != 0) HostProcess::report("no directory");
    HostProcess::settings("root/", {});
    HostPathBuffer path;
    std::string text = hostPath("/var/LogFile.RST", path);
    text += std::string(" ") + hostPath(std::string(PATH_MAX, 'x').c_str(), path);
    for (const char* made : {"var/run", "var/log", "tmp", "proc", "simulator", "conf/kept"})
        if (!std::filesystem::exists("root/" + std::string(made))) text += std::string(" no ") + made;
    HostProcess::report(text);
}

TEST_F(HostProcess, pathsLieBelowTheRootWhichIsLaidOut) {
    std::filesystem::create_directories(root + "/root/conf");
    std::ofstream(root + "/root/conf/kept") << "kept";
    EXPECT_EXIT(runLayOut(root), testing::ExitedWithCode(0), "/root/var/LogFile.RST >");
}

void onSignal(int) {}

void runFasterClock(const std::string& root) {
    HostProcess::settings(root, {{"BMC_SPEED", "20000"}, {"BMC_TIME", "1000000"}});
    const int64_t start = hostTime().seconds;
    const unsigned left = hostSleep(600); // 30 ms
    const int64_t slept = hostTime().seconds - start;
    signal(SIGALRM, onSignal);
    const itimerval soon = {{0, 0}, {0, 20000}};
    setitimer(ITIMER_REAL, &soon, nullptr);
    const unsigned early = hostSleep(4000000); // 200 s
    HostProcess::report(left == 0 && start < 1100000 && slept >= 600 && early > 1000000 ? "good" : "bad");
}

TEST_F(HostProcess, aFasterClockSleepsShorterAndStopsEarlyForASignal) {
    EXPECT_EXIT(runFasterClock(root), testing::ExitedWithCode(0), "<good>");
}

void* sleepForEver(void*) {
    for (;;) hostSleep(1000000);
}

void runCancellation(const std::string& root, const char* speed) {
    HostProcess::settings(root, {{"BMC_SPEED", speed}, {"BMC_UNTIL", "1000"}});
    pthread_t thread = {};
    hostStartThread(&thread, sleepForEver);
    hostSleep(0); // the thread's turn
    pthread_cancel(thread);
    pthread_join(thread, nullptr);
    HostProcess::report("joined");
}

TEST_F(HostProcess, aThreadIsCancelledInItsSleep) {
    for (const char* speed : {"1", "max"})
        EXPECT_EXIT(runCancellation(root, speed), testing::ExitedWithCode(0), "<joined>");
}

void runTracedCalls(const std::string& root) {
    HostProcess::settings(root, {{"BMC_SPEED", "max"}, {"BMC_TIME", "5000"}, {"BMC_TRACE", "1"}});
    if (hostSleep(600) != 0 || hostTime().seconds != 5600 || hostTime().microseconds != 0) _exit(1);
    simtest::writeFile(
        root + "/machine.json",
        R"({"controllers": [{"id": 7, "records": {"MR_PR_STATUS": {"numIterations": 513, "size": 4}}}]})");
    uint8_t record[16] = {};
    raid_ControllerGetOperation(7, 0x01070100, record, sizeof record);
    raid_ControllerGetOperation(8, 0x01070100, record, sizeof record);
    raid_GetLogicalDriveState(3);
    char text[16];
    raid_StrncpyTrim(text, " a\"\xc3 ", 5);
    etcGetDate(0, text, 3);
    _exit(0);
}

TEST_F(HostProcess, traceRecordsEveryCallWithItsInputsAndOutput) {
    EXPECT_EXIT(runTracedCalls(root), testing::ExitedWithCode(0), "");
    EXPECT_EQ(
        readFile(root + "/simulator/calls.jsonl"),
        R"({"time": 5600, "call": "raid_ControllerGetOperation", "args": [7, 17236224, 16], "result": 0, "out": "01020000"}
{"time": 5600, "call": "raid_ControllerGetOperation", "args": [8, 17236224, 16], "result": 1}
{"time": 5600, "call": "raid_GetLogicalDriveState", "args": [3], "result": "Optimal"}
{"time": 5600, "call": "raid_StrncpyTrim", "args": ["206122c320", 5], "result": 0, "out": "6122c3"}
{"time": 5600, "call": "etcGetDate", "args": [0, 3], "result": 1}
)");
}

// The calls that are recorded in any case; their results come from the machine file.
class RecordedCalls : public simtest::SimulatedMachine {
  protected:
    void SetUp() override { std::filesystem::remove(file("calls.jsonl")); }
    // Without the time.
    static std::vector<std::string> calls() {
        std::vector<std::string> result;
        std::istringstream lines(readFile(file("calls.jsonl")));
        for (std::string line; std::getline(lines, line);) result.push_back(line.substr(line.find(", \"call\"") + 2));
        return result;
    }
};

TEST_F(RecordedCalls, configurationItemsAreAsDescribedUntilTheyAreWritten) {
    describe(
        R"({"configSpace": {"513": "host", "5128": {"raw": {"0": "0102030405"}}}, "configSpaceWriteFails": [5128]})");
    const auto read = [](uint16_t id, uint32_t length) {
        char bytes[8] = "zzzzzzz";
        return LCMconfigSpaceRead(id, 3, bytes, length) == 1 ? std::string(bytes, 7) : "none";
    };
    EXPECT_EQ(read(513, 8) + read(5128, 4) + read(12, 8), std::string("host\0zz\1\2\3\4zzznone", 18));
    EXPECT_EQ(LCMconfigSpaceWrite(12, 0, "\x0a\x0b", 2), 1);
    EXPECT_EQ(LCMconfigSpaceWrite(513, 0, "", 0), 1);
    EXPECT_EQ(LCMconfigSpaceWrite(5128, 0, "no", 2), 0);
    EXPECT_EQ(read(12, 8) + read(513, 8), "\x0a\x0bzzzzzzzzzzzz");
    describe(R"({"configSpace": {"513": "host"}})");
    EXPECT_EQ(read(12, 8) + read(513, 8) + read(5128, 4), "\x0a\x0bzzzzzzzzzzzznone");
    describe(R"({"configSpace": {"513": "other"}})");
    EXPECT_EQ(read(513, 8), std::string("other\0z", 7));
    const std::vector<std::string> expected = {
        R"("call": "LCMconfigSpaceWrite", "args": [12, 0, "0a0b", 2], "result": 1})",
        R"("call": "LCMconfigSpaceWrite", "args": [513, 0, "", 0], "result": 1})",
        R"("call": "LCMconfigSpaceWrite", "args": [5128, 0, "6e6f", 2], "result": 0})"};
    EXPECT_EQ(calls(), expected);
}

} // namespace
