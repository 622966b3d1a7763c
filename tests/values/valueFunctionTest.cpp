// What all value functions and their tables share. What each value is stands in the golden documents.

#include "values/valueFunction.h"

#include "tests/daemon/base/outputs.h"
#include "tests/support/updateFixture.h"
#include "tree/parameterTables.h"
#include "values/enclosure.h"
#include "values/enclosureElements.h"
#include "values/enclosureProcessor.h"
#include "values/logicalDrive.h"
#include "values/physicalDrive.h"
#include "values/sesPages.h"

#include <regex>
#include <span>

namespace {

using ValueFunction = std::function<int(int id, int ctrl, int index, char* text, int size, int32_t* number)>;

struct Kind {
    const char* name;
    std::span<const ParamTableEntry> table; // with the row that ends it
    ValueFunction ask;
    const char* traceWithoutObject = "";
    int32_t noNumber = 0;
    int statusWithoutRoom = VALUE_BAD_BUFFER;
};

template <class Function>
ValueFunction ofController(Function function) {
    return [=](int id, int ctrl, int index, char* text, int size, int32_t* number) {
        return function(id, ctrl + index, text, size, number);
    };
}

template <class Function>
ValueFunction ofElement(Function function) { // of the first enclosure
    return [=](int id, int ctrl, int index, char* text, int size, int32_t* number) {
        return function(id, ctrl, 0, index, text, size, number);
    };
}

int askPowerSupply(int id, int ctrl, int index, char* text, int size, int32_t* number) {
    const MRCtrlInst* controller = getController(ctrl);
    const SL_ENCL_STATUS_T* status = controller == nullptr ? nullptr : controller->mrEnclStatus[0];
    static uint8_t page[SES_PAGE_SIZE];
    (void)readDiagnosticPage(*findEnclosure(0, 0), SES_PAGE_ELEMENT_DESCRIPTORS, page);
    return oobMR_getEnclPsInfo(id, SL_ENCL_MODEL_KP23, status, page, index, text, size, number);
}

const Kind KINDS[] = {
    {"Adapter", ctrlParams_Table, ofController(oobMR_getCtrlInfo), "oobMR_getCtrlInfo(): END\n"},
    {"Battery", battParams_Table, ofController(oobMR_getCtrlBatteryInfo), "oobMR_getCtrlInfo(): END\n"},
    {"LogicalDrive", ldParams_Table, oobMR_getLDInfo,
     "oobMR_getLDInfo(): START - paramID=99, ctrlIdx=9, instIdx=0\noobMR_getLDInfo(): END\n", 0, VALUE_OK},
    {"PhysicalDrive", pdParams_Table, oobMR_getPDInfo, "oobMR_getPDInfo(): END\n"},
    {"Enclosure", enclParams_Table, oobMR_getEnclInfo, "oobMR_getEnclInfo(): END\n"},
    {"Processor", enclProcParams_Table, oobMR_getEnclProcInfo, "oobMR_getEnclProcInfo(): END\n"},
    {"Fan", enclFanParams_Table, ofElement(oobMR_getEnclFanInfo), "oobMR_getEnclFanInfo(): END\n"},
    {"PowerSupply", enclPsParams_Table, askPowerSupply},
    {"TemperatureSensor", enclTempSensorParams_Table, ofElement(oobMR_getEnclTempSensorInfo),
     "oobMR_getEnclTempSensorInfo(): END\n", -1},
};

// On a server that has everything.
class ValueFunctions : public UpdateTest {
  protected:
    void SetUp() override { buildCache(describedServer("rich")); }
};

// A buffer of each size lies on the heap in its exact size, and is filled.
TEST_F(ValueFunctions, answerEachRowAsFarAsTheBufferGoes) {
    const std::regex date(R"(^\d{4}-\d\d-\d\d)");
    for (const Kind& kind : KINDS) {
        for (const ParamTableEntry& row : kind.table.first(kind.table.size() - 1)) {
            SCOPED_TRACE(std::string(kind.name) + " " + row.displayName);
            std::string whole(VALUE_TEXT_SIZE, '#');
            int32_t wholeNumber = 12345;
            EXPECT_EQ(kind.ask(row.paramID, 0, 0, whole.data(), VALUE_TEXT_SIZE, &wholeNumber), VALUE_OK);
            whole.resize(strlen(whole.c_str()));
            EXPECT_TRUE(row.valueType == PARAM_TEXT || whole.empty() || row.xmlParamName == nullptr);
            for (size_t size = 1; size <= whole.size() + 1; ++size) {
                std::vector<char> text(size, '#');
                int32_t number = 12345;
                const int answered = kind.ask(row.paramID, 0, 0, text.data(), int(size), &number);
                const bool isLeftOut = answered != VALUE_OK; // as a date that does not fit
                EXPECT_TRUE(!isLeftOut || std::regex_search(whole, date)) << whole;
                EXPECT_EQ(number, wholeNumber);
                const std::string told(text.data(), strnlen(text.data(), size));
                EXPECT_TRUE(isLeftOut || told == whole.substr(0, size - 1)) << told;
            }
        }
    }
}

TEST_F(ValueFunctions, answerWhatTheTreeDoesNotWrite) {
    const auto ask = [](const Kind& kind, int ctrl, int id) {
        char text[VALUE_TEXT_SIZE];
        int32_t number = 12345;
        EXPECT_EQ(kind.ask(id, ctrl, 0, text, sizeof text, &number), VALUE_OK);
        return text + (" " + std::to_string(number));
    };
    const Kind& adapter = KINDS[0];
    const Kind& enclosure = KINDS[4];
    std::string numbers;
    for (const int id :
         {CTRL_ID, CTRL_PD_COUNT, CTRL_LD_COUNT, CTRL_VENDOR_ID, CTRL_SUBVENDOR_ID, CTRL_DEVICE_ID, CTRL_SUBDEVICE_ID})
        numbers += ask(adapter, 1, id);
    EXPECT_EQ(numbers, " 1 3 1 6750 6750 23 38529");
    EXPECT_EQ(ask(adapter, 1, CTRL_PATROL_READ_STATUS), "Stopped 0");
    EXPECT_EQ(ask(enclosure, 0, ENCL_LOGICAL_ID), "5021A5E31700438F 0");
    EXPECT_EQ(ask(enclosure, 0, ENCL_SUPPORT), " 1");
    const Kind& sensor = KINDS[8];
    EXPECT_EQ(ask(sensor, 0, SENSOR_CRITICAL_LOW), " 0");
    const Kind& drive = KINDS[3];
    EXPECT_EQ(ask(drive, 0, PD_RPM), "7.2 0");
    free(std::exchange(oobMRCache->mrCtrlInst[0]->mrPdList, nullptr));
    EXPECT_EQ(ask(drive, 0, PD_RPM), " 0");
    EXPECT_EQ(ask(drive, 0, PD_DEVICE_NUMBER), " 0");
    nlohmann::json machine = describedServer("rich");
    for (const double notSet : {-100.0, 1e30, -1e30}) {
        machine["controllers"][0]["devices"]["60"]["thresholds"][0] = {notSet, notSet, notSet, notSet};
        buildCache(machine);
        EXPECT_EQ(ask(sensor, 0, SENSOR_CRITICAL_LOW), " -1") << notSet;
    }
}

TEST_F(ValueFunctions, answerBadCallersWithCodes) {
    for (const Kind& kind : KINDS) {
        SCOPED_TRACE(kind.name);
        char text[VALUE_TEXT_SIZE] = "###";
        int32_t number = 12345;
        for (const auto& [ctrl, index] : {std::pair(0, 300), {0, -1}, {9, 0}, {-1, 0}}) {
            EXPECT_EQ(kind.ask(99, ctrl, index, text, sizeof text, &number), VALUE_NO_OBJECT) << ctrl << " " << index;
            EXPECT_EQ(number, kind.noNumber);
        }
        EXPECT_EQ(tracedBy([&] { kind.ask(99, 9, 0, text, sizeof text, &number); }), kind.traceWithoutObject);
        for (const int id : {99, -1}) {
            EXPECT_EQ(kind.ask(id, 0, 0, text, sizeof text, &number), VALUE_OK);
            EXPECT_STREQ(text, "");
            EXPECT_EQ(number, kind.noNumber);
        }
        EXPECT_EQ(kind.ask(18, 0, 0, nullptr, sizeof text, &number), VALUE_BAD_BUFFER);
        for (const int size : {0, -1}) {
            memcpy(text, "###", sizeof "###");
            EXPECT_EQ(kind.ask(18, 0, 0, text, size, &number), kind.statusWithoutRoom);
            EXPECT_STREQ(text, "###");
        }
    }
    OobMRCache* cache = std::exchange(oobMRCache, nullptr);
    EXPECT_EQ(getController(0), nullptr);
    oobMRCache = cache;
}

} // namespace
