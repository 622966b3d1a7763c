#include "platform/host.h"
#include "platform/lcm.h"

#include "tests/simulator/simulatedMachine.h"

#include <csignal>
#include <sys/wait.h>

namespace {

using HostData = simtest::SimulatedMachine;

TEST_F(HostData, parameterValuesHaveTheirTypeLengthAndExactlyTheirMemory) {
    const struct {
        const char* value;
        int32_t state;
        int32_t type;
        uint32_t length;
        std::string bytes; // empty: none
    } cases[] = {
        {R"({"type": "text", "value": "abc"})", 0, 1, 4, std::string("abc\0", 4)},
        {R"({"type": "text", "value": "abc", "length": 3})", 0, 1, 3, "abc"},
        {R"({"type": "raw", "value": "0a0b"})", 0, 0, 2, "\x0a\x0b"},
        {R"({"type": "raw", "value": "0a0b", "length": 3})", 0, 0, 3, std::string("\x0a\x0b\0", 3)},
        {R"({"type": "number", "value": 258})", 0, 2, 4, std::string("\2\1\0\0", 4)},
        {R"({"type": "number", "value": -2, "length": 8})", 0, 2, 8, "\xfe\xff\xff\xff\xff\xff\xff\xff"},
        {R"({"type": "number", "value": 4294967296})", 0, 2, 8, std::string("\0\0\0\0\1\0\0\0", 8)},
        {R"({"type": "number", "value": 7, "length": 3})", 0, 2, 3, std::string("\7\0\0", 3)},
        {R"({"type": "text", "value": "x", "length": 4294967295})", 0, 1, 0xFFFFFFFF, "x"},
        {R"({"type": "invalid", "value": "x"})", 0, 255, 2, std::string("x\0", 2)},
        {R"({"type": "not available"})", 3, 0, 0, ""},
    };
    for (const auto& [value, state, type, length, bytes] : cases) {
        describe(std::string(R"({"lcm": {"G": {"N": {"-1": [)") + value + "]}}}}");
        uint32_t count = 77;
        LCMParamEntry* table = LCMParam_update(1, "G", "N", -1, &count);
        ASSERT_NE(table, nullptr) << value;
        EXPECT_EQ(count, 1U);
        EXPECT_TRUE(table->state == state && table->type == type && table->length == length) << value;
        EXPECT_EQ(table->value == nullptr, bytes.empty()) << value;
        EXPECT_EQ(std::string(static_cast<const char*>(table->value), bytes.size()), bytes) << value;
        LCMParamDb_destroyParameterTable(table, count);
    }
    describe(R"({"lcm": {"G": {"N": {"0": [], "1": null}}}})");
    uint32_t count = 77;
    LCMParamEntry* empty = LCMParam_update(0, "G", "N", 0, &count);
    EXPECT_NE(empty, nullptr);
    EXPECT_EQ(count, 0U);
    LCMParamDb_destroyParameterTable(empty, count);
    const struct {
        const char* group;
        const char* name;
        int32_t instance;
    } absent[] = {{"G", "N", 1}, {"G", "N", -1}, {"G", "M", 0}, {"H", "N", 0}};
    for (const auto& [group, name, instance] : absent)
        EXPECT_EQ(LCMParam_update(0, group, name, instance, &count), nullptr) << group << name << instance;
}

TEST_F(HostData, processesHaveTheirProcEntryAndAloneGetSignals) {
    const pid_t child = fork();
    if (child == 0) {
        for (;;) pause();
    }
    const std::string entry = root() + "/proc/" + std::to_string(child);
    std::filesystem::create_directories(root() + "/proc/77");
    describe("{}");
    EXPECT_EQ(hostSignal(child, SIGKILL), 0);
    EXPECT_EQ(waitpid(child, nullptr, WNOHANG), 0);
    describe(R"({"processes": {")" + std::to_string(child) +
             R"(": {"cmdline": ["/usr/sbin/snmpd", "-f"]}, "88": {}}})");
    EXPECT_EQ(hostSignal(child, SIGTERM), 0);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
    EXPECT_EQ(hostSignal(child, SIGTERM), -1);
    EXPECT_EQ(errno, ESRCH);
    EXPECT_EQ(simtest::readFile(entry + "/cmdline"), std::string("/usr/sbin/snmpd\0-f\0", 19));
    describe(R"({"processes": {"88": {}}})");
    hostSignal(99, 0); // looks
    EXPECT_FALSE(std::filesystem::exists(entry));
    EXPECT_TRUE(std::filesystem::exists(root() + "/proc/88/cmdline"));
    EXPECT_TRUE(std::filesystem::exists(root() + "/proc/77"));
    std::filesystem::remove(root() + "/proc/77");
}

} // namespace
