// What a tester does with bmcsim, and the tree that follows.

#include "tests/endToEnd/daemonProcess.h"

#include <filesystem>
#include <regex>
#include <sstream>

namespace {

using nlohmann::ordered_json;

constexpr int UPDATE = 5; // passes
constexpr int FIRST_DRIVE = 20;

class Bmcsim : public EndToEnd {
  protected:
    // Exit status; what it says goes to `said`.
    int bmcsim(const std::string& words) {
        const std::string command =
            std::string(EMULATOR) + " " BMCSIM " --root " + daemon.path("") + " " + words + " 2>&1";
        FILE* const pipe = popen(command.c_str(), "r");
        if (pipe == nullptr) throw std::runtime_error("cannot start " + command);
        said.clear();
        for (int c = getc(pipe); c != EOF; c = getc(pipe)) said += static_cast<char>(c);
        return WEXITSTATUS(pclose(pipe));
    }

    static ordered_json shipped() { return ordered_json::parse(fileText(MACHINES "/two-controllers.json")); }

    void place(const ordered_json& machine) {
        daemon.write("machine.new", machine.dump());
        std::filesystem::rename(daemon.path("machine.new"), daemon.path("machine.json"));
    }

    // The first text of `element` in the part of the tree behind `from`.
    std::string treeText(const std::string& from, const std::string& element) const {
        const std::string tree = daemon.read(TREE);
        const size_t start = tree.find(from);
        const size_t value = tree.find("<" + element + ">", start);
        if (start == std::string::npos || value == std::string::npos) return "";
        const size_t begin = value + element.size() + 2;
        return tree.substr(begin, tree.find('<', begin) - begin);
    }
    std::string volume() const { return treeText("<LogicalDrive Nr=\"0\">", "Status"); }
    std::string adapter() const { return treeText("<Adapter Nr=\"0\">", "Status"); }
    std::string drive(int id) const { return treeText("<PhysicalDrive Nr=\"" + std::to_string(id) + "\">", "Status"); }

