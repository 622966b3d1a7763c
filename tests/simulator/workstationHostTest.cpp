#include "platform/appHelper.h"
#include "platform/csm.h"
#include "platform/host.h"
#include "platform/storelib.h"
#include "simulator/machine/root.h"
#include "tests/daemon/base/outputs.h"

#include <climits>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

// The settings are read once a process: each case has one of its own, started afresh. It runs its test again as far as
// the call that it is started for; under an emulator a program cannot start itself: there it is a mere child, which
// does as long as each test has a process of its own.
class HostProcess : public testing::Test {
  protected:
    HostProcess() {
        GTEST_FLAG_SET(death_test_style, *EMULATOR == 0 ? "threadsafe" : "fast");
        const char* outer = getenv("HOST_PROCESS_ROOT");
        root = outer != nullptr ? outer : simulatedRoot() + "/process";
        setenv("HOST_PROCESS_ROOT", root.c_str(), 1);
        std::filesystem::create_directory(root);
    }
    ~HostProcess() override { unsetenv("HOST_PROCESS_ROOT"); }

    void set(std::initializer_list<std::pair<const char*, const char*>> settings) const {
        for (const char* name : {"BMC_SPEED", "BMC_TIME", "BMC_UNTIL", "BMC_TRACE", "BMC_CALLS_LIMIT"}) unsetenv(name);
        setenv("BMC_ROOT", root.c_str(), 1);
        for (const auto& [name, value] : settings) setenv(name, value, 1);
    }
    [[noreturn]] void useFirst(const char* name, const char* value) const {
        set({{name, value}});
        HostPathBuffer path;
        hostPath("/var", path);
        hostTime();
        CSM_Init();
        _exit(0);
    }
    [[noreturn]] void call() const;

    std::string root;
};

TEST_F(HostProcess, endsWithAClearMessageOnSettingsThatCannotBeUsed) {
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
        {"BMC_CALLS_LIMIT", "5X", "BMC_CALLS_LIMIT=5X: not a number of bytes"},
    };
    for (const auto& [name, value, message] : cases)
        EXPECT_EXIT(useFirst(name, value), testing::ExitedWithCode(2), message);
}

void HostProcess::call() const {
    std::filesystem::current_path(root + "/..");
    set({{"BMC_ROOT", "process/"}, {"BMC_SPEED", "max"}, {"BMC_TIME", "5000"}, {"BMC_TRACE", "1"}});
    HostPathBuffer path;
    fprintf(stderr, "<%s", hostPath("/var/LogFile.RST", path));
    fprintf(stderr, "%s>", hostPath(std::string(PATH_MAX, 'x').c_str(), path)); // does not fit
    if (hostSleep(600) != 0 || hostTime().seconds != 5600 || hostTime().microseconds != 0) _exit(1);
    placeFile("process/machine.json",
              R"({"controllers": [{"id": 7, "records": {"MR_PR_STATUS": {"numIterations": 513, "size": 4}}}]})");
    uint8_t record[16] = {};
    (void)raid_ControllerGetOperation(7, 0x01070100, record, sizeof record);
    (void)raid_ControllerGetOperation(8, 0x01070100, record, sizeof record);
    raid_GetLogicalDriveState(3);
    char text[16];
    raid_StrncpyTrim(text, " a\"\xc3 ", 5);
    (void)etcGetDate(0, text, 3);
    _exit(0);
}

TEST_F(HostProcess, laysOutItsRootAndRecordsEveryCallWithItsInputsAndOutput) {
    std::filesystem::create_directory(root + "/conf");
    EXPECT_EXIT(call(), testing::ExitedWithCode(0), "<.*process/var/LogFile.RST>");
    for (const char* directory : {"conf", "var/run", "var/log", "tmp", "proc"})
        EXPECT_TRUE(std::filesystem::is_directory(root + "/" + directory)) << directory;
    EXPECT_EQ(
        textOf(root + "/simulator/calls.jsonl"),
        R"({"time": 5600, "call": "raid_ControllerGetOperation", "args": [7, 17236224, 16], "result": 0, "out": "01020000000000000000000000000000"}
{"time": 5600, "call": "raid_ControllerGetOperation", "args": [8, 17236224, 16], "result": 1}
{"time": 5600, "call": "raid_GetLogicalDriveState", "args": [3], "result": "Optimal"}
{"time": 5600, "call": "raid_StrncpyTrim", "args": ["206122c320", 5], "result": 0, "out": "6122c3"}
{"time": 5600, "call": "etcGetDate", "args": [0, 3], "result": 1}
)");
}

} // namespace
