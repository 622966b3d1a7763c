#include "simulator/machine/duration.h"
#include "simulator/machine/machineStore.h"
#include "tests/daemon/base/outputs.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using json = nlohmann::ordered_json;

int64_t now = 0;

std::string nameOf(const sim::Machine& machine) {
    const auto item = machine.configSpace.find(513);
    return item == machine.configSpace.end() ? "" : reinterpret_cast<const char*>(item->second.data());
}

json sets(const char* at, const json& values) {
    return {{"at", at}, {"set", values}};
}

class Timeline : public testing::Test {
  protected:
    const std::string path = below("/timeline.json");
    sim::MachineStore store{path, [](const sim::Machine&) {}, [] { return now; }};

    void place(json machine, const json& timeline) {
        machine["timeline"] = timeline;
        placeFile(path, machine.dump());
    }
    std::string nameAt(int64_t second) {
        now = second;
        return nameOf(*store.current());
    }
};

TEST_F(Timeline, isPlayedInTheOrderOfTimeAndSecondReadingsPlayWhatIsDue) {
    const json timeline = {sets("00:10:00", {{"/configSpace/513", "third"}}),
                           sets("00:05:00", {{"/configSpace/513", "lost"}}),
                           sets("300", {{"/configSpace/513", "second"}})};
    const json machine = {{"configSpace", {{"513", "first"}}}};
    place(machine, timeline);
    EXPECT_EQ(nameAt(299), "first");
    EXPECT_EQ(nameAt(300), "second");
    const uint64_t reading = store.current()->reading;
    EXPECT_EQ(nameAt(4000), "third");
    EXPECT_EQ(store.current()->reading, reading);
    now = 301;
    place(machine, timeline);
    EXPECT_EQ(nameAt(301), "second");
    EXPECT_NE(store.current()->reading, reading);
    placeFile(path, machine.dump());
    EXPECT_EQ(nameAt(5000), "first") << "it has no timeline any more";
}

TEST_F(Timeline, setsMakeWhatIsMissing) {
    place({{"controllers", json::array({{{"id", 1}}})}},
          {sets("1s", {{"/controllers/1", {{"id", 2}}},
                       {"/controllers/-", {{"id", 3}}},
                       {"/controllers/0/devices/8/records/MR_PD_INFO/deviceId", 8},
                       {"/controllers/0/devices/8/temperature", 31},
                       {"/lcm/a~1b/~0/-1", {{{"type", "number"}, {"value", 1}}}}}),
           sets("2s", {{"/controllers/0/devices/8/temperature", nullptr}})});
    now = 1;
    const auto controllers = store.take();
    ASSERT_EQ(controllers->size(), 3);
    EXPECT_EQ(controllers->at(2).id, 3);
    EXPECT_EQ(controllers->at(0).devices.at(8).temperature, 31);
    EXPECT_TRUE(store.current()->parameters.at("a/b").at("~").contains(-1));
    now = 2;
    EXPECT_EQ(store.taken()->at(0).devices.at(8).temperature, 31) << "until they are taken anew";
    EXPECT_FALSE(store.take()->at(0).devices.at(8).temperature);
}

TEST_F(Timeline, wordsAreRepeated) {
    place({{"agents", {{"state", 0}}}}, {{{"at", "10s"}, {"every", "20s"}, {"times", 3}, {"do", "agents connected"}},
                                         {{"at", "20s"}, {"every", "20s"}, {"times", 3}, {"do", "agents down"}}});
    std::string states;
    for (now = 0; now < 90; now += 10) states += std::to_string(store.current()->agentsAnswer->back());
    EXPECT_EQ(states, "020202000");
}

TEST(Duration, isReadAsPeopleWriteIt) {
    const std::pair<const char*, int64_t> lengths[] = {{"00:07:00", 420}, {"100:00:01", 360001}, {"90", 90},
                                                       {"5min", 300},     {"1d 12h", 129600},    {"1h30min", 5400},
                                                       {"0s", 0},         {"24h", 86400}};
    for (const auto& [text, seconds] : lengths) EXPECT_EQ(sim::parseDuration(text), seconds) << text;
    for (const char* text : {"", "-1", "+1", "1.5h", "00:60:00", "00:07", "00:07:000", "00:07:0x", "5 min", "5m",
                             "1h1d", "5min5min", "min", "1h ", "99999999999999999999", "9999999d", "1d 9999999d"})
        EXPECT_FALSE(sim::parseDuration(text)) << text;
    EXPECT_EQ(sim::clockText(360001), "100:00:01");
}

} // namespace
