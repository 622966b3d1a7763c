#pragma once

#include "values/valueFunction.h"

enum PdParam : int {
    PD_PORT_NUMBER,
    PD_NAME,
    PD_VENDOR,
    PD_PRODUCT,
    PD_TYPE,
    PD_FIRMWARE_VERSION,
    PD_SERIAL_NUMBER,
    PD_TRANSFER_SPEED,
    PD_TRANSFER_WIDTH,
    PD_RPM,
    PD_DEVICE_NUMBER,
    PD_SLOT,
    PD_ENCLOSURE_NUMBER,
    PD_SAS_ADDRESS,
    PD_PHYSICAL_SIZE,
    PD_CONFIGURABLE_SIZE,
    PD_STATUS,
    PD_ACTIVITY,
    PD_FOREIGN_CONFIG,
    PD_MEDIA_ERROR_COUNT,
    PD_MISC_ERRORS,
    PD_PFA_COUNT,
    PD_MEDIA_TYPE,
    PD_SMART_STATUS,
    PD_POWER_STATUS,
    PD_TEMPERATURE,
    PD_BAD_BLOCKS,
    PD_PARAM_COUNT
};

// One value of a physical drive, by its index into mrPdInfo: from its MR_PD_INFO, its ATA IDENTIFY DEVICE data and
// the controller's lists; port and enclosure number, speed and temperature are the library's answers. Sizes are
// MiB, truncated to 32 bits, RPM is in thousands, temperatures are degrees Celsius.
// VALUE_BAD_BUFFER without a buffer, also for a temperature that the drive does not report (*ival is -99 then);
// VALUE_NO_OBJECT also without its MR_PD_INFO. *ival is 0 unless the value is an integer.
[[nodiscard]] int oobMR_getPDInfo(int paramID, int ctrlIdx, int instIdx, char* sval, int svalLen, int32_t* ival);
