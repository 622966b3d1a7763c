#include "cache/cacheBuild.h"
#include "cache/driveRelations.h"
#include "cache/recordRead.h"
#include "daemon/base/trace.h"

namespace {

void readPdList(int c, MRCtrlInst& controller) {
    const int status = readRecord(controller.mrPdList,
                                  [&](MR_PD_LIST* list) { return raid_GetControllerPDList(controller.ctrlId, list); });
    if (status != 0) {
        logRST("createCache_PDInfo(%d): Error in reading MR_PD_LST!", c);
        return;
    }
    trace("createCache_PDInfo(%d): Success in reading MR_PD_LIST\n", c);
    noteAllocation(controller.mrPdList);
    trace("createCache_PDInfo(%d): size of pdlist = %d (sizeof(MR_PD_ADDRESS)=%d\n", c, int(controller.mrPdList->size),
          int(sizeof(MR_PD_ADDRESS)));
    logBoundedCount("createCache_PDInfo", c, "MR_PD_LIST", controller.mrPdList->count, PD_CAPACITY);
}

void readSasConnectors(int c, MRCtrlInst& controller) {
    const int status = readRecord(controller.mrSASConn, [&](MR_SAS_CONNECTORS* connectors) {
        return raid_GetSasConnectors(controller.ctrlId, connectors);
    });
    if (status != 0) return;
    trace("createCache_PDInfo(%d): Success in reading MR_SAS_CONNECTORS\n", c);
    noteAllocation(controller.mrSASConn);
    trace("createCache_PDInfo(MR_SAS_CONNECTORS(): after memcpy\n");
    logBoundedCount("createCache_PDInfo", c, "MR_SAS_CONNECTORS", controller.mrSASConn->count, CONNECTOR_CAPACITY);
}

void readEnclosure(const MRCtrlInst& controller, uint32_t e) {
    const uint16_t deviceId = controller.mrEnclList->encl[e].deviceId;
    const int infoStatus = readRecord(controller.mrEnclInfo[e], [&](MR_PD_INFO* info) {
        return raid_PhysicalDeviceGetInfo(controller.ctrlId, deviceId, info);
    });
    if (infoStatus == 0) {
        trace("createCache_PDInfo(%d): Success in reading MR_PD_INFO for enclosure devid=%d.\n", int(e), deviceId);
        noteAllocation(controller.mrEnclInfo[e]);
    }

    SL_ENCL_STATUS_T* status = nullptr;
    if (raid_GetEnclosureStatusFunc(controller.ctrlId, deviceId, &status) != 0 || status == nullptr) return;
    noteForeignAllocation(status);
    trace("createCache_PDInfo(%d): Success in reading SL_ENCL_STATUS_T for devid=%d\n", int(e), deviceId);
    controller.mrEnclStatus[e] = status;
    trace("createCache_PDInfo(%d): Fans=%d PSU=%02X Temp=%d Alarm=%d\n", int(e), int(status->fanCount),
          status->psuCount, int(status->sensorCount), int(status->alarmCount));
}

// False: no memory for the arrays.
bool readEnclosures(int c, MRCtrlInst& controller) {
    const int status = readRecord(controller.mrEnclList,
                                  [&](MR_ENCL_LIST* list) { return raid_GetEnclosureList(controller.ctrlId, list); });
    if (status != 0) {
        trace("createCache_PDInfo(%d): ERROR:Failure in reading MR_ENCL_LIST\n", c);
        return true;
    }
    trace("createCache_PDInfo(%d): Success in reading MR_ENCL_LIST\n", c);
    noteAllocation(controller.mrEnclList);
    logBoundedCount("createCache_PDInfo", c, "MR_ENCL_LIST", controller.mrEnclList->count, ENCLOSURE_CAPACITY);

    const uint32_t count = getListCount(controller.mrEnclList);
    if (count == 0) return true;
    if (!allocateArray(controller.mrEnclInfo, count) || !allocateArray(controller.mrEnclStatus, count)) return false;
    trace("createCache_PDInfo(%d): Have found %d enclosures!\n", c, int(controller.mrEnclList->count));
    for (uint32_t e = 0; e < count; ++e) readEnclosure(controller, e);
    return true;
}

// MR_PD_INFO of one entry of the device list and, of a SATA drive, its identify data; `result` is the status of
// that request.
void readDrive(const MRCtrlInst& controller, uint32_t k, int& result) {
    const MR_PD_ADDRESS entry = controller.mrPdList->addr[k];
    trace("createCache_PDInfo(PD index=%d):LOOP: Physical Device(type=%d) -> deviceId =%d\n", int(k), entry.scsiDevType,
          entry.deviceId);
    const int status = readRecord(controller.mrPdInfo[k], [&](MR_PD_INFO* info) {
        return raid_PhysicalDeviceGetInfo(controller.ctrlId, entry.deviceId, info);
    });
    if (status != 0) return;
    trace("createCache_PDInfo(%d): Success in reading MR_PD_INFO\n", int(k));
    noteAllocation(controller.mrPdInfo[k]);
    if (getDeviceInterface(*controller.mrPdInfo[k]) != MR_PD_INTF_SATA) return;

    result = readRecord(controller.mrPdSataInfo[k], [&](SataIdentifyData* data) {
        return raid_FirePDSATAPassthru_Identify(controller.ctrlId, entry.deviceId, data->bytes);
    });
    if (result != 0) return;
    trace("createCache_PDInfo(%d): Success in reading PD SATA INFO\n", int(k));
    noteAllocation(controller.mrPdSataInfo[k]);
}

// False: no memory for the arrays.
bool readDrives(MRCtrlInst& controller, int& result) {
    const uint32_t count = getListCount(controller.mrPdList);
    trace("createCache_PDInfo(): pdList.count=%d\n",
          controller.mrPdList == nullptr ? 0 : int(controller.mrPdList->count));
    if (!allocateArray(controller.mrPdInfo, count) || !allocateArray(controller.mrPdSataInfo, count)) return false;
    for (uint32_t k = 0; k < count; ++k) readDrive(controller, k, result);
    controller.numPd = int32_t(count);
    trace("createCache_PDInfo(): oobMRCache->mrCtrlInst[i]->numPd= %d\n", controller.numPd);
    indexDrives(controller);
    return true;
}

int readConfiguration(int c, MRCtrlInst& controller) {
    const int status = readControllerRecord(controller.ctrlId, MR_DCMD_CONFIG_DATA, controller.mrCfgData);
    if (status != 0) {
        trace("createCache_LDInfo(): ERROR:Failure in reading MR_CONFIG_DATA from storelib!\n");
        logRST("createCache_LDInfo(%d): Error in reading MR_CONFIG_DATA", c);
        return status;
    }
    trace("createCache_LDInfo(%d): Success in reading MR_CONFIG_DATA\n", c);
    noteAllocation(controller.mrCfgData);
    trace("createCache_LDInfo(MR_CONFIG_DATA(): after memcpy: mrCfgData.logDrvCount= %d\n",
          controller.mrCfgData->logDrvCount);
    const int left = controller.mrCfgData->logDrvCount - int(getLdCount(controller.mrCfgData));
    if (left > 0)
        logRST("createCache_LDInfo(%d): %d logical drive entries lie outside MR_CONFIG_DATA, left out", c, left);
    return 0;
}

// The status of the last of the three reads, each of which is made whatever the others gave.
int readLogicalDrive(const MRCtrlInst& controller, uint32_t i) {
    const uint8_t targetId = getLdConfig(*controller.mrCfgData, i).properties.ldRef.targetId;
    trace("createCache_LDInfo():pLdConfig->properties.ldRef.targetId= %d\n", targetId);

    int status = readRecord(controller.mrLdInfo[i], [&](MR_LD_INFO* info) {
        return raid_LogicalDriveGetInfo(controller.ctrlId, targetId, info);
    });
    if (status != 0) {
        trace("createCache_LDInfo(): ERROR:Failure in reading MR_LD_INFO from storelib!\n");
        logRST("createCache_LDInfo(%d): Error in reading MR_LD_INFO", int(i));
    } else {
        trace("createCache_LDInfo(%d,%d): Success in reading MR_LD_INFO\n", int(i), targetId);
        noteAllocation(controller.mrLdInfo[i]);
    }

    status = readRecord(controller.mrLdProgress[i], [&](MR_LD_PROGRESS* progress) {
        uint32_t secondWord = 0;
        return raid_LogicalDriveGetProgress(controller.ctrlId, targetId, progress, &secondWord);
    });
    if (status != 0) {
        trace("createCache_LDInfo(): ERROR:Failure in reading MR_LD_PROGRESS from storelib!\n");
        logRST("createCache_LDInfo(%d): Error in reading MR_LD_PROGRESS", int(i));
    } else {
        trace("createCache_LDInfo(%d,%d): Success in reading MR_LD_PROGRESS\n", int(i), targetId);
        noteAllocation(controller.mrLdProgress[i]);
    }

    status = readRecord(controller.mrPdInLd[i],
                        [&](SL_PD_IN_LD_T* drives) { return raid_GetPDsOfLD(controller.ctrlId, targetId, drives); });
    if (status != 0) {
        trace("createCache_LDInfo(): ERROR:Failure in reading SL_PD_IN_LD_T from storelib!\n");
        logRST("createCache_LDInfo(%d): Error in reading SL_PD_IN_LD_T", int(i));
    } else {
        trace("createCache_LDInfo(%d): Success in reading SL_PD_IN_LD_T structure for devid=%d\n", int(i), targetId);
        noteAllocation(controller.mrPdInLd[i]);
    }
    return status;
}

// False: no memory for the arrays.
bool readLogicalDrives(MRCtrlInst& controller, int& result) {
    const uint32_t count = getLdCount(controller.mrCfgData);
    if (!allocateArray(controller.mrLdInfo, count) || !allocateArray(controller.mrLdProgress, count) ||
        !allocateArray(controller.mrPdInLd, count))
        return false;
    for (uint32_t i = 0; i < count; ++i) result = readLogicalDrive(controller, i);
    return true;
}

} // namespace

