// What all value functions share: bad buffers, objects that are not in the cache, and the trace of these.

#include "tests/support/cachedMachine.h"
#include "tree/batteryValues.h"
#include "values/enclosure.h"
#include "values/logicalDrive.h"
#include "values/physicalDrive.h"

namespace {

using ValueFunction = std::function<int(int paramID, int ctrlIdx, int index, char* text, int size, int32_t* number)>;

class ValueFunctions : public ValueTest {};

TEST_F(ValueFunctions, answerBadCallersWithCodes) {
    const CachedMachine machine("config 8=01 enclList 0=01 status 4=01 8=01 12=01 16=01");
    const CachedMachine bare("config 8=01 enclList 0=01 -pd -encl -status -ld");
    const auto battery = [](int id, int ctrl, int index, char* text, int size, int32_t* number) {
        return oobMR_getCtrlBatteryInfo(id, ctrl + index, text, size, number);
    };
    const auto fan = [](int id, int ctrl, int index, char* text, int size, int32_t* number) {
        return oobMR_getEnclFanInfo(id, ctrl, 0, index, text, size, number);
    };
    const auto sensor = [](int id, int ctrl, int index, char* text, int size, int32_t* number) {
        return oobMR_getEnclTempSensorInfo(id, ctrl, 0, index, text, size, number);
    };
    const auto supply = [](int id, int ctrl, int index, char* text, int size, int32_t* number) {
        const MRCtrlInst* controller = getController(ctrl);
        const SL_ENCL_STATUS_T* status = controller == nullptr ? nullptr : controller->mrEnclStatus[0];
        return oobMR_getEnclPsInfo(id, ENCL_MODEL_KP23, status, nullptr, index, text, size, number);
    };
    const struct {
        ValueFunction function;
        const char* trace;
        int32_t noNumber = 0;
        int statusWithoutRoom = VALUE_BAD_BUFFER;
        int statusOfBare = VALUE_NO_OBJECT;
    } rows[] = {
        {oobMR_getPDInfo, "oobMR_getPDInfo(): END\n"},
        {oobMR_getEnclInfo, "oobMR_getEnclInfo(): END\n"},
        {oobMR_getEnclProcInfo, "oobMR_getEnclProcInfo(): END\n"},
        {fan, "oobMR_getEnclFanInfo(): END\n"},
        {sensor, "oobMR_getEnclTempSensorInfo(): END\n", -1},
        {supply, ""},
        {battery, "oobMR_getCtrlInfo(): END\n", 0, VALUE_BAD_BUFFER, VALUE_OK},
        {oobMR_getLDInfo, "oobMR_getLDInfo(): START - paramID=99, ctrlIdx=1, instIdx=0\noobMR_getLDInfo(): END\n", 0,
         VALUE_OK},
    };
    for (const auto& row : rows) {
        const Value nothing = {VALUE_OK, "", row.noNumber};
        EXPECT_EQ(machine.ask(row.function, 99, 0, 0), nothing) << row.trace;
        EXPECT_EQ(machine.ask(row.function, -1, 0, 0), nothing) << row.trace;
        for (const auto& [ctrlIdx, index] : {std::pair(0, 1), {0, -1}, {1, 0}, {-1, 0}})
            EXPECT_EQ(machine.ask(row.function, 99, ctrlIdx, index).status, VALUE_NO_OBJECT) << row.trace;
        EXPECT_EQ(traceOf([&] { machine.ask(row.function, 99, 1, 0); }), row.trace);
        EXPECT_EQ(bare.ask(row.function, 99, 0, 0).status, row.statusOfBare) << row.trace;
        int32_t number = 12345;
        EXPECT_EQ(row.function(99, 0, 0, nullptr, 256, &number), VALUE_BAD_BUFFER) << row.trace;
        EXPECT_EQ(number, row.noNumber);
        char text[] = "###";
        machine.ask(row.function, 99, 0, 0);
        EXPECT_EQ(row.function(18, 0, 0, text, 0, &number), row.statusWithoutRoom) << row.trace;
        EXPECT_STREQ(text, "###");
    }
}

} // namespace
