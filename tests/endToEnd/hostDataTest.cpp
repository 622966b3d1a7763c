// What the daemon does with what the host reports: configuration items, driver monitoring.

#include "tests/endToEnd/daemonProcess.h"

namespace {

using nlohmann::json;
using HostData = EndToEnd;

json text(const char* value) {
    return {{{"type", "text"}, {"value", value}}};
}
json number(int64_t value, int length = 4) {
    return {{{"type", "number"}, {"value", value}, {"length", length}}};
}
json addresses(const std::vector<std::string>& values) {
    json list = json::array();
    for (const std::string& value : values) list.push_back({{"type", "raw"}, {"value", value}});
    return list;
}

json systemInformation(const json& parameters) {
    return {{"lcm", {{"System Information", parameters}}}};
}

size_t countCalls(const DaemonProcess& daemon, const std::string& name, const std::string& part) {
    size_t count = 0;
    for (const Call& call : daemon.calls(name)) count += call.arguments.find(part) != std::string::npos ? 1 : 0;
    return count;
}

std::vector<std::string> writes(const DaemonProcess& daemon, int64_t time) {
    std::vector<std::string> arguments;
    for (const Call& call : daemon.calls("LCMconfigSpaceWrite"))
        if (call.time == time) arguments.push_back(call.arguments);
    return arguments;
}

// Pass 2 is the first one after the agents' first poll.
TEST_F(HostData, isPublishedWhileTheAgentsAreConnected) {
    daemon.describe({{"agents", {{"state", 2}}}});
    daemon.describe(systemInformation({{"OSProductName", {{"0", text("OS")}}},
                                       {"ServerAssetTag", {{"0", {{{"type", "not available"}}}}}},
                                       {"OsAgentSoftware", {{"0", text("A 1")}}},
                                       {"OsDomainName", {{"0", {{{"type", "text"}, {"value", "abc"}, {"length", 2}}}}}},
                                       {"CabinetModel", {{"0", number(7)}}},
                                       {"OsLocalTimeOffset", {{"0", number(60)}}}}));
    daemon.runToPass(2);
    // Texts with their NUL; what is absent, or no single text, is an empty text; what is not available is tried again.
    const std::vector<std::string> first = {
        R"([12,0,"00000000",4])", R"([13,0,"00000000",4])", R"([527,0,"4f5300",3])", R"([531,0,"41203100",4])",
        R"([513,0,"616200",3])",  R"([518,0,"00",1])",      R"([517,0,"00",1])",     R"([519,0,"00",1])",
        R"([520,0,"00",1])",      R"([522,0,"",0])",        R"([523,0,"",0])",       R"([524,0,"",0])",
        R"([525,0,"",0])"};
    EXPECT_EQ(writes(daemon, 60), first);
    daemon.runToPass(3);
    EXPECT_EQ(writes(daemon, 120).size(), first.size() - 5); // without those that are written once

    daemon.describe({{"agents", {{"state", 0}}}});
    daemon.runToPass(5);
    EXPECT_TRUE(writes(daemon, 240).empty());
    daemon.describe({{"agents", {{"state", 2}}}});
    daemon.runToPass(6);
    EXPECT_EQ(writes(daemon, 300), first);
}

TEST_F(HostData, putsAddressesIntoFourSlots) {
    const std::string four = "0a000001";
    const std::string six = "20010db8000000000000000000000001";
    const struct {
        std::vector<std::string> ip;
        std::vector<std::string> ip6;
        std::string slots; // of what is written, with the length of each
    } rows[] = {{{}, {}, "522:0 523:0 524:0 525:0 "},
                {{four}, {}, "522:4 523:0 524:0 525:0 "},
                {{four, "0a00"}, {six}, "522:4 523:16 524:0 525:0 "},
                {{four + "05", six + "01"}, {}, "522:5 523:17 524:0 525:0 "},
                {{four, four}, {six}, "522:4 523:4 524:16 "},
                {{four, four}, {six, six}, "522:4 523:4 524:16 525:16 "},
                {{four, four, four}, {six, six}, "522:4 523:4 524:4 525:16 "}};
    int pass = 2;
    daemon.describe({{"agents", {{"state", 2}}}});
    for (const auto& row : rows) {
        daemon.describe(systemInformation(
            {{"ConfServerMgmtIp", {{"-1", addresses(row.ip)}}}, {"ConfServerMgmtIp6", {{"-1", addresses(row.ip6)}}}}));
        daemon.runToPass(pass);
        std::string slots;
        for (const std::string& arguments : writes(daemon, 60 * (pass - 1)))
            if (const json call = json::parse(arguments); call[0] >= 522 && call[0] <= 525)
                slots += call[0].dump() + ":" + call[3].dump() + " ";
        EXPECT_EQ(slots, row.slots);
        ++pass;
    }
}

TEST_F(HostData, makesTheDatabaseAskForDriverMonitoring) {
    daemon.describe({{"agents", {{"state", 1}}},
                     {"lcm",
                      {{"Driver Monitoring",
                        {{"DrvMonNumberComponents", {{"-1", number(2)}}},
                         {"DrvMonSupportedLanguages", {{"-1", text("en")}}},
                         {"DrvMonComponentName", {{"0", text("a")}, {"1", text("b")}}}}},
                       {"Driver Monitoring Events", {{"DrvMonNumberEvents", {{"-1", number(100)}}}}}}}});
    daemon.runToPass(2);
    EXPECT_EQ(countCalls(daemon, "LCMParam_update", "DrvMonComponentName"), 2U);
    EXPECT_EQ(countCalls(daemon, "LCMParam_update", "DrvMonEventId"), 100U);
    EXPECT_EQ(daemon.read("tmp/LCMdbbug_mira.log"), "");
    daemon.describe({{"lcm", {{"Driver Monitoring Events", {{"DrvMonNumberEvents", {{"-1", number(101, 8)}}}}}}}});
    daemon.runToPass(3);
    EXPECT_EQ(countCalls(daemon, "LCMParam_update", "DrvMonEventId"), 201U);
    EXPECT_EQ(daemon.read("tmp/LCMdbbug_mira.log"), "05:47, numEvents = 101 (65), output = 65, length = 8\n");
    daemon.describe({{"lcm", {{"Driver Monitoring Events", {{"DrvMonNumberEvents", {{"-1", number(0)}}}}}}}});
    daemon.runToPass(12);
    EXPECT_EQ(countCalls(daemon, "LCMParam_update", "DrvMonEventId"), 201U);
    // Read once: the components; on the first reading pass and then on every tenth: the languages.
    EXPECT_EQ(countCalls(daemon, "LCMParam_update", "DrvMonComponentName"), 2U);
    EXPECT_EQ(countCalls(daemon, "LCMParam_update", "DrvMonSupportedLanguages"), 2U);
    EXPECT_EQ(daemon.calls("LCMconfigSpaceWrite").size(), 0U); // limited agents publish nothing

    // A hostile count does not stall the pass.
    daemon.describe({{"lcm", {{"Driver Monitoring Events", {{"DrvMonNumberEvents", {{"-1", number(0x7FFFFFFF)}}}}}}}});
    daemon.runToPass(13);
    EXPECT_EQ(countCalls(daemon, "LCMParam_update", "DrvMonEventId"), 201U + 4096U);
}

} // namespace
