#include "daemon/base/safeFile.h"

#include "tests/daemon/base/outputs.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

constexpr char FILE_NAME[] = "/tmp/TraceFile.RST";

// An operator may empty a file that the daemon has open.
TEST(SafeFile, isWrittenAtItsEnd) {
    std::filesystem::create_directories(below("/tmp"));
    std::ofstream(below(FILE_NAME)) << "before";
    for (const auto& [mode, kept] : {std::pair("a", "before"), {"w", ""}}) {
        FILE* file = openTmpFile(FILE_NAME, mode);
        ASSERT_NE(file, nullptr);
        for (const std::string& found : {std::string(kept), std::string()}) {
            fputs("text", file);
            fflush(file);
            EXPECT_EQ(textOf(below(FILE_NAME)), found + "text");
            std::filesystem::resize_file(below(FILE_NAME), 0);
        }
        fclose(file);
    }
}

} // namespace
