#include "tree/controllerValues.h"

#include "tests/daemon/outputs.h"
#include "tests/support/cachedMachine.h"
#include "tests/support/updateFixture.h"

namespace {

class ControllerValues : public UpdateTest {
  protected:
    using Rows = std::vector<std::pair<std::string, Value>>; // bytes of a record, and what the value is then

    static Value ask(int paramID) {
        char text[VALUE_TEXT_SIZE];
        memset(text, '#', sizeof text);
        int32_t number = 12345;
        const int status = oobMR_getCtrlInfo(paramID, 0, text, sizeof text, &number);
        return {status, text, number};
    }
    static void expect(int paramID, const std::string& record, const Rows& rows) {
        for (const auto& [bytes, expected] : rows) {
            buildCache(controllersWith(record + " " + bytes));
            ASSERT_NE(oobMRCache, nullptr) << bytes;
            EXPECT_EQ(ask(paramID), expected) << "value " << paramID << " of " << record << " " << bytes;
        }
    }
};

std::string u32(uint64_t number) { // as records have it
    char hex[16];
    snprintf(hex, sizeof hex, "%08X", __builtin_bswap32(static_cast<uint32_t>(number)));
    return hex;
}

TEST_F(ControllerValues, nameTheControllerAndItsProtocol) {
    const std::string longName(80, 'n');
    const std::string named = "1344='" + longName + "' 1424='S'";
    const char* serial = "12345678901234567890123456789012";
    const char* info = "MR_CTRL_INFO";
    expect(0, info, {{"104=0C", "SATA"}, {"104=02", "SAS"}, {"104=10", "SAS"}, {"104=20", "SAS"}});
    expect(1, info, {{"8=09", 0}}); // the index, not the number or the id
    expect(2, info, {{"1344='Ctrl'", "Ctrl(3)"}, {named, (longName + "(3)").c_str()}});
    expect(3, info, {{"0=2D1B 4=5E1A", raid_GetPCIVendorName(0x1A5E)}});
    expect(4, info, {{named, longName.c_str()}});
    expect(5, info, {{std::string("1456=41 1424='") + serial + "'", serial}});
    expect(6, "MR_MFC_DEFAULTS", {{"0=0100A00B00B00650", "0x5006B0000BA00001"}, {"0=FFFFFFFFFFFFFFFF", ""}, {"", ""}});
    expect(7, info, {{"111=FF", 255}});
    expect(12, info, {{"104=3E", "SAS300"}, {"104=3C", "SAS600"}, {"104=2C", "SAS1200"}, {"104=0C", "SATA-1"}});
    expect(12, info, {{"104=08", "SATA-2"}, {"104=C1", ""}});
}

TEST_F(ControllerValues, splitTheDriverText) {
    const struct {
        const char *driver, *name, *version;
    } rows[] = {{"megasr.ko 06.25", "megasr", "06.25"},
                {"driver 1.2 x", "driver", "1.2 x"},
                {"driver 12", "driver", "12"},
                {"driver.ko", "driver.ko", "driver.ko"},
                {" x", "", "x"},
                {"", "", ""},
                {"x234567890123456 890123456789.12", "x234567890123456", "890123456789.12"}}; // as wide as the field
    for (const auto& row : rows) {
        const std::string record = "MR_CTRL_INFO 1992=41 1960='" + std::string(row.driver) + "'";
        expect(9, record, {{"", row.name}});
        expect(10, record, {{"", row.version}});
    }
}

// Components lie at 184, 256, 328, ...: a name, a version behind 8 bytes, a date behind 40 and a time behind 56.
TEST_F(ControllerValues, findTheImageComponents) {
    const char* info = "MR_CTRL_INFO";
    expect(11, info,
           {{"180=02 184='APP' 192='1_2' 256='BIOS' 264='6.30_4.19_0x061'", "0x061"},
            {"180=02 184='BIOS' 192='6.30' 256='BIOSxxxx' 264='7_8'", "8"},
            {"180=02 184='BIOS' 192='6_' 256='BIOS' 264='7_8'", ""},
            {"180=01 184='APP' 192='6_7'", ""}});
    expect(14, info,
           {{"180=03 184='AP' 192='0' 256='APPxxxxx' 264='1' 328='APP' 336='2'", "1"},
            {"180=00 184='APP' 192='0'", ""},
            {"180=01 184='APP' 192='12345678901234567890123456789012' 224='x'", "12345678901234567890123456789012"},
            {"180=FFFFFFFF 1264='APP' 1272='sixteenth' 1336='APP' 1344='beyond'", "sixteenth"},
            {"180=FFFFFFFF 1336='APP' 1344='beyond'", ""}});
    expect(16, info,
           {{"180=02 184='BIOS' 192='6.30_4.19_0x061' 256='BIOS' 264='7_8'", "6.30"},
            {"180=02 184='BIO' 192='5' 256='BIOS' 264='7'", "7"}});
    // The last one with both a date and a time; bytes that cannot be printed end both.
    expect(
        15, info,
        {{"180=03 184='APP' 224='Jan' 240='10:00' 256='APP' 296=466562FF32 312='11:00' 328='APP' 368='x'", "Feb 11:00"},
         {"180=02 184='APP' 224=07 240='10:00' 256='BIOS' 296='Mar' 312='12:00'", " 10:00"}});
    expect(17, info,
           {{"180=02 184='BIOS' 224='01/02/2013' 240=31073A30 256='BIOS' 296='x'", "01/02/2013 1"},
            {"180=01 184='BIOS' 224='01/02/2013 x' 240='01/02/2013 x'", "01/02/2013"},
            {"180=01 184='BIOS' 224='01/02/2014 x' 240='01/02/2014 x'", "01/02/2014 x"},
            {"180=01 184='BIOS'", ""}});
}

TEST_F(ControllerValues, tellOfThePatrolRead) {
    const uint64_t now = 1767225600 - 946684800; // as controllers count
    const auto plan = [](uint64_t nextExec, uint64_t execFreq) {
        return "196=" + u32(nextExec) + " 200=" + u32(execFreq);
    };
    const char* status = "MR_PR_STATUS";
    const char* properties = "MR_PR_PROPERTIES";
    expect(24, status, {{"4=02", "Patrol Read Mode"}, {"4=01", "Idle"}});
    expect(28, properties, {{"0=00", "Automatic"}, {"0=01", "Manual"}, {"0=02", "Disabled"}, {"0=FF", "Unknown"}});
    expect(29, properties, {{plan(now + 3600, 3600), "00/01/ 126 02:00:00"}, {plan(now + 3601, 3600), ""}});
    expect(29, properties, {{plan(0xFFFFFFFF, 0), "01/07/ 236 07:28:15"}, {plan(1, 0), "00/01/ 100 01:00:01"}});
    expect(29, properties, {{plan(now + 15681600, 0xFFFFFFFF), "06/01/ 126 14:00:00"}, {plan(0, 0), ""}});
    expect(30, properties, {{"1=FF", 255}});
    expect(31, properties, {{plan(1, 0xFFFFFFFF), "Yes"}, {plan(1, 0xFFFFFFFE), "No"}});
    expect(32, properties, {{plan(1, 0xFFFFFFFF), 1193046}, {plan(1, 7199), 1}});
    expect(33, status, {{"0=FFFFFFFF", -1}});
    expect(64, status, {{"4=02", raid_GetPatrolReadState(2)}});
    expect(55, "MR_CC_SCHEDULE_PROPERTIES",
           {{"0=00", "Disabled"}, {"0=01", "Sequential"}, {"0=02", "Disabled"}, {"0=03", "Unknown"}});
}

TEST_F(ControllerValues, readTheSettings) {
    const char* settings = "MR_CTRL_PROP";
    expect(26, "MR_MFC_DEFAULTS", {{"16=01", "Disabled"}, {"16=02", "Enabled"}});
    expect(43, "MR_MFC_DEFAULTS", {{"18=00", "None"}, {"18=01", "128 MB"}, {"18=02", "1 GB"}});
    expect(27, settings, {{"2=2C01", 300}});
    expect(40, "MR_CTRL_INFO 1551=07", {{"MR_CTRL_PROP 15=09", 7}}); // the record's own copy, as the next one
    expect(56, "", {{"MR_CTRL_INFO 1568=10", "Disabled"}, {"MR_CTRL_PROP 32=10", "Enabled"}});
    expect(42, settings, {{"19=80", "Disabled"}, {"", "Enabled"}});
    expect(44, settings, {{"28=80", "Enabled"}, {"", "Disabled"}});
    expect(54, settings, {{"38=1E01", 286}});
    const std::pair<int, const char*> rates[] = {{34, "9=C8"},  {35, "8=C8"},  {36, "10=C8"}, {37, "11=C8"},
                                                 {38, "12=C8"}, {39, "13=C8"}, {41, "14=C8"}};
    for (const auto& [paramID, byte] : rates) expect(paramID, settings, {{byte, 200}});
    const struct {
        int paramID;
        const char *bit, *others; // the one that decides and all others
        const char *set, *clear;
    } bits[] = {{47, "0100", "FEFF", "Disabled", "Enabled"}, {48, "0200", "FDFF", "Enabled", "Disabled"},
                {49, "0400", "FBFF", "Enabled", "Disabled"}, {50, "2000", "DFFF", "Enabled", "Disabled"},
                {51, "4000", "BFFF", "Enabled", "Disabled"}, {52, "8000", "7FFF", "Enabled", "Disabled"},
                {53, "0010", "FFEF", "Disabled", "Enabled"}};
    for (const auto& row : bits)
        expect(row.paramID, settings,
               {{std::string("32=") + row.bit, row.set}, {std::string("32=") + row.others, row.clear}});
}

TEST_F(ControllerValues, areEmptyOrZeroWithoutTheirRecord) {
    for (const int paramID : {6, 26, 43}) expect(paramID, "", {{"-MR_MFC_DEFAULTS", ""}});
    for (const int paramID : {28, 29, 30, 31, 32}) expect(paramID, "", {{"-MR_PR_PROPERTIES", ""}});
    expect(24, "", {{"-MR_PR_STATUS", "Idle"}});
    for (const int paramID : {33, 64}) expect(paramID, "", {{"-MR_PR_STATUS", ""}});
    expect(55, "", {{"-MR_CC_SCHEDULE_PROPERTIES", ""}});

    nlohmann::json machine = controllersWith("", 2); // the last controller has to have its settings
    machine["controllers"][0]["records"]["MR_CTRL_PROP"] = nullptr;
    buildCache(machine);
    for (const int paramID : {27, 34, 35, 41, 42, 44, 47, 48, 53, 54}) EXPECT_EQ(ask(paramID), Value("")) << paramID;
}

TEST_F(ControllerValues, askTheControllerItself) {
    expect(46, "0x010C0100", {{"0=0500FF", 5}, {"0=FFFF", -1}});
    expect(46, "", {{"", -1}});
    const char* alarm = "MR_CTRL_INFO 1456=02 1504=20";
    expect(65, alarm, {{"0x01030100 0=00", "Disabled"}, {"0x01030100 0=80", "Enabled"}, {"", ""}});
    expect(65, alarm, {{"1504=DF 0x01030100 0=01", ""}, {"1456=FD 0x01030100 0=01", ""}});
    const struct {
        const char* bytes; // a battery, logical drives
        nlohmann::json battery, drives;
        const char* status;
    } rows[] = {{"1456=01 1472=01", 0, 0, "OK"},       {"1456=01 1472=01", 2, 1, "Error"},
                {"1456=01 1472=01", 1, 2, "Error"},    {"1456=01 1472=01", 1, 0, "Degraded"},
                {"1456=01 1472=01", 3, 1, "Degraded"}, {"1456=FE 1472=01", 2, 1, "Degraded"},
                {"1456=01 1473=01", {}, 2, "Error"},   {"1456=01", 1, 2, "Degraded"}};
    for (const auto& row : rows) {
        nlohmann::json machine = controllersWith(std::string("MR_BBU_STATUS 0=01 MR_CTRL_INFO ") + row.bytes);
        if (!row.battery.is_null()) machine["controllers"][0]["batteryStatus"] = row.battery;
        machine["controllers"][0]["virtualDiskStatus"] = row.drives;
        buildCache(machine);
        EXPECT_EQ(ask(58), row.status) << row.bytes << row.battery << row.drives;
    }
}

TEST_F(ControllerValues, readTheHardware) {
    expect(20, "MR_CTRL_INFO", {{"1456=02", "true"}, {"1456=FD", "false"}});
    expect(57, "MR_CTRL_INFO 1993=3C 1994=50", {{"", 0}, {"1457=04", 60}, {"1457=08", 80}, {"1457=0C", 60}});
    const std::pair<int, const char*> words[] = {
        {18, "1488=FEFF"}, {19, "1490=FEFF"}, {21, "1486=FEFF"}, {22, "1492=FEFF"}, {23, "1494=FEFF"}, {59, "8=FEFF"},
        {60, "1478=FEFF"}, {61, "1472=FEFF"}, {62, "0=FEFF"},    {63, "4=FEFF"},    {66, "2=FEFF"},    {67, "6=FEFF"}};
    for (const auto& [paramID, word] : words) expect(paramID, "MR_CTRL_INFO", {{word, 65534}});
}

TEST_F(ControllerValues, countChannelsOnce) {
    const std::string drives = "MR_PD_LIST 4=04 8=01 32=02 56=03 80=04 1.MR_PD_INFO 166=F3 200=01 2.MR_PD_INFO 166=0F "
                               "4.MR_PD_INFO 166=02 207=01 ";
    buildCache(controllersWith(drives + "MR_CTRL_INFO 1506=04"));
    EXPECT_EQ(ask(8), 3) << "a drive without an address keeps the channel of the one before";
    EXPECT_EQ(ask(8), 3);

    // Shifts add up over the drives and empty the bitmaps.
    buildCache(controllersWith(drives + "MR_CTRL_INFO 1506=FB"));
    EXPECT_EQ(ask(8), 7 + 3 + 1);
    EXPECT_EQ(oobMRCache->mrCtrlInst[0]->mrPdInfo[0]->connectedPortBitmap, 0);
    EXPECT_EQ(ask(8), 0);
}

TEST_F(ControllerValues, refuseBadArguments) {
    nlohmann::json machine = controllersWith("", 2);
    machine["controllers"][0]["records"]["MR_CTRL_INFO"] = nullptr;
    buildCache(machine);
    char text[VALUE_TEXT_SIZE] = "#";
    int32_t number = 12345;
    EXPECT_EQ(oobMR_getCtrlInfo(1, 1, nullptr, VALUE_TEXT_SIZE, &number), VALUE_BAD_BUFFER);
    EXPECT_EQ(oobMR_getCtrlInfo(1, 1, text, 0, &number), VALUE_BAD_BUFFER);
    EXPECT_STREQ(text, "#");
    EXPECT_EQ(oobMR_getCtrlInfo(1, 1, text, sizeof text, &number), VALUE_OK);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(tracedBy([] { EXPECT_EQ(ask(1).status, VALUE_NO_OBJECT); }), "oobMR_getCtrlInfo(): END\n");
    buildCache(controllersWith("MR_CTRL_INFO 1344='x'"));
    for (const int paramID : {68, 1000, -2}) EXPECT_EQ(ask(paramID), Value("")) << paramID;
}

} // namespace
