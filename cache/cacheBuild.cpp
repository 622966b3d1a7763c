#include "cache/cacheBuild.h"

#include "cache/cacheRelease.h"
#include "cache/recordRead.h"
#include "daemon/base/trace.h"

#include <cstdio>

namespace {

// The sizes that the messages print: of a pointer and of MR_CTRL_INFO on the controller.
constexpr int PRINTED_POINTER_SIZE = 4;
constexpr int PRINTED_CTRL_INFO_SIZE = 2048;
constexpr int PRINTED_MFC_DEFAULTS_SIZE = 72;

// Callers get a mark of three letters, not the message.
constexpr size_t ERROR_MARK_SIZE = 4;

OobMRCache* failBuild(char* errText) {
    if (oobMRCache != nullptr) {
        releaseCacheContents(*oobMRCache);
        freeAccounted(oobMRCache);
    }
    oobMRCache = nullptr;
    snprintf(errText, ERROR_MARK_SIZE, "%.*s", int(ERROR_MARK_SIZE) - 1, "Cannot get controller info from storelib!");
    logRST("buildoobMRCache(): Error: Cannot get controller info from storelib!");
    return nullptr;
}

// MR_CTRL_INFO and, on success, the controller's record in the cache. The status of the read.
int createController(int i, uint32_t ctrlId) {
    trace("createCache_CtrlInfo(%d):LOOP:  ctrlId=%d\n", i, int(ctrlId));
    auto* info = static_cast<MR_CTRL_INFO*>(callocAccounted(1, sizeof(MR_CTRL_INFO)));
    const int status = info == nullptr ? READ_NO_MEMORY : raid_ReadControllerInfoRaw(ctrlId, info);
    if (status != 0) {
        if (info != nullptr) freeUnnoted(info);
        trace("createCache_CtrlInfo(%d): ERROR in reading MR_CTRL_INFO\n", i);
        logRST("createCache_CtrlInfo(%d): Error in reading MR_CTRL_INFO", i);
        return status;
    }
    trace("createCache_CtrlInfo(%d): Success in reading MR_CTRL_INFO: sizeof(pCtrlInfo)=%d, sizeof(MR_MFC_DEFAULTS) = "
          "%d\n",
          i, PRINTED_POINTER_SIZE, PRINTED_CTRL_INFO_SIZE);
    trace(
        "createCache_CtrlInfo(%d): 2Success in reading MR_CTRL_INFO: sizeof(*pCtrlInfo)=%d, sizeof(MR_MFC_DEFAULTS) = "
        "%d\n",
        i, PRINTED_CTRL_INFO_SIZE, PRINTED_CTRL_INFO_SIZE);
    logBoundedCount("createCache_CtrlInfo", i, "MR_CTRL_INFO", info->imageComponentCount, COMPONENT_CAPACITY);

    auto* controller = static_cast<MRCtrlInst*>(callocAccounted(1, sizeof(MRCtrlInst)));
    if (controller == nullptr) {
        freeUnnoted(info);
        oobMRCache->allocationFailed = 1;
        return READ_NO_MEMORY;
    }
    oobMRCache->mrCtrlInst[i] = controller;
    trace("createCache_CtrlInfo(MR_CTRL_INFO): ctrl i=%d, size_mrcCfg=%d, size_MR_CTRL_INFO=%d\n", i,
          PRINTED_POINTER_SIZE, PRINTED_CTRL_INFO_SIZE);
    controller->ctrlId = ctrlId;
    trace("createCache_CtrlInfo(): ctrlId=%d\n", int(ctrlId));
    controller->mrInfo = info;
    indexDrives(*controller);
    return 0;
}

int readCtrlProp(int i, MRCtrlInst& controller) {
    const int status = readControllerRecord(controller.ctrlId, MR_DCMD_CTRL_PROP, controller.mrCtrlProp);
    if (status == 0) {
        noteAllocation(controller.mrCtrlProp);
        trace("createCache_CtrlInfo(%d): Success in reading MR_CTRL_PROP\n", i);
    }
    return status;
}

void readMfcDefaults(int i, MRCtrlInst& controller) {
    if (readControllerRecord(controller.ctrlId, MR_DCMD_MFC_DEFAULTS, controller.mrMfcDefaults) != 0) {
        logRST("createCache_CtrlInfo2(%d): Error in reading MR_MFC_DEFAULTS", i);
        return;
    }
    trace("createCache_CtrlInfo2(%d): Success in reading MR_MFC_DEFAULTS: sizeof(mfcDefaults)=%d, "
          "sizeof(MR_MFC_DEFAULTS) = %d\n",
          i, PRINTED_MFC_DEFAULTS_SIZE, PRINTED_MFC_DEFAULTS_SIZE);
    noteAllocation(controller.mrMfcDefaults);
}

void readPatrolRead(int i, MRCtrlInst& controller) {
    if (readControllerRecord(controller.ctrlId, MR_DCMD_PR_STATUS, controller.mrPRStatus) != 0) {
        logRST("createCache_CtrlInfo2(%d): Error in reading MR_PR_STATUS", i);
    } else {
        trace("createCache_CtrlInfo2(%d): Success in reading MR_PR_STATUS\n", i);
        noteAllocation(controller.mrPRStatus);
    }
    if (readControllerRecord(controller.ctrlId, MR_DCMD_PR_PROPERTIES, controller.mrPRProperties) != 0) {
        logRST("createCache_CtrlInfo2(%d): Error in reading MR_PR_PROPERTIES", i);
    } else {
        trace("createCache_CtrlInfo2(%d): Success in reading MR_PR_PROPERTIES\n", i);
        noteAllocation(controller.mrPRProperties);
    }
}

void readScheduleProperties(int i, MRCtrlInst& controller) {
    if (readControllerRecord(controller.ctrlId, MR_DCMD_CC_SCHEDULE_PROPERTIES, controller.mrCCScheduleProps) != 0)
        return;
    trace("createCache_CtrlInfo2(%d): Success in reading MR_CC_SCHEDULE_PROPERTIES\n", i);
    noteAllocation(controller.mrCCScheduleProps);
}

// False: there is no battery at all. `type` is that of the battery, 0 when its status could not be read.
bool readBatteryStatus(int i, MRCtrlInst& controller, uint8_t& type) {
    type = MR_BBU_TYPE_NONE;
    MR_BBU_STATUS buffer{};
    if (raid_ControllerGetOperation(controller.ctrlId, MR_DCMD_BBU_STATUS, &buffer, sizeof buffer) != 0) return true;
    const bool isNone = buffer.batteryType == MR_BBU_TYPE_NONE;
    if (!isNone) controller.mrBBUStatus = copyRecord(buffer);
    if (!isNone && controller.mrBBUStatus == nullptr) return true;
    trace("createCache_CtrlInfo2(%d): Success in reading MR_BBU_STATUS\n", i);
    if (isNone) return false;
    type = buffer.batteryType;
    noteAllocation(controller.mrBBUStatus);
    return true;
}

void readBatteryCapacity(int i, MRCtrlInst& controller) {
    const int status = readControllerRecord(controller.ctrlId, MR_DCMD_BBU_CAPACITY_INFO, controller.mrBBUCapacityInfo);
    if (status != 0) {
        trace("createCache_CtrlInfo2(%d): ERROR in reading MR_BBU_CAPACITY_INFO (ret=%d)\n", i, status);
        return;
    }
    trace("createCache_CtrlInfo2(%d): Success in reading MR_BBU_CAPACITY_INFO\n", i);
    noteAllocation(controller.mrBBUCapacityInfo);
}

void readBatteryProperties(int i, MRCtrlInst& controller) {
    const int status = readControllerRecord(controller.ctrlId, MR_DCMD_BBU_PROPERTIES, controller.mrBBUProperties);
    if (status != 0) {
        trace("createCache_CtrlInfo2(%d): ERROR in reading MR_BBU_PROPERTIES (ret=%d)\n", i, status);
        return;
    }
    trace("createCache_CtrlInfo2(%d): Success in reading MR_BBU_PROPERTIES\n", i);
    noteAllocation(controller.mrBBUProperties);
}

void readBatteryDesign(int i, MRCtrlInst& controller) {
    const int status = readControllerRecord(controller.ctrlId, MR_DCMD_BBU_DESIGN_INFO, controller.mrBBUDesignInfo);
    if (status != 0) {
        trace("createCache_CtrlInfo2(%d): ERROR in reading MR_BBU_DESIGN_INFO (ret=%d)\n", i, status);
        return;
    }
    trace("createCache_CtrlInfo2(%d): Success in reading MR_BBU_DESIGN_INFO\n", i);
    noteAllocation(controller.mrBBUDesignInfo);
}

// False: a battery of type 0 was found.
bool readBattery(int i, MRCtrlInst& controller) {
    if ((controller.mrInfo->hwPresent & MR_HW_PRESENT_BBU) == 0) return true;
    uint8_t type = MR_BBU_TYPE_NONE;
    if (!readBatteryStatus(i, controller, type)) return false;
    if (type != MR_BBU_TYPE_CAPACITOR) readBatteryCapacity(i, controller);
    readBatteryProperties(i, controller);
    readBatteryDesign(i, controller);
    return true;
}

} // namespace

