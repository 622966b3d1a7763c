#include "platform/appHelper.h"
#include "platform/dqmi.h"
#include "platform/host.h"
#include "platform/ipmi.h"
#include "platform/lcm.h"

#include "tests/simulator/simulatedMachine.h"

#include <csignal>
#include <cstring>
#include <sys/wait.h>

namespace {

class HostData : public simtest::SimulatedMachine {
  protected:
    void SetUp() override { std::filesystem::remove(file("calls.jsonl")); }
    static size_t callsRecorded(const std::string& text) {
        const std::string calls = simtest::readFile(file("calls.jsonl"));
        size_t count = 0;
        for (size_t at = calls.find(text); at != std::string::npos; at = calls.find(text, at + 1)) ++count;
        return count;
    }
};

TEST_F(HostData, parameterValuesHaveTheirTypeLengthAndExactlyTheirMemory) {
    const struct {
        const char* value;
        int32_t state;
        int32_t type;
        uint32_t length;
        std::string bytes; // empty: none
    } cases[] = {
        {R"({"type": "text", "value": "abc"})", 0, 1, 4, std::string("abc\0", 4)},
        {R"({"type": "text", "value": "abc", "length": 3})", 0, 1, 3, "abc"},
        {R"({"type": "raw", "value": "0a0b"})", 0, 0, 2, "\x0a\x0b"},
        {R"({"type": "raw", "value": "0a0b", "length": 3})", 0, 0, 3, std::string("\x0a\x0b\0", 3)},
        {R"({"type": "number", "value": 258})", 0, 2, 4, std::string("\2\1\0\0", 4)},
        {R"({"type": "number", "value": -2, "length": 8})", 0, 2, 8, "\xfe\xff\xff\xff\xff\xff\xff\xff"},
        {R"({"type": "number", "value": 4294967296})", 0, 2, 8, std::string("\0\0\0\0\1\0\0\0", 8)},
        {R"({"type": "number", "value": 7, "length": 3})", 0, 2, 3, std::string("\7\0\0", 3)},
        {R"({"type": "text", "value": "x", "length": 4294967295})", 0, 1, 0xFFFFFFFF, "x"},
        {R"({"type": "invalid", "value": "x"})", 0, 255, 2, std::string("x\0", 2)},
        {R"({"type": "not available"})", 3, 0, 0, ""},
    };
    for (const auto& [value, state, type, length, bytes] : cases) {
        describe(std::string(R"({"lcm": {"G": {"N": {"-1": [)") + value + "]}}}}");
        uint32_t count = 77;
        LCMParamEntry* table = LCMParam_update(1, "G", "N", -1, &count);
        ASSERT_NE(table, nullptr) << value;
        EXPECT_EQ(count, 1U);
        EXPECT_TRUE(table->state == state && table->type == type && table->length == length) << value;
        EXPECT_EQ(table->value == nullptr, bytes.empty()) << value;
        EXPECT_EQ(std::string(static_cast<const char*>(table->value), bytes.size()), bytes) << value;
        LCMParamDb_destroyParameterTable(table, count);
    }
    describe(R"({"lcm": {"G": {"N": {"0": [], "1": null}}}})");
    uint32_t count = 77;
    LCMParamEntry* empty = LCMParam_update(0, "G", "N", 0, &count);
    EXPECT_NE(empty, nullptr);
    EXPECT_EQ(count, 0U);
    LCMParamDb_destroyParameterTable(empty, count);
    const struct {
        const char* group;
        const char* name;
        int32_t instance;
    } absent[] = {{"G", "N", 1}, {"G", "N", -1}, {"G", "M", 0}, {"H", "N", 0}};
    for (const auto& [group, name, instance] : absent)
        EXPECT_EQ(LCMParam_update(0, group, name, instance, &count), nullptr) << group << name << instance;
}

TEST_F(HostData, ipmiAnswersAsFarAsItIsDescribed) {
    describe(R"({"ipmi": {"session": true, "lanChannel": 8, "userAccess": {"raw": {"0": "000f"}},
        "users": {"2": {"code": 0, "name": {"raw": {"0": "61"}, "size": 16}, "snmp": [1, 2, 3, 4]}, "3": {"code": 204}, "4": {"code": null}}}})");
    EXPECT_EQ(etcGetDefaultLanChannelNumber(), 8);
    IPMISession* session = ipmiCreateLocalSession(60);
    ASSERT_NE(session, nullptr);
    const struct {
        uint8_t command;
        std::vector<uint8_t> request;
        int result;
        std::vector<uint8_t> answer; // its start
        uint32_t length;
    } cases[] = {
        {0x44, {8, 0}, 0, {0, 15}, 2}, {0x46, {2}, 0, {0, 'a', 0}, 17}, {0x46, {3}, 0, {204}, 1},
        {0x46, {4}, 1, {}, 20},        {0x46, {5}, 1, {}, 20},          {0x46, {}, 1, {}, 20},
        {0x01, {}, 1, {}, 20},
    };
    for (const auto& [command, request, result, answer, length] : cases) {
        std::vector<uint8_t> response(20, 0xEE);
        uint32_t responseLength = 20;
        EXPECT_EQ(ipmiSendCmd(session, 0x18, command, request.data(), static_cast<uint32_t>(request.size()),
                              response.data(), &responseLength),
                  result);
        EXPECT_EQ(responseLength, length);
        EXPECT_TRUE(std::equal(answer.begin(), answer.end(), response.begin()));
    }
    uint8_t enable = 0;
    uint8_t settings[3] = {};
    EXPECT_EQ(LIBIPMI_HL_AMIGetSNMPConf(session, 2, &enable, settings, 5), 0);
    EXPECT_EQ(enable << 24 | settings[0] << 16 | settings[1] << 8 | settings[2], 0x01020304);
    EXPECT_NE(LIBIPMI_HL_AMIGetSNMPConf(session, 3, &enable, settings, 5), 0);
    EXPECT_EQ(LIBIPMI_HL_AMISetSNMPConf(session, 2, 1, settings, 5), 0);
    EXPECT_EQ(callsRecorded(R"("call": "LIBIPMI_HL_AMISetSNMPConf", "args": [2, 1, "020304", 5], "result": 0})"), 1U);
    ipmiCloseLocalSession(session);
    describe("{}");
    EXPECT_EQ(ipmiCreateLocalSession(60), nullptr);
}