    std::string said;
};

std::string littleEndian(int number) {
    constexpr char digits[] = "0123456789abcdef";
    return {digits[size_t(number) / 16 % 16], digits[size_t(number) % 16], '0', '0'};
}

// Volume 0 of `level`, over drives FIRST_DRIVE and up; no spare.
ordered_json machineOf(ordered_json machine, int level, int width, int spans) {
    ordered_json& controller = machine["controllers"][0];
    controller["devices"].erase("12");
    const ordered_json model = controller["devices"]["10"];
    ordered_json& list = controller["records"]["MR_PD_LIST"];
    std::string members;
    for (int i = 0; i < width * spans; ++i) {
        const int id = FIRST_DRIVE + i;
        ordered_json device = model;
        device["records"]["MR_PD_INFO"].update({{"deviceId", id}, {"slotNumber", 8 + i}});
        controller["devices"][std::to_string(id)] = device;
        list["addr"].push_back({{"deviceId", id}, {"enclDeviceId", 252}, {"slotNumber", 8 + i}, {"scsiDevType", 0}});
        members += littleEndian(id);
    }
    list["count"] = list["addr"].size();
    controller["records"]["MR_CTRL_INFO"]["pdPresentCount"] = list["addr"].size();
    ordered_json& volume = controller["logicalDrives"]["0"]["records"];
    const ordered_json params = {{"primaryRaidLevel", level}, {"numDrives", width}, {"spanDepth", spans}};
    volume["MR_LD_INFO"]["ldConfig"]["params"].update(params);
    controller["records"]["MR_CONFIG_DATA"]["ld"][0]["params"].update(params);
    volume["SL_PD_IN_LD_T"]["raw"] = {{"0", littleEndian(width * spans) + "0000"}, {"4", members}};
    return machine;
}

struct Loss {
    int level, width, spans;
    std::vector<int> failed; // positions in the volume
    const char* volume;
    const char* adapter;
};

void PrintTo(const Loss& loss, std::ostream* out) {
    *out << "level " << loss.level << ", " << loss.spans << " x " << loss.width << ", lost " << loss.failed.size();
}

class BmcsimLevels : public Bmcsim, public testing::WithParamInterface<Loss> {};

TEST_P(BmcsimLevels, failingDrivesShowInTheTreeAndComingBackHeals) {
    const Loss& loss = GetParam();
    place(machineOf(shipped(), loss.level, loss.width, loss.spans));
    daemon.runToPass(1);
    ASSERT_EQ(volume(), "Optimal");
    ASSERT_EQ(adapter(), "OK");
    for (const int position : loss.failed)
        ASSERT_EQ(bmcsim("drive 0/" + std::to_string(FIRST_DRIVE + position) + " fail"), 0) << said;
    daemon.runToPass(1 + UPDATE);
    EXPECT_EQ(volume(), loss.volume);
    EXPECT_EQ(adapter(), loss.adapter);
    EXPECT_EQ(drive(FIRST_DRIVE + loss.failed[0]), "Failed");
    for (const int position : loss.failed)
        ASSERT_EQ(bmcsim("drive 0/" + std::to_string(FIRST_DRIVE + position) + " rebuild 100%"), 0) << said;
    daemon.runToPass(1 + 2 * UPDATE);
    EXPECT_EQ(volume(), "Optimal");
    EXPECT_EQ(adapter(), "OK");
}

INSTANTIATE_TEST_SUITE_P(
    Losses, BmcsimLevels,
    testing::Values(Loss{0, 2, 1, {1}, "Offline", "Error"}, Loss{1, 2, 1, {0}, "Degraded", "Degraded"},
                    Loss{1, 2, 1, {0, 1}, "Offline", "Error"}, Loss{5, 3, 1, {2}, "Degraded", "Degraded"},
                    Loss{5, 3, 1, {0, 2}, "Offline", "Error"}, Loss{6, 4, 1, {3}, "Partially Degraded", "Degraded"},
                    Loss{6, 4, 1, {0, 3}, "Degraded", "Degraded"}, Loss{6, 4, 1, {0, 1, 2}, "Offline", "Error"},
                    Loss{1, 2, 2, {0, 2}, "Degraded", "Degraded"}, Loss{1, 2, 2, {2, 3}, "Offline", "Error"},
                    Loss{5, 3, 2, {0, 5}, "Degraded", "Degraded"}, Loss{5, 3, 2, {3, 4}, "Offline", "Error"},
                    Loss{6, 4, 2, {0, 1, 6, 7}, "Degraded", "Degraded"}, Loss{6, 4, 2, {4, 5, 6}, "Offline", "Error"}));

TEST_F(Bmcsim, aSpareOfEnoughSizeStepsInAndRebuilds) {
    place(shipped());
    daemon.runToPass(1);
    ASSERT_EQ(bmcsim("drive 0/10 fail"), 0) << said;
    EXPECT_NE(said.find("Hot Spare -> Rebuild"), std::string::npos) << said;
    daemon.runToPass(1 + UPDATE);
    EXPECT_EQ(drive(12), "Rebuild");
    EXPECT_EQ(treeText("<LogicalDrive Nr=\"1\">", "Status"), "Degraded");
    ASSERT_EQ(bmcsim("drive 0/12 rebuild 100%"), 0) << said;
    daemon.runToPass(1 + 2 * UPDATE);
    EXPECT_EQ(drive(12), "Online");
    EXPECT_EQ(treeText("<LogicalDrive Nr=\"1\">", "Status"), "Optimal");
}

TEST_F(Bmcsim, aPulledDriveLeavesTheTree) {
    place(shipped());
    daemon.runToPass(1);
    ASSERT_NE(drive(8), "");
    ASSERT_EQ(bmcsim("drive 0/8 pull"), 0) << said;
    daemon.runToPass(1 + UPDATE);
    EXPECT_EQ(drive(8), "");
    EXPECT_EQ(volume(), "Degraded");
    EXPECT_EQ(daemon.read("simulator/log"), "2108-01-01 00:01:00 " +
                                                std::filesystem::canonical(daemon.path("machine.json")).string() +
                                                " has been taken over\n");
}

TEST_F(Bmcsim, wrongWordsAndFaultyMachinesChangeNothing) {
    place(shipped());
    const std::string before = daemon.read("machine.json");
    const std::pair<const char*, const char*> wrong[] = {{"drive 0/8 fial", R"(no word "fial"; did you mean "fail"?)"},
                                                         {"drive 0/99 fail", "there is no drive 0/99"},
                                                         {"drive 7/8 fail", "there is no adapter 7"},
                                                         {"drive 0/252 fail", "device 0/252 is no drive"},
                                                         {"volume 0/1 check 101%", "is no percentage"},
                                                         {"volume 0/9 offline", "there is no volume 0/9"},
                                                         {"fault add raid_GetEnclosureList --kind x", "must be error,"},
                                                         {"set /controllers/0/idd 1", R"(did you mean "id"?)"}};
    for (const auto& [words, error] : wrong) {
        EXPECT_EQ(bmcsim(words), 2) << words;
        EXPECT_NE(said.find(error), std::string::npos) << said;
    }
    EXPECT_EQ(bmcsim("drive 0/8 spare"), 3) << said;
    EXPECT_EQ(daemon.read("machine.json"), before);
    daemon.write("machine.json", "{");
    EXPECT_EQ(bmcsim("drive 0/8 fail"), 3) << said;
    EXPECT_EQ(daemon.read("machine.json"), "{");
}

// Members may stand in raw bytes that lie over their names, and be absent.
TEST_F(Bmcsim, statesInRawBytesAreChangedThere) {
    ordered_json machine = shipped();
    ordered_json& controller = machine["controllers"][0];
    controller["devices"]["8"]["records"]["MR_PD_INFO"]["raw"] = {{"183", "00 1800 00"}};
    controller["logicalDrives"]["0"]["records"]["MR_LD_INFO"]["raw"] = {{"38", "03"}};
    place(machine);
    daemon.runToPass(1);
    ASSERT_EQ(volume(), "Optimal");
    ASSERT_EQ(bmcsim("drive 0/8 fail"), 0) << said;
    daemon.runToPass(1 + UPDATE);
    EXPECT_EQ(drive(8), "Failed");
    EXPECT_EQ(volume(), "Degraded");
}

// Whatever a shipped machine looks like, a word is done or refused with its reason, and the daemon takes the file.
TEST_F(Bmcsim, everyDriveOfTheShippedMachinesCanFailAndBePulled) {
    int done = 0;
    for (const auto& entry : std::filesystem::directory_iterator(MACHINES)) {
        if (entry.path().extension() != ".json") continue;
        place(ordered_json::parse(fileText(entry.path())));
        if (bmcsim("show drives --json") != 0) ADD_FAILURE() << entry.path() << ": " << said;
        const ordered_json shown = ordered_json::parse(said, nullptr, false);
        ASSERT_TRUE(shown.contains("drives")) << said;
        int tried = 0; // of 240 the first suffice
        for (const ordered_json& row : shown["drives"]) {
            if (tried++ == 12) break;
            const std::string name = row["drive"];
            for (const char* word : {" fail", " pull"}) {
                const int status = bmcsim("drive " + name + word);
                EXPECT_TRUE(status == 0 || (status == 3 && !said.empty())) << entry.path() << name << word << said;
                if (status == 0) ++done;
            }
        }
    }
    EXPECT_GT(done, 20);
}

// A word, and what the tree then says: the first text of an element behind a place. "": it is not there.
TEST_F(Bmcsim, everyWordIsFollowedByTheTree) {
    const struct {
        const char* words;
        const char* from;
        const char* element;
        const char* text;
    } rows[] = {{"fan 0/1/0 fail", "<Fan>", "FanSpeed", "0 rpm"},
                {"fan 0/1/0 +100", "<Fan>", "FanSpeed", "100 rpm"},
                {"fan 0/1/0 ok", "<Fan>", "Status", "OK"},
                {"supply 0/1/0 fail", "<Name>Fan 4</Name>", "Status", "OK"},
                {"sensor 0/1/0 +20", "<Name>Sensor (0)</Name>", "Status", "Critical"},
                {"sensor 0/1/0 -30", "<Name>Sensor (0)</Name>", "Temperature", "31"},
                {"sensor 0/1/0 fail", "<Name>Sensor (0)</Name>", "Status", "Critical"},
                {"battery 0 fail", "<Battery>", "Status", "Error"},
                {"battery 0 low", "<Battery>", "Capacitance", "12"},
                {"battery 0 learn", "<Battery>", "Status", "Degraded"},
                {"battery 0 remove", "<Adapter Nr=\"0\">", "IntelligentBBU", ""},
                {"battery 0 ok", "<Battery>", "Status", "Normal"},
                {"drive 0/22 temperature 61", "<PhysicalDrive Nr=\"22\">", "Temperature", "61"},
                {"drive 0/22 predict", "<PhysicalDrive Nr=\"22\">", "PFACount", "1"},
                {"drive 0/22 foreign", "<PhysicalDrive Nr=\"22\">", "ForeignConfig", "true"},
                {"drive 0/e1:23 pull", "<PhysicalDrive Nr=\"22\">", "Status", ""},
                {"drive 0/e1:23 insert", "<PhysicalDrive Nr=\"8\">", "Status", "Unconfigured Good"},
                {"drive 0/8 spare", "<PhysicalDrive Nr=\"19\">", "Status", "Failed"},
                {"drive 0/8 rebuild 100%", "<LogicalDrive Nr=\"0\">", "Status", "Optimal"},
                {"volume 0/1 check 50%", "<LogicalDrive Nr=\"1\">", "Activity", "MDC in progress (50.00%)"},
                {"volume 0/1 initialize 100%", "<LogicalDrive Nr=\"1\">", "Status", "Optimal"},
                {"enclosure 0 add KP23 --drives 2", "<PhysicalDrive Nr=\"10\">", "Status", "Unconfigured Good"},
                {"enclosure 0/2 remove", "<PhysicalDrive Nr=\"34\">", "Status", ""},
                {"controller 0 remove", "<System>", "AdapterNumber", ""},
                {"controller 0 return", "<System>", "AdapterNumber", "0"},
                {"host name web-99", "<System>", "Name", "web-99"}};
    place(ordered_json::parse(fileText(MACHINES "/enclosures.json")));
    int pass = 1;
    daemon.runToPass(pass);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.words);
        EXPECT_EQ(bmcsim(row.words), 0) << said;
        if (said.find("comes and goes unseen") != std::string::npos) { // so that it is seen
            ASSERT_EQ(bmcsim("host name pass" + std::to_string(pass)), 0) << said;
        }
        daemon.runToPass(pass += UPDATE);
        EXPECT_EQ(treeText(row.from, row.element), row.text);
    }
    EXPECT_EQ(daemon.read("simulator/log").find("simulator:"), std::string::npos);
}

