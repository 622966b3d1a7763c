#include "simulator/machine/plainMachine.h"

#include "simulator/machine/deviceRanges.h"
#include "simulator/machine/machineReader.h"
#include "simulator/words/words.h"
#include "tests/support/simulatedRoot.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

using namespace sim;
using Json = nlohmann::ordered_json;

namespace {

const std::filesystem::path MACHINES = std::filesystem::path(__FILE__).parent_path() / "../../machines";

std::vector<std::pair<std::string, Json>> shippedMachines() {
    std::vector<std::pair<std::string, Json>> machines;
    for (const auto& entry : std::filesystem::directory_iterator(MACHINES))
        if (entry.path().extension() == ".json")
            machines.emplace_back(entry.path().filename(), Json::parse(std::ifstream(entry.path())));
    return machines;
}

Controllers controllersOf(const Json& machine) {
    const MachineReading reading = readMachine(machine.dump());
    if (reading.machine != nullptr && reading.machine->controllers != nullptr) return *reading.machine->controllers;
    for (const std::string& line : describeMistakes("", reading.mistakes, 9)) ADD_FAILURE() << line;
    return {};
}

void expectSame(const Controllers& one, const Controllers& other) {
    ASSERT_EQ(one.size(), other.size());
    for (size_t i = 0; i < one.size(); ++i) {
        EXPECT_EQ(one[i].records, other[i].records);
        EXPECT_EQ(one[i].logicalDrives, other[i].logicalDrives);
        EXPECT_EQ(std::pair(one[i].batteryStatus, one[i].virtualDiskStatus),
                  std::pair(other[i].batteryStatus, other[i].virtualDiskStatus));
        ASSERT_EQ(one[i].devices.size(), other[i].devices.size());
        for (const auto& [id, device] : one[i].devices) {
            ASSERT_TRUE(other[i].devices.contains(id)) << id;
            const Device& same = other[i].devices.at(id);
            EXPECT_TRUE(device.records == same.records && device.pages == same.pages) << id;
            EXPECT_TRUE(device.sasRpm == same.sasRpm && device.temperature == same.temperature) << id;
        }
    }
}

// Two descriptions of the same controller.
TEST(PlainMachine, rangesWordsAndListsAreWhatTheyStandFor) {
    for (const auto& [brief, full] : casesOf(__FILE__).get<std::vector<std::pair<Json, Json>>>()) {
        const auto machine = [](Json controller) {
            controller["id"] = 0;
            return Json{{"controllers", Json::array({controller})}};
        };
        SCOPED_TRACE(brief.dump());
        expectSame(controllersOf(machine(brief)), controllersOf(machine(full)));
    }
}

TEST(PlainMachine, placeholdersAreReckonedFromTheLeft) {
    const struct {
        const char* text;
        const char* filled;
    } rows[] = {{"{n}", "80"},         {"a{n-8}b{n+1}", "a72b81"},
                {"{n-32/24+8}", "10"}, {"{n%24:3}", "008"},
                {"{n*256}", "20480"},  {"{n/0}", "{n/0}"},
                {"{n", "{n"},          {"{m} {n:21} {n+}", "{m} {n:21} {n+}"},
                {"{{n}}", "{80}"},     {"", ""},
                {"{n:4}{n}", "008080"}};
    for (const auto& row : rows) EXPECT_EQ(fillIn(row.text, 80), row.filled) << row.text;
}

TEST(PlainMachine, readsToTheSameMachine) {
    for (const auto& [name, machine] : shippedMachines()) {
        SCOPED_TRACE(name);
        expectSame(controllersOf(machine), controllersOf(plainMachine(machine)));
    }
}

// Whatever a word changes of the plain form, the file says afterwards, however it was written.
TEST(PlainMachine, changesAreCarriedOverIntoTheFile) {
    int tried = 0;
    int changed = 0;
    for (const auto& [name, machine] : shippedMachines()) {
        const Json before = plainMachine(machine);
        for (size_t adapter = 0; adapter < before.value("controllers", Json::array()).size(); ++adapter) {
            for (const auto& [id, device] : before["controllers"][adapter]["devices"].items()) {
                for (const char* word : {"fail", "pull"}) {
                    if (tried++ % 11 != 0) continue;
                    Json after = before;
                    const std::string number = before["controllers"][adapter].value("number", Json(adapter)).dump();
                    const std::vector<std::string> words = {"drive", number + "/" + id, word};
                    if (!applyWords(after, words).error.empty()) continue;
                    ++changed;
                    Json file = machine;
                    carryOver(file, before, after);
                    EXPECT_EQ(nlohmann::json(plainMachine(file)), nlohmann::json(after)) << name << id << word;
                }
            }
        }
    }
    EXPECT_GT(changed, 40);
}

TEST(PlainMachine, whatIsTakenAwayIsGoneFromRangesAndListsToo) {
    const Json machine = Json::parse(
        R"({"controllers": [{"id": 3}, {"id": 4, "devices": {"8..9": {"sasRpm": 1, "records": {"MR_PD_INFO": {}}}}}]})");
    const Json before = plainMachine(machine);
    Json after = before;
    after["controllers"][1]["devices"].erase("9");
    after["controllers"][1]["devices"]["8"]["records"].erase("MR_PD_INFO");
    after["controllers"].erase(0);
    after["controllers"].push_back({{"id", 5}});
    after["controllers"].push_back({{"id", 6}});
    Json file = machine;
    carryOver(file, before, after);
    expectSame(controllersOf(file), controllersOf(after));
    EXPECT_TRUE(file["controllers"][0]["devices"].contains("8..9")) << file;
}

} // namespace
