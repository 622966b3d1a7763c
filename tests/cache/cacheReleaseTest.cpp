#include "cache/cacheRelease.h"

#include "daemon/base/accounting.h"
#include "tests/daemon/base/outputs.h"
#include "tests/support/updateFixture.h"

namespace {

class CacheRelease : public UpdateTest {};

// Neither a block that was never entered (MEMORY_ERROR) nor one that is still there (MEMORY_occupied).
TEST_F(CacheRelease, releasesEachBlockThatTheBuildEntered) {
    g_allocCount = 0;
    testing::internal::CaptureStdout();
    tracedBy([] {
        buildCache(describedServer("rich"));
        freeoobMRCache(std::exchange(oobMRCache, nullptr));
    });
    print_my_memory(g_allocCount);
    EXPECT_GT(g_allocCount, 50);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

} // namespace