int createCache_PDInfo() {
    trace("createCache_PDInfo(): START\n");
    logRST("createCache_PDInfo() called.");
    const int controllers = getControllerCount(*oobMRCache);
    if (controllers < 1) return 0;

    int result = 0;
    for (int c = 0; c < controllers; ++c) {
        MRCtrlInst* controller = oobMRCache->mrCtrlInst[c];
        if (controller == nullptr) continue;
        trace("createCache_PDInfo(): LOOP: ctrlId=%d\n", int(controller->ctrlId));
        readPdList(c, *controller);
        readSasConnectors(c, *controller);
        if (!readEnclosures(c, *controller) || !readDrives(*controller, result)) return result;
    }
    trace("createCache_PDInfo(): END - ret=%d\n", result);
    return result;
}

int createCache_LDInfo() {
    trace("createCache_LDInfo(): START\n");
    logRST("createCache_LDInfo() called.");
    int result = 0;
    for (int c = 0; c < getControllerCount(*oobMRCache); ++c) {
        MRCtrlInst* controller = oobMRCache->mrCtrlInst[c];
        if (controller == nullptr) continue;
        trace("createCache_LDInfo(): LOOP: ctrlId=%d, ldPresentCount=%d\n", int(controller->ctrlId),
              controller->mrInfo->ldPresentCount);
        result = readConfiguration(c, *controller);
        if (result == 0 && !readLogicalDrives(*controller, result)) return result;
    }
    trace("createCache_LDInfo(): END - ret=%d\n", result);
    return result;
}
