#include "tests/support/simulatedRoot.h"

#include "platform/storelib.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

struct TemporaryRoot {
    std::string path = testing::TempDir() + "bmc's root XXXXXX"; // a shell has to be told of it with care

    TemporaryRoot() {
        if (mkdtemp(path.data()) == nullptr) abort();
        setenv("BMC_ROOT", path.c_str(), 1);
    }
    ~TemporaryRoot() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
};

} // namespace

const std::string& simulatedRoot() {
    static const TemporaryRoot root;
    return root.path;
}

void placeFile(const std::string& file, const std::string& text) {
    std::ofstream(file + ".new", std::ios::binary) << text;
    std::filesystem::rename(file + ".new", file);
}

void describeMachine(const nlohmann::json& machine) {
    placeFile(simulatedRoot() + "/machine.json", machine.dump());
    SL_CTRL_LIST_T list;
    ASSERT_EQ(raid_GetControllerList(&list), 0);
}

nlohmann::json casesOf(const char* source) {
    const std::string file = source;
    return nlohmann::json::parse(std::ifstream(file.substr(0, file.rfind("Test.cpp")) + ".json"));
}
