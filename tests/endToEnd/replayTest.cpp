// A record of the libraries' calls becomes a machine file on which the daemon does the same again.

#include "simulator/machine/plainMachine.h"
#include "simulator/replay/machineFromCalls.h"
#include "tests/endToEnd/daemonProcess.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace {

using nlohmann::json;

constexpr int PASSES = 11;                // of three updates
constexpr char RECORD[] = "record.jsonl"; // of librecord.so
constexpr char CALLS[] = "simulator/calls.jsonl";

json machineOf(const std::string& record, bool anonymous = false) {
    std::istringstream lines(record);
    return json::parse(sim::machineFromCalls(lines, anonymous).machine.dump());
}

// A daemon of its own on a machine, to the end of three updates.
class ThreeUpdates {
  public:
    explicit ThreeUpdates(const json& machine, const std::string& preloaded = {}) {
        daemon.setEnvironment("BMC_TRACE", "changes");
        daemon.setEnvironment("BMC_CALLS", daemon.path(RECORD));
        if (!preloaded.empty() && *EMULATOR == 0) daemon.setEnvironment("LD_PRELOAD", preloaded);
        if (!preloaded.empty() && *EMULATOR != 0) daemon.setEnvironment("QEMU_SET_ENV", "LD_PRELOAD=" + preloaded);
        daemon.write("machine.json", machine.dump());
        daemon.runToPass(PASSES);
        EXPECT_EQ(daemon.read("simulator/log"), "");
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
    static json steadyMachine() { // for recorders with another clock, whose steps come at other times
        json steady = machine();
        steady.erase("timeline");
        return steady;
    }
};

TEST_P(Described, isTheSameWhenItsRecordIsReplayed) {
    const ThreeUpdates recorded(machine());
    const ThreeUpdates replayed(machineOf(recorded.daemon.read(CALLS)));
    expectSame(recorded.daemon, replayed.daemon);
}

// Between the updates a drive fails and is gone afterwards, a battery cannot be read, a controller goes and is back,
// and the host gets a name. All that is only seen in one update, or two.
json changing(json machine) {
    const json controllers = machine.value("controllers", json::array());
    json failing = {{"/configSpace/513", "renamed"}};
    json gone = {{"/agents", {{"state", 1}}}};
    if (!controllers.empty()) {
        json devices = controllers[0].value("devices", json::object());
        if (!devices.empty()) {
            const std::string drive = devices.begin().key();
            failing["/controllers/0/devices/" + drive + "/records/MR_PD_INFO/fwState"] = 17;
            devices.erase(drive);
            gone["/controllers/0/devices"] = devices;
        }
        failing["/controllers/0/batteryStatus"] = nullptr;
        gone["/controllers/0/batteryStatus"] = 1;
    }
    if (controllers.size() > 1) {
        failing["/controllers"] = {controllers[0]};
        gone["/controllers/1"] = controllers[1];
    }
    machine["timeline"] = {{{"at", "00:02:30"}, {"set", failing}}, {{"at", "00:07:30"}, {"set", gone}}};
    return machine;
}

TEST_P(Described, isTheSameWhenItChangesAndItsRecordIsReplayed) {
    const ThreeUpdates recorded(changing(machine()));
    const json replay = machineOf(recorded.daemon.read(CALLS));
    EXPECT_GE(replay["timeline"].size(), 2U);
    const ThreeUpdates replayed(replay);
    expectSame(recorded.daemon, replayed.daemon);
}

TEST(Timeline, doesTheSameEachTime) {
    json machine = json::parse(std::ifstream(std::string(MACHINES) + "/two-controllers.json"));
    machine["timeline"] = {{{"at", "00:02:00"}, {"do", "drive 0/10 fail"}},
                           {{"at", "7min"}, {"every", "1min"}, {"times", 2}, {"do", "drive 0/12 rebuild 100%"}}};
    const ThreeUpdates first(machine);
    const ThreeUpdates second(machine);
    expectSame(first.daemon, second.daemon);
    const std::string log = first.daemon.read(RST_LOG);
    EXPECT_NE(log.find("DOM trees are different"), log.rfind("DOM trees are different")) << "both steps show: " << log;
}

#ifdef RECORD_LIBRARY

// Without their times, which are another clock's, and without the host's.
std::string callsIn(const std::string& record) {
    std::istringstream lines(record);
    std::string calls;
    for (std::string line; std::getline(lines, line);)
        if (line.find("hostSignal") == std::string::npos) calls += line.substr(line.find(", ")) + "\n";
    return calls;
}

TEST_P(Described, isRecordedAlikeByTheRecorderOfARealController) {
    const ThreeUpdates run(machine(), RECORD_LIBRARY);
    EXPECT_EQ(callsIn(run.daemon.read(RECORD)), callsIn(run.daemon.read(CALLS)));
    EXPECT_NE(run.daemon.read(RECORD), "");
}

// Another library, which words nearly everything otherwise (otherTexts.cpp), under the recorder of a real controller.
TEST_P(Described, isTheSameOnTheStandInsWhenAnotherLibraryWasRecorded) {
    const ThreeUpdates recorded(steadyMachine(), std::string(RECORD_LIBRARY) + ":" + OTHER_TEXTS);
    const std::string tree = recorded.daemon.read(TREE);
    const bool hasDrives = tree.find("<PhysicalDrive") != std::string::npos;
    EXPECT_EQ(tree.find("other: ") != std::string::npos, hasDrives);
    const ThreeUpdates replayed(machineOf(recorded.daemon.read(RECORD)));
    EXPECT_EQ(tree, replayed.daemon.read(TREE));
    EXPECT_EQ(callsIn(recorded.daemon.read(RECORD)), callsIn(replayed.daemon.read(CALLS)));
}

std::string textAt(const json& whole, const char* pointer) {
    const json::json_pointer place(pointer);
    return whole.contains(place) && whole.at(place).is_string() ? whole.at(place).get<std::string>() : "";
}

// What is whose, as the machines have it.
std::set<std::string> secretsOf(const json& machine) {
    std::set<std::string> secrets = {textAt(machine, "/configSpace/513")};
    for (const json& controller : machine.value("controllers", json::array())) {
        secrets.insert(textAt(controller, "/records/MR_CTRL_INFO/serialNumber"));
        for (const json& device : controller.value("devices", json::object()))
            secrets.insert(textAt(device, "/records/MR_PD_INFO/vendorSpecific"));
        for (const json& drive : controller.value("logicalDrives", json::object()))
            secrets.insert(textAt(drive, "/records/MR_LD_INFO/ldConfig/properties/name"));
    }
    std::set<std::string> trimmed;
    for (const std::string& secret : secrets)
        if (const size_t start = secret.find_first_not_of(' '); start != std::string::npos)
            trimmed.insert(secret.substr(start, secret.find_last_not_of(' ') + 1 - start));
    return trimmed;
}

bool isPlain(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

// Letters and digits are as many.
std::string shapeOf(std::string text) {
    for (char& c : text)
        if (isalnum(static_cast<unsigned char>(c)) != 0) c = 'x';
    return text;
}

TEST_P(Described, isOfTheSameShapeAndNobodysWhenAnonymous) {
    const json described = steadyMachine();
    const ThreeUpdates recorded(described, std::string(RECORD_LIBRARY) + ":" + OTHER_TEXTS);
    const json anonymous = machineOf(recorded.daemon.read(RECORD), true);
    const ThreeUpdates replayed(anonymous);
    const std::set<std::string> secrets = secretsOf(sim::plainMachine(described));
    if (std::all_of(secrets.begin(), secrets.end(), isPlain)) { // others become any bytes
        EXPECT_EQ(shapeOf(recorded.daemon.read(TREE)), shapeOf(replayed.daemon.read(TREE)));
    }
    for (const std::string& secret : secrets) {
        const bool isWord = secret.size() < 9; // which may stand elsewhere too
        EXPECT_EQ(anonymous.dump().find(isWord ? '"' + secret + '"' : secret), std::string::npos) << secret;
        EXPECT_EQ(replayed.daemon.read(TREE).find(isWord ? '>' + secret + '<' : secret), std::string::npos) << secret;
    }
}

#endif

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
