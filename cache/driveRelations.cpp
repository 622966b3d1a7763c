#include "cache/driveRelations.h"

#include "daemon/base/trace.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr uint8_t COMMAND_TYPE_DRIVE_RELATIONS = 3;
constexpr uint8_t COMMAND_PDS_OF_LD = 11;
constexpr uint8_t COMMAND_LDS_OF_PD = 16;

int sendCommand(uint32_t ctrlId, uint8_t command, uint8_t device, void* out, uint32_t size) {
    SL_LIB_CMD_PARAM_T packet{};
    packet.cmdType = COMMAND_TYPE_DRIVE_RELATIONS;
    packet.cmd = command;
    packet.ctrlId = ctrlId;
    packet.deviceRef = device;
    packet.dataSize = size;
    packet.pData = out;
    return ZEBRAID_DirectLibCommand(ctrlId, &packet, out, size);
}

const char* getErrorText(int status) {
    const char* text = raid_GetErrorStatus(status);
    return text == nullptr ? "" : text;
}

} // namespace

int raid_GetPDsOfLD(uint32_t ctrlId, uint8_t targetId, SL_PD_IN_LD_T* out) {
    const int status = sendCommand(ctrlId, COMMAND_PDS_OF_LD, targetId, out, sizeof *out);
    if (status != 0 && isTracing())
        trace("raid_GetPDsOfLD(): FAILED to get physical disks for logical disk with ctrlId=%d, devId=%d ret=%d(%s)\n",
              int(ctrlId), targetId, status, getErrorText(status));
    return status;
}

int raid_GetLDsOfPD(uint32_t ctrlId, uint16_t deviceId, SL_LD_OF_PD_T* out) {
    const int status = sendCommand(ctrlId, COMMAND_LDS_OF_PD, uint8_t(deviceId), out, sizeof *out);
    if (status != 0 && isTracing())
        trace("raid_GetPDsOfLD(): FAILED to get logical disks for physical disk with ctrlId=%d, devId=%d ret=%d(%s)\n",
              int(ctrlId), deviceId, status, getErrorText(status));
    return status;
}

const char* getPdSmartStatusText(const MR_MFC_DEFAULTS* mfcDefaults, const MR_PD_INFO* pdInfo) {
    if (pdInfo->predFailCount == 0) return "Not Available";
    if (mfcDefaults != nullptr && mfcDefaults->smartMode == 1) return "Monitoring Disabled";
    // States in which a count of predicted failures is taken at its word; hot spares and drives that
    // rebuild, copy back or are missing among them, online and good ones not.
    constexpr uint16_t predicting[] = {0x01, 0x02, 0x10, 0x11, 0x14, 0x20, 0x40, 0x80, 0x82, 0x90};
    const uint16_t state = pdInfo->fwState;
    const bool predicts = std::find(std::begin(predicting), std::end(predicting), state) != std::end(predicting);
    return predicts ? "Failure Predicted" : "OK";
}

const char* getPatrolReadModeText(unsigned mode) {
    constexpr const char* texts[] = {"Automatic", "Manual", "Disabled"};
    return mode < std::size(texts) ? texts[mode] : "Unknown";
}
