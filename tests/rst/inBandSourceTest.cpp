#include "rst/inBandSource.h"

#include "daemon/base/logs.h"
#include "rst/dqmiClient.h"
#include "rst/treeWriters.h"
#include "rst/updateCycle.h"
#include "tests/daemon/base/outputs.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

void answer(const json& dqmi) {
    describeMachine({{"controllers", json::array()}, {"dqmi", dqmi}});
}

TEST(InBandSource, writesATreeThatIsNewOrHasNoFile) {
    const std::string tree(1025, 'x');
    std::filesystem::remove(below(RST_FILE));
    answer({{"connection", 3}, {"text", tree}});
    EXPECT_EQ(updateFromAgents(), UPDATE_WRITTEN);
    EXPECT_EQ(updateFromAgents(), UPDATE_NOTHING_NEW);
    std::filesystem::remove(below(RST_FILE));
    EXPECT_EQ(updateFromAgents(), UPDATE_WRITTEN);
    answer({{"connection", 3}, {"text", tree.substr(1)}}); // too short for one
    EXPECT_EQ(updateFromAgents(), UPDATE_FROM_CONTROLLERS);
    EXPECT_EQ(ibMRCache, nullptr);
    EXPECT_EQ(textOf(below(RST_FILE)), tree);
}

// Rows of an answer, the text or the value that it is taken for, and what is told where it is none.
TEST(InBandSource, tellsWhatFailed) {
    for (const json& row : casesOf(__FILE__)) {
        SCOPED_TRACE(row["dqmi"]);
        answer(row["dqmi"]);
        char error[DQMI_ERROR_SIZE] = "";
        char* text = dqmiRequestString(0, DQMI_CMD_GET_RST, 0, 7, error);
        EXPECT_EQ(text == nullptr ? json() : json(text), row.value("text", json()));
        EXPECT_EQ(error, row.value("textError", ""));
        free(text);
        error[0] = '\0';
        EXPECT_EQ(dqmiRequestValue(0, DQMI_CMD_GET_RST, 0, 7, error), row["value"]);
        EXPECT_EQ(error, row.value("valueError", ""));
    }
}

TEST(InBandSource, isThereWhileTheAgentsAreConnected) {
    const std::pair<json, const char*> rows[] = {{{{"state", 2}}, "QP Agent is connected!\n"},
                                                 {{{"state", 1}}, "QP Agent is connected!\n"},
                                                 {{{"state", 0}}, "retFlag = 0 (errMsg='')\n"},
                                                 {nullptr, "retFlag = 0 (errMsg='send failed')\n"}};
    for (const auto& [agents, log] : rows) {
        describeMachine({{"controllers", json::array()}, {"agents", agents}});
        std::filesystem::remove(below(RST_LOG_FILE));
        EXPECT_EQ(iBDataAvailable(), log[0] == 'Q');
        EXPECT_TRUE(textOf(below(RST_LOG_FILE)).ends_with("iBDataAvailable(): " + std::string(log))) << log;
    }
}

} // namespace
