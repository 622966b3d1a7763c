#include "simulator/machine/machineStore.h"

#include "tests/daemon/base/outputs.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

class MachineStore : public testing::Test {
  protected:
    void TearDown() override { std::filesystem::remove_all(path); }

    static std::string withController(int id) { return R"({"controllers": [{"id": )" + std::to_string(id) + "}]}"; }
    static std::string idsOf(const std::shared_ptr<const sim::Controllers>& controllers) {
        if (controllers == nullptr) return "none";
        std::string ids;
        for (const sim::Controller& controller : *controllers) ids += std::to_string(controller.id);
        return ids;
    }
    size_t faultsReported() const {
        const std::string log = textOf(below("/simulator/log"));
        size_t count = 0;
        for (size_t at = log.find(path); at != std::string::npos; at = log.find(path, at + 1)) ++count;
        return count;
    }

    const std::string path = below("/described.json");
    sim::MachineStore store{path};
};

TEST_F(MachineStore, showsChangesAtOnceButControllersOnlyWhenTheyAreTaken) {
    placeFile(path, withController(1));
    EXPECT_EQ(idsOf(store.taken()), "1");
    placeFile(path, R"({"controllers": [{"id": 2}], "configSpace": {"7": "x"}})");
    EXPECT_TRUE(store.current()->configSpace.contains(7));
    EXPECT_EQ(idsOf(store.taken()), "1");
    EXPECT_EQ(idsOf(store.take()), "2");
    EXPECT_EQ(idsOf(store.taken()), "2");
    placeFile(path, R"({"controllers": null})");
    EXPECT_EQ(idsOf(store.take()), "none");
    EXPECT_EQ(idsOf(store.taken()), "none");
}

TEST_F(MachineStore, noticesAFileOfTheSameSizeByItsTimeOrInode) {
    placeFile(path, withController(1));
    store.take();
    std::ofstream(path) << withController(2); // the same inode and size
    const timespec times[] = {{0, 0}, {1000, 5}};
    utimensat(AT_FDCWD, path.c_str(), times, 0);
    EXPECT_EQ(idsOf(store.take()), "2");
    placeFile(path, withController(3));
    utimensat(AT_FDCWD, path.c_str(), times, 0); // the same time and size
    EXPECT_EQ(idsOf(store.take()), "3");
}

TEST_F(MachineStore, keepsTheLastGoodMachineAndReportsEachFaultOnce) {
    EXPECT_EQ(idsOf(store.take()), "none") << "there is no file";
    std::filesystem::create_directory(path);
    EXPECT_EQ(idsOf(store.take()), "none");
    EXPECT_EQ(faultsReported(), 2);
    std::filesystem::remove(path);
    placeFile(path, withController(1));
    store.take();
    for (const char* text : {"{", R"({"controllers": [{"id": "x"}]})"}) {
        const size_t before = faultsReported();
        placeFile(path, text);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(idsOf(store.take()), "1");
        EXPECT_EQ(faultsReported(), before + 1) << text;
    }
    std::filesystem::remove(path);
    EXPECT_EQ(idsOf(store.take()), "1");
}

} // namespace
