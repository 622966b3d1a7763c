#include "cache/cacheBuild.h"

#include "cache/cacheRelease.h"
#include "cache/driveRelations.h"
#include "daemon/accounting.h"
#include "tests/daemon/outputs.h"
#include "tests/support/updateFixture.h"
#include "tree/treeBuilder.h"

namespace {

using nlohmann::json;
using CacheBuild = UpdateTest;

// All records of a controller, those of its devices, their pages and those of the logical drives included.
std::vector<json::json_pointer> recordsOf(const json& controller) {
    std::vector<json::json_pointer> paths;
    const json flat = controller.flatten();
    for (const auto& [path, value] : flat.items()) {
        for (json::json_pointer at(path); !at.empty(); at.pop_back()) {
            const std::string kind = at.parent_pointer().empty() ? "" : at.parent_pointer().back();
            if ((kind == "records" || kind == "pages") && (paths.empty() || paths.back() != at)) paths.push_back(at);
        }
    }
    return paths;
}

size_t countOf(const std::string& text, const std::string& part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

// What each failure is told with stands in the golden files.
TEST_F(CacheBuild, goesOnAfterAnyFailedReadAndReleasesEverything) {
    const json rich = describedServer("rich");
    for (size_t index = 0; index < 2; ++index) {
        const auto paths = recordsOf(rich.at("controllers").at(index));
        EXPECT_GT(paths.size(), 20U);
        for (const json::json_pointer& path : paths) {
            SCOPED_TRACE("controller " + std::to_string(index) + path.to_string());
            json machine = rich;
            machine.at("controllers").at(index).at(path) = nullptr;
            bool isBuilt = false;
            testing::internal::CaptureStdout();
            g_allocCount = 0;
            const std::string traced = tracedBy([&] {
                buildCache(machine);
                isBuilt = oobMRCache != nullptr;
                if (isBuilt) oobMRCache->rstDoc = getRSTfromCache();
                freeoobMRCache(std::exchange(oobMRCache, nullptr));
            });
            print_my_memory(g_allocCount);
            const bool isVital = path.back() == "MR_CTRL_INFO" || path.back() == "MR_CTRL_PROP";
            EXPECT_EQ(isBuilt, !isVital || index == 0) << "only the last controller's first two records are vital";
            // The library's own blocks alone are not in the table.
            const size_t blocks = countOf(traced, "Success in reading SL_ENCL_STATUS_T");
            EXPECT_EQ(countOf(testing::internal::GetCapturedStdout(), "MEMORY_"), isBuilt ? blocks : 0);
        }
    }
}

TEST_F(CacheBuild, tellsOfRelationsThatCannotBeRead) {
    describeMachine({{"controllers", {{{"id", 7}}}}});
    SL_LD_OF_PD_T drives;
    const std::string traced = tracedBy([&] { EXPECT_NE(raid_GetLDsOfPD(7, 300, &drives), 0); });
    EXPECT_TRUE(traced.starts_with("raid_GetPDsOfLD(): FAILED to get logical disks for physical disk with ctrlId=7, "
                                   "devId=300 ret="))
        << traced;
}

} // namespace
