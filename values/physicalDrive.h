#pragma once

#include "values/valueFunction.h"

// One value of a physical drive, by index into mrPdInfo. VALUE_NO_OBJECT also without its MR_PD_INFO;
// VALUE_BAD_BUFFER also for a temperature that the drive does not report (*ival is -99 then).
int oobMR_getPDInfo(int paramID, int ctrlIdx, int instIdx, char* sval, int svalLen, int32_t* ival);
