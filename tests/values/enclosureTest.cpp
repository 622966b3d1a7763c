#include "values/enclosure.h"

#include "tests/support/cachedMachine.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

// Device 70. Its elements, 8 bytes each from byte 32 of the status block: one slot, two power supplies, two fans,
// three sensors.
const std::string base = "enclList 0=01 8=46 encl 0=46 12='ACME    ' 36='0123' "
                         "status 4=01 8=02 12=02 16=03 40=01 48=02 56=03 61=012C 64=05 "
                         "72=01000100 78=3C 80=06 86=3C 88=02 ";
const std::string kp17 = "encl 20='a KP17 b' ";
const std::string kp23 = "encl 20='KP23' ";
const std::string kp17m2 = "encl 20='KP17M2' ";
const std::string other = "encl 20=' kp17 ' ";

json page(size_t offset, const std::string& bytes) {
    std::string digits;
    for (const char c : bytes) {
        constexpr char DIGITS[] = "0123456789ABCDEF";
        digits += {DIGITS[uint8_t(c) >> 4], DIGITS[c & 15]};
    }
    return {{"raw", {{std::to_string(offset), digits}}}};
}

std::string descriptor(const std::string& text) {
    return {std::string(2, '\0') + char(text.size() >> 8) + char(text.size()) + text};
}

// Page 7 for the elements above: each type's own descriptor, then those of its elements.
std::string descriptorPage() {
    std::string bytes(8, '\xFF');
    for (const char* text : {"slots", "SN: no", "supplies", "SN: P0-77\rREV: A1\n", "REV: B2SN: x SN: y", "fans",
                             "SN: no", "", "sensors", "", "", "SN: no", "alarms", "SN: no"})
        bytes += descriptor(text);
    return bytes + descriptor("rack SN: C-9 \r\nREV: 3\nSN: z");
}

// A record of page 226.
std::string unit(const std::string& serialNumber, const std::string& revision) {
    return std::string(40, 'x').replace(16, serialNumber.size(), serialNumber).replace(32, revision.size(), revision);
}

class Enclosure : public ValueTest {
  protected:
    static void describe(const json& device) { describeDevices({{"70", device}}); }
    static void expect(int paramID, const Rows& rows) { expectValues(oobMR_getEnclInfo, base, paramID, rows, 0, 0); }
    static void expectOfProcessor(int paramID, const Rows& rows) {
        expectValues(oobMR_getEnclProcInfo, base, paramID, rows, 0, 0);
    }
};

TEST_F(Enclosure, isKnownByItsProduct) {
    expect(0, {{"", 1}});
    expect(1, {{"", "ACME"}});
    expect(2, {{kp17, {VALUE_OK, raid_GetEnclosureTypeString(1), 1}},
               {kp23, {VALUE_OK, raid_GetEnclosureTypeString(2), 2}},
               {kp17m2, {VALUE_OK, raid_GetEnclosureTypeString(3), 3}},
               {"encl 20='KP23-KP17'", {VALUE_OK, raid_GetEnclosureTypeString(1), 1}},
               {other, "kp17"}});
    expect(3, {{"", "0123"}});
    expect(5, {{kp23, "ACME KP23 (1)"}, {other, "ACME Unknown (1)"}});
    expect(7, {{kp23, 2}, {other, 0}});
}

TEST_F(Enclosure, readsLogicalIdAndStatusAtThisMoment) {
    const std::string id = "\x50\x01\x23\x45\x67\x89\xAB\xCD";
    for (const auto& [pages, expected] : {std::pair(json{{"1", page(12, id)}}, "500123456789ABCD"),
                                          {json{{"1", page(0, std::string(20, '\0'))}}, ""},
                                          {json{{"1", nullptr}}, ""},
                                          {json{{"2", page(12, id)}}, ""}}) {
        describe({{"pages", pages}});
        expect(4, {{"", expected}});
    }
    expect(6, {{"", "Unknown"}});
    for (const auto& [state, expected] : {std::pair("01", "OK"), {"03", "Degraded"}, {"04", "Error"}}) {
        describe({{"records", {{"SL_ENCL_STATUS_T", {{"raw", {{"4", "01"}, {"32", state}}}}}}}});
        expect(6, {{"", expected}});
    }
}

