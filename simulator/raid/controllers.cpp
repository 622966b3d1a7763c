// Stand-in for libzeb_RaidHelper: controllers and lists.

#include "platform/storelib.h"

#include "simulator/machine/call.h"
#include "simulator/machine/codeWords.h"
#include "simulator/machine/recordLayout.h"
#include "simulator/raid/answerRecord.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr uint8_t COMMAND_TYPE_DRIVES = 3;
constexpr uint8_t COMMAND_DRIVES_OF_LOGICAL_DRIVE = 11;
constexpr uint8_t COMMAND_LOGICAL_DRIVES_OF_DRIVE = 16;
constexpr size_t PACKET_BYTES_BEFORE_POINTER = 16;

constexpr sim::CodeText ERROR_TEXTS[] = {{sim::RAID_OK, "Success"},
                                         {sim::RAID_NOT_AVAILABLE, "Not available"},
                                         {sim::RAID_BAD_ARGUMENT, "Bad argument"},
                                         {sim::RAID_NOT_SUPPORTED, "Not supported"}};

int readStatus(const char* name, uint32_t ctrlId, std::optional<int32_t> sim::Controller::*member, int32_t* status) {
    return sim::call(name, {ctrlId}, sim::RAID_NOT_AVAILABLE, {status, sizeof *status}, [&] {
        const std::shared_ptr<const sim::Controller> controller = sim::findController(ctrlId);
        if (controller == nullptr) return sim::Answer<int>{sim::RAID_NOT_AVAILABLE};
        if (status == nullptr) return sim::Answer<int>{sim::RAID_BAD_ARGUMENT};
        const std::optional<int32_t>& value = (*controller).*member;
        if (!value) return sim::Answer<int>{sim::RAID_NOT_AVAILABLE};
        *status = *value;
        return sim::Answer<int>{sim::RAID_OK, {status, sizeof *status}};
    });
}

int readList(const char* name, uint32_t ctrlId, const char* record, void* list, size_t size) {
    return sim::call(name, {ctrlId}, sim::RAID_NOT_AVAILABLE, {list, size},
                     [&] { return sim::answerControllerRecord(ctrlId, record, list, size); });
}

} // namespace

int raid_GetControllerList(SL_CTRL_LIST_T* list) {
    return sim::answerCall(
        sim::Share::eachTime, "raid_GetControllerList", {}, sim::RAID_NOT_AVAILABLE, {list, sizeof *list}, [&] {
            const std::shared_ptr<const sim::Controllers> controllers = sim::takeControllers();
            if (controllers == nullptr) return sim::Answer<int>{sim::RAID_NOT_AVAILABLE};
            if (list == nullptr) return sim::Answer<int>{sim::RAID_BAD_ARGUMENT};
            const size_t listed = std::min(controllers->size(), std::size(list->ctrlId));
            list->count = uint32_t(controllers->size());
            for (size_t i = 0; i < listed; ++i) list->ctrlId[i] = (*controllers)[i].id;
            const size_t written = offsetof(SL_CTRL_LIST_T, ctrlId) + listed * sizeof list->ctrlId[0];
            return sim::Answer<int>{sim::RAID_OK, {list, written, "SL_CTRL_LIST_T"}};
        });
}

int raid_ReadControllerInfoRaw(uint32_t ctrlId, MR_CTRL_INFO* info) {
    return readList("raid_ReadControllerInfoRaw", ctrlId, "MR_CTRL_INFO", info, sizeof *info);
}

int raid_ControllerGetOperation(uint32_t ctrlId, uint32_t opcode, void* buffer, uint32_t length) {
    return sim::call("raid_ControllerGetOperation", {ctrlId, opcode, length}, sim::RAID_NOT_AVAILABLE, {buffer, length},
                     [&] {
                         const sim::RecordLayout* layout = sim::findRecordLayout(opcode);
                         return layout != nullptr ? sim::answerControllerRecord(ctrlId, layout->name, buffer, length)
                                                  : sim::Answer<int>{sim::RAID_NOT_AVAILABLE};
                     });
}

