// What passes do not come to: numbers of the parameter database, and a table that another thread keeps.

#include "sysinfo/driverMonitoring.h"
#include "sysinfo/lcmParameters.h"
#include "sysinfo/paramTableLock.h"
#include "sysinfo/systemInformation.h"
#include "tests/daemon/base/outputs.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

TEST(HostValues, numbersAreOfTheirOwnSizeOrMissingForAReason) {
    const json number = {{"type", "number"}, {"value", 0x0102}, {"length", 2}};
    const struct {
        json values;
        uint32_t length;
        std::string message;
    } rows[] = {{{number}, 2, ""},
                {{number, number}, 0, "type error"},
                {{{{"type", "text"}, {"value", "5"}}}, 0, "type error"},
                {json::array(), 0, "not available"},
                {{{{"type", "not available"}}}, 0, "not available"},
                {nullptr, 0, "not available"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.values);
        placeFile(below("/machine.json"), json{{"lcm", {{"G", {{"N", {{"0", row.values}}}}}}}}.dump());
        char message[LCM_MESSAGE_SIZE] = "";
        const LCMRawValue value = getLCMParamNumber("G", "N", 0, message);
        EXPECT_EQ(message, row.message);
        ASSERT_EQ(value.length, row.length);
        EXPECT_EQ(std::string(value.bytes, value.bytes + value.length), row.length == 0 ? "" : "\x02\x01");
    }
}

[[noreturn]] void updateWhileTableIsKept() {
    simulatedRoot();
    int status = lockParamTable() == 1 ? EXIT_SUCCESS : EXIT_FAILURE;
    for (int (*step)(char*) : {updateDriverMonitoring, updateSystemInformation}) {
        char message[LCM_MESSAGE_SIZE] = "";
        if (step(message) != STEP_NOT_LOCKED) status = EXIT_FAILURE;
        fprintf(stderr, "%s.", message);
    }
    exit(status);
}

TEST(HostValues, areLeftAloneWhileTheirTableIsKept) {
    GTEST_FLAG_SET(death_test_style, *EMULATOR == 0 ? "threadsafe" : "fast"); // the waits want a clock of their own
    EXPECT_EXIT(updateWhileTableIsKept(), testing::ExitedWithCode(EXIT_SUCCESS),
                "^lock database filelist failed.lock database filelist failed.$");
}

} // namespace
