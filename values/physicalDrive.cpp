#include "values/physicalDrive.h"

#include "cache/driveRelations.h"
#include "daemon/base/trace.h"
#include "values/driveIdentity.h"

#include <cstdio>
#include <iterator>

namespace {

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

std::optional<Drive> findDrive(int ctrlIdx, int instIdx) {
    const MRCtrlInst* controller = getController(ctrlIdx);
    if (controller == nullptr || controller->mrPdInfo == nullptr) return std::nullopt;
    if (instIdx < 0 || instIdx >= controller->numPd || controller->mrPdInfo[instIdx] == nullptr) return std::nullopt;
    const SataIdentifyData* sata = controller->mrPdSataInfo == nullptr ? nullptr : controller->mrPdSataInfo[instIdx];
    return Drive{controller, controller->mrPdInfo[instIdx], sata, ctrlIdx, instIdx};
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
    return deviceSpeed < std::size(speeds) ? speeds[deviceSpeed] : deviceSpeed;
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

void putRpm(const Drive& drive, Answer& answer) {
    if (drive.info->mediaType != MR_PD_MEDIA_ROTATING || drive.info->powerState == MR_PD_POWER_SPUN_DOWN) return;
    const uint32_t speed = readRotationalSpeed(drive);
    if (speed == 0) return;
    if (speed % 100 == 50) { // midway: the number in binary lies above or below, the format knows
        snprintf(answer.text, size_t(answer.size), "%.1f", speed / 1000.0);
        return;
    }
    const auto tenths = int32_t((uint64_t{speed} + 50) / 100);
    put(answer, tenths / 10, ".", tenths % 10);
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

void putName(const Drive& drive, Answer& answer) {
    const auto product = trimField(drive.info->product);
    auto vendor = trimField(drive.info->vendor);
    int32_t enclosure = 0;
    if (getDeviceInterface(*drive.info) == MR_PD_INTF_SATA)
        (void)oobMR_getPDInfo(PD_VENDOR, drive.ctrlIdx, drive.instIdx, vendor.text, sizeof vendor.text, &enclosure);
    trace("oobMR_getPDInfo(): Vendor='%s', enclDeviceId = 0x%x\n", vendor.text, drive.info->enclDeviceId);
    (void)oobMR_getPDInfo(PD_ENCLOSURE_NUMBER, drive.ctrlIdx, drive.instIdx, answer.text, answer.size, &enclosure);
    put(answer, vendor, " ", product, " (");
    if (enclosure >= 0) put(answer, enclosure, ":");
    put(answer, drive.info->slotNumber, ")");
}

void putSasAddress(const Drive& drive, Answer& answer) {
    const uint32_t count = boundCount(drive.info->pathCount, SAS_ADDRESS_CAPACITY);
    for (uint32_t i = 0; i < count; ++i)
        if (const uint64_t address = drive.info->sasAddr[i]; address != 0) return put(answer, "0x", HexNumber{address});
}

void putStatus(const Drive& drive, Answer& answer) {
    trace("oobMR_getPDInfo(PDSTATUS):oobMRCache->mrCtrlInst[ctrlIdx]->mrPdInfo[instIdx]->fwState= 0x%x\n",
          drive.info->fwState);
    put(answer, raid_GetHddFirmwareState(drive.info->fwState));
}

void putActivity(const Drive& drive, Answer& answer) {
    struct Operation {
        uint8_t bit;
        const char* text;
    };
    // The last one that runs is shown: a copyback beats a secure erase.
    constexpr Operation order[] = {
        {MR_PD_OPERATION_REBUILD, "Rebuild in progress"},   {MR_PD_OPERATION_PATROL_READ, "Patrol Read in progress"},
        {MR_PD_OPERATION_ERASE, "Erase in progress"},       {MR_PD_OPERATION_SECURE_ERASE, "Secure erase in progress"},
        {MR_PD_OPERATION_COPYBACK, "Copyback in progress"},
    };
    const char* text = "Idle";
    for (const Operation& operation : order)
        if ((drive.info->activeOperations & operation.bit) != 0) text = operation.text;
    put(answer, text);
}

void putSmartStatus(const Drive& drive, Answer& answer) {
    trace("oobMR_getPDInfo():PDSMARTSTATUS: fwState = 0x%x\n", drive.info->fwState);
    trace("oobMR_getPDInfo():PDSMARTSTATUS: predFailCount = 0x%x\n", drive.info->predFailCount);
    put(answer, getPdSmartStatusText(drive.controller->mrMfcDefaults, drive.info));
}

void formTemperature(const Drive& drive, Answer& answer) {
    const uint8_t cached = drive.info->temperature;
    int32_t value = cached;
    trace("oobMR_getPDInfo(PDTEMPERATURE): ival= %d\n", value);
    if (value == 0 || value == MR_PD_TEMPERATURE_NOT_REPORTED)
        if (const std::optional<uint16_t> device = getDeviceInSlot(drive))
            value = raid_PhysicalGetDriveTemperature(drive.controller->ctrlId, *device);
    trace("oobMR_getPDInfo():temperature before= ival=%d, pdType=%d, "
          "oobMRCache->mrCtrlInst[ctrlIdx]->mrPdInfo[instIdx]->temperature= %d\n",
          value, getDeviceInterface(*drive.info), cached);
    const bool isUsable = value != MR_PD_TEMPERATURE_NOT_REPORTED && value > TEMPERATURE_IMPLAUSIBLE;
    answer.number = isUsable ? value : TEMPERATURE_UNUSABLE;
    answer.status = isUsable ? VALUE_OK : VALUE_BAD_BUFFER;
}

using D = const Drive&;
using A = Answer&;

// clang-format off
constexpr auto FORMS = tableOf<Drive, PD_PARAM_COUNT>({
    {PD_PORT_NUMBER, [](D d, A a) { a.number = raid_PhysicalDeviceGetPortNumber(d.info, d.controller->mrInfo); }},
    {PD_NAME, putName},
    {PD_VENDOR, [](D d, A a) { putDriveVendor(*d.info, d.sata, a); }},
    {PD_PRODUCT, [](D d, A a) { putDriveProduct(*d.info, a); }},
    {PD_TYPE, [](D d, A a) { put(a, raid_GetDeviceInterfaceType(getDeviceInterface(*d.info))); }},
    {PD_FIRMWARE_VERSION, [](D d, A a) { putDriveFirmware(*d.info, d.sata, a); }},
    {PD_SERIAL_NUMBER, [](D d, A a) { putDriveSerialNumber(*d.info, d.sata, a); }},
    {PD_TRANSFER_SPEED, [](D d, A a) { a.number = getTransferSpeed(d.info->deviceSpeed); }},
    {PD_TRANSFER_WIDTH, [](D, A a) { a.number = 1; }},
    {PD_RPM, putRpm},
    {PD_DEVICE_NUMBER, [](D d, A a) { a.number = getDeviceNumber(d); }},
    {PD_SLOT, [](D d, A a) { a.number = getSlot(d); }},
    {PD_ENCLOSURE_NUMBER, [](D d, A a) { a.number = getEnclosureNumber(d); }},
    {PD_SAS_ADDRESS, putSasAddress},
    {PD_PHYSICAL_SIZE, [](D d, A a) { a.number = int32_t(d.info->rawSize >> 11); }},
    {PD_CONFIGURABLE_SIZE, [](D d, A a) { a.number = int32_t((d.info->coercedSize * 512) >> 20); }},
    {PD_STATUS, putStatus},
    {PD_ACTIVITY, putActivity},
    {PD_FOREIGN_CONFIG, [](D d, A a) { put(a, (d.info->ddfState & MR_PD_DDF_FOREIGN) != 0 ? "true" : "false"); }},
    {PD_MEDIA_ERROR_COUNT, [](D d, A a) { a.number = int32_t(d.info->mediaErrCount); }},
    {PD_MISC_ERRORS, [](D d, A a) { a.number = int32_t(d.info->otherErrCount); }},
    {PD_PFA_COUNT, [](D d, A a) { a.number = int32_t(d.info->predFailCount); }},
    {PD_MEDIA_TYPE, [](D d, A a) { put(a, d.info->mediaType == MR_PD_MEDIA_SOLID_STATE ? "SSD" : "HDD"); }},
    {PD_SMART_STATUS, putSmartStatus},
    {PD_POWER_STATUS, [](D d, A a) { put(a, raid_GetHddPowerState(d.info->powerState)); }},
    {PD_TEMPERATURE, formTemperature},
    {PD_BAD_BLOCKS, nullptr},
});
// clang-format on

constexpr ValueKind<Drive> DRIVE = {
    .forms = FORMS,
    .rules = {.traceWithoutObject = "oobMR_getPDInfo(): END\n"},
    .begin = [](int paramID, const Drive&) { trace("oobMR_getPDInfo():START paramID=%d\n", paramID); },
};

} // namespace

int oobMR_getPDInfo(int paramID, int ctrlIdx, int instIdx, char* sval, int svalLen, int32_t* ival) {
    return answerValue<DRIVE>(paramID, findDrive(ctrlIdx, instIdx), sval, svalLen, ival);
}
