#pragma once

#include "values/valueFunction.h"

// One value of a controller's battery, from MR_BBU_STATUS, MR_BBU_CAPACITY_INFO, MR_BBU_PROPERTIES and
// MR_BBU_DESIGN_INFO. Voltages are volts with the millivolts behind the point, periods days, dates local time.
// A missing record gives an empty text or 0, with these exceptions: VALUE_NO_OBJECT without the controller, for the
// names without the design record, and for the learn mode when no record tells it; RemainingCapacity is -1.
// *value is 0 unless the value is an integer.
int oobMR_getCtrlBatteryInfo(int paramID, int ctrlIndex, char* text, int size, int32_t* value);
