#include "tree/tableWalk.h"

#include "daemon/base/pause.h"
#include "tree/treeNodes.h"
#include "values/valueFunction.h"

void appendTable(XMLNode* element, const TableWalk& walk, const TreeObject& object) {
    int result = 0;
    for (const ParamTableEntry* row = walk.table; row->paramID != PARAM_TABLE_END.paramID; ++row) {
        if (row->xmlParamName == nullptr) continue;
        deliverSignals(); // a value may ask the controller
        if (walk.trace.row != nullptr) walk.trace.row(row->xmlParamName);
        char text[VALUE_TEXT_SIZE];
        int32_t value = 0;
        const int valueResult = walk.getValue(row->paramID, object, text, sizeof text, &value);
        int appendResult = XP_SUCCESS;
        if (valueResult == VALUE_OK) {
            if (row->valueType == PARAM_TEXT)
                appendResult = addText(element, row->xmlParamName, text);
            else if (value >= 0 || walk.writesNegative)
                appendResult = addInteger(element, row->xmlParamName, value);
        }
        result = valueResult != VALUE_OK ? valueResult : appendResult;
        if (walk.trace.result != nullptr) walk.trace.result(result, valueResult, appendResult);
        if (appendResult != XP_SUCCESS && walk.endsOnFailedAppend) break;
    }
    if (walk.trace.end != nullptr) walk.trace.end(result);
}
