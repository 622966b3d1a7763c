#include "cache/cacheBuild.h"

#include "tests/support/updateFixture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

namespace {

using Lines = std::vector<std::string>;

// An enclosure, a SATA drive in it, a battery and a logical drive, which all can be read.
constexpr char SMALL[] = R"(MR_CTRL_INFO 1456=01 1472=01 1478=02 MR_BBU_STATUS 0=01 MR_SAS_CONNECTORS 0=01
    MR_PD_LIST 0=3800 4=02 8=08 14=0D 32=14 34=08 MR_ENCL_LIST 0=01 8=08 8.MR_PD_INFO 4=0D
    8.SL_ENCL_STATUS_T 8=12 12=01 16=03 20=04 20.MR_PD_INFO 189=30 20.SATA_IDENTIFY
    MR_CONFIG_DATA 8=01 320=05 LD5.MR_LD_INFO LD5.MR_LD_PROGRESS LD5.SL_PD_IN_LD_T)";

std::string join(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

size_t countOf(const Lines& lines, const std::string& line) {
    return static_cast<size_t>(std::count(lines.begin(), lines.end(), line));
}

class CacheBuild : public UpdateTest {
  protected:
    // What was allocated while tracing is released; only the library's own blocks are not in the table.
    static void expectAllReleased(const Build& build) {
        const std::string statusRead = "Success in reading SL_ENCL_STATUS_T";
        const auto statusBlocks = std::count_if(build.buildTrace.begin(), build.buildTrace.end(),
                                                [&](auto& line) { return line.find(statusRead) != std::string::npos; });
        const Lines complaints(build.done ? size_t(statusBlocks) : 0, "MEMORY_ERROR : delete_my_memory(");
        Lines output = build.output;
        for (std::string& line : output) line = line.substr(0, line.find("0x"));
        EXPECT_EQ(output, complaints);
    }
};

TEST_F(CacheBuild, tellsEveryStep) {
    const Build build = buildOnce(controllersWith(SMALL));
    EXPECT_EQ(join(build.log), R"(buildoobMRCache(): called.
createCache_CtrlInfo() called.
createCache_CtrlInfo2() called.
createCache_PDInfo() called.
createCache_LDInfo() called.
buildoobMRCache(): END - oobMRCache=
getRSTfromCache(): START ....
getRSTfromCache(): END! (doc =
freeoobMRCache() called.
)");
    EXPECT_EQ(join(build.buildTrace), R"(buildoobMRCache(): START
CALLOC
createCache_CtrlInfo(): START
createCache_CtrlInfo(): sl_ctrlList.count= 1
CALLOC
createCache_CtrlInfo(0):LOOP:  ctrlId=7
CALLOC
createCache_CtrlInfo(0): Success in reading MR_CTRL_INFO: sizeof(pCtrlInfo)=4, sizeof(MR_MFC_DEFAULTS) = 2048
createCache_CtrlInfo(0): 2Success in reading MR_CTRL_INFO: sizeof(*pCtrlInfo)=2048, sizeof(MR_MFC_DEFAULTS) = 2048
CALLOC
createCache_CtrlInfo(MR_CTRL_INFO): ctrl i=0, size_mrcCfg=4, size_MR_CTRL_INFO=2048
createCache_CtrlInfo(): ctrlId=7
CALLOC
createCache_CtrlInfo(0): Success in reading MR_CTRL_PROP
createCache_CtrlInfo(): END - ret=0
createCache_CtrlInfo2(): START
createCache_CtrlInfo2(0): Success in reading MR_MFC_DEFAULTS: sizeof(mfcDefaults)=72, sizeof(MR_MFC_DEFAULTS) = 72
CALLOC
createCache_CtrlInfo2(0): Success in reading MR_PR_STATUS
CALLOC
createCache_CtrlInfo2(0): Success in reading MR_PR_PROPERTIES
CALLOC
createCache_CtrlInfo2(0): Success in reading MR_CC_SCHEDULE_PROPERTIES
CALLOC
createCache_CtrlInfo2(0): Success in reading MR_BBU_STATUS
CALLOC
createCache_CtrlInfo2(0): Success in reading MR_BBU_CAPACITY_INFO
CALLOC
createCache_CtrlInfo2(0): Success in reading MR_BBU_PROPERTIES
CALLOC
createCache_CtrlInfo2(0): Success in reading MR_BBU_DESIGN_INFO
CALLOC
createCache_CtrlInfo2(): END - 0
createCache_PDInfo(): START
createCache_PDInfo(): LOOP: ctrlId=7
createCache_PDInfo(0): Success in reading MR_PD_LIST
CALLOC
createCache_PDInfo(0): size of pdlist = 56 (sizeof(MR_PD_ADDRESS)=24
createCache_PDInfo(0): Success in reading MR_SAS_CONNECTORS
CALLOC
createCache_PDInfo(MR_SAS_CONNECTORS(): after memcpy
createCache_PDInfo(0): Success in reading MR_ENCL_LIST
CALLOC
CALLOC
CALLOC
createCache_PDInfo(0): Have found 1 enclosures!
createCache_PDInfo(0): Success in reading MR_PD_INFO for enclosure devid=8.
CALLOC
createCache_PDInfo(0): Success in reading SL_ENCL_STATUS_T for devid=8
createCache_PDInfo(0): Fans=1 PSU=12 Temp=3 Alarm=4
createCache_PDInfo(): pdList.count=2
CALLOC
CALLOC
createCache_PDInfo(PD index=0):LOOP: Physical Device(type=13) -> deviceId =8
createCache_PDInfo(0): Success in reading MR_PD_INFO
CALLOC
createCache_PDInfo(PD index=1):LOOP: Physical Device(type=0) -> deviceId =20
createCache_PDInfo(1): Success in reading MR_PD_INFO
CALLOC
createCache_PDInfo(1): Success in reading PD SATA INFO
CALLOC
createCache_PDInfo(): oobMRCache->mrCtrlInst[i]->numPd= 2
createCache_PDInfo(): END - ret=0
createCache_LDInfo(): START
createCache_LDInfo(): LOOP: ctrlId=7, ldPresentCount=1
createCache_LDInfo(0): Success in reading MR_CONFIG_DATA
CALLOC
createCache_LDInfo(MR_CONFIG_DATA(): after memcpy: mrCfgData.logDrvCount= 1
CALLOC
CALLOC
CALLOC
createCache_LDInfo():pLdConfig->properties.ldRef.targetId= 5
createCache_LDInfo(0,5): Success in reading MR_LD_INFO
CALLOC
createCache_LDInfo(0,5): Success in reading MR_LD_PROGRESS
CALLOC
createCache_LDInfo(0): Success in reading SL_PD_IN_LD_T structure for devid=5
CALLOC
createCache_LDInfo(): END - ret=0
buildoobMRCache(): END - oobMRCache=
)");
    EXPECT_EQ(build.releaseTrace.front(), "freeoobMRCache(): START");
    EXPECT_EQ(build.releaseTrace.back(), "freeoobMRCache(): END");
    EXPECT_EQ(countOf(build.releaseTrace, "FREE"), countOf(build.buildTrace, "CALLOC") + 1) << "and the status block";
    expectAllReleased(build);
}

// What is told when a record cannot be read. All others fail silently.
struct Failure {
    std::string log, trace;
};

Failure failureOf(const std::string& record, const std::string& index) {
    const auto isOneOf = [&](const std::set<std::string>& records) { return records.contains(record); };
    if (isOneOf({"MR_MFC_DEFAULTS", "MR_PR_STATUS", "MR_PR_PROPERTIES"}))
        return {"createCache_CtrlInfo2(" + index + "): Error in reading " + record, ""};
    if (isOneOf({"MR_BBU_CAPACITY_INFO", "MR_BBU_PROPERTIES", "MR_BBU_DESIGN_INFO"}))
        return {"", "createCache_CtrlInfo2(" + index + "): ERROR in reading " + record + " (ret=1)"};
    if (isOneOf({"MR_CONFIG_DATA", "MR_LD_INFO", "MR_LD_PROGRESS", "SL_PD_IN_LD_T"}))
        return {"createCache_LDInfo(" + index + "): Error in reading " + record,
                "createCache_LDInfo(): ERROR:Failure in reading " + record + " from storelib!"};
    if (record == "MR_CTRL_INFO")
        return {"createCache_CtrlInfo(" + index + "): Error in reading MR_CTRL_INFO",
                "createCache_CtrlInfo(" + index + "): ERROR in reading MR_CTRL_INFO"};
    if (record == "MR_PD_LIST")
        return {"createCache_PDInfo(" + index + "): Error in reading MR_PD_LST!",
                "createCache_PDInfo(): pdList.count=0"};
    if (record == "MR_ENCL_LIST")
        return {"", "createCache_PDInfo(" + index + "): ERROR:Failure in reading MR_ENCL_LIST"};
    return {};
}

Lines gained(Lines before, Lines after) {
    std::sort(before.begin(), before.end());
    std::sort(after.begin(), after.end());
    Lines difference;
    std::set_difference(after.begin(), after.end(), before.begin(), before.end(), std::back_inserter(difference));
    return difference;
}

// Paths of all records of a controller, those of its devices, pages and logical drives included.
std::vector<nlohmann::json::json_pointer> recordsOf(const nlohmann::json& controller) {
    std::vector<nlohmann::json::json_pointer> paths;
    const auto add = [&](const nlohmann::json::json_pointer& owner, const char* kind) {
        if (!controller.at(owner).contains(kind)) return;
        for (const auto& record : controller.at(owner).at(kind).items()) paths.push_back(owner / kind / record.key());
    };
    add(nlohmann::json::json_pointer(), "records");
    for (const char* kind : {"devices", "logicalDrives"})
        for (const auto& owner : controller.at(kind).items())
            for (const char* records : {"records", "pages"})
                add(nlohmann::json::json_pointer() / kind / owner.key(), records);
    return paths;
}

nlohmann::json richMachine() {
    const auto tree = std::filesystem::path(__FILE__).parent_path().parent_path().parent_path();
    return nlohmann::json::parse(std::ifstream(tree / "machines/rich.json"));
}

TEST_F(CacheBuild, goesOnAfterAnyFailedRead) {
    const nlohmann::json rich = richMachine();
    const Build whole = buildOnce(rich);
    ASSERT_TRUE(whole.done);
    ASSERT_EQ(rich.at("controllers").size(), 2U);
    expectAllReleased(whole);
    for (size_t index = 0; index < 2; ++index) {
        for (const auto& path : recordsOf(rich.at("controllers").at(index))) {
            SCOPED_TRACE("controller " + std::to_string(index) + path.to_string());
            nlohmann::json machine = rich;
            machine.at("controllers").at(index).at(path) = nullptr;
            const Build build = buildOnce(machine);
            const auto owner = path.parent_pointer().parent_pointer(); // target ids are indexes in this machine
            const bool isOfLogicalDrive = path.to_string().starts_with("/logicalDrives");
            const Failure failure = failureOf(path.back(), isOfLogicalDrive ? owner.back() : std::to_string(index));
            const bool isVital = path.back() == "MR_CTRL_INFO" || path.back() == "MR_CTRL_PROP";
            EXPECT_EQ(build.done, !isVital || index == 0) << "only the last controller's first two records are vital";
            Lines told;
            if (!build.done) told.emplace_back("buildoobMRCache(): Error: Cannot get controller info from storelib!");
            if (!failure.log.empty()) told.push_back(failure.log);
            EXPECT_EQ(gained(whole.log, build.log), told);
            const bool isAsked = build.buildTrace != whole.buildTrace; // a capacitor is not asked for its capacity
            EXPECT_TRUE(!isAsked || failure.trace.empty() || countOf(build.buildTrace, failure.trace) > 0);
            expectAllReleased(build);
        }
    }
}

TEST_F(CacheBuild, needsTheListAndTheLastController) {
    const Build failed = buildOnce({{"controllers", nullptr}});
    EXPECT_FALSE(failed.done);
    EXPECT_EQ(join(failed.log), "buildoobMRCache(): called.\n"
                                "buildoobMRCache(): Error: Cannot get controller info from storelib!\n");
    EXPECT_EQ(join(failed.buildTrace), "buildoobMRCache(): START\nCALLOC\ncreateCache_CtrlInfo(): START\n"
                                       "createCache_CtrlInfo():ERROR in reading storelib controller list!\nFREE\n");

    nlohmann::json two = controllersWith("", 2);
    two["controllers"][0]["records"]["MR_CTRL_INFO"] = nullptr;
    buildCache(two);
    ASSERT_NE(oobMRCache, nullptr);
    EXPECT_EQ(oobMRCache->numCtrl, 2);
    EXPECT_EQ(oobMRCache->mrCtrlInst[0], nullptr);
    EXPECT_EQ(oobMRCache->mrCtrlInst[1]->ctrlId, 8U);

    buildCache(controllersWith("", 0));
    ASSERT_NE(oobMRCache, nullptr);
    EXPECT_EQ(oobMRCache->numCtrl, 0);
}

TEST_F(CacheBuild, readsTheBatteryThatItsTypeHas) {
    const struct {
        const char* bytes;
        std::string records; // status, capacity, properties, design
    } rows[] = {
        {"MR_BBU_STATUS 0=01", ""},
        {"MR_CTRL_INFO 1456=01", ""}, // type 0: none
        {"MR_CTRL_INFO 1456=FF MR_BBU_STATUS 0=01", "scpd"},
        {"MR_CTRL_INFO 1456=01 MR_BBU_STATUS 0=06", "spd"},
        {"MR_CTRL_INFO 1456=01 -MR_BBU_STATUS", "cpd"},
        {"MR_CTRL_INFO 1456=01 MR_BBU_STATUS 0=01 -MR_BBU_PROPERTIES", "scd"},
    };
    for (const auto& row : rows) {
        buildCache(controllersWith(row.bytes));
        ASSERT_NE(oobMRCache, nullptr);
        const MRCtrlInst& controller = *oobMRCache->mrCtrlInst[0];
        std::string records;
        if (controller.mrBBUStatus != nullptr) records += 's';
        if (controller.mrBBUCapacityInfo != nullptr) records += 'c';
        if (controller.mrBBUProperties != nullptr) records += 'p';
        if (controller.mrBBUDesignInfo != nullptr) records += 'd';
        EXPECT_EQ(records, row.records) << row.bytes;
    }

    const nlohmann::json two = controllersWith("MR_CTRL_INFO 1456=01", 2); // a battery of type 0 ends the step for all
    EXPECT_EQ(countOf(buildOnce(two).buildTrace, "createCache_CtrlInfo2(): END -NO Battery - 0"), 1U);
    buildCache(two);
    EXPECT_NE(oobMRCache->mrCtrlInst[0]->mrCCScheduleProps, nullptr);
    EXPECT_EQ(oobMRCache->mrCtrlInst[1]->mrMfcDefaults, nullptr);
    EXPECT_NE(oobMRCache->mrCtrlInst[1]->mrPdList, nullptr);
}

// The record keeps its own number; only what it can hold is read.
TEST_F(CacheBuild, boundsCounts) {
    const struct {
        const char* bytes;
        const char* logged;
    } rows[] = {
        {"MR_CTRL_INFO 180=10 MR_PD_LIST 4=0001 MR_SAS_CONNECTORS 0=08 MR_ENCL_LIST 0=20 MR_CONFIG_DATA 8=02", ""},
        {"MR_CTRL_INFO 180=11", "createCache_CtrlInfo(0): MR_CTRL_INFO count 17 exceeds 16, bounded"},
        {"MR_PD_LIST 4=0101", "createCache_PDInfo(0): MR_PD_LIST count 257 exceeds 256, bounded"},
        {"MR_SAS_CONNECTORS 0=09", "createCache_PDInfo(0): MR_SAS_CONNECTORS count 9 exceeds 8, bounded"},
        {"MR_ENCL_LIST 0=FFFFFFFF", "createCache_PDInfo(0): MR_ENCL_LIST count 4294967295 exceeds 32, bounded"},
        {"MR_CONFIG_DATA 8=0501",
         "createCache_LDInfo(0): 259 logical drive entries lie outside MR_CONFIG_DATA, left out"},
    };
    const char* device = " 0.MR_PD_INFO 0.SL_ENCL_STATUS_T LD0.MR_LD_INFO LD0.MR_LD_PROGRESS LD0.SL_PD_IN_LD_T";
    const Lines usual = buildOnce(controllersWith(device)).log;
    for (const auto& row : rows) {
        const Build build = buildOnce(controllersWith(std::string(row.bytes) + device));
        EXPECT_EQ(join(gained(usual, build.log)), *row.logged != 0 ? row.logged + std::string("\n") : "") << row.bytes;
    }
    const Build build = buildOnce(controllersWith("-MR_CTRL_INFO", 65));
    EXPECT_FALSE(build.done);
    EXPECT_EQ(countOf(build.log, "createCache_CtrlInfo(0): SL_CTRL_LIST_T count 65 exceeds 64, bounded"), 1U);
    EXPECT_EQ(countOf(build.log, "createCache_CtrlInfo(63): Error in reading MR_CTRL_INFO"), 1U);
    EXPECT_EQ(countOf(build.log, "createCache_CtrlInfo(64): Error in reading MR_CTRL_INFO"), 0U);
}

TEST_F(CacheBuild, asksOnlySataDrivesForTheirIdentity) {
    const std::string drives = "MR_PD_LIST 4=03 8=01 32=02 56=03 1.SATA_IDENTIFY 2.SATA_IDENTIFY 3.SATA_IDENTIFY ";
    buildCache(controllersWith(drives + "1.MR_PD_INFO 189=20 2.MR_PD_INFO 189=3F"));
    const MRCtrlInst& controller = *oobMRCache->mrCtrlInst[0];
    ASSERT_EQ(controller.numPd, 3);
    EXPECT_EQ(controller.mrPdSataInfo[0], nullptr);
    EXPECT_NE(controller.mrPdSataInfo[1], nullptr);
    EXPECT_EQ(controller.mrPdInfo[2], nullptr) << "a drive that cannot be read counts all the same";
    EXPECT_EQ(controller.mrPdSataInfo[2], nullptr);
}

} // namespace
