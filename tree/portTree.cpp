#include "tree/portTree.h"

#include "cache/oobCache.h"
#include "daemon/base/trace.h"
#include "tree/enclosureTree.h"
#include "tree/tableWalk.h"
#include "tree/treeNodes.h"

#include <algorithm>

namespace {

constexpr TableWalk DRIVE_WALK = {
    .table = pdParams_Table,
    .getValue =
        [](int paramID, const TreeObject& object, char* text, int size, int32_t* value) {
            return oobMR_getPDInfo(paramID, object.ctrlIndex, object.index, text, size, value);
        },
    .writesNegative = false,
    .endsOnFailedAppend = false,
};

constexpr TableWalk ENCLOSURE_WALK = {
    .table = enclParams_Table,
    .getValue =
        [](int paramID, const TreeObject& object, char* text, int size, int32_t* value) {
            return oobMR_getEnclInfo(paramID, object.ctrlIndex, object.index, text, size, value);
        },
    .writesNegative = true,
    .endsOnFailedAppend = false,
};

uint8_t getScsiDeviceType(const MR_PD_INFO& info) {
    return info.scsiDevType & SCSI_DEVICE_TYPE_MASK;
}

XMLNode* createPort(const char* name) {
    XMLNode* port = makeElement("Port");
    addText(port, "Type", "SAS");
    addText(port, "Name", name);
    return port;
}

void addConnectorPorts(XMLNode* adapter, int ctrlIndex, const MRCtrlInst& controller) {
    if (controller.mrSASConn == nullptr) return;
    trace("\taddPortInfo2XML(): mrSASConn->count= %d\n", int(controller.mrSASConn->count));
    for (uint32_t c = 0; c < getListCount(*controller.mrSASConn); ++c) {
        const auto name = endField(controller.mrSASConn->conn[c].name);
        XMLNode* port = createPort(name.text);
        addElement(adapter, port);
        trace("\taddPortInfo2XML(): LOOP: connIndex=%d, Port-Name= '%s'\n", int(c), name.text);
        if (getListCount(controller.mrEnclList) != 0) addEnclosureInfo2XML(port, ctrlIndex, int(c));
    }
}

void addBackplanePort(XMLNode* adapter, int ctrlIndex, const MRCtrlInst& controller) {
    for (uint32_t e = 0; e < getListCount(controller.mrEnclList); ++e) {
        if (controller.mrEnclList->encl[e].type != MR_ENCL_TYPE_SGPIO) continue;
        const uint16_t deviceId = controller.mrEnclList->encl[e].deviceId;
        trace("\taddPortInfo2XML(): Found SGPIO enclDeviceId = %d !\n", deviceId);
        XMLNode* port = createPort("SAS Backplane");
        addPDInfo2XML(port, ctrlIndex, deviceId);
        addElement(adapter, port);
        return;
    }
}

// True: the enclosure is a device that the tree shows, of whatever model.
bool isEnclosureShown(int ctrlIndex, int enclIndex, const MR_PD_INFO& info) {
    const uint8_t type = getScsiDeviceType(info);
    if (type != SCSI_DEVICE_TYPE_ENCLOSURE && type != SCSI_DEVICE_TYPE_PROCESSOR) {
        trace("\taddEnclosureInfo2XML(): unsupported scsi device type! - skip  it\n");
        return false;
    }
    char text[VALUE_TEXT_SIZE];
    int32_t support = 0;
    (void)oobMR_getEnclInfo(ENCL_SUPPORT, ctrlIndex, enclIndex, text, sizeof text, &support);
    if (support == SL_ENCL_MODEL_UNKNOWN)
        trace("\taddEnclosureInfo2XML(): ENCLOSURE_TYPE_UNKNOWN!- Anyway, do not skip it ...");
    return true;
}

// The first drive record for a slot of an enclosure; NO_DRIVE: none.
int findDrive(const MRCtrlInst& controller, int slot, uint16_t enclDeviceId) {
    const int count = std::min(int{controller.mrInfo->pdPresentCount}, controller.numPd);
    for (int m = controller.infoBySlot.first[slot]; m != NO_DRIVE && m < count; m = controller.infoBySlot.next[m]) {
        const MR_PD_INFO& info = *controller.mrPdInfo[m];
        if (info.enclDeviceId == enclDeviceId && getScsiDeviceType(info) == SCSI_DEVICE_TYPE_DISK) return m;
    }
    return NO_DRIVE;
}

void addDrive(XMLNode* parent, int ctrlIndex, const MR_PD_ADDRESS& entry, int pdIndex) {
    trace("\taddPDInfo2XML(): pdIndex = %d, slotNumber = %d\n", pdIndex, entry.slotNumber);
    XMLNode* drive = makeElement("PhysicalDrive");
    if (drive == nullptr) {
        trace("\taddPDInfo2XML(): ERROR- XML createElement('PhysicalDrive') failed!\n");
        return;
    }
    setNumber(drive, entry.deviceId);
    addElement(parent, drive);
    appendTable(drive, DRIVE_WALK, {.ctrlIndex = ctrlIndex, .index = pdIndex});
}

// Without the slot bit only slot 0 is looked at.
int getMaxSlot(const MRCtrlInst& controller) {
    if ((controller.mrInfo->adapterOperations2 & MR_ADAPTER_OPERATION2_SLOTS) == 0) return 0;
    int maxSlot = 0;
    for (uint32_t k = 0; k < getListCount(controller.mrPdList); ++k)
        maxSlot = std::max(maxSlot, int{controller.mrPdList->addr[k].slotNumber});
    return maxSlot;
}

// The drives of one slot, in the order of the device list.
void addSlot(XMLNode* parent, int ctrlIndex, const MRCtrlInst& controller, int slot, uint16_t enclDeviceId) {
    const int count = controller.mrInfo->pdPresentCount;
    for (int k = controller.listBySlot.first[slot]; k != NO_DRIVE && k < count; k = controller.listBySlot.next[k]) {
        const MR_PD_ADDRESS entry = controller.mrPdList->addr[k];
        if (entry.enclDeviceId != enclDeviceId || entry.scsiDevType != SCSI_DEVICE_TYPE_DISK) continue;
        trace("\taddPDInfo2XML(): in if:slotNumber= %d\n", slot);
        const int m = findDrive(controller, slot, enclDeviceId);
        if (m == NO_DRIVE) {
            const MR_PD_INFO* info = k < controller.numPd ? controller.mrPdInfo[k] : nullptr;
            trace("\taddPDInfo2XML(): NO HDD! -oobMRCache->mrCtrlInst[ctrlIndex]->mrPdInfo[k]->scsiDevType=%d\n",
                  info == nullptr ? 0 : getScsiDeviceType(*info));
            continue;
        }
        addDrive(parent, ctrlIndex, entry, m);
    }
}

} // namespace

