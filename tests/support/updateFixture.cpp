#include "tests/support/updateFixture.h"

#include "cache/cacheBuild.h"
#include "cache/cacheRelease.h"
#include "daemon/accounting.h"
#include "daemon/logs.h"
#include "platform/xmlParser.h"
#include "rst/treeWriters.h"
#include "rst/updateCycle.h"
#include "tests/daemon/outputs.h"
#include "tree/treeBuilder.h"

#include <filesystem>
#include <regex>

namespace {

constexpr char HEX_DIGITS[] = "0123456789abcdef";

// The clock reads its settings once, at its first use by any test.
[[maybe_unused]] const bool clockIsSet = setenv("BMC_SPEED", "max", 1) == 0 && setenv("BMC_TIME", "1767225600", 1) == 0;

void setZone(const std::string& zone) {
    setenv("TZ", zone.c_str(), 1);
    tzset();
}

nlohmann::json& recordAt(nlohmann::json& controller, const std::string& name) {
    const size_t dot = name.find('.');
    if (dot == std::string::npos) return controller["records"][name];
    const std::string owner = name.substr(0, dot);
    nlohmann::json& at =
        owner.starts_with("LD") ? controller["logicalDrives"][owner.substr(2)] : controller["devices"][owner];
    return at["records"][name.substr(dot + 1)];
}

std::string hexOf(const std::string& bytes) {
    if (!bytes.starts_with('\'')) return bytes;
    std::string hex;
    for (const char c : bytes.substr(1, bytes.size() - 2)) {
        hex += HEX_DIGITS[c >> 4 & 15];
        hex += HEX_DIGITS[c & 15];
    }
    return hex;
}

std::string withoutAddress(std::string line) {
    const size_t block = line.find(":address= 0x");
    if (block != std::string::npos) return line.substr(0, block);
    const size_t value = line.rfind(" 0x");
    if (value != std::string::npos && line.find_first_not_of("0123456789abcdef)", value + 3) == std::string::npos)
        line.erase(value);
    return line;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(withoutAddress(line));
    return lines;
}

} // namespace

UpdateTest::UpdateTest() {
    simulatedRoot();
    if (const char* zone = getenv("TZ")) zone_ = zone;
    setZone("CET-1CEST,M3.5.0,M10.5.0/3");
}

UpdateTest::~UpdateTest() {
    freeoobMRCache(oobMRCache);
    oobMRCache = nullptr;
    for (const char* file : {RST_FILE, RST_LOG_FILE}) std::filesystem::remove(below(file));
    setZone(zone_);
}

nlohmann::json UpdateTest::controllersWith(const std::string& bytes, int count) {
    nlohmann::json controller = {{"number", 3}};
    for (const char* name : {"MR_CTRL_INFO", "MR_CTRL_PROP", "MR_MFC_DEFAULTS", "MR_PR_STATUS", "MR_PR_PROPERTIES",
                             "MR_CC_SCHEDULE_PROPERTIES", "MR_BBU_STATUS", "MR_BBU_CAPACITY_INFO", "MR_BBU_PROPERTIES",
                             "MR_BBU_DESIGN_INFO", "MR_PD_LIST", "MR_SAS_CONNECTORS", "MR_ENCL_LIST", "MR_CONFIG_DATA"})
        controller["records"][name] = nlohmann::json::object();

    const std::regex patch(R"((\d+)=('[^']*'|[0-9A-Fa-f]*)|(-?)(\w[\w.]+))");
    std::string record;
    for (std::sregex_iterator at(bytes.begin(), bytes.end(), patch), end; at != end; ++at) {
        const std::smatch& match = *at;
        if (match[1].matched) {
            recordAt(controller, record)["raw"][match[1]] = hexOf(match[2]);
            continue;
        }
        record = match[4];
        nlohmann::json& place = recordAt(controller, record);
        if (match[3].length() > 0)
            place = nullptr;
        else if (!place.is_object())
            place = nlohmann::json::object();
    }
    nlohmann::json controllers = nlohmann::json::array();
    for (int i = 0; i < count; ++i) {
        controller["id"] = 7 + i;
        controllers.push_back(controller);
    }
    return {{"controllers", controllers}, {"configSpace", {{"11054", {{"raw", {{"0", "01"}}}}}, {"513", "server"}}}};
}

void UpdateTest::describe(const nlohmann::json& machine) {
    const std::string file = below("/machine.json");
    std::ofstream(file + ".new") << machine.dump();
    std::filesystem::rename(file + ".new", file);
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

UpdateTest::Build UpdateTest::buildOnce(const nlohmann::json& machine) {
    freeoobMRCache(std::exchange(oobMRCache, nullptr));
    std::filesystem::remove(below(RST_LOG_FILE));
    Build build;
    g_allocCount = 0;
    testing::internal::CaptureStdout();
    build.buildTrace = linesOf(tracedBy([&] { buildCache(machine); }));
    build.done = oobMRCache != nullptr;
    if (build.done) build.documentTrace = linesOf(tracedBy([] { oobMRCache->rstDoc = getRSTfromCache(); }));
    build.releaseTrace = linesOf(tracedBy([] { freeoobMRCache(std::exchange(oobMRCache, nullptr)); }));
    print_my_memory(g_allocCount);
    build.output = linesOf(testing::internal::GetCapturedStdout());
    build.log = linesOf(textOf(below(RST_LOG_FILE)));
    for (std::string& line : build.log) line.erase(0, line.find('\t') + 1);
    return build;
}
