#include "values/logicalDrive.h"

#include "tests/support/cachedMachine.h"

#include <nlohmann/json.hpp>

namespace {

// Two logical drives; the first one's entry begins at byte 320.
const std::string base = "config 8=02";

class LogicalDrive : public ValueTest {
  protected:
    static void expect(int paramID, const Rows& rows) { expectValues(oobMR_getLDInfo, base, paramID, rows, 0, 0); }
};

TEST_F(LogicalDrive, formsItsValuesFromTheRecords) {
    describeDevices(nlohmann::json::object());
    expect(0, {{"config 320=C8 ld 0=01", 200}});
    expect(1, {{"ld 256=000020", 1024}, {"ld 256=FF07", 0}, {"ld 256=000000000004", INT32_MIN}});
    // Each span is rounded down by itself; the record has room for eight of them.
    expect(2, {{"ld 36=02 37=02 72=FF03 96=000C 120=000010", 3},
               {"ld 36=04 72=000010", 0},
               {"ld 36=01 37=FF 72=0008 96=0008 120=0008 144=0008 168=0008 192=0008 216=0008 240=0008 264=0008", 8}});
    expect(3, {{"config 352=01 356=02 357=04", raid_GetRaidLevel(1, 4, 2)}});
    expect(4, {{"ld 35=07", raid_GetStripeSize(7)}, {"ld 35=07 47=01", raid_GetStripeSize(7)}});
    expect(5, {{"config 324='Archive'", "Archive"},
               {"config 324='sixteen letters!?'", "sixteen letters!"},
               {"config 320=03", "LogicalDrive_3"}});
    expect(20, {{"config 324='Archive'", "Archive"}, {"config 320=03", "LogicalDrive_3(4)"}});
    expect(6, {{"ld 264=02", "Uninitialized"},
               {"ld 264=04", "Uninitialized"},
               {"ld 264=F9", "Initialized"},
               {"ld 264=02 47=01", "Initialized"},
               {"ld 264=02 47=02", "Uninitialized"}});
    expect(16,
           {{"ctrl 1958=02 ld 25=F7", "Enabled"}, {"ctrl 1958=02 ld 25=08", "Disabled"}, {"ctrl 1958=FD", "Disabled"}});
    expect(17, {{"config 358=02 ld 38=03", raid_GetLogicalDriveState(2)}});
    expect(19, {{"", ""}});
}

TEST_F(LogicalDrive, showsPoliciesUnlessItIsAnSsdCache) {
    const std::string bytes = "ld 20=5B 21=02 22=01 23=00 config 342=02 ";
    const char* texts[] = {raid_GetLogicalDriveCacheWritePolicy(0),    raid_GetLogicalDriveCacheReadPolicy(0),
                           raid_GetLogicalDriveCacheIoPolicy(0),       raid_GetLogicalDriveAccessPolicy(2),
                           raid_GetLogicalDriveCacheWritePolicy(0x5B), raid_GetLogicalDriveCacheReadPolicy(0x5B),
                           raid_GetLogicalDriveCacheIoPolicy(0x5B),    raid_GetLogicalDriveAccessPolicy(2),
                           raid_GetPhysicalDriveCachePolicy(2)};
    for (int i = 0; i < 3; ++i) EXPECT_STRNE(texts[i], texts[i + 4]) << "the two policies are to differ";
    for (int i = 0; i < 9; ++i) expect(7 + i, {{bytes, texts[i]}, {bytes + "ld 47=01", ""}});
}

TEST_F(LogicalDrive, showsOperationsAndTheirProgress) {
    // 9034 is 13.79 % in double precision.
    const std::string ldCounters = "ld 268=FCFF 272=0080 276=4A23 280=0100 ";
    const std::string counters = "progress 4=FCFF 8=0080 12=4A23 16=0100 ";
    const std::pair<const char*, const char*> activities[] = {
        {"264=C0 288=C0", "Idle"},
        {"264=01", "MDC in progress (100.00%)"},
        {"264=03", "BGI in progress (50.00%)"},
        {"264=07", "Initialization in progress (13.78%)"},
        {"264=0F", "Reconstructing in progress (0.00%)"},
        {"264=1F", "Secure erase in progress"},
        {"264=3F", "Disassociate in progress"},
        {"264=3F 288=01", "MDC paused"},
        {"264=01 288=03", "BGI paused"},
        {"288=07", "Initialization paused"},
        {"288=0F", "Modify paused"},
        {"288=1F", "Secure erase paused"},
        {"288=3F", "Disassociate paused"},
    };
    for (const auto& [bits, activity] : activities) expect(18, {{ldCounters + bits, activity}});
    expect(21, {{counters + "0=03", "50.00%"}, {counters + "0=06", "50.00%"}, {counters + "0=04", "13.78%"}});
    expect(22, {{counters + "0=08", "0.00%"}});
    expect(23, {{counters + "0=01", "100.00%"}});
    expect(21, {{counters + "0=F9", "0"}, {counters + "0=FF -progress", "0"}});
    expect(22, {{counters + "0=F7", "0"}, {counters + "0=FF -progress", "0"}});
    expect(23, {{counters + "0=FE", "0"}, {counters + "0=FF -progress", "0"}});
}

TEST_F(LogicalDrive, isAddressedByItsIndexCutToTheBufferAndTraced) {
    CachedMachine machine(base + " config 320=03 576=09 ld 256=CA9A3B ctrl 1958=02");
    EXPECT_EQ(machine.ask(oobMR_getLDInfo, 0, 0, 1), 9);
    EXPECT_EQ(traceOf([&] { machine.ask(oobMR_getLDInfo, 1, 0, 1); }),
              "oobMR_getLDInfo(): START - paramID=1, ctrlIdx=0, instIdx=1\n"
              "oobMR_getLDInfo:LDLOGICALSIZE: ldInfo.size=3906250, (a:2000000000 GB), (b:2 GB)\n"
              "oobMR_getLDInfo():END - ret=0\n");
    EXPECT_EQ(traceOf([&] { machine.ask(oobMR_getLDInfo, 16, 0, 0); }),
              "oobMR_getLDInfo(): START - paramID=16, ctrlIdx=0, instIdx=0\n"
              "LDEMULATE512E: supportEmulatedDrives = 1\n"
              "oobMR_getLDInfo():END - ret=0\n");
    machine.textSize = 5;
    EXPECT_EQ(machine.ask(oobMR_getLDInfo, 5, 0, 0), "Logi");
    EXPECT_EQ(machine.ask(oobMR_getLDInfo, 18, 0, 0), "Idle");
}

} // namespace
