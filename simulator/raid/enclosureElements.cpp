// Stand-in for libzeb_RaidHelper: the elements of an enclosure's status block.

#include "platform/storelib.h"

#include "simulator/machine/call.h"
#include "simulator/machine/codeWords.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

namespace {

constexpr uint32_t STATUS_UNSUPPORTED = 0;
constexpr uint32_t STATUS_CRITICAL = 2;
constexpr uint32_t STATUS_NONCRITICAL = 3;
constexpr uint32_t STATUS_UNRECOVERABLE = 4;

// Where the fans and sensors of a model sit, by index.
struct ModelPlaces {
    int modelCode;
    std::array<const char*, 6> fans;
    std::array<const char*, 6> sensors;
};
constexpr ModelPlaces PLACES[] = {
    {1,
     {"Power Supply 1", "Power Supply 1", "Power Supply 2", "Power Supply 2"},
     {"Processor", "Backplane", "Power Supply 1", "Power Supply 2"}},
    {2,
     {"Rear Left", "Rear Center Left", "Rear Center Right", "Rear Right"},
     {"Processor A", "Processor B", "Backplane", "Air Inlet", "Power Supply 1", "Power Supply 2"}},
    {3,
     {"Power Supply 1", "Power Supply 1", "Power Supply 2", "Power Supply 2"},
     {"Processor A", "Processor B", "Backplane", "Power Supply 1", "Power Supply 2"}},
};

const char* placeOf(int modelCode, std::array<const char*, 6> ModelPlaces::*kind, uint32_t index) {
    for (const ModelPlaces& places : PLACES)
        if (places.modelCode == modelCode && index < (places.*kind).size() && (places.*kind)[index] != nullptr)
            return (places.*kind)[index];
    return nullptr;
}

// Elements lie in the order slots, power supplies, fans, sensors, alarms. One outside the block is unsupported.
SL_ENCL_ELEMENT_T elementAt(const SL_ENCL_STATUS_T* status, uint64_t number) {
    return status != nullptr && number < std::size(status->element) ? status->element[number] : SL_ENCL_ELEMENT_T{};
}

SL_ENCL_ELEMENT_T powerSupplyAt(const SL_ENCL_STATUS_T* status, uint32_t index) {
    if (status == nullptr || index >= status->psuCount) return {};
    return elementAt(status, uint64_t{status->slotCount} + index);
}

SL_ENCL_ELEMENT_T fanAt(const SL_ENCL_STATUS_T* status, uint32_t index) {
    if (status == nullptr || index >= status->fanCount) return {};
    return elementAt(status, uint64_t{status->slotCount} + status->psuCount + index);
}

SL_ENCL_ELEMENT_T sensorAt(const SL_ENCL_STATUS_T* status, uint32_t index) {
    if (status == nullptr || index >= status->sensorCount) return {};
    return elementAt(status, uint64_t{status->slotCount} + status->psuCount + status->fanCount + index);
}

const char* stateText(const SL_ENCL_ELEMENT_T& element) {
    return sim::codeText(sim::codes::ELEMENT_STATES, element.status, "Unknown");
}

// 0 OK, 1 degraded, 2 error: the worst state of any element.
int worstState(const SL_ENCL_STATUS_T& status) {
    const uint64_t count =
        uint64_t{status.slotCount} + status.psuCount + status.fanCount + status.sensorCount + status.alarmCount;
    int worst = 0;
    for (uint64_t i = 0; i < std::min<uint64_t>(count, std::size(status.element)); ++i) {
        const uint32_t code = elementAt(&status, i).status;
        if (code == STATUS_CRITICAL || code == STATUS_UNRECOVERABLE) return 2;
        if (code == STATUS_NONCRITICAL) worst = 1;
    }
    return worst;
}

// Bytes 1 and 2 of a cooling element hold the speed in eleven bits, in units of ten revolutions per minute.
constexpr size_t SPEED_COUNT = 2048;

size_t speedOf(const SL_ENCL_ELEMENT_T& fan) {
    return size_t(fan.ses[1] & 7) << 8 | fan.ses[2];
}

const char* speedText(size_t speed) {
    struct Texts {
        char text[SPEED_COUNT][12];
    };
    static const Texts& texts = *[] {
        auto* all = new Texts; // outlives exit handlers
        for (size_t i = 0; i < SPEED_COUNT; ++i) snprintf(all->text[i], sizeof all->text[i], "%zu rpm", i * 10);
        return all;
    }();
    return texts.text[speed];
}

sim::CallOutput copyText(char* text, int size, const char* source) {
    if (text == nullptr || size <= 0) return {};
    snprintf(text, size_t(size), "%s", source);
    return {text, strlen(text)};
}

sim::Room roomOf(char* text, int size) {
    return {text, size > 0 ? size_t(size) : 0, true};
}

sim::CallValue block(const SL_ENCL_STATUS_T* status) {
    return {status, sizeof *status};
}

} // namespace

