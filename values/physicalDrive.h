#pragma once

#include "values/valueFunction.h"

// One value of a physical drive, by its index into mrPdInfo: from its MR_PD_INFO, its ATA IDENTIFY DEVICE data and
// the controller's lists; port and enclosure number, speed and temperature are the library's answers. Sizes are
// MiB, truncated to 32 bits, RPM is in thousands, temperatures are degrees Celsius.
// VALUE_BAD_BUFFER without a buffer, also for a temperature that the drive does not report (*ival is -99 then);
// VALUE_NO_OBJECT also without its MR_PD_INFO. *ival is 0 unless the value is an integer.
int oobMR_getPDInfo(int paramID, int ctrlIdx, int instIdx, char* sval, int svalLen, int32_t* ival);
