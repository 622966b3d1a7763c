#pragma once

#include "values/valueFunction.h"

enum LdParam : int {
    LD_NUMBER,
    LD_LOGICAL_SIZE,
    LD_PHYSICAL_SIZE,
    LD_RAID_LEVEL,
    LD_STRIPE_SIZE,
    LD_NAME,
    LD_INIT_STATE,
    LD_WRITE_MODE,
    LD_READ_MODE,
    LD_CACHE_MODE,
    LD_ACCESS_MODE,
    LD_DEFAULT_WRITE_MODE,
    LD_DEFAULT_READ_MODE,
    LD_DEFAULT_CACHE_MODE,
    LD_DEFAULT_ACCESS_MODE,
    LD_DISK_CACHE_MODE,
    LD_EMULATE_512E,
    LD_STATUS,
    LD_ACTIVITY,
    LD_OS_DEVICE,
    LD_DISPLAY_NAME,
    LD_INIT_PROGRESS,
    LD_REBUILD_PROGRESS,
    LD_CHECK_PROGRESS,
    LD_PARAM_COUNT
};

// One value of a logical drive, by its index into mrCfgData: from its entry there (MR_LD_CONFIG), its MR_LD_INFO
// and its MR_LD_PROGRESS. Sizes are MiB, truncated to 32 bits; running operations show their percentage.
// VALUE_BAD_BUFFER without a buffer; VALUE_NO_OBJECT also without its MR_LD_INFO. Without its MR_LD_PROGRESS the
// progress of each operation is "0". *ival is 0 unless the value is an integer.
[[nodiscard]] int oobMR_getLDInfo(int paramID, int ctrlIdx, int instIdx, char* sval, int svalLen, int32_t* ival);
