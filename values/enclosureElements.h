#pragma once

// Values of the fans, power supplies and temperature sensors of an enclosure, by their number within their kind: the
// library's words for the cached status block, and of power supplies what a diagnostic page says. VALUE_BAD_BUFFER
// without a buffer; VALUE_NO_OBJECT when the enclosure or its SL_ENCL_STATUS_T is not in the cache or holds fewer
// elements. What a page or a record does not tell is an empty text or the integer's start value.

#include "platform/storelib.h"
#include "values/valueFunction.h"

enum FanParam : int { FAN_NAME, FAN_LOCATION, FAN_SPEED, FAN_STATUS, FAN_PARAM_COUNT };

enum PsParam : int { PS_SERIAL_NUMBER, PS_HARDWARE_VERSION, PS_STATUS, PS_NAME, PS_PARAM_COUNT };

enum SensorParam : int {
    SENSOR_NAME,
    SENSOR_LOCATION,
    SENSOR_CRITICAL_LOW,
    SENSOR_WARNING_HIGH,
    SENSOR_WARNING_LOW,
    SENSOR_CRITICAL_HIGH,
    SENSOR_STATUS,
    SENSOR_TEMPERATURE,
    SENSOR_PARAM_COUNT
};

// The integer is 0.
[[nodiscard]] int oobMR_getEnclFanInfo(int paramID, int ctrlIdx, int enclIdx, int fanIdx, char* sval, int svalLen,
                                       int32_t* ival);

// The integer, degrees Celsius, starts at -1: a sensor without element data, a limit that is not set.
[[nodiscard]] int oobMR_getEnclTempSensorInfo(int paramID, int ctrlIdx, int enclIdx, int sensorIdx, char* sval,
                                              int svalLen, int32_t* ival);

// `page` is the page that the tree read for the enclosure (SES_PAGE_SIZE bytes: SES_PAGE_FRU for a KP17,
// SES_PAGE_ELEMENT_DESCRIPTORS for every other), NULL when it could not be read. The integer is 0.
[[nodiscard]] int oobMR_getEnclPsInfo(int paramID, int modelCode, const SL_ENCL_STATUS_T* enclStatus,
                                      const uint8_t* page, int psuIdx, char* sval, int svalLen, int32_t* ival);
