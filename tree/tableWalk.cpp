#include "tree/tableWalk.h"

#include "daemon/trace.h"
#include "values/valueFunction.h"

namespace {

void traceResult(const TableWalk& walk, int valueResult, int appendResult, int result) {
    if (walk.traceName == nullptr) return;
    if (walk.tracesAppend)
        trace("\t%s(): Loop: ret=%d, appRet=%d\n", walk.traceName, valueResult, appendResult);
    else
        trace("\t%s(): Loop: ret=%d, XP_SUCCESS=%d\n", walk.traceName, result, XP_SUCCESS);
}

} // namespace

void appendTable(XMLNode* element, const TableWalk& walk, const TreeObject& object) {
    int result = 0;
    for (const ParamTableEntry* row = walk.table; row->paramID != PARAM_TABLE_END.paramID; ++row) {
        if (row->xmlParamName == nullptr) continue;
        if (walk.traceName != nullptr)
            trace("\t%s(): Loop: ctrlParams_Table[i].xmlParamName='%s'\n", walk.traceName, row->xmlParamName);
        char text[VALUE_TEXT_SIZE];
        int32_t value = 0;
        const int valueResult = walk.getValue(row->paramID, object, text, sizeof text, &value);
        int appendResult = XP_SUCCESS;
        if (valueResult == VALUE_OK) {
            if (row->valueType == PARAM_TEXT)
                appendResult = appendTextChild(element, row->xmlParamName, text);
            else if (value >= 0 || walk.writesNegative)
                appendResult = appendIntegerChild(element, row->xmlParamName, value);
        }
        result = valueResult != VALUE_OK ? valueResult : appendResult;
        traceResult(walk, valueResult, appendResult, result);
        if (appendResult != XP_SUCCESS && walk.endsOnFailedAppend) break;
    }
    if (walk.traceName != nullptr) trace("%s(): END - ret=%d\n", walk.traceName, result);
}
