// A record of the libraries' calls becomes a machine file on which the daemon does the same again.

#include "simulator/replay/machineFromCalls.h"
#include "tests/endToEnd/daemonProcess.h"

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace {

using nlohmann::json;

constexpr int PASSES = 11; // of three updates
constexpr char CALLS[] = "simulator/calls.jsonl";

json machineOf(const std::string& record, bool anonymous = false) {
    std::istringstream lines(record);
    return json::parse(sim::machineFromCalls(lines, anonymous).machine.dump());
}

// A daemon of its own on a machine, to the end of three updates.
class ThreeUpdates {
  public:
    explicit ThreeUpdates(const json& machine, const std::map<std::string, std::string>& environment = {}) {
        daemon.setEnvironment("BMC_TRACE", "changes");
        for (const auto& [name, value] : environment) daemon.setEnvironment(name, value);
        daemon.write("machine.json", machine.dump());
        daemon.runToPass(PASSES);
    }
    ~ThreeUpdates() { daemon.finish(); }
    ThreeUpdates(const ThreeUpdates&) = delete;
    ThreeUpdates& operator=(const ThreeUpdates&) = delete;

    DaemonProcess daemon;
};

// All but the addresses of the daemon's own memory.
void expectSame(const DaemonProcess& recorded, const DaemonProcess& replayed) {
    static const std::regex address("0x[0-9a-f]+");
    EXPECT_EQ(recorded.read(TREE), replayed.read(TREE));
    EXPECT_EQ(std::regex_replace(recorded.read(RST_LOG), address, "@"),
              std::regex_replace(replayed.read(RST_LOG), address, "@"));
    EXPECT_EQ(recorded.read(CALLS), replayed.read(CALLS));
}

class Described : public testing::TestWithParam<std::string> {
  protected:
    static json machine() { return json::parse(std::ifstream(std::string(MACHINES) + "/" + GetParam() + ".json")); }
};

TEST_P(Described, isTheSameWhenItsRecordIsReplayed) {
    const ThreeUpdates recorded(machine());
    const ThreeUpdates replayed(machineOf(recorded.daemon.read(CALLS)));
    expectSame(recorded.daemon, replayed.daemon);
}

std::vector<std::string> describedMachines() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(MACHINES))
        if (entry.path().extension() == ".json") names.push_back(entry.path().stem());
    return names;
}

INSTANTIATE_TEST_SUITE_P(Machine, Described, testing::ValuesIn(describedMachines()), [](const auto& machine) {
    std::string name = machine.param;
    std::erase(name, '-');
    return name;
});

} // namespace
