// The tree update: its result, its lines in the RST log, and its trace.

#include "tests/endToEnd/daemonProcess.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <regex>
#include <sstream>

namespace {

using Update = EndToEnd;
using Lines = std::vector<std::string>;
using nlohmann::json;

constexpr char UNTOUCHED[] = "untouched";

// With the longest names made short.
Lines linesOf(const std::string& text) {
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        line = std::regex_replace(line, std::regex("updateRAIDStorageTree"), "update");
        lines.push_back(std::regex_replace(line, std::regex("/var/RAIDStorageDeviceTree.xml"), "TREE"));
    }
    return lines;
}

// The messages of the update and of the writer, without the builders' own. Every line must bear a time.
Lines messagesOf(const std::string& log) {
    static const std::regex form(R"((?:2108/01/01 \d\d:\d\d:\d\d\.000000\t(.*))?)");
    static const std::regex wanted(R"(|(update\(\): |writeRST2File|buildoobMRCache\(\): Error).*)");
    Lines messages;
    for (const std::string& line : linesOf(log)) {
        std::smatch match;
        EXPECT_TRUE(std::regex_match(line, match, form)) << line;
        if (std::regex_match(match[1].str(), wanted)) messages.push_back(match[1]);
    }
    return messages;
}

Lines operator+(Lines first, const Lines& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

const json NAME_CHANGED = R"({"configSpace": {"513": "another"}})"_json;
const json NAME_CHANGED_BACK = R"({"configSpace": {"513": "host"}})"_json;
const json SWITCHED_OFF = R"({"configSpace": {"11054": {"raw": {"0": "00"}}}})"_json;
const json SWITCHED_ON = R"({"configSpace": {"11054": {"raw": {"0": "80"}}}})"_json;
const json NO_SWITCH = R"({"configSpace": {"11054": null}})"_json;
const json NO_LIST = R"({"controllers": null})"_json;
const json UNCHANGED = json::object();

// Two of them; the properties of those named cannot be read.
json controllers(bool firstReadable, bool lastReadable) {
    const json all = {{"MR_CTRL_INFO", json::object()}, {"MR_CTRL_PROP", json::object()}};
    const json info = {{"MR_CTRL_INFO", json::object()}};
    return {
        {"controllers",
         {{{"id", 3}, {"records", firstReadable ? all : info}}, {{"id", 9}, {"records", lastReadable ? all : info}}}}};
}

TEST_F(Update, writesWhatChangedAndSaysSo) {
    const Lines begin = {"update(): START:", "update(): Use Out-of-Band RAID data!"};
    const Lines first = begin + Lines{"update(): First Call after start of ZEB_MIRA_Update demon!"};
    const Lines failed = {"buildoobMRCache(): Error: Cannot get controller info from storelib!"};
    const Lines compared = begin + Lines{"update(): Before checking DOM trees"};
    const Lines same = compared + Lines{"update(): END - Old and new DOM trees are the same! (ret=1)", ""};
    const Lines different = compared + Lines{"update(): Old and new DOM trees are different!"};
    const Lines end = {"update(): END - ret=0", ""};
    const Lines written = Lines{"writeRST2File(): Have successfully written RST XML file for out-of-band data!"} + end;
    const auto notWritten = [&](const std::string& why, const std::string& result) {
        return different + Lines{"writeRST2File(): " + why,
                                 "update(): Writing XML RST into 'TREE' failed! (ret=" + result + ")",
                                 "update(): END - ret=3", ""};
    };
    const auto leave = [] {};
    const auto remove = [&] { daemon.remove(TREE); };

    const struct {
        const char* what;
        json change;
        std::function<void()> changeFile; // which is there and "untouched"
        Lines messages;
        bool isWritten;
    } steps[] = {
        {"no list at the first call", NO_LIST, leave, first + failed, false},
        {"first tree", controllers(true, true), leave, first + written, true},
        {"equal", UNCHANGED, leave, same, false},
        {"changed", NAME_CHANGED, leave, different + written, true},
        {"file deleted", UNCHANGED, remove, different + written, true},
        {"switched off", SWITCHED_OFF, leave, {}, false},
        {"switch missing", NO_SWITCH, leave, {}, false},
        {"switched on", SWITCHED_ON, leave, same, false},
        {"no list", NO_LIST, leave, begin + failed, false},
        {"last controller's properties", controllers(true, false), leave, begin + failed, false},
        {"only the first one's", controllers(false, true), remove, different + written, true},
        {"device full", NAME_CHANGED_BACK,
         [&] { remove(), std::filesystem::create_symlink("/dev/full", daemon.path(TREE)); },
         notWritten("ERROR writing RST XML file 'TREE' (ret=3)!", "3"), false},
        {"which counts as written", UNCHANGED, [&] { remove(), daemon.write(TREE, UNTOUCHED); }, same, false},
        {"cannot be opened", NAME_CHANGED, [&] { remove(), std::filesystem::create_directory(daemon.path(TREE)); },
         different + end, false},
        {"cannot be locked", NAME_CHANGED_BACK, [&] { daemon.makeFifo(TREE), daemon.open(TREE, O_RDWR); },
         notWritten("END - ERROR:Other process has locked file 'TREE' (errno=29) - Cannot update XML RST file!", "29"),
         false},
    };
    int pass = 1;
    for (const auto& step : steps) {
        SCOPED_TRACE(step.what);
        daemon.remove(RST_LOG);
        daemon.write(TREE, UNTOUCHED);
        daemon.describe(step.change);
        step.changeFile();
        daemon.runToPass(pass);
        EXPECT_EQ(messagesOf(daemon.read(RST_LOG)), step.messages);
        const bool isFile = std::filesystem::is_regular_file(daemon.path(TREE));
        EXPECT_EQ(isFile && daemon.read(TREE) != UNTOUCHED, step.isWritten);
        pass += 5;
    }
}

// What is traced stands in the golden files.
TEST_F(Update, tracesWhileTheTraceFileIsThere) {
    constexpr char same[] = "update(): Old and new DOM trees are the same! - END with 1";
    const struct {
        const char* what;
        json change;
        const char* operatorsFile; // NULL: the trace file stays as it is, "": there is none
        int starts;                // of calls that are traced in the file
        std::string lastLine;
    } steps[] = {
        {"fresh file", UNCHANGED, "an operator's\n", 1, "update(): END -> 0"},
        {"equal: fresh, stays open", UNCHANGED, nullptr, 1, same},
        {"switched off: appended", SWITCHED_OFF, nullptr, 1,
         "update(): update disabled by ConfigSpace by ConfBmcRaidMIRAUpdateEnabled (0x2b2e), skipping"},
        {"switch missing: appended", NO_SWITCH, nullptr, 1, "update:2261: coudn't read ConfBmcRaidMIRAUpdateEnabled"},
        {"switched on", SWITCHED_ON, nullptr, 2, same},
        {"changed: appended, closed", NAME_CHANGED, nullptr, 3, "update(): END -> 0"},
        {"failed: fresh, stays open", NO_LIST, nullptr, 1, "update():  ERROR: buildoobMRCache() failed! - END with 4"},
        {"equal: appended", {{"controllers", json::array()}}, nullptr, 2, same},
        {"no trace file", UNCHANGED, "", 0, ""},
        {"made anew while the stream was open", UNCHANGED, "another one\n", 1, same},
    };
    int pass = 1;
    for (const auto& step : steps) {
        SCOPED_TRACE(step.what);
        daemon.describe(step.change);
        if (step.operatorsFile != nullptr) daemon.remove(TRACE);
        if (step.operatorsFile != nullptr && *step.operatorsFile != '\0') daemon.write(TRACE, step.operatorsFile);
        daemon.runToPass(pass);
        const Lines lines = linesOf(daemon.read(TRACE));
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "update(): START"), step.starts);
        EXPECT_EQ(lines.empty() ? "" : lines.back(), step.lastLine);
        pass += 5;
    }
}

TEST(UpdateTrace, touchesNothingButARegularFile) {
    for (const bool fifo : {true, false}) {
        DaemonProcess daemon;
        daemon.write("victim", UNTOUCHED);
        if (fifo)
            daemon.makeFifo(TRACE);
        else
            std::filesystem::create_symlink(daemon.path("victim"), daemon.path(TRACE));
        daemon.runToPass(1);
        EXPECT_NE(daemon.read(TREE), "");
        EXPECT_EQ(daemon.read("victim"), UNTOUCHED);
        daemon.finish();
    }
}

} // namespace
