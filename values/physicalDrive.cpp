#include "values/physicalDrive.h"

#include "cache/driveRelations.h"
#include "daemon/base/trace.h"
#include "values/driveIdentity.h"

#include <cstdio>
#include <optional>

namespace {

enum PdParam {
    PD_PORT_NUMBER,
    PD_NAME,
    PD_VENDOR,
    PD_PRODUCT,
    PD_TYPE,
    PD_FIRMWARE_VERSION,
    PD_SERIAL_NUMBER,
    PD_TRANSFER_SPEED,
    PD_TRANSFER_WIDTH,
    PD_RPM,
    PD_DEVICE_NUMBER,
    PD_SLOT,
    PD_ENCLOSURE_NUMBER,
    PD_SAS_ADDRESS,
    PD_PHYSICAL_SIZE,
    PD_CONFIGURABLE_SIZE,
    PD_STATUS,
    PD_ACTIVITY,
    PD_FOREIGN_CONFIG,
    PD_MEDIA_ERROR_COUNT,
    PD_MISC_ERRORS,
    PD_PFA_COUNT,
    PD_MEDIA_TYPE,
    PD_SMART_STATUS,
    PD_POWER_STATUS,
    PD_TEMPERATURE,
};

constexpr uint8_t MEDIA_ROTATING = 0;
constexpr uint8_t MEDIA_SOLID_STATE = 1;
constexpr uint8_t POWER_STATE_SPUN_DOWN = 1;
constexpr int TEMPERATURE_NOT_REPORTED = 255;
constexpr int TEMPERATURE_IMPLAUSIBLE = 4; // and all below
constexpr int32_t TEMPERATURE_UNUSABLE = -99;
constexpr uint32_t SAS_ADDRESS_CAPACITY = sizeof(MR_PD_INFO::sasAddr) / sizeof(uint64_t);

struct Drive {
    const MRCtrlInst* controller;
    const MR_PD_INFO* info;
    const SataIdentifyData* sata; // NULL: not read
    int ctrlIdx;
    int instIdx;
};

bool findDrive(int ctrlIdx, int instIdx, Drive& drive) {
    const MRCtrlInst* controller = getController(ctrlIdx);
    if (controller == nullptr || controller->mrPdInfo == nullptr) return false;
    if (instIdx < 0 || instIdx >= controller->numPd || controller->mrPdInfo[instIdx] == nullptr) return false;
    const SataIdentifyData* sata = controller->mrPdSataInfo == nullptr ? nullptr : controller->mrPdSataInfo[instIdx];
    drive = {controller, controller->mrPdInfo[instIdx], sata, ctrlIdx, instIdx};
    return true;
}

// What the library is asked by: the device of the first list entry in the drive's slot, whatever its enclosure;
// without one that of the entry just past the last counted one. Nothing where no entry lies inside the list.
std::optional<uint16_t> getDeviceInSlot(const Drive& drive) {
    const MR_PD_LIST* list = drive.controller->mrPdList;
    if (list == nullptr) return std::nullopt;
    const int first = drive.controller->listBySlot.first[drive.info->slotNumber];
    const uint32_t entry = first == NO_DRIVE ? getListCount(list) : uint32_t(first);
    if (entry >= PD_CAPACITY) return std::nullopt;
    return list->addr[entry].deviceId;
}

int32_t getTransferSpeed(uint8_t deviceSpeed) {
    constexpr int32_t speeds[] = {0, 150, 300, 600, 1200}; // MB/s
    return deviceSpeed < sizeof speeds / sizeof *speeds ? speeds[deviceSpeed] : deviceSpeed;
}

// 0 also when the drive cannot be asked.
uint32_t readRotationalSpeed(const Drive& drive) {
    const std::optional<uint16_t> device = getDeviceInSlot(drive);
    if (!device) return 0;
    const uint32_t ctrlId = drive.controller->ctrlId;
    uint32_t speed = 0;
    int status = 1;
    if (getDeviceInterface(*drive.info) == MR_PD_INTF_SATA)
        status = raid_PhysicalDriveGetAtaRotationalSpeed(ctrlId, *device, &speed);
    else if (getDeviceInterface(*drive.info) == MR_PD_INTF_SAS)
        status = raid_PhysicalDriveGetSasRotationalSpeed(ctrlId, *device, &speed);
    return status == 0 ? speed : 0;
}

void setRpm(const Drive& drive, char* sval, int svalLen) {
    if (drive.info->mediaType != MEDIA_ROTATING || drive.info->powerState == POWER_STATE_SPUN_DOWN) return;
    const uint32_t speed = readRotationalSpeed(drive);
    if (speed == 0) return;
    if (speed % 100 == 50) { // midway: the number in binary lies above or below, the format knows
        snprintf(sval, size_t(svalLen), "%.1f", speed / 1000.0);
        return;
    }
    const auto tenths = int32_t((uint64_t{speed} + 50) / 100);
    TextComposer(sval, svalLen).add(tenths / 10).add(".").add(tenths % 10);
}

int32_t getDeviceNumber(const Drive& drive) {
    const MR_PD_LIST* list = drive.controller->mrPdList;
    const uint16_t enclosure = drive.info->enclDeviceId;
    int index = list == nullptr ? NO_DRIVE : drive.controller->listBySlot.first[drive.info->slotNumber];
    while (index != NO_DRIVE &&
           (list->addr[index].enclDeviceId != enclosure || list->addr[index].scsiDevType != SCSI_DEVICE_TYPE_DISK))
        index = drive.controller->listBySlot.next[index];
    const int32_t device = index == NO_DRIVE ? 0 : list->addr[index].deviceId;
    const int stop = index == NO_DRIVE ? int(getListCount(list)) : index;
    trace("oobMR_getPDInfo(): PDDEVICENUMBER: instIdx=%d, i=%d, ival=%d\n", drive.instIdx, stop, device);
    return device;
}

int32_t getSlot(const Drive& drive) {
    const int32_t slot = drive.info->slotNumber;
    trace("oobMR_getPDInfo():PDSLOT[%d]: *ival= %d\n", drive.instIdx, slot);
    return slot;
}

// -1: in no enclosure; a backplane is none.
int32_t getEnclosureNumber(const Drive& drive) {
    const MRCtrlInst& controller = *drive.controller;
    const MR_ENCL_LIST* list = controller.mrEnclList;
    const uint16_t enclosure = drive.info->enclDeviceId;
    int32_t number = -1;
    for (uint32_t e = 0; e < getListCount(list); ++e) {
        if (list->encl[e].type == MR_ENCL_TYPE_SGPIO || list->encl[e].deviceId != enclosure) continue;
        number = raid_PhysicalDriveGetEnclosureNumber(drive.info, controller.mrInfo, controller.mrSASConn, list);
        break;
    }
    trace("oobMR_getPDInfo():PDENCLNUMBER: *ival= %d\n", number);
    return number;
}

void setName(const Drive& drive, char* sval, int svalLen) {
    const auto product = trimField(drive.info->product);
    auto vendor = trimField(drive.info->vendor);
    int32_t enclosure = 0;
    if (getDeviceInterface(*drive.info) == MR_PD_INTF_SATA)
        oobMR_getPDInfo(PD_VENDOR, drive.ctrlIdx, drive.instIdx, vendor.text, sizeof vendor.text, &enclosure);
    trace("oobMR_getPDInfo(): Vendor='%s', enclDeviceId = 0x%x\n", vendor.text, drive.info->enclDeviceId);
    oobMR_getPDInfo(PD_ENCLOSURE_NUMBER, drive.ctrlIdx, drive.instIdx, sval, svalLen, &enclosure);
    TextComposer name(sval, svalLen); // "vendor product (enclosure:slot)"
    name.add(vendor.text).add(" ").add(product.text).add(" (");
    if (enclosure >= 0) name.add(enclosure).add(":");
    name.add(drive.info->slotNumber).add(")");
}

void setSasAddress(const MR_PD_INFO& info, char* sval, int svalLen) {
    const uint32_t count = boundCount(info.pathCount, SAS_ADDRESS_CAPACITY);
    for (uint32_t i = 0; i < count; ++i) {
        const uint64_t address = info.sasAddr[i];
        if (address == 0) continue;
        TextComposer(sval, svalLen).add("0x").addHex(address);
        return;
    }
}

const char* getStatusText(const MR_PD_INFO& info) {
    trace("oobMR_getPDInfo(PDSTATUS):oobMRCache->mrCtrlInst[ctrlIdx]->mrPdInfo[instIdx]->fwState= 0x%x\n",
          info.fwState);
    return raid_GetHddFirmwareState(info.fwState);
}

const char* getActivityText(uint8_t operations) {
    struct Operation {
        uint8_t bit;
        const char* text;
    };
    // The last one that runs is shown: a copyback beats a secure erase.
    constexpr Operation order[] = {
        {0x01, "Rebuild in progress"},      {0x02, "Patrol Read in progress"}, {0x04, "Erase in progress"},
        {0x10, "Secure erase in progress"}, {0x08, "Copyback in progress"},
    };
    const char* text = "Idle";
    for (const Operation& operation : order)
        if ((operations & operation.bit) != 0) text = operation.text;
    return text;
}

const char* getSmartStatusText(const Drive& drive) {
    trace("oobMR_getPDInfo():PDSMARTSTATUS: fwState = 0x%x\n", drive.info->fwState);
    trace("oobMR_getPDInfo():PDSMARTSTATUS: predFailCount = 0x%x\n", drive.info->predFailCount);
    return getPdSmartStatusText(drive.controller->mrMfcDefaults, drive.info);
}

int formTemperature(const Drive& drive, int32_t* ival) {
    const uint8_t cached = drive.info->temperature;
    int32_t value = cached;
    trace("oobMR_getPDInfo(PDTEMPERATURE): ival= %d\n", value);
    if (value == 0 || value == TEMPERATURE_NOT_REPORTED)
        if (const std::optional<uint16_t> device = getDeviceInSlot(drive))
            value = raid_PhysicalGetDriveTemperature(drive.controller->ctrlId, *device);
    trace("oobMR_getPDInfo():temperature before= ival=%d, pdType=%d, "
          "oobMRCache->mrCtrlInst[ctrlIdx]->mrPdInfo[instIdx]->temperature= %d\n",
          value, getDeviceInterface(*drive.info), cached);
    const bool isUsable = value != TEMPERATURE_NOT_REPORTED && value > TEMPERATURE_IMPLAUSIBLE;
    *ival = isUsable ? value : TEMPERATURE_UNUSABLE;
    return isUsable ? VALUE_OK : VALUE_BAD_BUFFER;
}

int32_t getNumber(int paramID, const Drive& drive) {
    const MR_PD_INFO& info = *drive.info;
    switch (paramID) {
    case PD_PORT_NUMBER: return raid_PhysicalDeviceGetPortNumber(drive.info, drive.controller->mrInfo);
    case PD_TRANSFER_SPEED: return getTransferSpeed(info.deviceSpeed);
    case PD_TRANSFER_WIDTH: return 1;
    case PD_DEVICE_NUMBER: return getDeviceNumber(drive);
    case PD_SLOT: return getSlot(drive);
    case PD_ENCLOSURE_NUMBER: return getEnclosureNumber(drive);
    case PD_PHYSICAL_SIZE: return int32_t(info.rawSize >> 11);
    case PD_CONFIGURABLE_SIZE: return int32_t((info.coercedSize * 512) >> 20);
    case PD_MEDIA_ERROR_COUNT: return int32_t(info.mediaErrCount);
    case PD_MISC_ERRORS: return int32_t(info.otherErrCount);
    case PD_PFA_COUNT: return int32_t(info.predFailCount);
    default: return 0;
    }
}

// Texts that are copied as they are; NULL: the value is none.
const char* getFixedText(int paramID, const Drive& drive) {
    const MR_PD_INFO& info = *drive.info;
    switch (paramID) {
    case PD_TYPE: return raid_GetDeviceInterfaceType(getDeviceInterface(info));
    case PD_STATUS: return getStatusText(info);
    case PD_ACTIVITY: return getActivityText(info.activeOperations);
    case PD_FOREIGN_CONFIG: return (info.ddfState & MR_PD_DDF_FOREIGN) != 0 ? "true" : "false";
    case PD_MEDIA_TYPE: return info.mediaType == MEDIA_SOLID_STATE ? "SSD" : "HDD";
    case PD_SMART_STATUS: return getSmartStatusText(drive);
    case PD_POWER_STATUS: return raid_GetHddPowerState(info.powerState);
    default: return nullptr;
    }
}

void formText(int paramID, const Drive& drive, char* sval, int svalLen) {
    switch (paramID) {
    case PD_NAME: return setName(drive, sval, svalLen);
    case PD_VENDOR: return setDriveVendor(*drive.info, drive.sata, sval, svalLen);
    case PD_PRODUCT: return setDriveProduct(*drive.info, sval, svalLen);
    case PD_FIRMWARE_VERSION: return setDriveFirmware(*drive.info, drive.sata, sval, svalLen);
    case PD_SERIAL_NUMBER: return setDriveSerialNumber(*drive.info, drive.sata, sval, svalLen);
    case PD_RPM: return setRpm(drive, sval, svalLen);
    case PD_SAS_ADDRESS: return setSasAddress(*drive.info, sval, svalLen);
    default: return copyText(sval, svalLen, getFixedText(paramID, drive));
    }
}

} // namespace

int oobMR_getPDInfo(int paramID, int ctrlIdx, int instIdx, char* sval, int svalLen, int32_t* ival) {
    *ival = 0;
    if (sval == nullptr || svalLen <= 0) return VALUE_BAD_BUFFER;
    Drive drive{};
    if (!findDrive(ctrlIdx, instIdx, drive)) {
        trace("oobMR_getPDInfo(): END\n");
        return VALUE_NO_OBJECT;
    }
    clearText(sval, svalLen);
    if (isTracing()) trace("oobMR_getPDInfo():START paramID=%d\n", paramID);
    if (paramID == PD_TEMPERATURE) return formTemperature(drive, ival);
    *ival = getNumber(paramID, drive);
    formText(paramID, drive, sval, svalLen);
    return VALUE_OK;
}
