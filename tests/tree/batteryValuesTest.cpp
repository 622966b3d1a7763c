#include "tree/batteryValues.h"

#include "tests/support/cachedMachine.h"

#include <cstdlib>
#include <ctime>

namespace {

const Value leftOut = {VALUE_NO_OBJECT, "", 0};

class BatteryValues : public ValueTest {
  protected:
    // Noon of the first day of 1970 is the time 0 here.
    BatteryValues() { setZone("XST-12"); }
    ~BatteryValues() override { setZone("UTC"); }

    static void setZone(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }
    static void expect(int paramID, const Rows& rows) { expectValues(oobMR_getCtrlBatteryInfo, "", paramID, rows, 0); }

    static std::string madeOn(uint32_t year, uint32_t month, uint32_t day) {
        const uint32_t packed = year << 9 | month << 5 | day;
        char bytes[32];
        snprintf(bytes, sizeof bytes, "design 0=%08X", __builtin_bswap32(packed));
        return bytes;
    }
};

TEST_F(BatteryValues, areFormedFromTheRecords) {
    expect(0, {{"bbu 0=03", raid_GetBatteryType(3)}, {"-bbu", ""}});
    expect(
        1,
        {{"design 14='MAKER'", "MAKER"}, {"design 14='twelveletter'", ""}, {"design 14='elevenlette'", "elevenlette"}});
    expect(1, {{"-design", leftOut}});
    expect(4, {{"design 6=E81C", "7.400"}, {"design 6=5A23", "9.50"}, {"design 6=8813", "5.0"}, {"-design", ""}});
    expect(5, {{"bbu 0=03", raid_GetBatteryType(3)}, {"-bbu", ""}});
    expect(6, {{"bbu 0=01", "Yes"}, {"bbu 0=02", "No"}, {"bbu 0=03", "No"}, {"bbu 0=04", "Yes"}, {"-bbu", ""}});
    expect(7, {{"design 10=FEFF", 65534}, {"design 10=FFFF", 0}, {"-design", 0}});
    expect(8, {{"bbu 8=0001", "Normal"}, {"bbu 8=01", "Degraded"}, {"bbu 8=02", "Error"}, {"bbu 8=03", "Unknown"}});
    expect(8, {{"bbu 8=04", ""}, {"-bbu", ""}});
    expect(9, {{"properties 4=01", "2000-01-01 12:00:01"}, {"properties 4=FFFFFFFF", "2136-02-07 18:28:15"}});
    expect(9, {{"properties 4=00", ""}, {"-properties", ""}});
    expect(10, {{"design 26='BAT7777'", "BAT7777"}, {"design 26='BAT88888'", ""}, {"-design", leftOut}});
    expect(11, {{"", ""}});
    expect(12, {{"design 48=02 -properties", "Transparent"}, {"properties 9=02", raid_GetBatteryAutoLearnMode(2)}});
    expect(12, {{"-design", leftOut}, {"-properties", leftOut}});
    expect(13, {{"properties 0=803A09", 7}, {"properties 0=FFA202", 1}, {"-properties", 0}});
    expect(14, {{"bbu 2=AC0F", "4.12"}, {"-bbu", ""}});
    expect(15, {{"bbu 6=FFFF", 65535}, {"-bbu", 0}});
    EXPECT_EQ(traceOf([] {
                  expect(5, {{"bbu 0=09", raid_GetBatteryType(9)}, {"-bbu", ""}});
              }),
              "oobMR_getCtrlBatteryInfo():CTRLBATTTYPE: oobMRCache->mrCtrlInst[instIdx]->mrBBUStatus->batteryType=9\n");
    EXPECT_EQ(traceOf([] { expect(0, {{"bbu 0=09", raid_GetBatteryType(9)}}); }), "");
}

TEST_F(BatteryValues, dateTheMakeByTheCalendar) {
    expect(2, {{madeOn(2014, 12, 31), "2014-12-31"}, {madeOn(2015, 2, 30), "2015-03-02"}, {madeOn(2015, 13, 1), ""}});
    expect(2, {{madeOn(2015, 1, 1), "2015-01-01"}, {madeOn(2015, 0, 1), ""}, {madeOn(2015, 1, 0), ""}});
    expect(2, {{madeOn(0, 1, 1), ""}, {madeOn(1970, 1, 1), ""}, {madeOn(65535, 1, 1), "65535-01-01"}, {"-design", ""}});
}

// A battery tells its charge in the capacity record, a capacitor (type 6) in its status, 528 here.
TEST_F(BatteryValues, takeTheChargeFromWhereItsTypeHasIt) {
    const std::string battery = "bbu 0=02 capacity 0=5D 4=4C04 6=B004 design 4=DC05 ";
    const std::string capacitor = "bbu 0=06 32=10 35=02 ";
    expect(3, {{battery, 1200}, {battery + "-capacity", 0}, {battery + "-bbu", 1500}, {"-bbu -design", 0}});
    expect(3, {{capacitor + "design 4=DC05", 1500}});
    expect(16, {{battery, 93}, {battery + "-capacity", 0}, {battery + "-bbu", 0}, {capacitor + "-design", 0}});
    expect(16, {{capacitor + "design 4=2003", 66}, {capacitor + "design 4=1002", 100}, {capacitor, 100}});
    expect(16, {{"bbu 0=06", 0}});
    expect(17, {{battery, 1100}, {battery + "-capacity", -1}, {battery + "-bbu", 1100}, {capacitor, 528}});
}

} // namespace
