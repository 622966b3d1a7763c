// The writer of records, as a board in production needs it.

#include "simulator/record/callRecorder.h"
#include "tests/daemon/base/outputs.h"

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/resource.h>
#include <thread>

namespace {

// Static, as it is made to be.
sim::CallRecorder recorder;

std::string fileOf(const std::string& name) {
    return simulatedRoot() + "/" + name;
}

void record(const char* name, int number, sim::Recording recording = sim::Recording::all) {
    const sim::CallValue arguments[] = {number};
    recorder.record({1, name, arguments, 1, "result", {}}, recording, sim::Share::whenChanged);
}

size_t wholeLinesOf(const std::string& text) {
    std::istringstream lines(text);
    size_t count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        EXPECT_TRUE(!lines.eof() && nlohmann::json::accept(line)) << line;
    return count;
}

[[noreturn]] void recordIntoAFullFileSystem(const std::string& file) {
    signal(SIGXFSZ, SIG_IGN);
    recorder.begin(file.c_str(), 0);
    rlimit size = {200, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &size);
    errno = E2BIG;
    for (int i = 0; i < 10; ++i) record("aFunction", i, sim::Recording::changes);
    if (errno != E2BIG) _exit(1); // the library's own
    size.rlim_cur = RLIM_INFINITY;
    setrlimit(RLIMIT_FSIZE, &size);
    for (int i = 0; i < 10; ++i) record("aFunction", i, sim::Recording::changes); // those that were lost are news
    _exit(0);
}

TEST(CallRecorder, leavesWholeLinesInAFullFileSystemAndGoesOnAfterwards) {
    GTEST_FLAG_SET(death_test_style, "fast");
    const std::string file = fileOf("full.jsonl");
    EXPECT_EXIT(recordIntoAFullFileSystem(file), testing::ExitedWithCode(0), "");
    EXPECT_GE(wholeLinesOf(textOf(file)), 10U);
}

TEST(CallRecorder, writesWholeLinesFromManyThreadsInBoundedFiles) {
    constexpr uint64_t limit = 100'000;
    const std::string file = fileOf("threads.jsonl");
    recorder.begin(file.c_str(), limit);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([i] {
            for (int number = 0; number < 600; ++number) record("aFunction", number * 4 + i);
        });
    for (std::thread& thread : threads) thread.join();
    const std::string old = textOf(file + ".old");
    const std::string fresh = textOf(file);
    EXPECT_EQ(wholeLinesOf(old) + wholeLinesOf(fresh), 2400U);
    EXPECT_LT(old.size(), limit + 200);
    EXPECT_LT(fresh.size(), limit + 200);
}

TEST(CallRecorder, writesThroughNoLinkAndIntoNoFifo) {
    std::filesystem::create_symlink(fileOf("target"), fileOf("link.jsonl"));
    mkfifo(fileOf("fifo.jsonl").c_str(), 0600);
    for (const char* name : {"link.jsonl", "fifo.jsonl"}) {
        recorder.begin(fileOf(name).c_str(), 0);
        record("aFunction", 1);
    }
    EXPECT_FALSE(std::filesystem::exists(fileOf("target")));
}

} // namespace
