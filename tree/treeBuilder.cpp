#include "tree/treeBuilder.h"

#include "cache/oobCache.h"
#include "daemon/base/logs.h"
#include "daemon/base/trace.h"
#include "platform/lcm.h"
#include "tree/portTree.h"
#include "tree/tableWalk.h"
#include "tree/treeNodes.h"

#include <algorithm>

namespace {

constexpr uint16_t CONFIG_SYSTEM_NAME = 513;
constexpr size_t SYSTEM_NAME_SIZE = 64;

constexpr TableWalk CONTROLLER_WALK = {
    .table = ctrlParams_Table,
    .getValue = [](int paramID, const TreeObject& object, char* text, int size,
                   int32_t* value) { return oobMR_getCtrlInfo(paramID, object.ctrlIndex, text, size, value); },
    .writesNegative = false,
    .endsOnFailedAppend = true,
    .trace = {
        [](const char* name) { trace("\taddCtrlInfo2XML(): Loop: ctrlParams_Table[i].xmlParamName='%s'\n", name); },
        [](int result, int, int) { trace("\taddCtrlInfo2XML(): Loop: ret=%d, XP_SUCCESS=%d\n", result, XP_SUCCESS); },
        [](int result) { trace("addCtrlInfo2XML(): END - ret=%d\n", result); },
    },
};

constexpr TableWalk BATTERY_WALK = {
    .table = battParams_Table,
    .getValue = [](int paramID, const TreeObject& object, char* text, int size,
                   int32_t* value) { return oobMR_getCtrlBatteryInfo(paramID, object.ctrlIndex, text, size, value); },
    .writesNegative = false,
    .endsOnFailedAppend = true,
    .trace = {
        [](const char* name) {
            trace("\taddCtrlBatteryInfo2XML(): Loop: ctrlParams_Table[i].xmlParamName='%s'\n", name);
        },
        [](int result, int, int) {
            trace("\taddCtrlBatteryInfo2XML(): Loop: ret=%d, XP_SUCCESS=%d\n", result, XP_SUCCESS);
        },
        [](int result) { trace("addCtrlBatteryInfo2XML(): END - ret=%d\n", result); },
    },
};

constexpr TableWalk LOGICAL_DRIVE_WALK = {
    .table = ldParams_Table,
    .getValue =
        [](int paramID, const TreeObject& object, char* text, int size, int32_t* value) {
            return oobMR_getLDInfo(paramID, object.ctrlIndex, object.index, text, size, value);
        },
    .writesNegative = false,
    .endsOnFailedAppend = true,
    .trace = {
        [](const char* name) { trace("\taddLDInfo2XML(): Loop: ctrlParams_Table[i].xmlParamName='%s'\n", name); },
        [](int, int valueResult, int appendResult) {
            trace("\taddLDInfo2XML(): Loop: ret=%d, appRet=%d\n", valueResult, appendResult);
        },
        [](int result) { trace("addLDInfo2XML(): END - ret=%d\n", result); },
    },
};

// NOLINTNEXTLINE(readability-non-const-parameter): the buffer is written through its record
int getSummaryText(int paramID, const TreeObject& object, char* text, int size, int32_t*) {
    TextBuffer buffer{text, size};
    put(buffer, object.summary->text[paramID]);
    return VALUE_OK;
}

constexpr TableWalk MULTIPLEXER_WALK = {
    .table = mxParams_Table,
    .getValue = getSummaryText,
    .writesNegative = false,
    .endsOnFailedAppend = true,
};

void addCtrlInfo2XML(XMLNode* adapter, int ctrlIndex) {
    appendTable(adapter, CONTROLLER_WALK, {.ctrlIndex = ctrlIndex});
}

void addCtrlBatteryInfo2XML(XMLNode* battery, int ctrlIndex) {
    appendTable(battery, BATTERY_WALK, {.ctrlIndex = ctrlIndex});
}

void addLDInfo2XML(XMLNode* logicalDrive, int ctrlIndex, int ldIndex) {
    appendTable(logicalDrive, LOGICAL_DRIVE_WALK, {.ctrlIndex = ctrlIndex, .index = ldIndex});
}

int getCount(int ctrlIndex, int paramID) {
    char text[VALUE_TEXT_SIZE];
    int32_t count = 0;
    (void)oobMR_getCtrlInfo(paramID, ctrlIndex, text, sizeof text, &count); // 0 without the controller
    return count;
}

void addSystemName(XMLNode* system) {
    char name[SYSTEM_NAME_SIZE + 1] = {};
    if (LCMconfigSpaceRead(CONFIG_SYSTEM_NAME, 0, name, SYSTEM_NAME_SIZE) == 1) addText(system, "Name", name);
}

void addLogicalDrives(XMLNode* adapter, int ctrlIndex, const MRCtrlInst& controller) {
    const int count = getCount(ctrlIndex, CTRL_LD_COUNT);
    trace("getRSTfromCache(): number of log. disks=%d\n", count);
    if (controller.mrCfgData == nullptr) return;
    for (int j = 0; j < std::min(count, int{LD_CONFIG_CAPACITY}); ++j) {
        XMLNode* logicalDrive = addElement(adapter, "LogicalDrive");
        setNumber(logicalDrive, getLdConfig(*controller.mrCfgData, uint32_t(j)).properties.ldRef.targetId);
        addLDInfo2XML(logicalDrive, ctrlIndex, j);
    }
}

void addBattery(XMLNode* adapter, int ctrlIndex, const MRCtrlInst& controller) {
    if ((controller.mrInfo->hwPresent & MR_HW_PRESENT_BBU) == 0) return;
    trace("getRSTfromCache(): obMRCache->mrCtrlInst[ctrlIndex]->mrInfo->hwPresent.bbu= %d\n", 1);
    addCtrlBatteryInfo2XML(addElement(adapter, "Battery"), ctrlIndex);
}

void addAdapter(XMLNode* system, int ctrlIndex, const MRCtrlInst& controller) {
    XMLNode* adapter = addElement(system, "Adapter");
    setNumber(adapter, raid_GetControllerNumber(controller.ctrlId));
    addCtrlInfo2XML(adapter, ctrlIndex);
    addLogicalDrives(adapter, ctrlIndex, controller);
    addBattery(adapter, ctrlIndex, controller);
    const int devices = getCount(ctrlIndex, CTRL_PD_COUNT);
    trace("getRSTfromCache(): number of phys. Devices=%d\n", devices);
    if (devices > 0) addPortInfo2XML(adapter, ctrlIndex);
}

void addMultiplexerInfo2XML(XMLNode* system, XMLNode* multiplexer) {
    const StatusSummary summary = computeSummaryStatus(system);
    appendTable(multiplexer, MULTIPLEXER_WALK, {.summary = &summary});
}

XMLDoc* failDocument(XMLDoc* document) {
    if (document != nullptr) freeXMLDoc(document);
    trace("getRSTfromCache(): END (XML is not created) => NULL\n");
    return nullptr;
}

} // namespace

XMLDoc* getRSTfromCache() {
    trace("getRSTfromCache(): START\n");
    logRST("getRSTfromCache(): START ....");
    XMLDoc* document = createXMLDoc();
    if (document == nullptr) return failDocument(nullptr);

    beginTree();
    XMLNode* root = addRoot(document, "QPRaidStorageDeviceTree");
    setText(root, "Version", "2");
    XMLNode* system = addElement(root, "System");
    addSystemName(system);
    for (int i = 0; i < getControllerCount(*oobMRCache); ++i)
        if (const MRCtrlInst* controller = getController(i); controller != nullptr) addAdapter(system, i, *controller);
    addMultiplexerInfo2XML(system, addElement(system, "Multiplexer"));

    if (hasTreeFailed()) return failDocument(document);
    logRST("getRSTfromCache(): END! (doc = 0x%x)", traceAddress(document));
    trace("getRSTfromCache(): END - doc = 0x%x\n", traceAddress(document));
    return document;
}
