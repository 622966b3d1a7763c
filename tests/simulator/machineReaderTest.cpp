#include "simulator/machine/machineReader.h"

#include "simulator/machine/recordLayout.h"
#include "tests/daemon/base/outputs.h"
#include "tests/support/simulatedRoot.h"

#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>

using namespace sim;

namespace {

TEST(RecordLayout, everyMemberLiesInItsRecordUnderANameOfItsOwn) {
    std::set<std::string_view> names;
    std::set<uint32_t> opcodes;
    for (const RecordLayout& layout : recordLayouts()) {
        EXPECT_TRUE(names.insert(layout.name).second) << layout.name;
        EXPECT_TRUE(layout.opcode == 0 || opcodes.insert(layout.opcode).second) << layout.name;
        std::set<std::string_view> members = {"size", "raw"};
        uint32_t end = 0;
        for (const Field& field : layout.members) {
            EXPECT_TRUE(members.insert(field.name).second) << layout.name << "." << field.name;
            EXPECT_GE(field.offset, end) << layout.name << "." << field.name;
            end = field.offset + field.size * std::max(1U, field.count);
            EXPECT_TRUE(end <= layout.size || field.name == "ld") << layout.name << "." << field.name;
        }
        EXPECT_EQ(&layout, findRecordLayout(layout.owner, layout.name));
    }
}

std::set<std::string> pairsIn(const char* path, const char* form) {
    const std::string text = textOf(std::filesystem::path(__FILE__).parent_path() / "../.." / path);
    const std::regex pair(form);
    std::set<std::string> found;
    for (auto match = std::sregex_iterator(text.begin(), text.end(), pair); match != std::sregex_iterator(); ++match)
        found.insert((*match)[1].str() + "." + (*match)[2].str());
    return found;
}

// In the sources' words, as a program knows no members that it was not told.
TEST(RecordLayout, hasTheMembersWhoseOffsetsAreAsserted) {
    constexpr char offset[] = R"(static_assert\(offsetof\((\w+), (\w+)\))";
    std::set<std::string> asserted = pairsIn("platform/storelibRecords.h", offset);
    asserted.merge(pairsIn("platform/storelibDriveRecords.h", offset));
    // What is asked and answered elsewhere than in records by name; the entries of "ld" do not all fit.
    std::erase_if(asserted, [](const std::string& member) {
        return member.starts_with("SL_LIB_CMD_PARAM_T.") || member.starts_with("SL_CTRL_LIST_T.") ||
               member.starts_with("SL_TEMP_THRESHOLD_T.") || member == "MR_CONFIG_DATA.ld";
    });
    EXPECT_EQ(asserted, pairsIn("simulator/machine/recordLayout.cpp", R"(\n    FIELD(?:_AS)?\((\w+),\s*(\w+))"));
}

// Pairs of a machine, or of the lines of a file, and what is said of it.
TEST(MachineReader, everyMistakeIsSaidWithItsPlace) {
    auto cases = casesOf(__FILE__).get<std::vector<std::pair<nlohmann::json, std::vector<std::string>>>>();
    const char broken[] = {'"', char(0xE2), char(0x82), '"', 0}; // the second character does not end
    cases.emplace_back(broken, std::vector<std::string>{"1:3: syntax error while parsing value - invalid string: "
                                                        "ill-formed UTF-8 byte; last read: '\"\\xe2\\x82\"'"});
    cases.emplace_back("[\xff", std::vector<std::string>{"1:2: syntax error while parsing value - invalid literal; "
                                                         "last read: '[\\xff'"});
    for (const auto& [machine, faults] : cases) {
        std::string text = machine.is_string() ? machine.get<std::string>() : machine.dump();
        if (machine.is_array() && !machine.empty()) {
            text.clear();
            for (const std::string line : machine) text += line + "\n";
        }
        const MachineReading reading = readMachine(text);
        EXPECT_EQ(reading.machine, nullptr) << text;
        std::vector<std::string> lines;
        for (const std::string& line : describeMistakes("", reading.mistakes, 100)) lines.push_back(line.substr(1));
        EXPECT_EQ(lines, faults) << text;
    }
}

TEST(MachineReader, goesOnForABoundedNumberOfMistakes) {
    std::string list = "[-1";
    for (int i = 0; i < 9999; ++i) list += ", -1";
    const MachineReading reading = readMachine("{\"configSpaceWriteFails\": " + list + "]}");
    EXPECT_EQ(reading.mistakes.size(), MOST_MISTAKES);
    const std::vector<std::string> lines = describeMistakes("m", reading.mistakes, 3);
    ASSERT_EQ(lines.size(), 4);
    EXPECT_EQ(lines[3], "m: and 197 more");
    EXPECT_EQ(describeMistakes("m", {{"/\xc2\x85\n\xc3\xa4\xed\xa0\x80", "x"}}, 1).front(),
              "m: /\\xc2\\x85\\x0a\xc3\xa4\\xed\\xa0\\x80: x");
}

TEST(MachineReader, nullStandsForWhatIsNotThere) {
    const MachineReading reading = readMachine(
        R"({"controllers": [{"id": 1, "number": null, "records": {"MR_PR_STATUS": null}, "logicalDrives": {"0": null},
            "devices": {"8": {"pages": {"7": null}, "temperature": null, "thresholds": [null, [-1.5, null, 1e39, -1e39]]}}}],
            "configSpace": {"7": null}, "agents": null, "processMonitor": {"register": -1}})");
    ASSERT_NE(reading.machine, nullptr) << describeMistakes("", reading.mistakes, 9).front();
    const Controller& controller = reading.machine->controllers->front();
    const Device& device = controller.devices.at(8);
    EXPECT_TRUE(controller.records.empty() && controller.logicalDrives.empty() && !controller.number);
    EXPECT_TRUE(device.pages.contains(7) && !device.pages.at(7) && !device.temperature);
    ASSERT_EQ(device.thresholds.size(), 2);
    EXPECT_TRUE(!device.thresholds[0] && device.thresholds[1]);
    const auto [first, second, third, fourth] = *device.thresholds[1];
    EXPECT_TRUE(first == -1.5F && std::isnan(second) && third > 1e38F && fourth < -1e38F);
    EXPECT_TRUE(reading.machine->configSpace.empty() && !reading.machine->agentsAnswer);
    EXPECT_EQ(reading.machine->processMonitor.registerResult, -1);
    EXPECT_EQ(readMachine(R"({"controllers": null})").machine->controllers, nullptr);
}

} // namespace
