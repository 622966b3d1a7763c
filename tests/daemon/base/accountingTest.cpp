#include "daemon/base/accounting.h"

#include "tests/daemon/base/outputs.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <regex>

namespace {

// A message with the address's low 32 bits for HEX and DEC.
std::string line(const std::string& message, const void* address) {
    char hex[16];
    const auto low = static_cast<unsigned>(reinterpret_cast<uintptr_t>(address));
    snprintf(hex, sizeof hex, "0x%x", low);
    return std::regex_replace(std::regex_replace(message, std::regex("HEX"), hex), std::regex("DEC"),
                              std::to_string(static_cast<int>(low)));
}

class Accounting : public testing::Test {
  protected:
    void SetUp() override {
        g_allocCount = 0;
        testing::internal::CaptureStdout();
    }
    void TearDown() override { EXPECT_EQ(testing::internal::GetCapturedStdout(), output); }

    std::string output; // expected
};

TEST_F(Accounting, notesAndForgetsBlocksWhileTracing) {
    freeAccounted(callocAccounted(1, 8));
    EXPECT_EQ(g_allocCount, 0) << "there was no trace";
    char* first = nullptr;
    char* second = nullptr;
    const std::string allocated = tracedBy([&] {
        first = static_cast<char*>(callocAccounted(2, 8));
        second = static_cast<char*>(callocAccounted(0, 8));
    });
    EXPECT_EQ(allocated, line("CALLOC:address= HEX(DEC)\n", first) + line("CALLOC:address= HEX(DEC)\n", second));
    EXPECT_EQ(std::string(first, 16), std::string(16, '\0'));
    const std::string firstFreed = line("FREE:address= HEX (DEC)\n", first);
    output = line("MEMORY_occupied: addr[1] = HEX (DEC)\n", second);
    EXPECT_EQ(tracedBy([&] { freeAccounted(first); }), firstFreed);
    for (const int count : {0, -1, g_allocCount}) print_my_memory(count);
    EXPECT_EQ(tracedBy([&] { freeUnnoted(second); }), "");
    print_my_memory(g_allocCount);
    EXPECT_EQ(g_allocCount, 2) << "slots are not used again";
}

TEST_F(Accounting, complainsOfUnknownBlocks) {
    const int block = 0;
    const int other = 0;
    tracedBy([&] {
        for (const int* noted : {&other, &block, &block}) noteAllocation(noted);
    });
    // Complains at counts 0 and 1, and once both entries are gone.
    for (const int count : {-1, 0, 1, 3, 3, 3}) delete_my_memory(&block, count);
    for (int i = 0; i < 3; ++i) output += line("MEMORY_ERROR : delete_my_memory(HEX)!\n", &block);
}

TEST_F(Accounting, leavesOutWhatAFullTableCannotHold) {
    const int beyond = 0;
    tracedBy([&] {
        for (int i = 0; i < ALLOC_TABLE_SIZE; ++i) noteAllocation(&output);
        noteAllocation(&beyond);
    });
    EXPECT_EQ(g_allocCount, ALLOC_TABLE_SIZE);
    delete_my_memory(&beyond, g_allocCount + 1);
    output = line("MEMORY_ERROR : delete_my_memory(HEX)!\n", &beyond);
}

TEST_F(Accounting, readsTheProcessesMemory) {
    long rss = 0;
    long size = 0;
    getMemoryUsage(&rss, &size);
    EXPECT_GT(rss, 1000);
    EXPECT_GT(size, rss);
}

} // namespace
