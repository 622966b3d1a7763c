#include "cache/driveRelations.h"

#include "tests/daemon/base/outputs.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

TEST(DriveRelations, tellThatTheyCannotBeRead) {
    const nlohmann::json relations = {{"records", {{"LDS_OF_PD", {{"raw", {{"0", "01"}}}}}}}};
    describeMachine({{"controllers", {{{"id", 7}, {"devices", {{"8", relations}}}}}}});
    SL_LD_OF_PD_T drives;
    EXPECT_EQ(tracedBy([&] { EXPECT_EQ(raid_GetLDsOfPD(7, 8, &drives), 0); }), "");
    const std::string traced = tracedBy([&] { EXPECT_NE(raid_GetLDsOfPD(7, 300, &drives), 0); });
    EXPECT_TRUE(traced.starts_with("raid_GetPDsOfLD(): FAILED to get logical disks for physical disk with ctrlId=7, "
                                   "devId=300 ret="))
        << traced;
}

TEST(DriveRelations, takePredictedFailuresAtTheirWordInSomeStates) {
    MR_PD_INFO info{};
    info.predFailCount = 1;
    std::string states;
    for (info.fwState = 0; info.fwState < 0x100; ++info.fwState)
        if (const std::string text = getPdSmartStatusText(nullptr, &info); text != "OK") {
            EXPECT_EQ(text, "Failure Predicted");
            states += std::to_string(info.fwState) + " ";
        }
    EXPECT_EQ(states, "1 2 16 17 20 32 64 128 130 144 ");
}

} // namespace
