#include "daemon/base/accounting.h"
#include "daemon/base/trace.h"
#include "values/enclosureAccess.h"
#include "values/sesPages.h"

#include <cstdio>
#include <cstring>

namespace {

enum FanParam { FAN_NAME, FAN_LOCATION, FAN_SPEED, FAN_STATUS };

enum PsParam { PS_SERIAL_NUMBER, PS_HARDWARE_VERSION, PS_STATUS, PS_NAME };

enum SensorParam {
    SENSOR_NAME,
    SENSOR_LOCATION,
    SENSOR_CRITICAL_LOW,
    SENSOR_WARNING_HIGH,
    SENSOR_CRITICAL_LOW_2,
    SENSOR_WARNING_HIGH_2,
    SENSOR_STATUS,
    SENSOR_TEMPERATURE,
};

constexpr int32_t NO_TEMPERATURE = -1;
constexpr float THRESHOLD_NOT_SET = -100.0F;
constexpr int FRU_POWER_SUPPLIES = sizeof(SesFruPage::powerSupply) / sizeof(SesFruRecord);

// Whole degrees; what no integer can hold is no temperature.
int32_t truncateTemperature(float celsius) {
    constexpr float limit = 2147483648.0F;
    return celsius >= -limit && celsius < limit ? int32_t(celsius) : NO_TEMPERATURE;
}

int32_t readThreshold(int paramID, const Enclosure& enclosure, uint32_t sensor) {
    SL_TEMP_THRESHOLD_T thresholds{};
    if (raid_GetEnclosureTemperatureThreshold(enclosure.controller->ctrlId, enclosure.deviceId, sensor,
                                              enclosure.status, &thresholds) != 0)
        return NO_TEMPERATURE;
    // Where the four rows find their limits in the record.
    constexpr int positions[] = {3, 1, 2, 0};
    const float value = thresholds.value[positions[paramID - SENSOR_CRITICAL_LOW]];
    return value == THRESHOLD_NOT_SET ? NO_TEMPERATURE : truncateTemperature(value);
}

int32_t getSensorNumber(int paramID, const Enclosure& enclosure, uint32_t sensor) {
    const SL_ENCL_ELEMENT_T element = getElement(enclosure.status, EnclosureElement::sensor, sensor);
    const uint32_t status = element.status;
    if (status == SL_ENCL_ELEM_STATUS_NOT_AVAILABLE) return NO_TEMPERATURE;
    switch (paramID) {
    case SENSOR_CRITICAL_LOW:
    case SENSOR_WARNING_HIGH:
    case SENSOR_CRITICAL_LOW_2:
    case SENSOR_WARNING_HIGH_2: return readThreshold(paramID, enclosure, sensor);
    case SENSOR_TEMPERATURE:
        return truncateTemperature(raid_GetEnclosureTemperature(enclosure.status, sensor, uint16_t(status), &element));
    default: return NO_TEMPERATURE;
    }
}

void setFruText(int paramID, const uint8_t* page, int psuIdx, char* sval, int svalLen) {
    if (psuIdx >= FRU_POWER_SUPPLIES) return;
    const SesFruRecord unit = getFruPage(page).powerSupply[psuIdx];
    if (paramID == PS_SERIAL_NUMBER)
        copyText(sval, svalLen, getPrintableText(unit.serialNumber).text);
    else
        copyText(sval, svalLen, getPrintableText(unit.revision).text);
}

void setDescribedText(const char* marker, const SL_ENCL_STATUS_T* status, const uint8_t* page, int psuIdx, char* sval,
                      int svalLen) {
    const SesDescriptor descriptor = findDescriptor(page, status, SES_TYPES_BEFORE_POWER_SUPPLIES, uint32_t(psuIdx));
    if (descriptor.text == nullptr) return;
    char* text = static_cast<char*>(callocAccounted(descriptor.length + 1, 1));
    if (text == nullptr) return;
    memcpy(text, descriptor.text, descriptor.length);
    copyMarkedText({text, descriptor.length}, marker, sval, svalLen);
    freeAccounted(text);
}

void setPageText(int paramID, int modelCode, const SL_ENCL_STATUS_T* status, const uint8_t* page, int psuIdx,
                 char* sval, int svalLen) {
    const char* marker = paramID == PS_SERIAL_NUMBER ? SES_MARKER_SERIAL_NUMBER : SES_MARKER_REVISION;
    if (page == nullptr) return;
    if (modelCode == ENCL_MODEL_KP17)
        setFruText(paramID, page, psuIdx, sval, svalLen);
    else
        setDescribedText(marker, status, page, psuIdx, sval, svalLen);
}

} // namespace

