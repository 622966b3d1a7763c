#pragma once

#include "values/valueFunction.h"

enum BatteryParam : int {
    BATTERY_NAME,
    BATTERY_VENDOR,
    BATTERY_MANUFACTURE_DATE,
    BATTERY_DESIGN_CAPACITY,
    BATTERY_DESIGN_VOLTAGE,
    BATTERY_TYPE,
    BATTERY_INTELLIGENT,
    BATTERY_SERIAL_NUMBER,
    BATTERY_STATUS,
    BATTERY_NEXT_LEARN_TIME,
    BATTERY_DEVICE_NAME,
    BATTERY_MODULE_VERSION,
    BATTERY_AUTO_LEARN_MODE,
    BATTERY_AUTO_LEARN_PERIOD,
    BATTERY_VOLTAGE,
    BATTERY_TEMPERATURE,
    BATTERY_CAPACITANCE,
    BATTERY_REMAINING_CAPACITY,
    BATTERY_PARAM_COUNT
};

// One value of a controller's battery, from MR_BBU_STATUS, MR_BBU_CAPACITY_INFO, MR_BBU_PROPERTIES and
// MR_BBU_DESIGN_INFO. Voltages are volts with the millivolts behind the point, periods days, dates local time.
// A missing record gives an empty text or 0, with these exceptions: VALUE_NO_OBJECT without the controller, for the
// names without the design record, and for the learn mode when no record tells it; RemainingCapacity is -1.
// *value is 0 unless the value is an integer.
[[nodiscard]] int oobMR_getCtrlBatteryInfo(int paramID, int ctrlIndex, char* text, int size, int32_t* value);
