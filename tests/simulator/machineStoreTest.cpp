#include "simulator/machine/machineStore.h"

#include "tests/simulator/simulatedMachine.h"

#include <fcntl.h>
#include <sys/stat.h>

using namespace sim;

namespace {

class MachineStoreTest : public simtest::SimulatedMachine {
  protected:
    static std::string withController(int id) { return R"({"controllers": [{"id": )" + std::to_string(id) + "}]}"; }
    std::string takenIds() {
        std::string ids;
        const auto controllers = store.taken();
        if (controllers == nullptr) return "none";
        for (const Controller& controller : *controllers) ids += std::to_string(controller.id) + " ";
        return ids;
    }
    static size_t faultsReported(const std::string& path) {
        const std::string log = simtest::readFile(file("log"));
        size_t count = 0;
        for (size_t at = log.find(path); at != std::string::npos; at = log.find(path, at + 1)) ++count;
        return count;
    }

    simtest::TemporaryDirectory directory;
    std::string path = directory.path() + "/machine.json";
    MachineStore store{path};
};

TEST_F(MachineStoreTest, changesAreSeenAtOnceButControllersChangeHandsOnlyWhenTheyAreTaken) {
    simtest::writeFile(path, withController(1));
    EXPECT_EQ(takenIds(), "1 ");
    simtest::writeFile(path, R"({"controllers": [{"id": 2}], "configSpace": {"7": "x"}})");
    EXPECT_TRUE(store.current()->configSpace.contains(7));
    EXPECT_EQ(takenIds(), "1 ");
    store.take();
    EXPECT_EQ(takenIds(), "2 ");
    simtest::writeFile(path, R"({"controllers": null})");
    EXPECT_EQ(store.take(), nullptr);
    EXPECT_EQ(takenIds(), "none");
}

TEST_F(MachineStoreTest, aFileOfTheSameSizeIsNoticedByItsTimeOrInode) {
    simtest::writeFile(path, withController(1));
    store.take();
    std::ofstream(path) << withController(2); // the same inode and size
    const timespec times[] = {{0, 0}, {1000, 5}};
    utimensat(AT_FDCWD, path.c_str(), times, 0);
    store.take();
    EXPECT_EQ(takenIds(), "2 ");
    simtest::writeFile(path, withController(3));
    utimensat(AT_FDCWD, path.c_str(), times, 0); // the same time and size
    store.take();
    EXPECT_EQ(takenIds(), "3 ");
}

TEST_F(MachineStoreTest, theLastGoodMachineStaysAndEachFaultIsReportedOnce) {
    simtest::writeFile(path, withController(1));
    store.take();
    for (const char* text : {"{", R"({"controllers": [{"id": "x"}]})"}) {
        const size_t before = faultsReported(path);
        simtest::writeFile(path, text);
        for (int i = 0; i < 3; ++i) store.take();
        EXPECT_EQ(takenIds(), "1 ");
        EXPECT_EQ(faultsReported(path), before + 1) << text;
    }
    std::filesystem::remove(path);
    store.take();
    EXPECT_EQ(takenIds(), "1 ");
    simtest::writeFile(path, withController(4));
    store.take();
    EXPECT_EQ(takenIds(), "4 ");
}

TEST_F(MachineStoreTest, withoutAFileThereIsNoControllerAndADirectoryIsNoFile) {
    EXPECT_EQ(store.take(), nullptr);
    EXPECT_TRUE(store.current()->configSpace.empty());
    std::filesystem::create_directory(path);
    EXPECT_EQ(store.take(), nullptr);
    EXPECT_EQ(faultsReported(path), 2);
}

} // namespace