// A range stays one entry: what a word changes is laid over it.
TEST_F(Bmcsim, rangesOfDevicesStay) {
    ordered_json machine = shipped();
    ordered_json& controller = machine["controllers"][0];
    ordered_json bay = controller["devices"]["10"];
    bay["records"]["MR_PD_INFO"].update(
        {{"deviceId", "{n}"}, {"slotNumber", "{n-20}"}, {"fwState", "Unconfigured Good"}});
    controller["devices"] = {{"40..43", bay}, {"42", {{"sasRpm", 7200}}}};
    controller["records"].erase("MR_PD_LIST");
    controller.erase("logicalDrives");
    place(machine);
    daemon.runToPass(1);
    ASSERT_EQ(drive(42), "Unconfigured Good");
    ASSERT_EQ(bmcsim("drive 0/42 spare"), 0) << said;
    ASSERT_EQ(bmcsim("drive 0/41 pull"), 0) << said;
    daemon.runToPass(1 + UPDATE);
    EXPECT_EQ(drive(42), "Hot Spare");
    EXPECT_EQ(drive(41), "");
    const ordered_json devices = ordered_json::parse(daemon.read("machine.json"))["controllers"][0]["devices"];
    EXPECT_EQ(devices.size(), 3U) << devices.dump(1);
    EXPECT_EQ(devices["42"], ordered_json::parse(R"({"sasRpm": 7200, "records": {"MR_PD_INFO": {"fwState": 2}}})"));
}

