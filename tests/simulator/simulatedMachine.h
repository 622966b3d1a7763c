#pragma once

// A described machine for tests that call the stand-in libraries in this process.

#include "tests/daemon/outputs.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace simtest {

inline std::string makeTemporaryDirectory() {
    std::string path = (std::filesystem::temp_directory_path() / "simulatorXXXXXX").string();
    return mkdtemp(path.data()) != nullptr ? path : std::string();
}

inline std::string readFile(const std::string& path) {
    return textOf(path);
}

inline void writeFile(const std::string& path, const std::string& text) {
    std::ofstream(path + ".test", std::ios::binary) << text;
    std::filesystem::rename(path + ".test", path);
}

class TemporaryDirectory {
  public:
    TemporaryDirectory() : path_(makeTemporaryDirectory()) {}
    ~TemporaryDirectory() { std::filesystem::remove_all(path_); }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

class SimulatedMachine : public testing::Test {
  protected:
    SimulatedMachine() { root(); }
    static const std::string& root() { return simulatedRoot(); }
    static std::string file(const std::string& name) { return root() + "/simulator/" + name; }
    static void describe(const std::string& machine) { writeFile(root() + "/machine.json", machine); }
};

} // namespace simtest
