#include "rst/inBandSource.h"

#include "rst/dqmiClient.h"
#include "rst/treeWriters.h"
#include "rst/updateCycle.h"
#include "tests/daemon/outputs.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

class InBandSource : public testing::Test {
  protected:
    void SetUp() override { std::filesystem::remove(below(RST_FILE)); }
    void TearDown() override {
        free(ibMRCache);
        ibMRCache = nullptr;
    }
    static void answer(const json& dqmi) { describeMachine({{"controllers", json::array()}, {"dqmi", dqmi}}); }
    static void answerText(const std::string& text) { answer({{"connection", 3}, {"text", text}}); }
};

TEST_F(InBandSource, writesATreeThatChanged) {
    const std::string tree(1025, 'x');
    const struct {
        std::string text;
        int code;
        std::string file;
    } rows[] = {{tree, UPDATE_WRITTEN, tree},
                {tree, UPDATE_NOTHING_NEW, tree},
                {tree + "y", UPDATE_WRITTEN, tree + "y"},
                {std::string(1024, 'x'), UPDATE_FROM_CONTROLLERS, tree + "y"}, // too short for a tree
                {tree, UPDATE_WRITTEN, tree}};
    for (const auto& row : rows) {
        answerText(row.text);
        EXPECT_EQ(updateFromAgents(), row.code);
        EXPECT_EQ(textOf(below(RST_FILE)), row.file);
    }
    std::filesystem::remove(below(RST_FILE));
    EXPECT_EQ(updateFromAgents(), UPDATE_WRITTEN); // the same text, but no file
    answer(nullptr);
    EXPECT_EQ(updateFromAgents(), UPDATE_FROM_CONTROLLERS);
    EXPECT_EQ(ibMRCache, nullptr);
}

TEST_F(InBandSource, tellsWhatFailed) {
    const struct {
        json dqmi;
        const char* text; // NULL: no text
        const char* textError;
        int value;
        const char* valueError;
    } rows[] = {
        {{{"connection", 3}, {"text", "abcd"}}, "abcd", "", 0x64636261, ""},
        {{{"connection", 3}, {"text", "abcde"}}, "abcde", "", -1, "DQMI no data"},
        {{{"connection", 3}, {"length", 0}, {"text", "abcd"}}, "", "", 0, ""},
        {{{"connection", 3}, {"length", 4294967295U}}, "", "", -1, "DQMI no data"},
        {{{"connection", 3}, {"length", 4294967295U}, {"text", "abcd"}}, nullptr, "", -1, "DQMI no data"},
        {{{"connection", 3}, {"open", {"fail", "ok", "fail"}}, {"text", "ab"}}, "ab", "", -1, "DQMI open failed"},
        {{{"connection", 3}, {"open", {"fail", "fail"}}, {"text", "ab"}}, nullptr, "", -1, "DQMI open failed"},
        {{{"connection", 3}, {"read", "fail"}, {"text", "ab"}}, nullptr, "", -1, "DQMI read failed"},
        {{{"connection", 3}, {"status", 5}, {"text", "ab"}},
         nullptr,
         "DQMI command '8656' failed (pid = 7, status = 5)!\n",
         -1,
         "Command failed (pid = 7, status = 5\n"},
    };
    for (const auto& row : rows) {
        answer(row.dqmi);
        char error[DQMI_ERROR_SIZE] = "";
        char* text = dqmiRequestString(0, DQMI_CMD_GET_RST, 0, 7, error);
        ASSERT_EQ(text == nullptr, row.text == nullptr) << row.dqmi;
        EXPECT_STREQ(text, row.text) << row.dqmi;
        EXPECT_STREQ(error, row.textError) << row.dqmi;
        free(text);
        error[0] = '\0';
        EXPECT_EQ(dqmiRequestValue(0, DQMI_CMD_GET_RST, 0, 7, error), row.value) << row.dqmi;
        EXPECT_STREQ(error, row.valueError) << row.dqmi;
    }
}

TEST_F(InBandSource, copiesAnXmlFileThroughTheParser) {
    constexpr char copy[] = "/tmp/ibRAID.xml";
    for (const char* text : {"<a><b>1</b>", "", "<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>"}) {
        std::ofstream(below("/tmp/in.xml")) << text;
        EXPECT_EQ(readXMLFile("/tmp/in.xml"), 1) << text;
    }
    EXPECT_EQ(readXMLFile("/tmp/missing.xml"), 1);
    EXPECT_FALSE(std::filesystem::exists(below(copy)));
    std::ofstream(below("/tmp/in.xml")) << "<a><b x='1'>&lt;1&gt;</b></a>";
    EXPECT_EQ(readXMLFile("/tmp/in.xml"), 0);
    EXPECT_EQ(textOf(below(copy)),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a>\n  <b x=\"1\">&lt;1&gt;</b>\n</a>\n");
}

} // namespace
