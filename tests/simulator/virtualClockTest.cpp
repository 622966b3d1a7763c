#include "simulator/machine/virtualClock.h"

#include "simulator/machine/clock.h"
#include "tests/daemon/base/outputs.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

using namespace sim;

namespace {

constexpr int64_t START = 1000000;

// What the threads of the running test do: a thread's body has no argument.
VirtualClock* theClock = nullptr;
std::vector<std::string> events; // one thread runs at a time

void note(const std::string& name) {
    events.push_back(name + std::to_string(theClock->now() - START));
}

std::atomic<int> handled = 0;
void onSignal(int) {
    ++handled;
}

class VirtualClockTest : public testing::Test {
  protected:
    void start(std::optional<int64_t> limit) {
        clockTime(); // makes the process's own clock here, not in a thread of the tested one that reports a fault
        // Threads may outlive their test, and with them the clock.
        static std::vector<std::unique_ptr<VirtualClock>> clocks;
        clocks.push_back(std::make_unique<VirtualClock>(START, limit, statusFile, limitFile));
        theClock = clocks.back().get();
        events.clear();
        handled = 0;
        signal(SIGUSR1, onSignal);
    }
    static pthread_t startThread(void* (*body)(void*)) {
        pthread_t thread = {};
        EXPECT_EQ(theClock->startThread(&thread, body), 0);
        return thread;
    }
    // In real time, from a thread that the clock does not know.
    template <class Condition>
    static void waitUntil(Condition condition) {
        const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!condition() && std::chrono::steady_clock::now() < giveUp) std::this_thread::yield();
        EXPECT_TRUE(condition());
    }
    bool stands() const { return textOf(statusFile) == "standing"; }

    const std::string statusFile = below("/tmp/") + testing::UnitTest::GetInstance()->current_test_info()->name();
    const std::string limitFile = statusFile + ".until";
};

// Tests of the process move it from limit to limit, which count from the start.
TEST_F(VirtualClockTest, itTakesALimitAsATimeAndLeavesWhatIsNone) {
    start(START + 100);
    std::thread test([&] {
        waitUntil([&] { return stands(); });
        EXPECT_EQ(theClock->now(), START + 100);
        placeFile(limitFile, "soon");
        waitUntil([&] { return textOf(below("/simulator/log")).find(limitFile) != std::string::npos; });
        std::filesystem::remove(statusFile);
        placeFile(limitFile, std::to_string(START + 250) + "\n"); // nothing is due before
        waitUntil([&] { return stands(); });
        EXPECT_EQ(theClock->now(), START + 250);
        placeFile(limitFile, "1000");
    });
    EXPECT_EQ(theClock->sleep(1000), 0);
    EXPECT_EQ(theClock->now(), START + 1000);
    EXPECT_FALSE(std::filesystem::exists(statusFile));
    test.join();
}

// Keeps the turn until the main thread has had two signals, then sleeps.
pthread_t signalledThread;
void* signalTwice(void*) {
    for (int wanted = 1; wanted <= 2; ++wanted) {
        pthread_kill(signalledThread, SIGUSR1);
        while (handled < wanted) std::this_thread::yield();
    }
    note("s");
    theClock->sleep(60);
    return nullptr;
}

TEST_F(VirtualClockTest, aThreadThatAHandlerWokeWaitsForItsTurn) {
    start({});
    signalledThread = pthread_self();
    const pthread_t thread = startThread(signalTwice);
    EXPECT_EQ(theClock->sleep(45), 45);
    note("m");
    EXPECT_EQ(events, (std::vector<std::string>{"s0", "m0"}));
    pthread_cancel(thread);
    pthread_join(thread, nullptr);
}

} // namespace
