#include "simulator/machine/machineReader.h"

#include "simulator/machine/recordLayout.h"
#include "tests/support/simulatedRoot.h"

#include <cmath>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
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

// Pairs of a machine, or of a text that is none, and how what is said of it begins.
TEST(MachineReader, whatDoesNotFitIsSaidWithTheWayToIt) {
    auto cases = casesOf(__FILE__).get<std::vector<std::pair<nlohmann::json, std::string>>>();
    cases.emplace_back("{\"a\": \"\xff\"}", "line 1, column 8: ");
    for (const auto& [machine, fault] : cases) {
        const std::string text = machine.is_string() ? machine.get<std::string>() : machine.dump();
        const MachineReading reading = readMachine(text);
        EXPECT_EQ(reading.machine, nullptr) << text;
        EXPECT_EQ(reading.fault.substr(0, fault.size()), fault) << text;
    }
}

TEST(MachineReader, nullStandsForWhatIsNotThere) {
    const MachineReading reading = readMachine(
        R"({"controllers": [{"id": 1, "number": null, "records": {"MR_PR_STATUS": null}, "logicalDrives": {"0": null},
            "devices": {"8": {"pages": {"7": null}, "temperature": null, "thresholds": [null, [-1.5, null, 1e39, -1e39]]}}}],
            "configSpace": {"7": null}, "agents": null, "processMonitor": {"register": -1}})");
    ASSERT_NE(reading.machine, nullptr) << reading.fault;
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
