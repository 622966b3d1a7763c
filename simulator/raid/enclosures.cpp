// Stand-in for libzeb_RaidHelper: enclosures and their diagnostic pages.

#include "platform/storelib.h"

#include "simulator/machine/call.h"
#include "simulator/machine/codeWords.h"
#include "simulator/raid/answerRecord.h"
#include "simulator/raid/enclosureNumber.h"

#include <cstdlib>

namespace {

constexpr size_t DESCRIPTOR_HEADER = 4; // two bytes, then the length of the text, high byte first
constexpr int PAGE_ENDS = -1;

// Steps over an element type: its overall descriptor and one for each element.
int skipElementType(const uint8_t* page, uint32_t length, uint64_t offset, uint32_t count) {
    for (uint64_t i = 0; i <= count; ++i) {
        if (offset + DESCRIPTOR_HEADER > length) return PAGE_ENDS;
        const uint64_t textLength = uint64_t{page[offset + 2]} << 8 | page[offset + 3];
        offset += DESCRIPTOR_HEADER + textLength;
    }
    return offset <= length && offset <= INT32_MAX ? int(offset) : PAGE_ENDS;
}

} // namespace

int raid_GetEnclosureStatusFunc(uint32_t ctrlId, uint16_t deviceId, SL_ENCL_STATUS_T** status) {
    if (status != nullptr) *status = nullptr;
    return sim::call("raid_GetEnclosureStatusFunc", {ctrlId, deviceId}, sim::RAID_NOT_AVAILABLE, [&] {
        if (status == nullptr) return sim::Answer<int>{sim::RAID_BAD_ARGUMENT};
        void* block = calloc(1, sizeof **status);
        sim::Answer<int> answer = sim::answerDeviceRecord(ctrlId, deviceId, "SL_ENCL_STATUS_T", block, sizeof **status);
        if (answer.result == sim::RAID_OK) {
            *status = static_cast<SL_ENCL_STATUS_T*>(block);
            answer.output.size = sizeof **status;
        } else {
            free(block);
        }
        return answer;
    });
}

int raid_EnclosureGetEnclosureNumber(const MR_PD_INFO* enclosure, const MR_CTRL_INFO* controller,
                                     const MR_SAS_CONNECTORS* connectors, const MR_ENCL_LIST* enclosures) {
    const int number = enclosure != nullptr ? sim::enclosureNumber(enclosure->deviceId, enclosures) : 0;
    return sim::numberCall(
        "raid_EnclosureGetEnclosureNumber",
        {sim::CallValue(enclosure, sizeof *enclosure), sim::CallValue(controller, sizeof *controller),
         sim::CallValue(connectors, sizeof *connectors), sim::CallValue(enclosures, sizeof *enclosures)},
        0, number);
}

const char* raid_GetEnclosureTypeString(int modelCode) {
    return sim::textCall("raid_GetEnclosureTypeString", {modelCode},
                         sim::codeText(sim::codes::ENCLOSURE_TYPES, uint32_t(modelCode), "Unknown"));
}

int raid_IsDiagnosticPageValid(uint32_t ctrlId, uint16_t deviceId, uint8_t page) {
    const std::shared_ptr<const sim::Device> device = sim::findDevice(ctrlId, deviceId);
    return sim::numberCall("raid_IsDiagnosticPageValid", {ctrlId, deviceId, page}, 0,
                           device != nullptr && device->pages.contains(page) ? 1 : 0);
}

int raid_ReceiveDiagnosticResults(uint32_t ctrlId, uint16_t deviceId, uint8_t page, void* buffer, uint32_t length) {
    return sim::call("raid_ReceiveDiagnosticResults", {ctrlId, deviceId, page, length}, sim::RAID_NOT_AVAILABLE,
                     {buffer, length}, [&] {
                         const std::shared_ptr<const sim::Device> device = sim::findDevice(ctrlId, deviceId);
                         const sim::Bytes* content = nullptr;
                         if (device != nullptr) {
                             const auto entry = device->pages.find(page);
                             if (entry != device->pages.end() && entry->second) content = &*entry->second;
                         }
                         return sim::answerRecord(content, "page", buffer, length);
                     });
}

int raid_SkipKP23Descriptors(const void* page, uint32_t length, int offset, uint32_t count) {
    const int next = page != nullptr && offset >= 0
                         ? skipElementType(static_cast<const uint8_t*>(page), length, uint32_t(offset), count)
                         : PAGE_ENDS;
    return sim::numberCall("raid_SkipKP23Descriptors", {sim::CallValue(page, length), length, offset, count}, PAGE_ENDS,
                           next);
}

int raid_GetEnclosureTemperatureThreshold(uint32_t ctrlId, uint16_t deviceId, uint32_t sensor,
                                          const SL_ENCL_STATUS_T* status, SL_TEMP_THRESHOLD_T* thresholds) {
    const auto answer = [&] {
        const std::shared_ptr<const sim::Device> device = sim::findDevice(ctrlId, deviceId);
        if (thresholds == nullptr) return sim::Answer<int>{sim::RAID_BAD_ARGUMENT};
        if (device == nullptr || sensor >= device->thresholds.size() || !device->thresholds[sensor])
            return sim::Answer<int>{sim::RAID_NOT_AVAILABLE};
        memcpy(reinterpret_cast<uint8_t*>(thresholds) + offsetof(SL_TEMP_THRESHOLD_T, value),
               device->thresholds[sensor]->data(), sizeof thresholds->value);
        return sim::Answer<int>{sim::RAID_OK, {thresholds, sizeof *thresholds}};
    };
    return sim::call("raid_GetEnclosureTemperatureThreshold",
                     {ctrlId, deviceId, sensor, sim::CallValue(status, sizeof *status)}, sim::RAID_NOT_AVAILABLE,
                     {thresholds, sizeof *thresholds}, answer);
}
