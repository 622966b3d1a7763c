#include "simulator/machine/recordLayout.h"

#include "platform/storelibDriveRecords.h"
#include "platform/storelibRecords.h"

#include <algorithm>
#include <iterator>
#include <type_traits>

namespace sim {
namespace {

template <class T>
constexpr std::span<const Field> membersOf{};

template <class Member>
constexpr Field field(std::string_view name, size_t offset) {
    using Element = std::remove_extent_t<Member>;
    Field result{name, uint32_t(offset), sizeof(Element), uint32_t(std::extent_v<Member>), FieldKind::number, {}};
    if constexpr (std::is_same_v<Element, char>) {
        result.kind = FieldKind::text;
        result.size = sizeof(Member);
        result.count = 0;
    } else if constexpr (std::is_class_v<Element>) {
        result.kind = FieldKind::record;
        result.members = membersOf<Element>;
        static_assert(!membersOf<Element>.empty());
    } else {
        static_assert(std::is_unsigned_v<Element>);
    }
    return result;
}

// In a machine file "size" is the size of the record itself: a member of this name has another there.
#define FIELD_AS(type, member, name) field<decltype(type::member)>(name, offsetof(type, member))
#define FIELD(type, member) FIELD_AS(type, member, #member)
#define MEMBERS(type, ...)                                                                                             \
    constexpr Field type##_fields[] = {__VA_ARGS__};                                                                   \
    template <>                                                                                                        \
    constexpr std::span<const Field> membersOf<type>{type##_fields};

// clang-format off
MEMBERS(MR_CTRL_PROP,
    FIELD(MR_CTRL_PROP, predFailPollInterval), FIELD(MR_CTRL_PROP, rebuildRate), FIELD(MR_CTRL_PROP, patrolReadRate),
    FIELD(MR_CTRL_PROP, bgiRate), FIELD(MR_CTRL_PROP, ccRate), FIELD(MR_CTRL_PROP, reconRate),
    FIELD(MR_CTRL_PROP, cacheFlushInterval), FIELD(MR_CTRL_PROP, spinupDriveCount), FIELD(MR_CTRL_PROP, spinupDelay),
    FIELD(MR_CTRL_PROP, disableAutoRebuild), FIELD(MR_CTRL_PROP, abortCCOnError),
    FIELD(MR_CTRL_PROP, onOffProperties), FIELD(MR_CTRL_PROP, spinDownTime))
MEMBERS(MR_IMAGE_COMPONENT,
    FIELD(MR_IMAGE_COMPONENT, name), FIELD(MR_IMAGE_COMPONENT, version), FIELD(MR_IMAGE_COMPONENT, buildDate),
    FIELD(MR_IMAGE_COMPONENT, buildTime))
MEMBERS(MR_CTRL_INFO,
    FIELD(MR_CTRL_INFO, pciVendorId), FIELD(MR_CTRL_INFO, pciDeviceId), FIELD(MR_CTRL_INFO, pciSubVendorId),
    FIELD(MR_CTRL_INFO, pciSubDeviceId), FIELD(MR_CTRL_INFO, ctrlIdWord), FIELD(MR_CTRL_INFO, deviceInterface),
    FIELD(MR_CTRL_INFO, devicePortCount), FIELD(MR_CTRL_INFO, imageComponentCount),
    FIELD(MR_CTRL_INFO, imageComponent), FIELD(MR_CTRL_INFO, productName), FIELD(MR_CTRL_INFO, serialNumber),
    FIELD(MR_CTRL_INFO, hwPresent), FIELD(MR_CTRL_INFO, ldPresentCount), FIELD(MR_CTRL_INFO, pdPresentCount),
    FIELD(MR_CTRL_INFO, nvramSize), FIELD(MR_CTRL_INFO, memorySize), FIELD(MR_CTRL_INFO, flashSize),
    FIELD(MR_CTRL_INFO, memoryCorrectableErrors), FIELD(MR_CTRL_INFO, memoryUncorrectableErrors),
    FIELD(MR_CTRL_INFO, adapterOperations), FIELD(MR_CTRL_INFO, adapterOperations2),
    FIELD(MR_CTRL_INFO, adapterOperations3), FIELD(MR_CTRL_INFO, properties), FIELD(MR_CTRL_INFO, packageVersion),
    FIELD(MR_CTRL_INFO, adapterOperations4), FIELD(MR_CTRL_INFO, hostDriver), FIELD(MR_CTRL_INFO, rocTemperature),
    FIELD(MR_CTRL_INFO, chipTemperature))
MEMBERS(MR_MFC_DEFAULTS,
    FIELD(MR_MFC_DEFAULTS, sasAddr), FIELD(MR_MFC_DEFAULTS, smartMode), FIELD(MR_MFC_DEFAULTS, coercionMode))
MEMBERS(MR_PR_STATUS, FIELD(MR_PR_STATUS, numIterations), FIELD(MR_PR_STATUS, state))
MEMBERS(MR_PR_PROPERTIES,
    FIELD(MR_PR_PROPERTIES, opMode), FIELD(MR_PR_PROPERTIES, maxPd), FIELD(MR_PR_PROPERTIES, nextExec),
    FIELD(MR_PR_PROPERTIES, execFreq))
MEMBERS(MR_CC_SCHEDULE_PROPERTIES, FIELD(MR_CC_SCHEDULE_PROPERTIES, opMode))
MEMBERS(MR_BBU_STATUS,
    FIELD(MR_BBU_STATUS, batteryType), FIELD(MR_BBU_STATUS, voltage), FIELD(MR_BBU_STATUS, temperature),
    FIELD(MR_BBU_STATUS, fwStatus), FIELD(MR_BBU_STATUS, chargeLow), FIELD(MR_BBU_STATUS, chargeHigh))
MEMBERS(MR_BBU_CAPACITY_INFO,
    FIELD(MR_BBU_CAPACITY_INFO, relativeStateOfCharge), FIELD(MR_BBU_CAPACITY_INFO, remainingCapacity),
    FIELD(MR_BBU_CAPACITY_INFO, fullChargeCapacity))
MEMBERS(MR_BBU_PROPERTIES,
    FIELD(MR_BBU_PROPERTIES, autoLearnPeriod), FIELD(MR_BBU_PROPERTIES, nextLearnTime),
    FIELD(MR_BBU_PROPERTIES, autoLearnMode))
MEMBERS(MR_BBU_DESIGN_INFO,
    FIELD(MR_BBU_DESIGN_INFO, mfgDate), FIELD(MR_BBU_DESIGN_INFO, designCapacity),
    FIELD(MR_BBU_DESIGN_INFO, designVoltage), FIELD(MR_BBU_DESIGN_INFO, serialNumber),
    FIELD(MR_BBU_DESIGN_INFO, mfgName), FIELD(MR_BBU_DESIGN_INFO, deviceName),
    FIELD(MR_BBU_DESIGN_INFO, transparentLearn))
MEMBERS(MR_PD_ADDRESS,
    FIELD(MR_PD_ADDRESS, deviceId), FIELD(MR_PD_ADDRESS, enclDeviceId), FIELD(MR_PD_ADDRESS, slotNumber),
    FIELD(MR_PD_ADDRESS, scsiDevType))
MEMBERS(MR_PD_LIST, FIELD_AS(MR_PD_LIST, size, "listSize"), FIELD(MR_PD_LIST, count), FIELD(MR_PD_LIST, addr))
MEMBERS(MR_SAS_CONNECTOR, FIELD(MR_SAS_CONNECTOR, name))
MEMBERS(MR_SAS_CONNECTORS, FIELD(MR_SAS_CONNECTORS, count), FIELD(MR_SAS_CONNECTORS, conn))
MEMBERS(MR_ENCL_ENTRY,
    FIELD(MR_ENCL_ENTRY, deviceId), FIELD(MR_ENCL_ENTRY, type), FIELD(MR_ENCL_ENTRY, enclConnectorIndex))
MEMBERS(MR_ENCL_LIST, FIELD(MR_ENCL_LIST, count), FIELD(MR_ENCL_LIST, encl))
MEMBERS(MR_PD_INFO,
    FIELD(MR_PD_INFO, deviceId), FIELD(MR_PD_INFO, scsiDevType), FIELD(MR_PD_INFO, vendor),
    FIELD(MR_PD_INFO, product), FIELD(MR_PD_INFO, revision), FIELD(MR_PD_INFO, vendorSpecific),
    FIELD(MR_PD_INFO, connectedPortBitmap), FIELD(MR_PD_INFO, deviceSpeed), FIELD(MR_PD_INFO, mediaErrCount),
    FIELD(MR_PD_INFO, otherErrCount), FIELD(MR_PD_INFO, predFailCount), FIELD(MR_PD_INFO, fwState),
    FIELD(MR_PD_INFO, ddfState), FIELD(MR_PD_INFO, ddfInterface), FIELD(MR_PD_INFO, pathCount),
    FIELD(MR_PD_INFO, sasAddr), FIELD(MR_PD_INFO, rawSize), FIELD(MR_PD_INFO, coercedSize),
    FIELD(MR_PD_INFO, enclDeviceId), FIELD(MR_PD_INFO, slotNumber), FIELD(MR_PD_INFO, activeOperations),
    FIELD(MR_PD_INFO, powerState), FIELD(MR_PD_INFO, partnerDeviceId), FIELD(MR_PD_INFO, mediaType),
    FIELD(MR_PD_INFO, temperature))
MEMBERS(MR_LD_REF, FIELD(MR_LD_REF, targetId))
MEMBERS(MR_LD_PROPERTIES,
    FIELD(MR_LD_PROPERTIES, ldRef), FIELD(MR_LD_PROPERTIES, name), FIELD(MR_LD_PROPERTIES, defaultCachePolicy),
    FIELD(MR_LD_PROPERTIES, accessPolicy), FIELD(MR_LD_PROPERTIES, diskCachePolicy),
    FIELD(MR_LD_PROPERTIES, currentCachePolicy), FIELD(MR_LD_PROPERTIES, emulation))
MEMBERS(MR_LD_PARAMETERS,
    FIELD(MR_LD_PARAMETERS, primaryRaidLevel), FIELD(MR_LD_PARAMETERS, stripeSize),
    FIELD(MR_LD_PARAMETERS, numDrives), FIELD(MR_LD_PARAMETERS, spanDepth), FIELD(MR_LD_PARAMETERS, state),
    FIELD(MR_LD_PARAMETERS, ssdCaching))
MEMBERS(MR_LD_SPAN, FIELD(MR_LD_SPAN, numBlocks))
MEMBERS(MR_LD_CONFIG,
    FIELD(MR_LD_CONFIG, properties), FIELD(MR_LD_CONFIG, params), FIELD(MR_LD_CONFIG, span))
MEMBERS(MR_PROGRESS, FIELD(MR_PROGRESS, progress))
MEMBERS(MR_LD_PROGRESS,
    FIELD(MR_LD_PROGRESS, active), FIELD(MR_LD_PROGRESS, consistencyCheck), FIELD(MR_LD_PROGRESS, backgroundInit),
    FIELD(MR_LD_PROGRESS, foregroundInit), FIELD(MR_LD_PROGRESS, reconstruction), FIELD(MR_LD_PROGRESS, paused))
MEMBERS(MR_LD_INFO,
    FIELD(MR_LD_INFO, ldConfig), FIELD_AS(MR_LD_INFO, size, "ldSize"), FIELD(MR_LD_INFO, progress))
MEMBERS(SL_ENCL_ELEMENT_T, FIELD(SL_ENCL_ELEMENT_T, status), FIELD(SL_ENCL_ELEMENT_T, ses))
MEMBERS(SL_ENCL_STATUS_T,
    FIELD(SL_ENCL_STATUS_T, slotCount), FIELD(SL_ENCL_STATUS_T, psuCount), FIELD(SL_ENCL_STATUS_T, fanCount),
    FIELD(SL_ENCL_STATUS_T, sensorCount), FIELD(SL_ENCL_STATUS_T, alarmCount), FIELD(SL_ENCL_STATUS_T, element))

// The declared array has one entry; the start of a second lies inside the record.
constexpr Field CONFIGURED_DRIVES{"ld", offsetof(MR_CONFIG_DATA, ld), sizeof(MR_LD_CONFIG), 2, FieldKind::record,
                                  membersOf<MR_LD_CONFIG>};
MEMBERS(MR_CONFIG_DATA, FIELD(MR_CONFIG_DATA, logDrvCount), CONFIGURED_DRIVES)

#define RECORD(type, owner, opcode) {#type, RecordOwner::owner, opcode, sizeof(type), membersOf<type>}
#define BYTES(name, owner, opcode, size) {name, RecordOwner::owner, opcode, size, {}}

constexpr RecordLayout LAYOUTS[] = {
    RECORD(MR_CTRL_INFO, controller, 0),
    RECORD(MR_CTRL_PROP, controller, 0x01020100),
    RECORD(MR_MFC_DEFAULTS, controller, 0x010E0201),
    RECORD(MR_PR_STATUS, controller, 0x01070100),
    RECORD(MR_PR_PROPERTIES, controller, 0x01070200),
    RECORD(MR_CC_SCHEDULE_PROPERTIES, controller, 0x01140200),
    RECORD(MR_BBU_STATUS, controller, 0x05010000),
    RECORD(MR_BBU_CAPACITY_INFO, controller, 0x05020000),
    RECORD(MR_BBU_DESIGN_INFO, controller, 0x05030000),
    RECORD(MR_BBU_PROPERTIES, controller, 0x05050100),
    RECORD(MR_CONFIG_DATA, controller, 0x04010000),
    RECORD(MR_PD_LIST, controller, 0),
    RECORD(MR_SAS_CONNECTORS, controller, 0),
    RECORD(MR_ENCL_LIST, controller, 0),
    BYTES("0x010C0100", controller, 0x010C0100, 64), // boot drive
    BYTES("0x01030100", controller, 0x01030100, 1),  // alarm
    RECORD(MR_PD_INFO, device, 0),
    BYTES("SATA_IDENTIFY", device, 0, SATA_IDENTIFY_SIZE),
    RECORD(SL_ENCL_STATUS_T, device, 0),
    BYTES("LDS_OF_PD", device, 0, sizeof(SL_LD_OF_PD_T)),
    RECORD(MR_LD_INFO, logicalDrive, 0),
    RECORD(MR_LD_PROGRESS, logicalDrive, 0),
    BYTES("SL_PD_IN_LD_T", logicalDrive, 0, sizeof(SL_PD_IN_LD_T)),
};
// clang-format on

} // namespace

std::span<const RecordLayout> recordLayouts() {
    return LAYOUTS;
}

const RecordLayout* findRecordLayout(RecordOwner owner, std::string_view name) {
    const auto* found = std::find_if(std::begin(LAYOUTS), std::end(LAYOUTS), [&](const RecordLayout& layout) {
        return layout.owner == owner && layout.name == name;
    });
    return found != std::end(LAYOUTS) ? found : nullptr;
}

const RecordLayout* findRecordLayout(uint32_t opcode) {
    const auto* found = std::find_if(std::begin(LAYOUTS), std::end(LAYOUTS), [&](const RecordLayout& layout) {
        return layout.opcode == opcode && opcode != 0;
    });
    return found != std::end(LAYOUTS) ? found : nullptr;
}

} // namespace sim