int oobMR_getEnclFanInfo(int paramID, int ctrlIdx, int enclIdx, int fanIdx, char* sval, int svalLen, int32_t* ival) {
    *ival = 0;
    if (sval == nullptr || svalLen <= 0) return VALUE_BAD_BUFFER;
    Enclosure enclosure{};
    if (!findElement(ctrlIdx, enclIdx, EnclosureElement::fan, fanIdx, enclosure)) {
        trace("oobMR_getEnclFanInfo(): END\n");
        return VALUE_NO_OBJECT;
    }
    clearText(sval, svalLen);
    const int modelCode = getModel(*enclosure.info).code;
    const SL_ENCL_STATUS_T* status = enclosure.status;
    const auto fan = uint32_t(fanIdx);
    trace("oobMR_getEnclFanInfo: fanIOdx=%d, intProductValue=%d, pEnclStatus= 0x%x\n", fanIdx, modelCode,
          traceAddress(status));
    trace("oobMR_getEnclFanInfo: pEnclStatus->fanCount=%d\n", int(status->fanCount));
    switch (paramID) {
    case FAN_NAME: raid_GetEnclosureFanName(modelCode, status, fan, sval, svalLen); break;
    case FAN_LOCATION: copyText(sval, svalLen, raid_GetEnclosureFanLocation(modelCode, status, fan)); break;
    case FAN_SPEED: copyText(sval, svalLen, raid_GetEnclosureFanSpeedString(status, fan)); break;
    case FAN_STATUS: copyText(sval, svalLen, raid_GetEnclosureFanStatusString(status, fan)); break;
    default: break;
    }
    return VALUE_OK;
}

int oobMR_getEnclPsInfo(int paramID, int modelCode, const SL_ENCL_STATUS_T* enclStatus, const uint8_t* page, int psuIdx,
                        char* sval, int svalLen, int32_t* ival) {
    *ival = 0;
    if (sval == nullptr || svalLen <= 0) return VALUE_BAD_BUFFER;
    if (psuIdx < 0 || uint32_t(psuIdx) >= getElementCount(enclStatus, EnclosureElement::powerSupply))
        return VALUE_NO_OBJECT;
    clearText(sval, svalLen);
    switch (paramID) {
    case PS_SERIAL_NUMBER:
    case PS_HARDWARE_VERSION: setPageText(paramID, modelCode, enclStatus, page, psuIdx, sval, svalLen); break;
    case PS_STATUS:
        copyText(sval, svalLen, raid_GetEnclosurePowerSupplyStatusString(enclStatus, uint32_t(psuIdx)));
        break;
    case PS_NAME: TextComposer(sval, svalLen).add("PSU").add(psuIdx).add(" (").add(psuIdx).add(")"); break;
    default: break;
    }
    return VALUE_OK;
}

int oobMR_getEnclTempSensorInfo(int paramID, int ctrlIdx, int enclIdx, int sensorIdx, char* sval, int svalLen,
                                int32_t* ival) {
    *ival = NO_TEMPERATURE;
    if (sval == nullptr || svalLen <= 0) return VALUE_BAD_BUFFER;
    Enclosure enclosure{};
    if (!findElement(ctrlIdx, enclIdx, EnclosureElement::sensor, sensorIdx, enclosure)) {
        trace("oobMR_getEnclTempSensorInfo(): END\n");
        return VALUE_NO_OBJECT;
    }
    clearText(sval, svalLen);
    const auto sensor = uint32_t(sensorIdx);
    switch (paramID) {
    case SENSOR_NAME: TextComposer(sval, svalLen).add("Sensor (").add(sensorIdx).add(")"); break;
    case SENSOR_LOCATION:
        raid_GetEnclosureSensorLocation(getModel(*enclosure.info).code, enclosure.status, sensor, sval, svalLen);
        break;
    case SENSOR_STATUS: copyText(sval, svalLen, raid_GetEnclosureTempStatusString(enclosure.status, sensor)); break;
    default: *ival = getSensorNumber(paramID, enclosure, sensor); break;
    }
    return VALUE_OK;
}
