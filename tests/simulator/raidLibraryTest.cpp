#include "platform/storelib.h"

#include "tests/simulator/simulatedMachine.h"

#include <cstring>
#include <functional>
#include <set>

namespace {

using TextFunction = std::function<const char*(int)>;

template <class Code>
TextFunction of(const char* (*function)(Code)) {
    return [function](int code) { return function(static_cast<Code>(code)); };
}

// One of the two-bit policies in a cache policy byte.
TextFunction policy(const char* (*function)(uint8_t), int shift) {
    return [=](int code) { return function(static_cast<uint8_t>((0xFF & ~(3 << shift)) | (code & 3) << shift)); };
}

TextFunction level(uint8_t spans) {
    return [=](int code) { return raid_GetRaidLevel(static_cast<uint8_t>(code), spans, 2); };
}

TEST(RaidTexts, eachCodeHasATextOfItsOwnAndAllOthersTheUnknownOne) {
    const struct {
        TextFunction text;
        int codes;
        size_t known;
        std::string someText;
        int itsCode;
    } tables[] = {
        {of(raid_GetHddFirmwareState), 65536, 12, "Rebuild", 0x14},
        {of(raid_GetLogicalDriveState), 256, 4, "Partially Degraded", 1},
        {of(raid_GetDeviceInterfaceType), 256, 4, "SATA", 3},
        {of(raid_GetHddPowerState), 256, 5, "Spun Down", 1},
        {of(raid_GetPatrolReadState), 256, 5, "Active", 2},
        {of(raid_GetBatteryType), 256, 7, "No Battery", 0},
        {of(raid_GetBatteryAutoLearnMode), 256, 4, "Automatic", 0},
        {of(raid_GetStripeSize), 256, 16, "64 KB", 7},
        {of(raid_GetLogicalDriveAccessPolicy), 256, 4, "Read/Write", 0},
        {of(raid_GetPhysicalDriveCachePolicy), 256, 3, "Enabled", 1},
        {of(raid_GetPCIVendorName), 65536, 4, "Zebrant", 0x1A5E},
        {of(raid_GetErrorStatus), 256, 4, "Success", 0},
        {of(raid_GetEnclosureTypeString), 256, 3, "KP17M2", 3},
        {policy(raid_GetLogicalDriveCacheWritePolicy, 0), 4, 3, "Write-back", 1},
        {policy(raid_GetLogicalDriveCacheReadPolicy, 2), 4, 3, "Read-ahead", 1},
        {policy(raid_GetLogicalDriveCacheIoPolicy, 4), 4, 2, "Cached", 1},
        {level(1), 256, 5, "RAID-5", 5},
        {level(2), 256, 5, "RAID-10", 1},
    };
    for (const auto& [text, codes, known, someText, itsCode] : tables) {
        const std::string unknown = text(codes > 4 ? 0xEE : 3);
        std::multiset<std::string> texts;
        for (int code = 0; code < codes; ++code)
            if (text(code) != unknown) texts.insert(text(code));
        EXPECT_EQ(texts.size(), known) << someText;
        EXPECT_EQ(std::set<std::string>(texts.begin(), texts.end()).size(), known) << someText;
        EXPECT_EQ(unknown.substr(0, 7), "Unknown") << someText;
        EXPECT_EQ(text(itsCode), someText);
    }
    EXPECT_STREQ(raid_GetRaidLevel(1, 1, 4), "RAID-1E");
    EXPECT_STREQ(raid_GetErrorStatus(-1), "Unknown error");
}

TEST(RaidTexts, batteryStateIsInTheLowFourBits) {
    const int states[] = {0, 1, 2, -1, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7};
    for (uint32_t word = 0; word < 16; ++word) EXPECT_EQ(raid_GetBatteryState(0xABCDE50 | word), states[word]) << word;
}

TEST(RaidBytes, textsAreTrimmedAndBytesReversed) {
    const struct {
        const char* source;
        size_t width;
        const char* trimmed;
    } cases[] = {{"  ab c  xyz", 8, "ab c"}, {"ab\0cd", 5, "ab"}, {"    ", 4, ""},
                 {"abc", 2, "ab"},           {"\tx ", 3, "\tx"},  {"", 0, ""}};
    for (const auto& [source, width, trimmed] : cases) {
        char text[16];
        memset(text, '#', sizeof text);
        raid_StrncpyTrim(text, source, width);
        EXPECT_STREQ(text, trimmed);
        EXPECT_EQ(text[strlen(trimmed) + 1], '#');
    }
    char bytes[] = "12345";
    raid_swapBytes(bytes, "abcd", 4);
    EXPECT_STREQ(bytes, "dcba5");
    raid_swapBytes(bytes, bytes, 5);
    EXPECT_STREQ(bytes, "5abcd");
}

class RaidLibrary : public simtest::SimulatedMachine {
  protected:
    // Controller 9, taken at once.
    static void describeController(const std::string& members) {
        describe(R"({"controllers": [{"id": 9)" + members + "}]}");
        SL_CTRL_LIST_T list;
        EXPECT_EQ(raid_GetControllerList(&list), 0);
    }
};

TEST_F(RaidLibrary, theListNamesAllButHoldsAsManyAsItCan) {
    std::string controllers;
    for (int id = 100; id < 170; ++id)
        controllers += (id > 100 ? ", {\"id\": " : "{\"id\": ") + std::to_string(id) + "}";
    describe("{\"controllers\": [" + controllers + "]}");
    SL_CTRL_LIST_T list = {};
    EXPECT_EQ(raid_GetControllerList(&list), 0);
    EXPECT_EQ(list.count, 70U);
    EXPECT_EQ(list.ctrlId[63], 163U);
    describe(R"({"controllers": null})");
    EXPECT_EQ(raid_GetControllerList(&list), 1);
    EXPECT_EQ(raid_GetControllerNumber(100), -1);
}

TEST_F(RaidLibrary, readsCopyAsFarAsRecordAndBufferGoAndFailWithoutARecord) {
    describeController(R"(, "number": -4, "batteryStatus": 2, "virtualDiskStatus": null,
        "records": {"MR_PR_STATUS": {"raw": {"0": "01020304 02"}, "size": 5}, "0x01030100": {"raw": {"0": "07"}},
                    "MR_MFC_DEFAULTS": null},
        "devices": {"8": {"records": {"MR_PD_INFO": {"size": 2, "raw": {"0": "0800"}}, "LDS_OF_PD": {"raw": {"67": "44"}}},
                          "sasRpm": 15000, "temperature": 33}},
        "logicalDrives": {"200": {"records": {"SL_PD_IN_LD_T": {"raw": {"515": "55"}}}}})");
    alignas(8) uint8_t bytes[600];
    const auto operation = [&](uint32_t ctrlId, uint32_t opcode, uint32_t length) {
        return [=, &bytes] { return raid_ControllerGetOperation(ctrlId, opcode, bytes, length); };
    };
    const auto direct = [&](uint8_t command, uint8_t device, uint32_t size) {
        return [=, &bytes] {
            SL_LIB_CMD_PARAM_T packet = {3, command, {}, 9, device, {}, size, bytes};
            return ZEBRAID_DirectLibCommand(9, &packet, bytes, sizeof bytes);
        };
    };
    auto* number = reinterpret_cast<int32_t*>(bytes);
    auto* rpm = reinterpret_cast<uint32_t*>(bytes);
    const struct {
        std::function<int()> read;
        int status;
        size_t at; // the last byte that is copied, and the next
        int twoBytes;
    } reads[] = {
        {operation(9, 0x01070100, 16), 0, 4, 0x02EE},
        {operation(9, 0x01070100, 2), 0, 1, 0x02EE},
        {operation(9, 0x01030100, 1), 0, 0, 0x07EE},
        {operation(9, 0x010E0201, 72), 1, 0, 0xEEEE}, // null
        {operation(9, 0x01020100, 64), 1, 0, 0xEEEE}, // absent
        {operation(9, 0, 64), 1, 0, 0xEEEE},          // MR_CTRL_INFO has no number
        {operation(10, 0x01070100, 16), 1, 0, 0xEEEE},
        {direct(11, 200, 516), 0, 515, 0x55EE},
        {direct(11, 201, 516), 1, 0, 0xEEEE},
        {direct(16, 8, 68), 0, 67, 0x44EE},
        {direct(12, 8, 68), 3, 0, 0xEEEE},
        {[&] { return raid_ControllerGetBatteryStatus(9, number); }, 0, 0, 0x0200},
        {[&] { return raid_ControllerGetVirtualDiskStatus(9, number); }, 1, 0, 0xEEEE},
        {[&] { return raid_PhysicalDriveGetSasRotationalSpeed(9, 8, rpm); }, 0, 0, 0x983A},
        {[&] { return raid_PhysicalDriveGetAtaRotationalSpeed(9, 8, rpm); }, 1, 0, 0xEEEE},
    };
    for (const auto& [read, status, at, twoBytes] : reads) {
        memset(bytes, 0xEE, sizeof bytes);
        EXPECT_EQ(read(), status) << at << " " << twoBytes;
        EXPECT_EQ(bytes[at] << 8 | bytes[at + 1], twoBytes) << at;
    }
    EXPECT_EQ(raid_GetControllerNumber(9), -4);
    EXPECT_EQ(raid_PhysicalGetDriveTemperature(9, 8), 33);
    EXPECT_EQ(raid_PhysicalGetDriveTemperature(9, 7), 0);
}

TEST_F(RaidLibrary, pagesThatAreNullAreValidButUnreadable) {
    describeController(R"(, "devices": {"20": {"pages": {"7": {"raw": {"0": "0700"}}, "226": null},
        "thresholds": [null, [1.5, 2, 3, -100]], "records": {"SL_ENCL_STATUS_T": {"fanCount": 3, "size": 16}}}})");
    uint8_t page[4] = {1, 1, 1, 1};
    EXPECT_NE(raid_IsDiagnosticPageValid(9, 20, 7), 0);
    EXPECT_NE(raid_IsDiagnosticPageValid(9, 20, 226), 0);
    EXPECT_EQ(raid_IsDiagnosticPageValid(9, 20, 1), 0);
    EXPECT_EQ(raid_ReceiveDiagnosticResults(9, 20, 7, page, sizeof page), 0);
    EXPECT_EQ(page[0] << 16 | page[1] << 8 | page[2], 0x070001);
    EXPECT_EQ(raid_ReceiveDiagnosticResults(9, 20, 226, page, sizeof page), 1);

    SL_TEMP_THRESHOLD_T thresholds = {};
    EXPECT_EQ(raid_GetEnclosureTemperatureThreshold(9, 20, 0, nullptr, &thresholds), 1);
    EXPECT_EQ(raid_GetEnclosureTemperatureThreshold(9, 20, 2, nullptr, &thresholds), 1);
    EXPECT_EQ(raid_GetEnclosureTemperatureThreshold(9, 20, 1, nullptr, &thresholds), 0);
    EXPECT_EQ(float{thresholds.value[0]}, 1.5F);
    EXPECT_EQ(float{thresholds.value[3]}, -100.0F);

    SL_ENCL_STATUS_T status;
    memset(&status, 0xEE, sizeof status);
    EXPECT_EQ(raid_GetEnclosureStatusFunc(9, 20, &status), 0);
    EXPECT_EQ(uint32_t{status.fanCount}, 3U);
    EXPECT_EQ(uint32_t{status.alarmCount}, 0U); // the block is whole
    EXPECT_EQ(raid_GetEnclosureStatusFunc(9, 21, &status), 1);
}