int raid_GetControllerNumber(uint32_t ctrlId) {
    const std::shared_ptr<const sim::Controller> controller = sim::findController(ctrlId);
    return sim::numberCall("raid_GetControllerNumber", {ctrlId}, -1,
                           controller != nullptr ? controller->number.value_or(-1) : -1);
}

int raid_ControllerGetBatteryStatus(uint32_t ctrlId, int32_t* status) {
    return readStatus("raid_ControllerGetBatteryStatus", ctrlId, &sim::Controller::batteryStatus, status);
}

int raid_ControllerGetVirtualDiskStatus(uint32_t ctrlId, int32_t* status) {
    return readStatus("raid_ControllerGetVirtualDiskStatus", ctrlId, &sim::Controller::virtualDiskStatus, status);
}

int ZEBRAID_DirectLibCommand(uint32_t ctrlId, SL_LIB_CMD_PARAM_T* packet, void* out, uint32_t size) {
    const auto answer = [&] {
        if (packet == nullptr) return sim::Answer<int>{sim::RAID_BAD_ARGUMENT};
        const size_t length = std::min<size_t>(size, packet->dataSize);
        if (packet->cmdType == COMMAND_TYPE_DRIVES && packet->cmd == COMMAND_DRIVES_OF_LOGICAL_DRIVE)
            return sim::answerLogicalDriveRecord(ctrlId, packet->deviceRef, "SL_PD_IN_LD_T", out, length);
        if (packet->cmdType == COMMAND_TYPE_DRIVES && packet->cmd == COMMAND_LOGICAL_DRIVES_OF_DRIVE)
            return sim::answerDeviceRecord(ctrlId, packet->deviceRef, "LDS_OF_PD", out, length);
        return sim::Answer<int>{sim::RAID_NOT_SUPPORTED};
    };
    return sim::call("ZEBRAID_DirectLibCommand", {ctrlId, sim::CallValue(packet, PACKET_BYTES_BEFORE_POINTER), size},
                     sim::RAID_NOT_AVAILABLE, {out, size}, answer);
}

const char* raid_GetErrorStatus(int status) {
    return sim::textCall("raid_GetErrorStatus", {status},
                         sim::codeText(ERROR_TEXTS, uint32_t(status), "Unknown error"));
}

const char* raid_GetPCIVendorName(uint16_t vendorId) {
    return sim::textCall("raid_GetPCIVendorName", {vendorId},
                         sim::codeText(sim::codes::VENDOR_NAMES, vendorId, "Unknown"));
}

const char* raid_GetPatrolReadState(uint8_t state) {
    return sim::textCall("raid_GetPatrolReadState", {state},
                         sim::codeText(sim::codes::PATROL_READ_STATES, state, "Unknown"));
}

const char* raid_GetBatteryType(uint8_t batteryType) {
    return sim::textCall("raid_GetBatteryType", {batteryType},
                         sim::codeText(sim::codes::BATTERY_TYPES, batteryType, "Unknown"));
}

// By the low four bits: 0 normal, 1 degraded, 2 failed, 3 unknown; all others mean something else.
int raid_GetBatteryState(uint32_t fwStatus) {
    const uint32_t code = fwStatus & 0x0F;
    int state = 7;
    if (code < 3) state = int(code);
    if (code == 3) state = -1;
    return sim::numberCall("raid_GetBatteryState", {fwStatus}, -1, state);
}

const char* raid_GetBatteryAutoLearnMode(uint8_t mode) {
    return sim::textCall("raid_GetBatteryAutoLearnMode", {mode},
                         sim::codeText(sim::codes::AUTO_LEARN_MODES, mode, "Unknown"));
}

int raid_GetControllerPDList(uint32_t ctrlId, MR_PD_LIST* list) {
    return readList("raid_GetControllerPDList", ctrlId, "MR_PD_LIST", list, sizeof *list);
}

int raid_GetSasConnectors(uint32_t ctrlId, MR_SAS_CONNECTORS* connectors) {
    return readList("raid_GetSasConnectors", ctrlId, "MR_SAS_CONNECTORS", connectors, sizeof *connectors);
}

int raid_GetEnclosureList(uint32_t ctrlId, MR_ENCL_LIST* list) {
    return readList("raid_GetEnclosureList", ctrlId, "MR_ENCL_LIST", list, sizeof *list);
}