TEST_F(HostData, dqmiTransactionsOpenInTheOrderDescribedAndAnswer) {
    describe("{}");
    EXPECT_EQ(OpenDQMIConnection(), -1);
    const uint8_t request[48] = {0, 0, 0, 0, 2};
    EXPECT_EQ(OpenDQMItransaction(6, 2, 0, 5, request, 0), -1);
    describe(R"({"dqmi": {"connection": 3, "open": ["fail", "ok"], "text": "<a/>", "status": 5, "length": 6}})");
    EXPECT_EQ(OpenDQMIConnection(), 3);
    EXPECT_EQ(OpenDQMItransaction(6, 2, 0, 5, request, 0), -1);
    EXPECT_GT(OpenDQMItransaction(6, 2, 0, 5, request, 0), 0);
    const int transaction = OpenDQMItransaction(6, 2, 0, 5, request, 0);
    uint8_t header[64];
    void* data = nullptr;
    EXPECT_EQ(ReadReceivedDQMImessage(transaction, header, &data), 0);
    EXPECT_EQ(header[8] << 8 | header[28], 0x0605);
    EXPECT_EQ(memcmp(data, "<a/>\0\0", 6), 0); // a length has its memory
    free(data);
    describe(R"({"dqmi": {"length": 4294967295}})");
    EXPECT_EQ(ReadReceivedDQMImessage(OpenDQMItransaction(6, 2, 0, 5, request, 0), header, &data), 0);
    EXPECT_EQ(header[11], 0xFF);
    EXPECT_EQ(data, nullptr);
    describe(R"({"dqmi": {"read": "fail", "text": "x"}})");
    EXPECT_EQ(ReadReceivedDQMImessage(1, header, &data), -1);
    EXPECT_EQ(data, nullptr);
}

TEST_F(HostData, processesHaveTheirProcEntryAndAloneGetSignals) {
    const pid_t child = fork();
    if (child == 0) {
        for (;;) pause();
    }
    const std::string entry = root() + "/proc/" + std::to_string(child);
    std::filesystem::create_directories(root() + "/proc/77");
    describe("{}");
    EXPECT_EQ(hostSignal(child, SIGKILL), 0);
    EXPECT_EQ(waitpid(child, nullptr, WNOHANG), 0);
    describe(R"({"processes": {")" + std::to_string(child) +
             R"(": {"cmdline": ["/usr/sbin/snmpd", "-f"]}, "88": {}}})");
    EXPECT_EQ(hostSignal(child, SIGTERM), 0);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
    EXPECT_EQ(hostSignal(child, SIGTERM), -1);
    EXPECT_EQ(errno, ESRCH);
    EXPECT_EQ(simtest::readFile(entry + "/cmdline"), std::string("/usr/sbin/snmpd\0-f\0", 19));
    describe(R"({"processes": {"88": {}}})");
    hostSignal(99, 0); // looks
    EXPECT_FALSE(std::filesystem::exists(entry));
    EXPECT_TRUE(std::filesystem::exists(root() + "/proc/88/cmdline"));
    EXPECT_TRUE(std::filesystem::exists(root() + "/proc/77"));
    std::filesystem::remove(root() + "/proc/77");
}

} // namespace