TEST(RaidEnclosure, numbersArePositionsInTheListAndPortsTheLowestBit) {
    MR_ENCL_LIST list = {};
    list.count = 0xFFFFFFFF;
    for (uint16_t i = 0; i < 32; ++i) list.encl[i].deviceId = static_cast<uint16_t>(i + 1);
    MR_PD_INFO device = {};
    device.deviceId = 32;
    device.enclDeviceId = 3;
    device.connectedPortBitmap = 0x28;
    EXPECT_EQ(raid_EnclosureGetEnclosureNumber(&device, nullptr, nullptr, &list), 32);
    EXPECT_EQ(raid_PhysicalDriveGetEnclosureNumber(&device, nullptr, nullptr, &list), 3);
    EXPECT_EQ(raid_PhysicalDeviceGetPortNumber(&device, nullptr), 3);
    device = {};
    EXPECT_EQ(raid_EnclosureGetEnclosureNumber(&device, nullptr, nullptr, &list), 0);
    EXPECT_EQ(raid_PhysicalDriveGetEnclosureNumber(&device, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(raid_PhysicalDeviceGetPortNumber(&device, nullptr), 0);
}

SL_ENCL_STATUS_T blockOf(uint32_t slots, uint32_t supplies, uint32_t fans, uint32_t sensors) {
    return {{}, slots, supplies, fans, sensors, 1, {}, {}};
}

TEST(RaidEnclosure, elementsLieBehindThoseOfTheKindsBefore) {
    SL_ENCL_STATUS_T status = blockOf(4, 2, 3, 1);
    status.element[5] = {2, {}};                    // second power supply
    status.element[6] = {1, {0x01, 0x05, 0x44, 0}}; // first fan, 0x544 tens
    status.element[9] = {3, {0x01, 0, 61, 0}};      // sensor
    EXPECT_STREQ(raid_GetEnclosurePowerSupplyStatusString(&status, 0), "Unsupported");
    EXPECT_STREQ(raid_GetEnclosurePowerSupplyStatusString(&status, 1), "Critical");
    EXPECT_STREQ(raid_GetEnclosurePowerSupplyStatusString(&status, 2), "Unsupported"); // a fan
    EXPECT_STREQ(raid_GetEnclosureFanStatusString(&status, 0), "OK");
    EXPECT_STREQ(raid_GetEnclosureFanSpeedString(&status, 0), "13480 rpm");
    EXPECT_STREQ(raid_GetEnclosureFanSpeedString(&status, 1), "0 rpm");
    EXPECT_STREQ(raid_GetEnclosureTempStatusString(&status, 0), "Noncritical");
    const SL_ENCL_ELEMENT_T sensor = status.element[9];
    EXPECT_EQ(raid_GetEnclosureTemperature(&status, 0, 3, &sensor), 41.0F);
    char text[16];
    raid_GetEnclosureFanName(1, &status, 2, text, sizeof text);
    EXPECT_STREQ(text, "Fan 3");
    raid_GetEnclosureFanName(1, &status, 2, text, 3);
    EXPECT_STREQ(text, "Fa");
    raid_GetEnclosureSensorLocation(0, &status, 0xFFFFFFFF, text, sizeof text);
    EXPECT_STREQ(text, "Location 429496");
    EXPECT_STRNE(raid_GetEnclosureFanLocation(2, &status, 0), raid_GetEnclosureFanLocation(2, &status, 1));
    EXPECT_STREQ(raid_GetEnclosureFanLocation(2, &status, 100), raid_GetEnclosureFanLocation(0, nullptr, 0));
}

TEST(RaidEnclosure, nothingOutsideTheBlockIsRead) {
    SL_ENCL_STATUS_T status = blockOf(0xFFFFFFFF, 0xFFFFFFFF, 2, 0xFFFFFFFF);
    for (SL_ENCL_ELEMENT_T& element : status.element) element = {2, {}};
    EXPECT_STREQ(raid_GetEnclosureFanStatusString(&status, 1), "Unsupported");
    EXPECT_STREQ(raid_GetEnclosureTempStatusString(&status, 0xFFFFFFFE), "Unsupported");
    EXPECT_STREQ(raid_GetEnclosurePowerSupplyStatusString(nullptr, 0), "Unsupported");
    EXPECT_EQ(raid_GetEnclosureStatus(&status), 2);
    status.element[123].status = 9;
    EXPECT_STREQ(raid_GetEnclosurePowerSupplyStatusString(&status, 0), "Unsupported");
}

TEST(RaidEnclosure, theWorstCountedElementDecidesTheState) {
    const struct {
        std::initializer_list<uint32_t> codes;
        int state;
    } cases[] = {{{}, 0}, {{1, 1, 5, 6, 0, 9}, 0}, {{1, 3}, 1}, {{3, 2}, 2}, {{4}, 2}, {{1, 1, 1, 1, 1, 1, 1, 2}, 0}};
    for (const auto& [codes, state] : cases) {
        SL_ENCL_STATUS_T status = blockOf(2, 2, 2, 0);
        size_t i = 0;
        for (const uint32_t code : codes) status.element[i++].status = code;
        EXPECT_EQ(raid_GetEnclosureStatus(&status), state);
    }
    EXPECT_EQ(raid_GetEnclosureStatus(nullptr), 3);
}

TEST(RaidEnclosure, descriptorsAreSteppedOverAsFarAsThePageGoes) {
    const std::string page("12345678\0\0\0\3abc\0\0\0\0\0\0\0\2de\0\0\1\0", 29);
    const struct {
        int offset;
        uint32_t count;
        uint32_t length;
        int next;
    } cases[] = {{8, 0, 29, 15},  {8, 1, 29, 19},          {8, 2, 29, 25},         {8, 3, 29, -1},
                 {25, 0, 29, -1}, {15, 1, 25, 25},         {25, 0, 25, -1},        {-1, 0, 29, -1},
                 {30, 0, 29, -1}, {8, 0xFFFFFFFF, 29, -1}, {2147483647, 0, 29, -1}};
    for (const auto& [offset, count, length, next] : cases)
        EXPECT_EQ(raid_SkipKP23Descriptors(page.data(), length, offset, count), next) << offset << " " << count;
    EXPECT_EQ(raid_SkipKP23Descriptors(nullptr, 29, 8, 0), -1);
}

} // namespace
