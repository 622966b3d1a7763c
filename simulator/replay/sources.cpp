#include "simulator/replay/sources.h"

#include "platform/storelib.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace sim {
namespace {

// Type and commands of the direct commands whose records are known.
constexpr uint8_t DRIVES = 3;
constexpr uint8_t DRIVES_OF_LOGICAL_DRIVE = 11;
constexpr uint8_t LOGICAL_DRIVES_OF_DRIVE = 16;

struct Source {
    std::string_view function;
    std::string_view member;
};
constexpr Source SOURCES[] = {{"raid_ReadControllerInfoRaw", "MR_CTRL_INFO"},
                              {"raid_GetControllerPDList", "MR_PD_LIST"},
                              {"raid_GetSasConnectors", "MR_SAS_CONNECTORS"},
                              {"raid_GetEnclosureList", "MR_ENCL_LIST"},
                              {"raid_PhysicalDeviceGetInfo", "MR_PD_INFO"},
                              {"raid_FirePDSATAPassthru_Identify", "SATA_IDENTIFY"},
                              {"raid_GetEnclosureStatusFunc", "SL_ENCL_STATUS_T"},
                              {"raid_LogicalDriveGetInfo", "MR_LD_INFO"},
                              {"raid_LogicalDriveGetProgress", "MR_LD_PROGRESS"},
                              {"raid_ControllerGetBatteryStatus", "batteryStatus"},
                              {"raid_ControllerGetVirtualDiskStatus", "virtualDiskStatus"},
                              {"raid_PhysicalDriveGetSasRotationalSpeed", "sasRpm"},
                              {"raid_PhysicalDriveGetAtaRotationalSpeed", "ataRpm"},
                              {"ProcMonitorRegister", "register"},
                              {"ProcMonitorRegisterExt", "registerExt"},
                              {"ProcMonitorDeRegister", "deregister"}};

SL_LIB_CMD_PARAM_T packetOf(const ReplayedCall& call) {
    SL_LIB_CMD_PARAM_T packet = {};
    if (!call.arguments.at(1).is_string()) return packet;
    const Bytes bytes = bytesOfHex(call.arguments.at(1).get<std::string>());
    memcpy(&packet, bytes.data(), std::min(bytes.size(), sizeof packet));
    return packet;
}

const RecordLayout* recordOfCommand(const ReplayedCall& call) {
    const SL_LIB_CMD_PARAM_T packet = packetOf(call);
    if (packet.cmdType != DRIVES) return nullptr;
    if (packet.cmd == DRIVES_OF_LOGICAL_DRIVE) return findRecordLayout(RecordOwner::logicalDrive, "SL_PD_IN_LD_T");
    if (packet.cmd == LOGICAL_DRIVES_OF_DRIVE) return findRecordLayout(RecordOwner::device, "LDS_OF_PD");
    return nullptr;
}

} // namespace

std::string memberReadBy(const std::string& function) {
    const auto* found = std::find_if(std::begin(SOURCES), std::end(SOURCES),
                                     [&](const Source& source) { return source.function == function; });
    return found != std::end(SOURCES) ? std::string(found->member) : std::string();
}

const RecordLayout* recordReadBy(const ReplayedCall& call) {
    if (call.name == "raid_ControllerGetOperation") return findRecordLayout(call.arguments.at(1).get<uint32_t>());
    if (call.name == "ZEBRAID_DirectLibCommand") return recordOfCommand(call);
    const std::string member = memberReadBy(call.name);
    for (const RecordLayout& layout : recordLayouts())
        if (layout.name == member) return &layout;
    return nullptr;
}

std::string referenceOf(const ReplayedCall& call) {
    return std::to_string(packetOf(call).deviceRef);
}

} // namespace sim