int raid_GetEnclosureStatus(const SL_ENCL_STATUS_T* status) {
    return sim::numberCall("raid_GetEnclosureStatus", {block(status)}, 3, status != nullptr ? worstState(*status) : 3);
}

void raid_GetEnclosureFanName(int modelCode, const SL_ENCL_STATUS_T* status, uint32_t fan, char* text, int size) {
    char name[32];
    snprintf(name, sizeof name, "Fan %llu", fan + 1ULL);
    sim::outputCall("raid_GetEnclosureFanName", {modelCode, block(status), fan, size}, roomOf(text, size),
                    [&] { return copyText(text, size, name); });
}

const char* raid_GetEnclosureFanLocation(int modelCode, const SL_ENCL_STATUS_T* status, uint32_t fan) {
    const char* place = placeOf(modelCode, &ModelPlaces::fans, fan);
    return sim::textCall("raid_GetEnclosureFanLocation", {modelCode, block(status), fan},
                         place != nullptr ? place : "Enclosure");
}

const char* raid_GetEnclosureFanSpeedString(const SL_ENCL_STATUS_T* status, uint32_t fan) {
    return sim::textCall("raid_GetEnclosureFanSpeedString", {block(status), fan},
                         speedText(speedOf(fanAt(status, fan))));
}

const char* raid_GetEnclosureFanStatusString(const SL_ENCL_STATUS_T* status, uint32_t fan) {
    return sim::textCall("raid_GetEnclosureFanStatusString", {block(status), fan}, stateText(fanAt(status, fan)));
}

const char* raid_GetEnclosurePowerSupplyStatusString(const SL_ENCL_STATUS_T* status, uint32_t powerSupply) {
    return sim::textCall("raid_GetEnclosurePowerSupplyStatusString", {block(status), powerSupply},
                         stateText(powerSupplyAt(status, powerSupply)));
}

void raid_GetEnclosureSensorLocation(int modelCode, const SL_ENCL_STATUS_T* status, uint32_t sensor, char* text,
                                     int size) {
    char number[32];
    snprintf(number, sizeof number, "Location %llu", sensor + 1ULL);
    const char* place = placeOf(modelCode, &ModelPlaces::sensors, sensor);
    sim::outputCall("raid_GetEnclosureSensorLocation", {modelCode, block(status), sensor, size}, roomOf(text, size),
                    [&] { return copyText(text, size, place != nullptr ? place : number); });
}

const char* raid_GetEnclosureTempStatusString(const SL_ENCL_STATUS_T* status, uint32_t sensor) {
    return sim::textCall("raid_GetEnclosureTempStatusString", {block(status), sensor},
                         stateText(sensorAt(status, sensor)));
}

// Byte 2 of a temperature element counts degrees from -20.
float raid_GetEnclosureTemperature(const SL_ENCL_STATUS_T* status, uint32_t sensor, uint16_t statusCode,
                                   const SL_ENCL_ELEMENT_T* element) {
    const int degrees = (element != nullptr ? element->ses[2] : 20) - 20;
    return sim::call("raid_GetEnclosureTemperature",
                     {block(status), sensor, statusCode, sim::CallValue(element, sizeof *element)}, sim::Real{0},
                     [&] { return sim::Answer<sim::Real>{{static_cast<float>(degrees)}}; })
        .value;
}
