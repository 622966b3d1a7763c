#pragma once

// Which drives make up a logical drive, which logical drives use a drive, and two texts of the cache layer.

#include "cache/oobCache.h"

// The library's status, 0 on success.
[[nodiscard]] int raid_GetPDsOfLD(uint32_t ctrlId, uint8_t targetId, SL_PD_IN_LD_T* out);
[[nodiscard]] int raid_GetLDsOfPD(uint32_t ctrlId, uint16_t deviceId, SL_LD_OF_PD_T* out); // its id's low byte counts

// How the drive is attached: MR_PD_INTF_*.
inline uint8_t getDeviceInterface(const MR_PD_INFO& info) {
    return info.ddfInterface >> 4;
}

// Constant texts, "Unknown" for a mode that is none. mfcDefaults may be NULL: monitoring counts as on.
const char* getPdSmartStatusText(const MR_MFC_DEFAULTS* mfcDefaults, const MR_PD_INFO* pdInfo);
const char* getPatrolReadModeText(unsigned mode);
