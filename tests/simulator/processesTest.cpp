#include "platform/host.h"
#include "tests/daemon/base/outputs.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void describe(const std::string& machine) {
    placeFile(below("/machine.json"), machine);
}

TEST(Processes, haveTheirProcEntryAndAloneGetSignals) {
    const pid_t child = fork();
    if (child == 0) {
        for (;;) pause();
    }
    const std::string entry = below("/proc/") + std::to_string(child);
    std::filesystem::create_directories(below("/proc/77"));
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
    EXPECT_EQ(textOf(entry + "/cmdline"), std::string("/usr/sbin/snmpd\0-f\0", 19));
    describe(R"({"processes": {"88": {}}})");
    hostSignal(99, 0); // looks
    EXPECT_FALSE(std::filesystem::exists(entry));
    EXPECT_TRUE(std::filesystem::exists(below("/proc/88/cmdline")));
    EXPECT_TRUE(std::filesystem::exists(below("/proc/77"))) << "is not the machine's";
    std::filesystem::remove(below("/proc/77"));
}

} // namespace
