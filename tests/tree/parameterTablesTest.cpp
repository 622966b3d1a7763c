#include "tree/parameterTables.h"

#include "tests/support/cachedMachine.h"
#include "tree/batteryValues.h"
#include "tree/controllerValues.h"
#include "values/enclosure.h"
#include "values/logicalDrive.h"
#include "values/physicalDrive.h"

#include <regex>
#include <set>

namespace {

class ParameterTables : public ValueTest {};

// The one walk that sees every row: ended, no id twice, names for people and for XML, and a function for each id.
TEST_F(ParameterTables, haveSoundRowsThatAreAnswered) {
    const CachedMachine machine("config 8=01 enclList 0=01 pd 402=20 status 4=01 8=01 12=01 16=01 32=01 40=01 48=01");
    const auto element = [](auto function) { // the first of an enclosure's elements
        return [function](int id, char* text, int size, int32_t* number) {
            return function(id, 0, 0, 0, text, size, number);
        };
    };
    const auto object = [](auto function) {
        return [function](int id, char* text, int size, int32_t* number) {
            return function(id, 0, 0, text, size, number);
        };
    };
    const auto controller = [](auto function) {
        return
            [function](int id, char* text, int size, int32_t* number) { return function(id, 0, text, size, number); };
    };
    const struct {
        const char* parent;
        const ParamTableEntry* table;
        size_t size; // with the row that ends it
        std::function<int(int id, char* text, int size, int32_t* number)> getValue;
    } tables[] = {
        {"Adapter", ctrlParams_Table, std::size(ctrlParams_Table), controller(oobMR_getCtrlInfo)},
        {"Battery", battParams_Table, std::size(battParams_Table), controller(oobMR_getCtrlBatteryInfo)},
        {"LogicalDrive", ldParams_Table, std::size(ldParams_Table), object(oobMR_getLDInfo)},
        {"PhysicalDrive", pdParams_Table, std::size(pdParams_Table), object(oobMR_getPDInfo)},
        {"Enclosure", enclParams_Table, std::size(enclParams_Table), object(oobMR_getEnclInfo)},
        {"Processor", enclProcParams_Table, std::size(enclProcParams_Table), object(oobMR_getEnclProcInfo)},
        {"Fan", enclFanParams_Table, std::size(enclFanParams_Table), element(oobMR_getEnclFanInfo)},
        {"PowerSupply", enclPsParams_Table, std::size(enclPsParams_Table),
         [&](int id, char* text, int size, int32_t* number) {
             return oobMR_getEnclPsInfo(id, 0, machine.controller.mrEnclStatus[0], nullptr, 0, text, size, number);
         }},
        {"TemperatureSensor", enclTempSensorParams_Table, std::size(enclTempSensorParams_Table),
         element(oobMR_getEnclTempSensorInfo)},
        {"Multiplexer", mxParams_Table, std::size(mxParams_Table), {}}, // five texts by id
    };
    const std::regex xmlName("[A-Za-z_][A-Za-z0-9_.-]*");
    for (const auto& [parent, table, size, getValue] : tables) {
        SCOPED_TRACE(parent);
        std::set<int> ids;
        for (size_t i = 0; i + 1 < size; ++i) {
            const ParamTableEntry& row = table[i];
            EXPECT_GE(row.paramID, 0) << i;
            EXPECT_TRUE(ids.insert(row.paramID).second) << row.paramID;
            EXPECT_STRNE(row.displayName, "") << row.paramID; // also not NULL
            EXPECT_TRUE(row.xmlParamName == nullptr || std::regex_match(row.xmlParamName, xmlName)) << row.paramID;
            if (!getValue) {
                EXPECT_EQ(row.paramID, int(i));
                continue;
            }
            const Value value = machine.ask(getValue, row.paramID);
            EXPECT_EQ(value.status, VALUE_OK) << row.paramID;
            EXPECT_TRUE(row.valueType == PARAM_TEXT || value.text.empty() || row.xmlParamName == nullptr)
                << row.paramID;
        }
        EXPECT_EQ(table[size - 1].paramID, -1);
    }
}

} // namespace
