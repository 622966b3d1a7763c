#include "values/enclosureElements.h"

#include "daemon/base/accounting.h"
#include "daemon/base/trace.h"
#include "values/enclosureAccess.h"
#include "values/sesPages.h"

#include <iterator>

namespace {

using A = Answer&;
using E = const EnclosureElement&;

// Fans.

// clang-format off
constexpr auto FAN_FORMS = tableOf<EnclosureElement, FAN_PARAM_COUNT>({
    {FAN_NAME, [](E e, A a) { raid_GetEnclosureFanName(getModel(*e.info).code, e.status, e.index, a.text, a.size); }},
    {FAN_LOCATION, [](E e, A a) { put(a, raid_GetEnclosureFanLocation(getModel(*e.info).code, e.status, e.index)); }},
    {FAN_SPEED, [](E e, A a) { put(a, raid_GetEnclosureFanSpeedString(e.status, e.index)); }},
    {FAN_STATUS, [](E e, A a) { put(a, raid_GetEnclosureFanStatusString(e.status, e.index)); }},
});
// clang-format on

constexpr ValueKind<EnclosureElement> FAN = {
    .forms = FAN_FORMS,
    .rules = {.traceWithoutObject = "oobMR_getEnclFanInfo(): END\n"},
    .begin =
        [](int, const EnclosureElement& fan) {
            if (!isTracing()) return;
            trace("oobMR_getEnclFanInfo: fanIOdx=%d, intProductValue=%d, pEnclStatus= 0x%x\n", int(fan.index),
                  getModel(*fan.info).code, traceAddress(fan.status));
            trace("oobMR_getEnclFanInfo: pEnclStatus->fanCount=%d\n", int(fan.status->fanCount));
        },
};

// Power supplies.

struct PowerSupply {
    int modelCode; // of the enclosure
    const SL_ENCL_STATUS_T* status;
    const uint8_t* page; // NULL: not read
    uint32_t index;
};

void putDescribedText(const PowerSupply& supply, const char* marker, Answer& answer) {
    const SesDescriptor descriptor = findDescriptor(supply.page, supply.status, ElementKind::powerSupply, supply.index);
    if (descriptor.text == nullptr) return;
    char* text = static_cast<char*>(callocAccounted(descriptor.length + 1, 1));
    if (text == nullptr) return;
    memcpy(text, descriptor.text, descriptor.length);
    putMarkedText({text, descriptor.length}, marker, answer);
    freeAccounted(text);
}

template <size_t width>
void putPageText(const PowerSupply& supply, char (SesFruRecord::*field)[width], const char* marker, Answer& answer) {
    if (supply.page == nullptr) return;
    if (supply.modelCode != SL_ENCL_MODEL_KP17) return putDescribedText(supply, marker, answer);
    const SesFruPage units = getFruPage(supply.page);
    if (supply.index < std::size(units.powerSupply))
        put(answer, getPrintableText(units.powerSupply[supply.index].*field));
}

using P = const PowerSupply&;

// clang-format off
constexpr auto PS_FORMS = tableOf<PowerSupply, PS_PARAM_COUNT>({
    {PS_SERIAL_NUMBER, [](P p, A a) { putPageText(p, &SesFruRecord::serialNumber, SES_MARKER_SERIAL_NUMBER, a); }},
    {PS_HARDWARE_VERSION, [](P p, A a) { putPageText(p, &SesFruRecord::revision, SES_MARKER_REVISION, a); }},
    {PS_STATUS, [](P p, A a) { put(a, raid_GetEnclosurePowerSupplyStatusString(p.status, p.index)); }},
    {PS_NAME, [](P p, A a) { put(a, "PSU", int(p.index), " (", int(p.index), ")"); }},
});
// clang-format on

constexpr ValueKind<PowerSupply> POWER_SUPPLY = {.forms = PS_FORMS};

// Temperature sensors.

constexpr int32_t NO_TEMPERATURE = -1;
constexpr float THRESHOLD_NOT_SET = -100.0F;

bool isAvailable(const EnclosureElement& sensor) {
    const uint32_t status = getElement(sensor.status, ElementKind::sensor, sensor.index).status;
    return status != SL_ENCL_ELEM_STATUS_NOT_AVAILABLE;
}

// Whole degrees; what no integer can hold is no temperature.
int32_t truncateTemperature(float celsius) {
    constexpr float limit = 2147483648.0F;
    return celsius >= -limit && celsius < limit ? int32_t(celsius) : NO_TEMPERATURE;
}

// The limit at `position` of the record.
void formThreshold(const EnclosureElement& sensor, int position, Answer& answer) {
    if (!isAvailable(sensor)) return;
    SL_TEMP_THRESHOLD_T thresholds{};
    if (raid_GetEnclosureTemperatureThreshold(sensor.controller->ctrlId, sensor.deviceId, sensor.index, sensor.status,
                                              &thresholds) != 0)
        return;
    const float value = thresholds.value[position];
    if (value != THRESHOLD_NOT_SET) answer.number = truncateTemperature(value);
}

void formTemperature(const EnclosureElement& sensor, Answer& answer) {
    if (!isAvailable(sensor)) return;
    const SL_ENCL_ELEMENT_T element = getElement(sensor.status, ElementKind::sensor, sensor.index);
    answer.number = truncateTemperature(
        raid_GetEnclosureTemperature(sensor.status, sensor.index, uint16_t(element.status), &element));
}

// clang-format off
constexpr auto SENSOR_FORMS = tableOf<EnclosureElement, SENSOR_PARAM_COUNT>({
    {SENSOR_NAME, [](E e, A a) { put(a, "Sensor (", int(e.index), ")"); }},
    {SENSOR_LOCATION, [](E e, A a) { raid_GetEnclosureSensorLocation(getModel(*e.info).code, e.status, e.index, a.text, a.size); }},
    {SENSOR_CRITICAL_LOW, [](E e, A a) { formThreshold(e, 3, a); }},
    {SENSOR_WARNING_HIGH, [](E e, A a) { formThreshold(e, 1, a); }},
    {SENSOR_WARNING_LOW, [](E e, A a) { formThreshold(e, 2, a); }},
    {SENSOR_CRITICAL_HIGH, [](E e, A a) { formThreshold(e, 0, a); }},
    {SENSOR_STATUS, [](E e, A a) { put(a, raid_GetEnclosureTempStatusString(e.status, e.index)); }},
    {SENSOR_TEMPERATURE, formTemperature},
});
// clang-format on

constexpr ValueKind<EnclosureElement> SENSOR = {
    .forms = SENSOR_FORMS,
    .rules = {.traceWithoutObject = "oobMR_getEnclTempSensorInfo(): END\n", .startNumber = NO_TEMPERATURE},
};

} // namespace

int oobMR_getEnclFanInfo(int paramID, int ctrlIdx, int enclIdx, int fanIdx, char* sval, int svalLen, int32_t* ival) {
    return answerValue<FAN>(paramID, findElement(ctrlIdx, enclIdx, ElementKind::fan, fanIdx), sval, svalLen, ival);
}

int oobMR_getEnclPsInfo(int paramID, int modelCode, const SL_ENCL_STATUS_T* enclStatus, const uint8_t* page, int psuIdx,
                        char* sval, int svalLen, int32_t* ival) {
    std::optional<PowerSupply> supply;
    if (psuIdx >= 0 && uint32_t(psuIdx) < getElementCount(enclStatus, ElementKind::powerSupply))
        supply = {modelCode, enclStatus, page, uint32_t(psuIdx)};
    return answerValue<POWER_SUPPLY>(paramID, supply, sval, svalLen, ival);
}

int oobMR_getEnclTempSensorInfo(int paramID, int ctrlIdx, int enclIdx, int sensorIdx, char* sval, int svalLen,
                                int32_t* ival) {
    return answerValue<SENSOR>(paramID, findElement(ctrlIdx, enclIdx, ElementKind::sensor, sensorIdx), sval, svalLen,
                               ival);
}
