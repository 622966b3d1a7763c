#pragma once

#include "values/valueFunction.h"

// One value of a controller's battery.
int oobMR_getCtrlBatteryInfo(int paramID, int ctrlIndex, char* text, int size, int32_t* value);
