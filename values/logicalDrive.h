#pragma once

#include "values/valueFunction.h"

// One value of a logical drive, by its index into mrCfgData: from its entry there (MR_LD_CONFIG), its MR_LD_INFO
// and its MR_LD_PROGRESS. Sizes are MiB, truncated to 32 bits; running operations show their percentage.
// VALUE_BAD_BUFFER without a buffer; VALUE_NO_OBJECT also without its MR_LD_INFO. Without its MR_LD_PROGRESS the
// progress of each operation is "0". *ival is 0 unless the value is an integer.
int oobMR_getLDInfo(int paramID, int ctrlIdx, int instIdx, char* sval, int svalLen, int32_t* ival);