TEST_F(Enclosure, hasAProcessorToldOfByThePagesOfItsModel) {
    describe({{"pages",
               {{"7", page(0, descriptorPage())},
                {"130", page(9, "0407")},
                {"226", page(4, unit(" PS 1\x7Fzzzz", " R2\n"))}}}});
    expectOfProcessor(0, {{"encl 166=08", 3}});
    expectOfProcessor(1, {{"", 70}});
    expectOfProcessor(2, {{"", 1}});
    expectOfProcessor(3, {{"encl 20='KP23 box'", "ACME KP23 box (1:1)"}});
    expectOfProcessor(4, {{"", "SES"}});
    expectOfProcessor(5, {{"", "ACME"}});
    expectOfProcessor(6, {{kp17, "KP17"}, {kp23, "KP23"}, {kp17m2, "KP17M2"}, {other, ""}});
    expectOfProcessor(7, {{kp17, "PS 1"}, {kp23, "C-9 "}, {kp17m2, "C-9 "}, {other, ""}});
    expectOfProcessor(7, {{kp23 + "-status", ""}, {kp23 + "status 20=FFFFFFFF", ""}});
    expectOfProcessor(8, {{kp17, "R2"}, {kp23, "3"}, {kp17m2, "3"}, {other, ""}});
    expectOfProcessor(9, {{kp17, "V01L23"}, {kp23, "V04.07"}, {kp17m2, "V04.07"}, {other, "0123"}});
    expectOfProcessor(10, {{"", "Error"}, {"status 48=01 88=01", "Degraded"}, {"-status", "Unknown"}});
    describe({{"pages", {{"7", nullptr}, {"226", nullptr}}}});
    expectOfProcessor(7, {{kp17, ""}, {kp23, ""}});
    expectOfProcessor(9, {{kp23, ""}});
}

TEST_F(Enclosure, hasFans) {
    const CachedMachine machine(base + kp17);
    const SL_ENCL_STATUS_T* status = machine.controller.mrEnclStatus[0];
    char name[VALUE_TEXT_SIZE];
    raid_GetEnclosureFanName(1, status, 1, name, sizeof name);
    const Value values[] = {name, raid_GetEnclosureFanLocation(1, status, 1),
                            raid_GetEnclosureFanSpeedString(status, 1), raid_GetEnclosureFanStatusString(status, 1)};
    for (int id = 0; id < 4; ++id) EXPECT_EQ(machine.ask(oobMR_getEnclFanInfo, id, 0, 0, 1), values[id]);
    EXPECT_NE(machine.ask(oobMR_getEnclFanInfo, 2, 0, 0, 0), values[2]);
}

TEST_F(Enclosure, hasPowerSuppliesToldOfByOnePage) {
    const std::string described = descriptorPage();
    const std::string units = "head" + unit("", "") + unit(" S 1\tzzzzz", "12345") + unit("1234567890", "\x80");
    // The first supply's text has so many bytes before the end of the page; its length claims far more.
    const auto pageEnd = [](int room) {
        const auto slots = size_t(int(SES_PAGE_SIZE) - 8 - 4 * 4 - room);
        return std::string(8, '\0') + descriptor(std::string(slots, 'x')) + descriptor("") + descriptor("") +
               std::string("\0\0\xFF\xFFSN: ABCDEFGH", 16);
    };
    const std::string longText = std::string(8, '\0') + descriptor("") + descriptor("") + descriptor("") +
                                 std::string("\0\0\x01\x06", 4) + std::string(256, 'x') + "SN: ABCD";
    const struct {
        std::string page; // empty: not read
        int modelCode;
        int paramID;
        int psuIdx;
        const char* expected;
    } rows[] = {
        {described, 2, 0, 0, "P0-77"},
        {described, 3, 1, 0, "A1"},
        {described, 0, 0, 1, "x SN: y"},
        {described, 2, 1, 1, "B2SN: x SN: y"},
        {units, 1, 0, 0, " S 1"},
        {units, 1, 1, 0, "12345"},
        {units, 1, 0, 1, "1234567890"},
        {units, 1, 1, 1, ""},
        {units, 1, 0, 2, ""},
        {"", 1, 0, 0, ""},
        {"", 2, 0, 0, ""},
        {pageEnd(8), 2, 0, 0, "ABCD"},
        {pageEnd(4), 2, 0, 0, ""},
        {pageEnd(3), 2, 0, 0, ""},
        {pageEnd(0), 2, 0, 0, ""},
        {pageEnd(-1), 2, 0, 0, ""},
        {longText, 2, 0, 0, "AB"},
        {described, 2, 3, 1, "PSU1 (1)"},
        {described, 2, 2, 1,
         raid_GetEnclosurePowerSupplyStatusString(CachedMachine(base).controller.mrEnclStatus[0], 1)},
    };
    for (const auto& row : rows) {
        std::vector<uint8_t> bytes(row.page.begin(), row.page.end());
        bytes.resize(SES_PAGE_SIZE);
        const auto ask = [&](int paramID, const SL_ENCL_STATUS_T* status, char* text, int size, int32_t* number) {
            return oobMR_getEnclPsInfo(paramID, row.modelCode, status, row.page.empty() ? nullptr : bytes.data(),
                                       row.psuIdx, text, size, number);
        };
        const CachedMachine machine(base + (row.psuIdx == 2 ? "status 8=03" : ""));
        EXPECT_EQ(machine.ask(ask, row.paramID, machine.controller.mrEnclStatus[0]), row.expected) << &row - rows;
    }
}

