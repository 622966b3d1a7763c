#pragma once

#include "values/valueFunction.h"

// One value of a logical drive, by index into mrCfgData. VALUE_NO_OBJECT also without its MR_LD_INFO.
int oobMR_getLDInfo(int paramID, int ctrlIdx, int instIdx, char* sval, int svalLen, int32_t* ival);
