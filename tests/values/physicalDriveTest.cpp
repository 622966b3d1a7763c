#include "values/physicalDrive.h"

#include "tests/support/cachedMachine.h"

#include <nlohmann/json.hpp>

namespace {

// Entry `index` of the drive list.
std::string entry(size_t index, const char* deviceEnclosureSlotAndType) {
    return " pdList " + std::to_string(8 + 24 * index) + "=" + deviceEnclosureSlotAndType;
}

// The drive (slot 4, enclosure 60) is entry 3; its slot occurs in another enclosure too, and with something that is
// no disk. Entry 5 is not counted.
const std::string base = "pd 256=3C00 259=04 pdList 4=05" + entry(0, "0A003C00000300") + entry(1, "0B003200000400") +
                         entry(2, "0C003C0000040D") + entry(3, "0D003C00000400") + entry(4, "0E003C00000400") +
                         entry(5, "0F003C00000400");
const std::string full = "pdList 4=0001 pd 259=09 189=20"; // its slot is not in the list, which has no room left
const std::string sas = "pd 189=20 ";

const nlohmann::json devices = {{"11", {{"sasRpm", 15000}, {"ataRpm", 7250}, {"temperature", 31}}},
                                {"15", {{"sasRpm", 10550}, {"temperature", 5}}},
                                {"0", {{"sasRpm", 999}, {"temperature", 99}}},
                                {"21", {{"sasRpm", 0}, {"temperature", 255}}},
                                {"22", {{"temperature", 4}}}};

class PhysicalDrive : public ValueTest {
  protected:
    static void expect(int paramID, const Rows& rows) { expectValues(oobMR_getPDInfo, base, paramID, rows, 0, 0); }
};

TEST_F(PhysicalDrive, formsItsValuesFromTheRecord) {
    const std::string inquiry = "pd 12='SEAGATE  ST9146853SS    0007 6XM0ABCD            ' ";
    expect(0, {{"pd 166=0C", 2}});
    expect(1, {{inquiry, "SEAGATE ST9146853SS (4)"}, {inquiry + "enclList 0=01 8=3C", "SEAGATE ST9146853SS (1:4)"}});
    expect(2, {{inquiry, "SEAGATE"}});
    expect(3, {{inquiry, "ST9146853SS"}});
    expect(4, {{"pd 189=2F", raid_GetDeviceInterfaceType(2)}});
    expect(7, {{"pd 167=00", 0}, {"pd 167=01", 150}, {"pd 167=02", 300}, {"pd 167=03", 600}});
    expect(7, {{"pd 167=04", 1200}, {"pd 167=05", 5}, {"pd 167=FF", 255}});
    expect(8, {{"", 1}});
    expect(11, {{"", 4}});
    expect(13, {{"pd 192=02 208=4D3C2B1A00C50050", "0x5000C5001A2B3C4D"},
                {"pd 192=02 200=0A 208=07", "0x000000000000000A"},
                {"pd 192=01 208=07", ""},
                {"pd 192=FF 224=07", "0x0000000000000007"},
                {"pd 192=FF 232=07", ""}});
    expect(14, {{"pd 232=3060383A", 476940}, {"pd 232=000000000004", INT32_MIN}});
    expect(15, {{"pd 248=FF5F383A", 476939}, {"pd 248=000000000004", INT32_MIN}});
    expect(16, {{"pd 184=18", raid_GetHddFirmwareState(0x18)}});
    expect(17, {{"pd 260=E0", "Idle"},
                {"pd 260=01", "Rebuild in progress"},
                {"pd 260=03", "Patrol Read in progress"},
                {"pd 260=07", "Erase in progress"},
                {"pd 260=17", "Secure erase in progress"},
                {"pd 260=1F", "Copyback in progress"}});
    expect(18, {{"pd 188=10", "true"}, {"pd 188=EF", "false"}});
    expect(19, {{"pd 168=03", 3}});
    expect(20, {{"pd 172=01000080", INT32_MIN + 1}});
    expect(21, {{"pd 176=05", 5}});
    expect(22, {{"pd 370=00", "HDD"}, {"pd 370=01", "SSD"}, {"pd 370=02", "HDD"}});
    expect(23, {{"pd 176=01 184=11", "Failure Predicted"}, {"pd 176=01 mfc 16=01", "Monitoring Disabled"}});
    expect(24, {{"pd 358=01", raid_GetHddPowerState(1)}});
    expect(26, {{"", 0}});
}

TEST_F(PhysicalDrive, looksForTheMakerBehindATranslation) {
    const char* const intel = " sata 54=~'INTEL SSDSC2BB480G4 ' 510=A5";
    struct {
        const char* inquiryVendor;
        const char* inquiryProduct;
        std::string sata;
        const char* vendor;
        const char* product;
    } const rows[] = {
        {"ATA", "WDC WD5003ABYX-0", "", "WD", "WD5003ABYX-0"},
        {"ATA", "ST3500418AS", "", "Seagate", "ST3500418AS"},
        {"ATAPI", "Hitachi   HUA722", "", "Hitachi", "HUA722"},
        {"ATA", "Overlong1 Z", "", "Overlong", "Z"},
        {"ATA", "xZBRx", "", "Zebrant", "xZBRx"},
        {"ATA", "zbr-hit", "", "Hitachi", "zbr-hit"},
        {"ATA", "HTS7", "", "Hitachi", "HTS7"},
        {"ATA", "hts-wd", "", "WD", "hts-wd"},
        {"ATA", "wd best zbr hit", "", "Seagate", "best zbr hit"},
        {"ata", "WDC WD5003ABYX-0", "", "ata", "WDC WD5003ABYX-0"},
        {"ATA", "WDC WD5003ABYX-0", " -sata", "ATA", "WD5003ABYX-0"},
        {"ATA", "INTEL SSDSC2BB48", intel, "Intel", "SSDSC2BB48"},
        {"ACME", "X st", " sata 54=~'                                    IntelX' 510=A5", "ACME",
         "X st"}, // beyond the model
        {"ACME", "X st", intel, "Intel", "X st"},
        {"ATA", "INTEL SSDSC2BB48", std::string(intel) + " 510=A4", "INTEL", "SSDSC2BB48"},
    };
    for (const auto& row : rows) {
        const std::string inquiry =
            std::string("pd 189=30 12='") + row.inquiryVendor + "' 20='" + row.inquiryProduct + "'" + row.sata;
        const std::string name = std::string(row.vendor) + " " + row.inquiryProduct + " (4)";
        expect(1, {{inquiry, name.c_str()}});
        expect(2, {{inquiry, row.vendor}});
        expect(3, {{inquiry, row.product}});
    }
}

TEST_F(PhysicalDrive, takesFirmwareAndSerialNumberFromGoodIdentifyData) {
    const std::string inquiry = "pd 36='1S02   S1234            ' ";
    expect(5, {{inquiry, "1S02"},
               {inquiry + "sata 46=~'01.01S02ZZ' 510=A5", "01.01S02"},
               {inquiry + "sata 46=~'A7 X' 510=A5", "A7"},
               {inquiry + "sata 46=~'01.01S02'", "1S02"},
               {inquiry + "-sata", "1S02"}});
    expect(6, {{inquiry, "S1234"},
               {inquiry + "sata 20=~'    WD-WCAYUX 7     ZZ' 510=A5", "WD-WCAYUX 7     "},
               {inquiry + "sata 20=~'                    ' 510=A5", "S1234"},
               {inquiry + "sata 510=A5", "S1234"},
               {inquiry + "sata 20=~'WD-7'", "S1234"},
               {inquiry + "-sata", "S1234"}});
}

TEST_F(PhysicalDrive, asksTheLibraryByTheDriveInItsSlot) {
    describeDevices(devices);
    expect(9, {{sas, "15.0"}, {"pd 189=3F", "7.2"}, {"pd 189=12", ""}, {sas + "370=01", ""}, {sas + "370=02", ""}});
    expect(9, {{sas + "358=01", ""}, {sas + "358=02", "15.0"}, {sas + entry(1, "150032000004"), ""}});
    expect(9, {{sas + entry(1, "160032000004"), ""}, {sas + "-pdList", ""}, {full, ""}});
    // The entry just past the last counted one stands in for a drive that is not listed.
    expect(9, {{sas + "259=09", "10.6"}, {sas + "259=09 pdList 4=06", "1.0"}});
    const Value unusable = {VALUE_BAD_BUFFER, "", -99};
    expect(25, {{"pd 402=05", 5}, {"pd 402=FE", 254}, {"pd 402=04", unusable}, {"pd 402=00", 31}, {"pd 402=FF", 31}});
    expect(25, {{"pd 259=09", 5}, {entry(1, "150032000004"), unusable}, {entry(1, "160032000004"), unusable}});
    expect(25, {{"-pdList", unusable}, {full, unusable}});
    expect(10, {{"", 13}, {"pdList 4=03", 0}, {"-pdList", 0}});
}

TEST_F(PhysicalDrive, findsItsEnclosureAmongThoseThatAreNoBackplane) {
    expect(12, {{"enclList 0=02 8=32 152=3C", 2},
                {"enclList 0=02 8=32 152=3C 162=03", -1},
                {"enclList 0=02 8=3C 18=03 152=3C", 1}, // the library counts backplanes too
                {"enclList 0=02 296=3C", -1},
                {"-enclList", -1}});
}

TEST_F(PhysicalDrive, tracesItsSteps) {
    describeDevices(devices);
    const CachedMachine machine(base + " pd 12='ATA     WDC WD50        1S02 S1' 176=10 184=18 189=30 "
                                       "sata 20=~' WD-7 ' 46=~'A7 X' 510=A5");
    const std::string start = "oobMR_getPDInfo():START paramID=";
    const std::pair<int, std::string> rows[] = {
        {1, start +
                "2\noobMR_getPDInfo(PDVENDOR): Vendor='WD'\n"
                "oobMR_getPDInfo(): Vendor='WD', enclDeviceId = 0x3c\n" +
                start + "12\noobMR_getPDInfo():PDENCLNUMBER: *ival= -1\n"},
        {5, std::string("oobMR_getPDInfo(PDFWVERSION): oobMRCache->mrCtrlInst[ctrlIdx]->mrPdSataInfo[instIdx]= ") +
                addressText(machine.controller.mrPdSataInfo[0]) +
                "\noobMR_getPDInfo(PDFWVERSION):1:product_rev='1S02'\n"
                "oobMR_getPDInfo(PDFWVERSION): signature=0xa5\n"
                "oobMR_getPDInfo(PDFWVERSION):SATA:product_rev='A7'\n"},
        {6, "oobMR_getPDInfo(PDSERIALNUMBER):vendor_specific='S1'\n"
            "oobMR_getPDInfo(PDSERIALNUMBER): signature=0xa5\n"
            "oobMR_getPDInfo(PDSERIALNUMBER):vendor_specific='S1', sval='WD-7 '\n"},
        {10, "oobMR_getPDInfo(): PDDEVICENUMBER: instIdx=0, i=3, ival=13\n"},
        {11, "oobMR_getPDInfo():PDSLOT[0]: *ival= 4\n"},
        {16, "oobMR_getPDInfo(PDSTATUS):oobMRCache->mrCtrlInst[ctrlIdx]->mrPdInfo[instIdx]->fwState= 0x18\n"},
        {23, "oobMR_getPDInfo():PDSMARTSTATUS: fwState = 0x18\n"
             "oobMR_getPDInfo():PDSMARTSTATUS: predFailCount = 0x10\n"},
        {25, "oobMR_getPDInfo(PDTEMPERATURE): ival= 0\n"
             "oobMR_getPDInfo():temperature before= ival=31, pdType=3, "
             "oobMRCache->mrCtrlInst[ctrlIdx]->mrPdInfo[instIdx]->temperature= 0\n"},
    };
    for (const auto& [paramID, expected] : rows)
        EXPECT_EQ(traceOf([&, id = paramID] { machine.ask(oobMR_getPDInfo, id, 0, 0); }),
                  start + std::to_string(paramID) + "\n" + expected);
    const CachedMachine unlisted(base + " pd 259=09");
    EXPECT_EQ(traceOf([&] { unlisted.ask(oobMR_getPDInfo, 10, 0, 0); }),
              start + "10\noobMR_getPDInfo(): PDDEVICENUMBER: instIdx=0, i=5, ival=0\n");
}

} // namespace
