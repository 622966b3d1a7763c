#include "simulator/raid/answerRecord.h"

namespace sim {

const Bytes* findRecord(const Records& records, std::string_view name) {
    const auto record = records.find(name);
    return record != records.end() ? &record->second : nullptr;
}

Answer<int> answerRecord(const Bytes* record, std::string_view name, void* buffer, size_t length) {
    if (buffer == nullptr) return {RAID_BAD_ARGUMENT};
    if (record == nullptr) return {RAID_NOT_AVAILABLE};
    return {RAID_OK, {buffer, copyRecord(*record, buffer, length), name}};
}

Answer<int> answerControllerRecord(uint32_t ctrlId, std::string_view name, void* buffer, size_t length) {
    const std::shared_ptr<const Controller> controller = findController(ctrlId);
    return answerRecord(controller != nullptr ? findRecord(controller->records, name) : nullptr, name, buffer, length);
}

Answer<int> answerDeviceRecord(uint32_t ctrlId, uint16_t deviceId, std::string_view name, void* buffer, size_t length) {
    const std::shared_ptr<const Device> device = findDevice(ctrlId, deviceId);
    return answerRecord(device != nullptr ? findRecord(device->records, name) : nullptr, name, buffer, length);
}

Answer<int> answerLogicalDriveRecord(uint32_t ctrlId, uint8_t targetId, std::string_view name, void* buffer,
                                     size_t length) {
    const std::shared_ptr<const Controller> controller = findController(ctrlId);
    const Bytes* record = nullptr;
    if (controller != nullptr) {
        const auto drive = controller->logicalDrives.find(targetId);
        if (drive != controller->logicalDrives.end()) record = findRecord(drive->second, name);
    }
    return answerRecord(record, name, buffer, length);
}

std::shared_ptr<const Device> findDevice(uint32_t ctrlId, uint16_t deviceId) {
    const std::shared_ptr<const Controller> controller = findController(ctrlId);
    if (controller == nullptr) return nullptr;
    const auto device = controller->devices.find(deviceId);
    return device != controller->devices.end() ? std::shared_ptr<const Device>(controller, &device->second) : nullptr;
}

} // namespace sim
