// Stand-in for libzeb_RaidHelper: physical drives.

#include "platform/storelib.h"

#include "simulator/machine/call.h"
#include "simulator/machine/codeWords.h"
#include "simulator/raid/answerRecord.h"
#include "simulator/raid/enclosureNumber.h"

#include <bit>

namespace {

constexpr sim::CodeText INTERFACE_TYPES[] = {{1, "Parallel SCSI"}, {2, "SAS"}, {3, "SATA"}, {4, "Fibre Channel"}};

int readSpeed(const char* name, uint32_t ctrlId, uint16_t deviceId, std::optional<uint32_t> sim::Device::*member,
              uint32_t* rpm) {
    return sim::call(name, {ctrlId, deviceId}, sim::RAID_NOT_AVAILABLE, {rpm, sizeof *rpm}, [&] {
        const std::shared_ptr<const sim::Device> device = sim::findDevice(ctrlId, deviceId);
        if (rpm == nullptr) return sim::Answer<int>{sim::RAID_BAD_ARGUMENT};
        if (device == nullptr || !((*device).*member)) return sim::Answer<int>{sim::RAID_NOT_AVAILABLE};
        *rpm = *((*device).*member);
        return sim::Answer<int>{sim::RAID_OK, {rpm, sizeof *rpm}};
    });
}

int readDrive(const char* name, uint32_t ctrlId, uint16_t deviceId, const char* record, void* buffer, size_t size) {
    return sim::call(name, {ctrlId, deviceId}, sim::RAID_NOT_AVAILABLE, {buffer, size},
                     [&] { return sim::answerDeviceRecord(ctrlId, deviceId, record, buffer, size); });
}

} // namespace

int raid_PhysicalDeviceGetInfo(uint32_t ctrlId, uint16_t deviceId, MR_PD_INFO* info) {
    return readDrive("raid_PhysicalDeviceGetInfo", ctrlId, deviceId, "MR_PD_INFO", info, sizeof *info);
}

int raid_FirePDSATAPassthru_Identify(uint32_t ctrlId, uint16_t deviceId, void* identifyData) {
    return readDrive("raid_FirePDSATAPassthru_Identify", ctrlId, deviceId, "SATA_IDENTIFY", identifyData,
                     SATA_IDENTIFY_SIZE);
}

// The lowest connected port; 0 when there is none.
int raid_PhysicalDeviceGetPortNumber(const MR_PD_INFO* device, const MR_CTRL_INFO* controller) {
    const uint8_t ports = device != nullptr ? device->connectedPortBitmap : uint8_t{0};
    return sim::numberCall("raid_PhysicalDeviceGetPortNumber",
                           {sim::CallValue(device, sizeof *device), sim::CallValue(controller, sizeof *controller)}, 0,
                           ports != 0 ? std::countr_zero(ports) : 0);
}

int raid_PhysicalDriveGetEnclosureNumber(const MR_PD_INFO* drive, const MR_CTRL_INFO* controller,
                                         const MR_SAS_CONNECTORS* connectors, const MR_ENCL_LIST* enclosures) {
    const int number = drive != nullptr ? sim::enclosureNumber(drive->enclDeviceId, enclosures) : 0;
    return sim::numberCall("raid_PhysicalDriveGetEnclosureNumber",
                           {sim::CallValue(drive, sizeof *drive), sim::CallValue(controller, sizeof *controller),
                            sim::CallValue(connectors, sizeof *connectors),
                            sim::CallValue(enclosures, sizeof *enclosures)},
                           0, number);
}

int raid_PhysicalDriveGetSasRotationalSpeed(uint32_t ctrlId, uint16_t deviceId, uint32_t* rpm) {
    return readSpeed("raid_PhysicalDriveGetSasRotationalSpeed", ctrlId, deviceId, &sim::Device::sasRpm, rpm);
}

int raid_PhysicalDriveGetAtaRotationalSpeed(uint32_t ctrlId, uint16_t deviceId, uint32_t* rpm) {
    return readSpeed("raid_PhysicalDriveGetAtaRotationalSpeed", ctrlId, deviceId, &sim::Device::ataRpm, rpm);
}

int raid_PhysicalGetDriveTemperature(uint32_t ctrlId, uint16_t deviceId) {
    const std::shared_ptr<const sim::Device> device = sim::findDevice(ctrlId, deviceId);
    return sim::numberCall("raid_PhysicalGetDriveTemperature", {ctrlId, deviceId}, 0,
                           device != nullptr ? device->temperature.value_or(0) : 0);
}

const char* raid_GetDeviceInterfaceType(uint8_t interface) {
    return sim::textCall("raid_GetDeviceInterfaceType", {interface},
                         sim::codeText(INTERFACE_TYPES, interface, "Unknown"));
}

const char* raid_GetHddFirmwareState(uint16_t fwState) {
    return sim::textCall("raid_GetHddFirmwareState", {fwState},
                         sim::codeText(sim::codes::DRIVE_STATES, fwState, "Unknown"));
}

const char* raid_GetHddPowerState(uint8_t powerState) {
    return sim::textCall("raid_GetHddPowerState", {powerState},
                         sim::codeText(sim::codes::POWER_STATES, powerState, "Unknown"));
}
