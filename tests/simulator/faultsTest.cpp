#include "simulator/machine/faults.h"

#include "platform/appHelper.h"
#include "platform/dqmi.h"
#include "platform/lcm.h"
#include "platform/storelib.h"
#include "simulator/machine/clock.h"
#include "tests/simulator/simulatedMachine.h"

#include <nlohmann/json.hpp>

namespace {

[[maybe_unused]] const bool clockIsSet = setenv("BMC_SPEED", "max", 1) == 0;

class Faults : public simtest::SimulatedMachine {
  protected:
    // A machine of one controller and one drive, whose calls have these faults.
    static void describeFaults(const std::string& faults) {
        describe(R"({"controllers": [{"id": 7, "number": 3, "records": {"MR_ENCL_LIST": {"count": 1}}, "devices": {
            "12": {"records": {"MR_PD_INFO": {"deviceId": 12}}}, "13": {"records": {"MR_PD_INFO": {"deviceId": 13}}}}}],
            "configSpace": {"513": "host"}, "lcm": {"g": {"p": {"0": [{"type": "text", "value": "abc"}]}}},
            "dqmi": {"connection": 3, "text": "answer"}, "ipmi": {"lanChannel": 260}, "faults": )" +
                 faults + "}");
        SL_CTRL_LIST_T list;
        raid_GetControllerList(&list);
    }

    static uint64_t count() { return std::stoull(simtest::readFile(file("count"))); }

    // 'x' for each of some reads of a device that failed.
    static std::string readsOf(uint16_t device, int reads) {
        std::string pattern;
        MR_PD_INFO info{};
        for (int i = 0; i < reads; ++i) pattern += raid_PhysicalDeviceGetInfo(7, device, &info) == 0 ? '.' : 'x';
        return pattern;
    }
};

TEST_F(Faults, hitTheCallsThatTheyName) {
    const struct {
        const char* fault;
        const char* ofDevice12;
        const char* ofDevice13;
    } rows[] = {
        {R"([{"kind": "error"}])", "xxxxx", "xxxxx"},
        {R"([{"call": "raid_PhysicalDeviceGetInfo", "kind": "error", "nth": 3}])", "..xxx", "xxxxx"},
        {R"([{"call": "raid_PhysicalDeviceGetInfo", "kind": "error", "nth": 2, "times": 2}])", ".xx..", "....."},
        {R"([{"call": "raid_PhysicalDeviceGetInfo", "kind": "error", "nth": 6, "times": 1}])", ".....", "x...."},
        {R"([{"controller": 7, "device": 13, "kind": "error"}])", ".....", "xxxxx"},
        {R"([{"device": 13, "call": "raid_PhysicalDeviceGetInfo", "kind": "error", "nth": 2}])", ".....", ".xxxx"},
        {R"([{"controller": 8, "kind": "error"}, {"call": "raid_GetControllerNumber", "kind": "error"}])", ".....",
         "....."},
        {R"([{"device": 12, "kind": "slow", "times": 1}, {"device": 13, "kind": "error"}])", ".....", "xxxxx"},
    };
    for (const auto& row : rows) {
        describeFaults(row.fault);
        EXPECT_EQ(readsOf(12, 5), row.ofDevice12) << row.fault;
        EXPECT_EQ(readsOf(13, 5), row.ofDevice13) << row.fault;
    }
    describeFaults("[]");
    const uint64_t before = count();
    EXPECT_EQ(readsOf(12, 5), ".....");
    EXPECT_EQ(count(), before + 5);
    describeFaults(R"([{"kind": "error", "times": 2, "nth": )" + std::to_string(before + 9) + "}]"); // calls once
    EXPECT_EQ(readsOf(12, 5), "..xx.");
}

TEST_F(Faults, eachKindSpoilsWhatIsHandedOutInItsWay) {
    const struct {
        const char* kind;
        int status;
        uint32_t listCount;
        const char* host; // item 513
        int channel;
        const char* text; // for power state 0
        int parameters;
        int length; // of the first
        uint32_t answerLength;
    } rows[] = {
        {"error", 1, 5, "", -1, nullptr, 0, 0, 5},
        {"empty", 0, 0, "", 0, "", 0, 0, 0},
        {"short", 0, 1, "ho", 4, "Act", 1, 2, 3},
        {"counts", 0, UINT32_MAX, "host", INT32_MAX, nullptr, 1, -1, UINT32_MAX},
        {"slow", 0, 1, "host", 260, "Active", 1, 4, 6},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.kind);
        describeFaults("[]");
        const int64_t start = sim::clockTime().seconds;
        describeFaults(std::string(R"([{"kind": ")") + row.kind + R"(", "nth": )" + std::to_string(count() + 2) + "}]");
        MR_ENCL_LIST list{};
        list.count = 5; // stays when nothing is read
        EXPECT_EQ(raid_GetEnclosureList(7, &list), row.status);
        EXPECT_EQ(list.count, row.listCount);
        char host[8] = "";
        EXPECT_EQ(LCMconfigSpaceRead(513, 0, host, sizeof host), row.status == 0 ? 1 : 0);
        EXPECT_STREQ(host, row.host);
        EXPECT_EQ(etcGetDefaultLanChannelNumber(), row.channel);
        const char* text = raid_GetHddPowerState(0);
        if (row.text != nullptr || row.status != 0)
            EXPECT_STREQ(text, row.text);
        else
            EXPECT_EQ(std::string(text), std::string(4096, 'x'));
        uint32_t parameters = 0;
        LCMParamEntry* table = LCMParam_update(0, "g", "p", 0, &parameters);
        EXPECT_EQ(int(parameters), row.parameters);
        EXPECT_EQ(parameters > 0 ? int(table->length) : 0, row.length);
        LCMParamDb_destroyParameterTable(table, parameters);
        uint32_t header[16] = {};
        header[2] = 5;
        void* data = nullptr;
        EXPECT_EQ(ReadReceivedDQMImessage(OpenDQMItransaction(6, 2, 0, 5, nullptr, 0), header, &data),
                  row.status == 0 ? 0 : -1);
        EXPECT_EQ(header[2], row.answerLength);
        free(data);
        EXPECT_EQ(sim::clockTime().seconds - start, std::string_view(row.kind) == "slow" ? 8 * 3 : 0);
    }
}

TEST_F(Faults, garbageIsTheSameInEveryRun) {
    const sim::Fault fault(sim::FaultKind::Garbage, 1234);
    uint8_t bytes[8] = {};
    fault.spoil(bytes, sizeof bytes);
    constexpr uint8_t expected[8] = {0xD7, 0x0C, 0x1D, 0xE7, 0x26, 0x45, 0xA9, 0x04};
    EXPECT_EQ(memcmp(bytes, expected, sizeof bytes), 0) << testing::PrintToString(bytes);
    EXPECT_STREQ(fault.spoiledText("a"), sim::Fault(sim::FaultKind::Garbage, 1234).spoiledText("b"));
    EXPECT_EQ(fault.spoiledLength(5), 5U);
}

} // namespace
