// That a faulty file leaves the last good machine in force is what a fuzz target looks for.

#include "simulator/machine/machineStore.h"

#include "tests/daemon/base/outputs.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

TEST(MachineStore, showsChangesAtOnceButControllersOnlyWhenTheyAreTaken) {
    const std::string path = below("/described.json");
    sim::MachineStore store(path);
    const auto place = [&](int id) {
        placeFile(path, R"({"controllers": [{"id": 1}], "configSpace": {")" + std::to_string(id) + R"(": "x"}})");
    };
    EXPECT_EQ(store.take(), nullptr) << "there is no file";
    placeFile(path, R"({"controllers": null})");
    EXPECT_EQ(store.take(), nullptr);
    place(2);
    EXPECT_TRUE(store.current()->configSpace.contains(2));
    EXPECT_EQ(store.taken(), nullptr);
    EXPECT_EQ(store.take()->front().id, 1U);
    std::ofstream(path) << R"({"controllers": [{"id": 3}], "configSpace": {"2": "x"}})"; // inode and size stay
    const timespec times[] = {{0, 0}, {1000, 5}};
    utimensat(AT_FDCWD, path.c_str(), times, 0);
    EXPECT_EQ(store.take()->front().id, 3U);
    place(4);
    utimensat(AT_FDCWD, path.c_str(), times, 0); // size and time stay
    EXPECT_TRUE(store.current()->configSpace.contains(4));
    std::filesystem::remove(path);
    EXPECT_EQ(store.take()->front().id, 1U);
}

} // namespace
