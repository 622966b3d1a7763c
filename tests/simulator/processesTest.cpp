#include "platform/host.h"
#include "tests/daemon/base/outputs.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

TEST(Processes, ofTheMachineAndAdoptedOnesAloneGetSignals) {
    for (const bool isAdopted : {false, true}) {
        const pid_t child = fork();
        if (child == 0) {
            pause();
            _exit(1);
        }
        const std::string id = std::to_string(child);
        placeFile(below("/machine.json"), "{}");
        EXPECT_EQ(hostSignal(child, SIGKILL), 0);
        EXPECT_EQ(waitpid(child, nullptr, WNOHANG), 0);
        if (isAdopted)
            placeFile(below("/simulator/adopted"), "1\n" + id + "\n");
        else
            placeFile(below("/machine.json"), R"({"processes": {")" + id + R"(": {}}})");
        EXPECT_EQ(hostSignal(child, SIGTERM), 0);
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(WTERMSIG(status), SIGTERM);
        EXPECT_EQ(hostSignal(child, SIGTERM), -1);
        EXPECT_EQ(errno, ESRCH);
    }
}

} // namespace
