#pragma once

// Reading a record of the described machine into a caller's buffer.

#include "simulator/machine/call.h"
#include "simulator/machine/machine.h"

#include <cstdint>
#include <memory>
#include <string_view>

namespace sim {

// Results of the library's calls; raid_GetErrorStatus has their texts.
constexpr int RAID_OK = 0;
constexpr int RAID_NOT_AVAILABLE = 1;
constexpr int RAID_BAD_ARGUMENT = 2;
constexpr int RAID_NOT_SUPPORTED = 3;

// The record, or NULL; valid as long as what it lies in.
const Bytes* findRecord(const Records& records, std::string_view name);

// What a read answers; `name` is that of the record.
Answer<int> answerRecord(const Bytes* record, std::string_view name, void* buffer, size_t length);
Answer<int> answerControllerRecord(uint32_t ctrlId, std::string_view name, void* buffer, size_t length);
Answer<int> answerDeviceRecord(uint32_t ctrlId, uint16_t deviceId, std::string_view name, void* buffer, size_t length);
Answer<int> answerLogicalDriveRecord(uint32_t ctrlId, uint8_t targetId, std::string_view name, void* buffer,
                                     size_t length);

// NULL: unknown. Keeps its controller alive.
std::shared_ptr<const Device> findDevice(uint32_t ctrlId, uint16_t deviceId);

} // namespace sim
