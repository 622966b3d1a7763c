#include "tests/support/updateFixture.h"

#include "cache/cacheBuild.h"
#include "cache/cacheRelease.h"
#include "daemon/base/logs.h"
#include "rst/treeWriters.h"
#include "rst/updateCycle.h"
#include "tests/daemon/base/outputs.h"

#include <filesystem>

namespace {

// The clock reads its settings once, at its first use by any test.
[[maybe_unused]] const bool clockIsSet = setenv("BMC_SPEED", "max", 1) == 0 && setenv("BMC_TIME", "1767225600", 1) == 0;

void setZone(const std::string& zone) {
    setenv("TZ", zone.c_str(), 1);
    tzset();
}

} // namespace

UpdateTest::UpdateTest() {
    simulatedRoot();
    if (const char* zone = getenv("TZ")) zone_ = zone;
    setZone("CET-1CEST,M3.5.0,M10.5.0/3");
}

UpdateTest::~UpdateTest() {
    forget();
    setZone(zone_);
}

nlohmann::json UpdateTest::describedServer(const std::string& name) {
    const auto tree = std::filesystem::path(__FILE__).parent_path().parent_path().parent_path();
    return nlohmann::json::parse(std::ifstream(tree / "machines" / (name + ".json")));
}

void UpdateTest::describe(const nlohmann::json& machine) {
    placeFile(below("/machine.json"), machine.dump());
}

void UpdateTest::forget() {
    freeoobMRCache(std::exchange(oobMRCache, nullptr));
    for (const char* file : {RST_FILE, RST_LOG_FILE}) std::filesystem::remove(below(file));
}

std::string UpdateTest::documentOf(const nlohmann::json& machine) {
    describe(machine);
    std::filesystem::remove(below(RST_FILE));
    EXPECT_EQ(updateRAIDStorageTree(), UPDATE_WRITTEN);
    return textOf(below(RST_FILE));
}

void UpdateTest::buildCache(const nlohmann::json& machine) {
    describe(machine);
    freeoobMRCache(oobMRCache);
    char errorText[256];
    buildoobMRCache(errorText);
    EXPECT_STREQ(errorText, oobMRCache != nullptr ? "" : "Can");
}