void addPortInfo2XML(XMLNode* adapter, int ctrlIndex) {
    trace("addPortInfo2XML(): START - ctrlIndex= %d\n", ctrlIndex);
    const MRCtrlInst* controller = getController(ctrlIndex);
    if (controller == nullptr) return;
    addConnectorPorts(adapter, ctrlIndex, *controller);
    addBackplanePort(adapter, ctrlIndex, *controller);
}

void addEnclosureInfo2XML(XMLNode* port, int ctrlIndex, int connIndex) {
    trace("addEnclosureInfo2XML(): START - ctrlIndex=%d, connIndex=%d\n", ctrlIndex, connIndex);
    const MRCtrlInst* controller = getController(ctrlIndex);
    if (controller == nullptr) return;
    for (uint32_t e = 0; e < getListCount(controller->mrEnclList); ++e) {
        const MR_PD_INFO* info = controller->mrEnclInfo == nullptr ? nullptr : controller->mrEnclInfo[e];
        if (info == nullptr || !isEnclosureShown(ctrlIndex, int(e), *info)) continue;
        const MR_ENCL_ENTRY entry = controller->mrEnclList->encl[e];
        if (entry.enclConnectorIndex != connIndex) continue;
        trace("\taddEnclosureInfo2XML(): Device at given port '%d' found!\n", connIndex);
        XMLNode* enclosure = makeElement("Enclosure");
        if (enclosure == nullptr) continue;
        addElement(port, enclosure);
        appendTable(enclosure, ENCLOSURE_WALK, {.ctrlIndex = ctrlIndex, .index = int(e)});
        addEnclProcessorInfo2XML(enclosure, ctrlIndex, int(e));
        addPDInfo2XML(enclosure, ctrlIndex, entry.deviceId);
    }
}

void addPDInfo2XML(XMLNode* parent, int ctrlIndex, uint16_t enclDeviceId) {
    trace("addPDInfo2XML(): START - ctrlIndex=%d, enclDeviceId= 0x%x\n", ctrlIndex, enclDeviceId);
    const MRCtrlInst* controller = getController(ctrlIndex);
    if (controller == nullptr) return;
    const int maxSlot = getMaxSlot(*controller);
    trace("\taddPDInfo2XML(): maxSlot= %d, pdPresentCount= %d\n", maxSlot, controller->mrInfo->pdPresentCount);
    for (int slot = 0; slot <= maxSlot; ++slot) addSlot(parent, ctrlIndex, *controller, slot, enclDeviceId);
}