TEST_F(Bmcsim, aLinkedMachineFileStaysALinkAndTheOldOneIsKept) {
    daemon.write("elsewhere.json", shipped().dump());
    daemon.remove("machine.json");
    std::filesystem::create_symlink("elsewhere.json", daemon.path("machine.json"));
    ASSERT_EQ(bmcsim("drive 0/8 fail"), 0) << said;
    EXPECT_TRUE(std::filesystem::is_symlink(daemon.path("machine.json")));
    EXPECT_EQ(ordered_json::parse(daemon.read("elsewhere.json.old")), shipped());
    EXPECT_EQ(bmcsim("get /controllers/0/virtualDiskStatus"), 0);
    EXPECT_EQ(said, "1\n");
}

TEST_F(Bmcsim, faultsAreSeenWhereTheyStrike) {
    ordered_json machine = shipped();
    machine["faults"] = {{{"call", "raid_GetEnclosureList"}, {"kind", "error"}},
                         {{"device", 99}, {"kind", "slow"}},
                         {{"call", "raid_PhysicalDeviceGetInfo"}, {"device", 8}, {"nth", 3}, {"kind", "hang"}}};
    place(machine);
    daemon.setEnvironment("BMC_TRACE", "0");
    daemon.runToPass(1 + UPDATE);
    std::vector<std::string> kinds;
    std::istringstream lines(daemon.read("simulator/calls.jsonl"));
    for (std::string line; std::getline(lines, line);)
        if (const ordered_json call = ordered_json::parse(line); call.contains("fault"))
            kinds.push_back(call["call"].get<std::string>() + " " + call["fault"].get<std::string>());
    const std::string error = "raid_GetEnclosureList error"; // of two controllers, twice
    EXPECT_EQ(kinds, std::vector(4, error));
    EXPECT_EQ(ordered_json::parse(daemon.read("simulator/faults")), ordered_json({{"0", 4}, {"1", 0}, {"2", 0}}));
    EXPECT_NE(daemon.read("simulator/log").find("/faults/1: a controller with device 99 is not described"),
              std::string::npos);
    daemon.runToPass(1 + 2 * UPDATE);
    EXPECT_EQ(bmcsim("status"), 0);
    EXPECT_NE(said.find("machine file  taken\nnext update   at 00:15:00, but the clock stands"), std::string::npos)
        << said;
    EXPECT_EQ(bmcsim("wait --timeout 0"), 1);
    EXPECT_NE(daemon.read("simulator/calls.jsonl").find(R"("result": null, "fault": "hang"})"), std::string::npos);
    ASSERT_EQ(bmcsim("fault list"), 0);
    EXPECT_NE(said.find("2  struck 1 times"), std::string::npos) << said;
    ASSERT_EQ(bmcsim("machine " + daemon.path("simulator/calls.jsonl")), 0) << said;
}