TEST_F(Enclosure, hasTemperatureSensors) {
    describe({{"thresholds", {{10.9, -100, 2147483648, -5.7}, {1, 2, 3, 4}, {-2147483648, 20.9, 5, 6}}}});
    const CachedMachine machine(base + kp23);
    const SL_ENCL_STATUS_T* status = machine.controller.mrEnclStatus[0];
    char location[VALUE_TEXT_SIZE];
    raid_GetEnclosureSensorLocation(2, status, 0, location, sizeof location);
    const char* texts[] = {"Sensor (0)", location, "", "", "", "", raid_GetEnclosureTempStatusString(status, 0), ""};
    // The second one is not available.
    const int numbers[][8] = {
        {-1, -1, -5, -1, -1, 10, -1, 40}, {-1, -1, -1, -1, -1, -1, -1, -1}, {-1, -1, 6, 20, 5, INT32_MIN, -1, -20}};
    for (int id = 0; id < 8; ++id) {
        EXPECT_EQ(machine.ask(oobMR_getEnclTempSensorInfo, id, 0, 0, 0), Value(VALUE_OK, texts[id], numbers[0][id]));
        for (const int sensor : {1, 2})
            EXPECT_EQ(machine.ask(oobMR_getEnclTempSensorInfo, id, 0, 0, sensor).number, numbers[sensor][id]);
    }
    describe(json::object());
    EXPECT_EQ(machine.ask(oobMR_getEnclTempSensorInfo, 5, 0, 0, 0).number, -1);
}

TEST_F(Enclosure, tracesItsSteps) {
    describe({{"pages", {{"226", page(4, unit("", " R2\n"))}}}});
    const auto traceOfVersion = [](const std::string& bytes) {
        return traceOf([&] { CachedMachine(base + bytes).ask(oobMR_getEnclProcInfo, 8, 0, 0); });
    };
    const std::string start = "oobMR_getEnclProcInfo():ENCLPROCSERIALNO: hlp='";
    EXPECT_EQ(traceOfVersion("encl 20='KP17' 366=FE ctrl 1507=01"),
              start + "KP17', m_PartnerDeviceID=254\n"
                      "oobMR_getEnclProcInfo(): in else of KP17: enclDevid= 70\n"
                      "oobMR_getEnclProcInfo():in KP17: revision=' R2\nx', sizeof (pFRU->Revision)=5\n"
                      "oobMR_getEnclProcInfo():in KP17: revision=' R2', k=3\n");
    EXPECT_EQ(traceOfVersion("encl 366=FF ctrl 1507=01"), start + "', m_PartnerDeviceID=65535\n");
    EXPECT_EQ(traceOfVersion("ctrl 1507=FE"), start + "', m_PartnerDeviceID=65535\n");

    const CachedMachine machine(base + kp23 + "status 12=2C01");
    const SL_ENCL_STATUS_T* status = machine.controller.mrEnclStatus[0];
    EXPECT_EQ(traceOf([&] { machine.ask(oobMR_getEnclFanInfo, 0, 0, 0, 1); }),
              "oobMR_getEnclFanInfo: fanIOdx=1, intProductValue=2, pEnclStatus= " + addressText(status) +
                  "\noobMR_getEnclFanInfo: pEnclStatus->fanCount=300\n");
    const std::vector<uint8_t> noDescriptors(SES_PAGE_SIZE);
    int32_t number = 0;
    char text[VALUE_TEXT_SIZE];
    const std::string accounted =
        traceOf([&] { oobMR_getEnclPsInfo(0, 2, status, noDescriptors.data(), 0, text, sizeof text, &number); });
    EXPECT_THAT(accounted,
                testing::MatchesRegex("CALLOC:address= 0x[0-9a-f]+\\([-0-9]+\\)\nFREE:address= 0x[0-9a-f]+ .*\n"));
}

} // namespace
