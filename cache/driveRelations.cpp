#include "cache/driveRelations.h"

#include "daemon/base/trace.h"

#include <algorithm>
#include <iterator>

namespace {

int sendCommand(uint32_t ctrlId, uint8_t command, uint8_t device, void* out, uint32_t size) {
    SL_LIB_CMD_PARAM_T packet{};
    packet.cmdType = SL_COMMAND_TYPE_DRIVE_RELATIONS;
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
    const int status = sendCommand(ctrlId, SL_COMMAND_PDS_OF_LD, targetId, out, sizeof *out);
    if (status != 0 && isTracing())
        trace("raid_GetPDsOfLD(): FAILED to get physical disks for logical disk with ctrlId=%d, devId=%d ret=%d(%s)\n",
              int(ctrlId), targetId, status, getErrorText(status));
    return status;
}

int raid_GetLDsOfPD(uint32_t ctrlId, uint16_t deviceId, SL_LD_OF_PD_T* out) {
    const int status = sendCommand(ctrlId, SL_COMMAND_LDS_OF_PD, uint8_t(deviceId), out, sizeof *out);
    if (status != 0 && isTracing())
        trace("raid_GetPDsOfLD(): FAILED to get logical disks for physical disk with ctrlId=%d, devId=%d ret=%d(%s)\n",
              int(ctrlId), deviceId, status, getErrorText(status));
    return status;
}

const char* getPdSmartStatusText(const MR_MFC_DEFAULTS* mfcDefaults, const MR_PD_INFO* pdInfo) {
    if (pdInfo->predFailCount == 0) return "Not Available";
    if (mfcDefaults != nullptr && mfcDefaults->smartMode == MR_MFC_SMART_OFF) return "Monitoring Disabled";
    // States in which a count of predicted failures is taken at its word: all but online, good and unknown ones.
    constexpr uint16_t predicting[] = {MR_PD_STATE_UNCONFIGURED_BAD, MR_PD_STATE_HOT_SPARE,
                                       MR_PD_STATE_OFFLINE,          MR_PD_STATE_FAILED,
                                       MR_PD_STATE_REBUILD,          MR_PD_STATE_COPYBACK,
                                       MR_PD_STATE_PASS_THROUGH,     MR_PD_STATE_UNCONFIGURED_TESTED,
                                       MR_PD_STATE_HOT_SPARE_TESTED, MR_PD_STATE_CONFIGURED_TESTED};
    const uint16_t state = pdInfo->fwState;
    const bool predicts = std::find(std::begin(predicting), std::end(predicting), state) != std::end(predicting);
    return predicts ? "Failure Predicted" : "OK";
}

const char* getPatrolReadModeText(unsigned mode) {
    constexpr const char* texts[] = {"Automatic", "Manual", "Disabled"};
    return mode < std::size(texts) ? texts[mode] : "Unknown";
}
