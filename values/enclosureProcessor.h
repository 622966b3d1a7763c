#pragma once

#include "values/valueFunction.h"

enum ProcParam : int {
    PROC_PORT_NUMBER,
    PROC_DEVICE_NUMBER,
    PROC_ENCLOSURE_NUMBER,
    PROC_NAME,
    PROC_TYPE,
    PROC_VENDOR,
    PROC_PRODUCT,
    PROC_SERIAL_NUMBER,
    PROC_HARDWARE_VERSION,
    PROC_FIRMWARE_VERSION,
    PROC_STATUS,
    PROC_PARAM_COUNT
};

// One value of the SES processor of an enclosure: from the enclosure's MR_PD_INFO, its cached status block and its
// diagnostic pages, which are read anew at each call. Codes and what cannot be read: as oobMR_getEnclInfo.
[[nodiscard]] int oobMR_getEnclProcInfo(int paramID, int ctrlIdx, int enclIdx, char* sval, int svalLen, int32_t* ival);