OobMRCache* buildoobMRCache(char* errText) {
    errText[0] = '\0';
    trace("buildoobMRCache(): START\n");
    logRST("buildoobMRCache(): called.");
    oobMRCache = static_cast<OobMRCache*>(callocAccounted(1, sizeof(OobMRCache)));
    if (oobMRCache == nullptr || createCache_CtrlInfo() != 0) return failBuild(errText);

    createCache_CtrlInfo2();
    createCache_PDInfo();
    if (oobMRCache->allocationFailed == 0) createCache_LDInfo();
    if (oobMRCache->allocationFailed != 0) return failBuild(errText);
    logRST("buildoobMRCache(): END - oobMRCache= 0x%x", traceAddress(oobMRCache));
    trace("buildoobMRCache(): END - oobMRCache= 0x%x\n", traceAddress(oobMRCache));
    return oobMRCache;
}

int createCache_CtrlInfo() {
    trace("createCache_CtrlInfo(): START\n");
    SL_CTRL_LIST_T list{};
    if (raid_GetControllerList(&list) != 0) {
        trace("createCache_CtrlInfo():ERROR in reading storelib controller list!\n");
        return 1;
    }
    trace("createCache_CtrlInfo(): sl_ctrlList.count= %d\n", int(list.count));
    oobMRCache->numCtrl = int32_t(list.count);
    logRST("createCache_CtrlInfo() called.");
    logBoundedCount("createCache_CtrlInfo", 0, "SL_CTRL_LIST_T", list.count, CTRL_CAPACITY);
    const int count = getControllerCount(*oobMRCache);
    if (!allocateArray(oobMRCache->mrCtrlInst, uint32_t(count))) return READ_NO_MEMORY;

    int status = 0;
    for (int i = 0; i < count; ++i) {
        status = createController(i, list.ctrlId[i]);
        if (oobMRCache->allocationFailed != 0) return status;
        if (status == 0) status = readCtrlProp(i, *oobMRCache->mrCtrlInst[i]);
    }
    trace("createCache_CtrlInfo(): END - ret=%d\n", status);
    return status;
}

void createCache_CtrlInfo2() {
    trace("createCache_CtrlInfo2(): START\n");
    logRST("createCache_CtrlInfo2() called.");
    for (int i = 0; i < getControllerCount(*oobMRCache); ++i) {
        MRCtrlInst* controller = oobMRCache->mrCtrlInst[i];
        if (controller == nullptr) continue;
        readMfcDefaults(i, *controller);
        readPatrolRead(i, *controller);
        readScheduleProperties(i, *controller);
        if (!readBattery(i, *controller)) {
            // The controllers after this one go without all of these records.
            trace("createCache_CtrlInfo2(): END -NO Battery - 0\n");
            return;
        }
    }
    trace("createCache_CtrlInfo2(): END - 0\n");
}