TEST_F(Bmcsim, playTellsWhatTheTreeDoes) {
    if (*EMULATOR != 0) GTEST_SKIP() << "bmcsim cannot start the daemon there";
    ordered_json machine = shipped();
    machine["timeline"] = {{{"at", "00:07:00"}, {"do", "drive 0/10 fail"}},
                           {{"at", "30min"}, {"do", "drive 0/8 temperature 60"}},
                           {{"at", "1h"}, {"do", "drive 0/12 rebuild 100%"}},
                           {{"at", "00:59:59"}, {"do", "drive 0/8 temperature 61"}},
                           {{"at", "1h 1s"}, {"do", "drive 0/8 pull"}}};
    place(machine);
    const std::string before = daemon.read("machine.json");
    ASSERT_EQ(bmcsim("play " + daemon.path("machine.json") + " --for 1h"), 0) << said;
    EXPECT_EQ(std::regex_replace(said, std::regex(" \\(.*\\)"), ""),
              R"(00:00:00  first tree: 2 adapters, 3 volumes, 8 drives
00:07:00  timeline: drive 0/10 fail
00:10:00  adapter 0: status OK -> Degraded
00:10:00  volume 0/1: status Optimal -> Degraded
00:10:00  drive 0/10: status Online -> Failed
00:10:00  drive 0/12: speed not told -> 10500 rpm
00:10:00  drive 0/12: status Hot Spare -> Rebuild
00:10:00  drive 0/12: activity Idle -> Rebuild in progress
00:10:00  drive 0/12: power status Spun Down -> Active
00:30:00  timeline: drive 0/8 temperature 60
00:30:00  only figures have changed
00:59:59  timeline: drive 0/8 temperature 61
01:00:00  timeline: drive 0/12 rebuild 100%
01:00:00  adapter 0: status Degraded -> OK
01:00:00  volume 0/1: status Degraded -> Optimal
01:00:00  drive 0/12: status Rebuild -> Online
01:00:00  drive 0/12: activity Rebuild in progress -> Idle
01:00:00  end: 13 updates, 4 trees written
)");
    EXPECT_EQ(daemon.read("machine.json"), before);
    EXPECT_EQ(bmcsim("play " + daemon.path("machine.json") + " --for 1x"), 2);
    daemon.write("machine.json", R"({"timeline": [{"at": "1s", "do": "drive 0/8 fail"}]})");
    EXPECT_EQ(bmcsim("play " + daemon.path("machine.json")), 3);
    EXPECT_NE(said.find("/timeline/0/do: there is no adapter 0"), std::string::npos) << said;
}

