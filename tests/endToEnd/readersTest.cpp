// What docs/examples shows to readers of the tree, run.

#include "tests/endToEnd/daemonProcess.h"

#include <cstdio>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

namespace {

int outputOf(const std::string& command, std::string& output) {
    FILE* pipe = popen(command.c_str(), "r");
    output.clear();
    for (int character = 0; (character = fgetc(pipe)) != EOF;) output += char(character);
    return pclose(pipe);
}

TEST_F(EndToEnd, readersGetAWholeTreeOrNone) {
    daemon.runToPass(1);
    const std::string file = daemon.path(TREE);
    const std::string tree = daemon.read(TREE);
    for (const std::string reader : {EMULATOR " " READ_TREE_C " ", READ_TREE_PYTHON " "}) {
        std::string output;
        daemon.write(TREE, tree);
        EXPECT_EQ(outputOf(reader + file, output), 0) << reader;
        EXPECT_EQ(output, tree) << reader;
        daemon.write(TREE, tree.substr(0, tree.size() / 2));
        EXPECT_NE(outputOf(reader + file + " 2>&1", output), 0) << reader;
        EXPECT_EQ(output, "readTree: no whole tree in " + file + "\n");
        // The writer's lock is seen: empty meanwhile, whole behind it.
        const int lock = daemon.open(TREE, O_RDWR);
        ASSERT_EQ(ftruncate(lock, 0), 0);
        ASSERT_EQ(lockf(lock, F_LOCK, 1), 0);
        std::thread writer([&] {
            waitFor("the reader", [&] { return fileText("/proc/locks").find("-> POSIX") != std::string::npos; });
            EXPECT_EQ(pwrite(lock, tree.data(), tree.size(), 0), ssize_t(tree.size()));
            lockf(lock, F_ULOCK, 1);
        });
        EXPECT_EQ(outputOf(reader + file, output), 0) << reader;
        writer.join();
        EXPECT_EQ(output, tree) << reader;
    }
}

} // namespace