TEST_F(Bmcsim, stepMovesAStandingClockAndTellsTheUpdates) {
    EXPECT_EQ(bmcsim("step 5min"), 1);
    EXPECT_NE(said.find("no daemon runs"), std::string::npos) << said;
    place(shipped());
    daemon.runToPass(1);
    const ordered_json now = ordered_json::parse(daemon.read("simulator/now"));
    EXPECT_EQ(now, ordered_json({{"time", 30},
                                 {"nextUpdate", 300},
                                 {"file", "taken"},
                                 {"standing", true},
                                 {"speed", 0},
                                 {"start", 4354819200},
                                 {"pid", daemon.pid()}}));
    ASSERT_EQ(bmcsim("step 1min"), 0) << said;
    EXPECT_EQ(said, "time 00:00:30 -> 00:01:30\nno update; the next one is at 00:05:00\n");
    ASSERT_EQ(bmcsim("drive 0/8 fail"), 0);
    ASSERT_EQ(bmcsim("step 00:08:30"), 0) << said;
    EXPECT_EQ(said, "time 00:01:30 -> 00:10:00\nupdate: written\nupdate: nothing new\n");
    daemon.write("machine.json", "{");
    ASSERT_EQ(bmcsim("step 5min"), 0) << said;
    EXPECT_NE(said.find("refused"), std::string::npos) << said;
    EXPECT_EQ(bmcsim("step 0"), 2);
    daemon.finish();
    EXPECT_EQ(daemon.read("simulator/now") + daemon.read("simulator/clock"), "");
}

} // namespace
