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
constexpr Field field(std::string_view name, size_t offset, std::string_view sentence,
                      std::span<const CodeText> words = {}) {
    using Element = std::remove_extent_t<Member>;
    Field result{
        name, uint32_t(offset), sizeof(Element), uint32_t(std::extent_v<Member>), FieldKind::number, {}, sentence,
        words};
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
#define FIELD_AS(type, member, name, ...) field<decltype(type::member)>(name, offsetof(type, member), __VA_ARGS__)
#define FIELD(type, member, ...) FIELD_AS(type, member, #member, __VA_ARGS__)
#define MEMBERS(type, ...)                                                                                             \
    constexpr Field type##_fields[] = {__VA_ARGS__};                                                                   \
    template <>                                                                                                        \
    constexpr std::span<const Field> membersOf<type>{type##_fields};

// clang-format off
MEMBERS(MR_CTRL_PROP,
    FIELD(MR_CTRL_PROP, predFailPollInterval, "Seconds between looks at the drives' own predictions of failure."),
    FIELD(MR_CTRL_PROP, rebuildRate, "Percent of the controller's time for rebuilds."),
    FIELD(MR_CTRL_PROP, patrolReadRate, "Percent of the controller's time for patrol reads."),
    FIELD(MR_CTRL_PROP, bgiRate, "Percent of the controller's time for background initialization."),
    FIELD(MR_CTRL_PROP, ccRate, "Percent of the controller's time for consistency checks."),
    FIELD(MR_CTRL_PROP, reconRate, "Percent of the controller's time for reconstruction."),
    FIELD(MR_CTRL_PROP, cacheFlushInterval, "Seconds between flushes of the cache."),
    FIELD(MR_CTRL_PROP, spinupDriveCount, "Drives that start at a time."),
    FIELD(MR_CTRL_PROP, spinupDelay, "Seconds between these starts."),
    FIELD(MR_CTRL_PROP, disableAutoRebuild, "Not 0: a failed drive is not rebuilt by itself."),
    FIELD(MR_CTRL_PROP, abortCCOnError, "Not 0: a consistency check ends at its first error."),
    FIELD(MR_CTRL_PROP, onOffProperties,
        "Switches. Bit 0: no copyback, 1: copyback on SMART errors, 2: patrol reads mend unconfigured "
        "drives, 4: no NCQ, 5: copyback of SSDs on SMART errors, 6: patrol reads of SSDs, 7: unconfigured "
        "drives spin down, 12: hot spares do not."),
    FIELD(MR_CTRL_PROP, spinDownTime, "Minutes until an idle drive spins down."))
MEMBERS(MR_IMAGE_COMPONENT,
    FIELD(MR_IMAGE_COMPONENT, name, "The firmware image, such as APP or BIOS."),
    FIELD(MR_IMAGE_COMPONENT, version, "Its version; of the BIOS with that of the UEFI driver behind the last \"_\"."),
    FIELD(MR_IMAGE_COMPONENT, buildDate, "The day it was built, in its maker's words."),
    FIELD(MR_IMAGE_COMPONENT, buildTime, "The time it was built, in its maker's words."))
MEMBERS(MR_CTRL_INFO,
    FIELD(MR_CTRL_INFO, pciVendorId, "PCI: who made the chip.", codes::VENDOR_NAMES),
    FIELD(MR_CTRL_INFO, pciDeviceId, "PCI: the chip."),
    FIELD(MR_CTRL_INFO, pciSubVendorId, "PCI: who sells the card.", codes::VENDOR_NAMES),
    FIELD(MR_CTRL_INFO, pciSubDeviceId, "PCI: the card."),
    FIELD(MR_CTRL_INFO, ctrlIdWord, "The controller's own idea of its id; names nothing to the library."),
    FIELD(MR_CTRL_INFO, deviceInterface, "Bits: 0x02 SAS 3G, 0x04 SATA 1, 0x08 SATA 2, 0x10 SAS 6G, 0x20 SAS 12G."),
    FIELD(MR_CTRL_INFO, devicePortCount, "Ports to drives."),
    FIELD(MR_CTRL_INFO, imageComponentCount, "Entries of imageComponent."),
    FIELD(MR_CTRL_INFO, imageComponent, "The firmware images."),
    FIELD(MR_CTRL_INFO, productName, "What the controller is called."),
    FIELD(MR_CTRL_INFO, serialNumber, "Of the card."),
    FIELD(MR_CTRL_INFO, hwPresent,
        "Bits: 1 battery, 2 alarm, 0x400 sensor of the RAID chip, 0x800 sensor of the other chip."),
    FIELD(MR_CTRL_INFO, ldPresentCount, "Logical drives. Made of them when left out and \"devices\" has a range."),
    FIELD(MR_CTRL_INFO, pdPresentCount,
        "Devices, enclosures included. Made of them when left out and \"devices\" has a range."),
    FIELD(MR_CTRL_INFO, nvramSize, "KiB of NVRAM."),
    FIELD(MR_CTRL_INFO, memorySize, "MiB of memory."),
    FIELD(MR_CTRL_INFO, flashSize, "MiB of flash ROM."),
    FIELD(MR_CTRL_INFO, memoryCorrectableErrors, "Memory errors that were corrected."),
    FIELD(MR_CTRL_INFO, memoryUncorrectableErrors, "Memory errors that were not."),
    FIELD(MR_CTRL_INFO, adapterOperations, "Bit 0x20: the alarm can be controlled."),
    FIELD(MR_CTRL_INFO, adapterOperations2, "Bits: 0x04 ports of drives are a bit map, 0x20 slots have numbers."),
    FIELD(MR_CTRL_INFO, adapterOperations3, "Bit 0x01: enclosures name their partner."),
    FIELD(MR_CTRL_INFO, properties, "The settings, as MR_CTRL_PROP has them."),
    FIELD(MR_CTRL_INFO, packageVersion, "Version of all images together."),
    FIELD(MR_CTRL_INFO, adapterOperations4, "Bit 0x02: blocks of 512 bytes can be emulated."),
    FIELD(MR_CTRL_INFO, hostDriver, "Name, \".\" and ending, blank, version."),
    FIELD(MR_CTRL_INFO, rocTemperature, "Degrees Celsius of the RAID chip, with bit 0x400 of hwPresent."),
    FIELD(MR_CTRL_INFO, chipTemperature, "Degrees Celsius of the other chip, with bit 0x800 of hwPresent."))
MEMBERS(MR_MFC_DEFAULTS,
    FIELD(MR_MFC_DEFAULTS, sasAddr, "SAS address of the controller; 0 or all bits: none."),
    FIELD(MR_MFC_DEFAULTS, smartMode, "1: drives are not monitored by SMART."),
    FIELD(MR_MFC_DEFAULTS, coercionMode, "To what drive sizes are rounded down: 0 nothing, 1 128 MB, above 1 GB."))
MEMBERS(MR_PR_STATUS,
    FIELD(MR_PR_STATUS, numIterations, "Rounds that are done."),
    FIELD(MR_PR_STATUS, state, "What the patrol read does.", codes::PATROL_READ_STATES))
MEMBERS(MR_PR_PROPERTIES,
    FIELD(MR_PR_PROPERTIES, opMode, "0 automatic, 1 manual, 2 off."),
    FIELD(MR_PR_PROPERTIES, maxPd, "Drives that are read at a time."),
    FIELD(MR_PR_PROPERTIES, nextExec, "When the next round begins, in seconds since 2000-01-01; 0: none is planned."),
    FIELD(MR_PR_PROPERTIES, execFreq, "Seconds between rounds; 4294967295: one after the other."))
MEMBERS(MR_CC_SCHEDULE_PROPERTIES,
    FIELD(MR_CC_SCHEDULE_PROPERTIES, opMode, "0 off, 1 sequential, 2 shown as off too."))
MEMBERS(MR_BBU_STATUS,
    FIELD(MR_BBU_STATUS, batteryType, "What keeps the cache.", codes::BATTERY_TYPES),
    FIELD(MR_BBU_STATUS, voltage, "Millivolts."),
    FIELD(MR_BBU_STATUS, temperature, "Degrees Celsius."),
    FIELD(MR_BBU_STATUS, fwStatus, "How the battery does; of a number only the low four bits.", codes::BATTERY_STATES),
    FIELD(MR_BBU_STATUS, chargeLow, "Charge of a capacitor, in the unit of designCapacity: low byte."),
    FIELD(MR_BBU_STATUS, chargeHigh, "Charge of a capacitor: high byte."))
MEMBERS(MR_BBU_CAPACITY_INFO,
    FIELD(MR_BBU_CAPACITY_INFO, relativeStateOfCharge, "Percent of the full charge."),
    FIELD(MR_BBU_CAPACITY_INFO, remainingCapacity, "mAh that are left."),
    FIELD(MR_BBU_CAPACITY_INFO, fullChargeCapacity, "mAh of the full battery."))
MEMBERS(MR_BBU_PROPERTIES,
    FIELD(MR_BBU_PROPERTIES, autoLearnPeriod, "Seconds between learn cycles."),
    FIELD(MR_BBU_PROPERTIES, nextLearnTime,
        "When the next learn cycle begins, in seconds since 2000-01-01; 0: none is planned."),
    FIELD(MR_BBU_PROPERTIES, autoLearnMode, "Who starts learn cycles.", codes::AUTO_LEARN_MODES))
MEMBERS(MR_BBU_DESIGN_INFO,
    FIELD(MR_BBU_DESIGN_INFO, mfgDate, "Day of manufacture: day in bits 0 to 4, month in 5 to 8, year in 9 to 24."),
    FIELD(MR_BBU_DESIGN_INFO, designCapacity, "mAh of the battery when new."),
    FIELD(MR_BBU_DESIGN_INFO, designVoltage, "Millivolts."),
    FIELD(MR_BBU_DESIGN_INFO, serialNumber, "65535: none."),
    FIELD(MR_BBU_DESIGN_INFO, mfgName, "The maker."),
    FIELD(MR_BBU_DESIGN_INFO, deviceName, "The model."),
    FIELD(MR_BBU_DESIGN_INFO, transparentLearn, "Not 0: it learns while it serves."))
MEMBERS(MR_PD_ADDRESS,
    FIELD(MR_PD_ADDRESS, deviceId, "The device's name in \"devices\"."),
    FIELD(MR_PD_ADDRESS, enclDeviceId, "The enclosure or backplane that it sits in."),
    FIELD(MR_PD_ADDRESS, slotNumber, "Within that enclosure."),
    FIELD(MR_PD_ADDRESS, scsiDevType, "0 a drive, 3 a processor, 13 an enclosure."))
MEMBERS(MR_PD_LIST,
    FIELD_AS(MR_PD_LIST, size, "listSize",
        "Bytes of the list, 8 and 24 for each entry (\"size\" is that of the record)."),
    FIELD(MR_PD_LIST, count, "Entries of addr."),
    FIELD(MR_PD_LIST, addr, "One entry for each device, enclosures included."))
MEMBERS(MR_SAS_CONNECTOR,
    FIELD(MR_SAS_CONNECTOR, name, "As printed at the connector."))
MEMBERS(MR_SAS_CONNECTORS,
    FIELD(MR_SAS_CONNECTORS, count, "Entries of conn."),
    FIELD(MR_SAS_CONNECTORS, conn, "The ports of the controller."))
MEMBERS(MR_ENCL_ENTRY,
    FIELD(MR_ENCL_ENTRY, deviceId, "The enclosure's name in \"devices\"."),
    FIELD(MR_ENCL_ENTRY, type, "Its model; 3 is a backplane too.", codes::ENCLOSURE_TYPES),
    FIELD(MR_ENCL_ENTRY, enclConnectorIndex, "Index into conn of MR_SAS_CONNECTORS."))
MEMBERS(MR_ENCL_LIST,
    FIELD(MR_ENCL_LIST, count, "Entries of encl."),
    FIELD(MR_ENCL_LIST, encl, "One entry for each enclosure."))
MEMBERS(MR_PD_INFO,
    FIELD(MR_PD_INFO, deviceId,
        "The device's name in \"devices\"; made of it when left out and a range has the device."),
    FIELD(MR_PD_INFO, scsiDevType, "0 a drive, 3 a processor, 13 an enclosure."),
    FIELD(MR_PD_INFO, vendor, "INQUIRY: the maker, \"ATA\" for SATA drives."),
    FIELD(MR_PD_INFO, product, "INQUIRY: the model."),
    FIELD(MR_PD_INFO, revision, "INQUIRY: the firmware's revision."),
    FIELD(MR_PD_INFO, vendorSpecific, "INQUIRY: the serial number."),
    FIELD(MR_PD_INFO, connectedPortBitmap, "One bit for each port; the lowest set one is its number."),
    FIELD(MR_PD_INFO, deviceSpeed, "1: 1.5 Gbit/s, 2: 3, 3: 6, 4: 12."),
    FIELD(MR_PD_INFO, mediaErrCount, "Medium errors."),
    FIELD(MR_PD_INFO, otherErrCount, "All other errors."),
    FIELD(MR_PD_INFO, predFailCount, "Predictions of a failure (SMART)."),
    FIELD(MR_PD_INFO, fwState, "What the controller does with the drive.", codes::DRIVE_STATES),
    FIELD(MR_PD_INFO, ddfState, "Bit 0x10: part of another controller's configuration."),
    FIELD(MR_PD_INFO, ddfInterface, "The high four bits: 1 parallel SCSI, 2 SAS, 3 SATA, 4 Fibre Channel."),
    FIELD(MR_PD_INFO, pathCount, "Entries of sasAddr."),
    FIELD(MR_PD_INFO, sasAddr, "SAS addresses; 0: none."),
    FIELD(MR_PD_INFO, rawSize, "Blocks of 512 bytes."),
    FIELD(MR_PD_INFO, coercedSize, "Blocks of 512 bytes that a configuration can use."),
    FIELD(MR_PD_INFO, enclDeviceId, "The enclosure or backplane that it sits in."),
    FIELD(MR_PD_INFO, slotNumber, "Within that enclosure."),
    FIELD(MR_PD_INFO, activeOperations,
        "Bits: 0x01 rebuild, 0x02 patrol read, 0x04 erase, 0x08 copyback, 0x10 secure erase."),
    FIELD(MR_PD_INFO, powerState, "Whether it spins.", codes::POWER_STATES),
    FIELD(MR_PD_INFO, partnerDeviceId, "Of an enclosure: its partner's; above 254: none."),
    FIELD(MR_PD_INFO, mediaType, "Rotating or solid state.", codes::MEDIA_TYPES),
    FIELD(MR_PD_INFO, temperature, "Degrees Celsius; 0 and 255: not reported."))
MEMBERS(MR_LD_REF,
    FIELD(MR_LD_REF, targetId, "The logical drive's name in \"logicalDrives\"."))
MEMBERS(MR_LD_PROPERTIES,
    FIELD(MR_LD_PROPERTIES, ldRef, "How it is named."),
    FIELD(MR_LD_PROPERTIES, name, "As users call it; empty: none was given."),
    FIELD(MR_LD_PROPERTIES, defaultCachePolicy,
        "Bits 0 and 1: 0 write-through, 1 write-back, 2 always write-back; 2 and 3: 0 no read-ahead, 1 "
        "read-ahead, 2 adaptive; 4 and 5: 0 direct, 1 cached."),
    FIELD(MR_LD_PROPERTIES, accessPolicy, "What hosts may do.", codes::ACCESS_POLICIES),
    FIELD(MR_LD_PROPERTIES, diskCachePolicy, "The drives' own cache.", codes::DISK_CACHE_POLICIES),
    FIELD(MR_LD_PROPERTIES, currentCachePolicy, "As defaultCachePolicy: what is in force now."),
    FIELD(MR_LD_PROPERTIES, emulation, "Bit 0x08: no blocks of 512 bytes for this drive."))
MEMBERS(MR_LD_PARAMETERS,
    FIELD(MR_LD_PARAMETERS, primaryRaidLevel, "0, 1, 3, 5 or 6."),
    FIELD(MR_LD_PARAMETERS, stripeSize, "512 bytes times two to its power.", codes::STRIPE_SIZES),
    FIELD(MR_LD_PARAMETERS, numDrives, "Drives of one span."),
    FIELD(MR_LD_PARAMETERS, spanDepth, "Entries of span; above 1 the level gets a 0 behind."),
    FIELD(MR_LD_PARAMETERS, state, "How the logical drive does.", codes::VOLUME_STATES),
    FIELD(MR_LD_PARAMETERS, ssdCaching, "1: an SSD cache, otherwise an ordinary drive."))
MEMBERS(MR_LD_SPAN,
    FIELD(MR_LD_SPAN, numBlocks, "Blocks of 512 bytes of each of its drives."))
MEMBERS(MR_LD_CONFIG,
    FIELD(MR_LD_CONFIG, properties, "Its name, cache and access."),
    FIELD(MR_LD_CONFIG, params, "How it is laid out, and how it does."),
    FIELD(MR_LD_CONFIG, span, "Its spans."))
MEMBERS(MR_PROGRESS,
    FIELD(MR_PROGRESS, progress, "65535 is 100 %."))
MEMBERS(MR_LD_PROGRESS,
    FIELD(MR_LD_PROGRESS, active,
        "Operations that run. Bits: 0x01 consistency check, 0x02 background and 0x04 foreground "
        "initialization, 0x08 reconstruction, 0x10 secure erase, 0x20 disassociation."),
    FIELD(MR_LD_PROGRESS, consistencyCheck, "How far the consistency check is."),
    FIELD(MR_LD_PROGRESS, backgroundInit, "How far the background initialization is."),
    FIELD(MR_LD_PROGRESS, foregroundInit, "How far the foreground initialization is."),
    FIELD(MR_LD_PROGRESS, reconstruction, "How far the reconstruction is."),
    FIELD(MR_LD_PROGRESS, paused, "Operations that pause; bits as in active."))
MEMBERS(MR_LD_INFO,
    FIELD(MR_LD_INFO, ldConfig, "The configuration."),
    FIELD_AS(MR_LD_INFO, size, "ldSize", "Blocks of 512 bytes (\"size\" is that of the record)."),
    FIELD(MR_LD_INFO, progress, "Operations, as in MR_LD_PROGRESS."))
MEMBERS(SL_ENCL_ELEMENT_T,
    FIELD(SL_ENCL_ELEMENT_T, status, "How the element does.", codes::ELEMENT_STATES),
    FIELD(SL_ENCL_ELEMENT_T, ses, "The element's four bytes as its SES page has them."))
MEMBERS(SL_ENCL_STATUS_T,
    FIELD(SL_ENCL_STATUS_T, slotCount, "Bays among the elements."),
    FIELD(SL_ENCL_STATUS_T, psuCount, "Power supplies among the elements."),
    FIELD(SL_ENCL_STATUS_T, fanCount, "Fans among the elements."),
    FIELD(SL_ENCL_STATUS_T, sensorCount, "Temperature sensors among the elements."),
    FIELD(SL_ENCL_STATUS_T, alarmCount, "Alarms among the elements."),
    FIELD(SL_ENCL_STATUS_T, element, "Kind after kind, in the order of the counts."))

// The declared array has one entry; the start of a second lies inside the record.
constexpr Field CONFIGURED_DRIVES{"ld", offsetof(MR_CONFIG_DATA, ld), sizeof(MR_LD_CONFIG), 2, FieldKind::record,
                                  membersOf<MR_LD_CONFIG>, "The logical drives' configurations.", {}};
MEMBERS(MR_CONFIG_DATA,
    FIELD(MR_CONFIG_DATA, logDrvCount, "Entries of ld."), CONFIGURED_DRIVES)

#define RECORD(type, owner, opcode, sentence)                                                                          \
    {#type, RecordOwner::owner, opcode, sizeof(type), membersOf<type>, sentence}
#define BYTES(name, owner, opcode, size, sentence) {name, RecordOwner::owner, opcode, size, {}, sentence}

constexpr RecordLayout LAYOUTS[] = {
    RECORD(MR_CTRL_INFO, controller, 0, "What the controller is and holds."),
    RECORD(MR_CTRL_PROP, controller, 0x01020100, "Settings of the controller."),
    RECORD(MR_MFC_DEFAULTS, controller, 0x010E0201, "Manufacturing defaults."),
    RECORD(MR_PR_STATUS, controller, 0x01070100, "Patrol read: its progress."),
    RECORD(MR_PR_PROPERTIES, controller, 0x01070200, "Patrol read: its settings."),
    RECORD(MR_CC_SCHEDULE_PROPERTIES, controller, 0x01140200, "Schedule of the consistency check."),
    RECORD(MR_BBU_STATUS, controller, 0x05010000, "Battery: its state."),
    RECORD(MR_BBU_CAPACITY_INFO, controller, 0x05020000, "Battery: its charge."),
    RECORD(MR_BBU_DESIGN_INFO, controller, 0x05030000, "Battery: its make."),
    RECORD(MR_BBU_PROPERTIES, controller, 0x05050100, "Battery: its settings."),
    RECORD(MR_CONFIG_DATA, controller, 0x04010000, "The configured logical drives; the start of a second one fits."),
    RECORD(MR_PD_LIST, controller, 0, "The devices of the controller, enclosures included."),
    RECORD(MR_SAS_CONNECTORS, controller, 0, "The ports of the controller."),
    RECORD(MR_ENCL_LIST, controller, 0, "The enclosures of the controller."),
    BYTES("0x010C0100", controller, 0x010C0100, 64, "Boot drive: target id in two bytes, ffff for none."),
    BYTES("0x01030100", controller, 0x01030100, 1, "Alarm: 01 on, 00 off."),
    RECORD(MR_PD_INFO, device, 0, "A drive or an enclosure."),
    BYTES("SATA_IDENTIFY", device, 0, SATA_IDENTIFY_SIZE, "ATA IDENTIFY DEVICE data of a SATA drive."),
    RECORD(SL_ENCL_STATUS_T, device, 0, "State of an enclosure and of its elements."),
    BYTES("LDS_OF_PD", device, 0, sizeof(SL_LD_OF_PD_T), "The logical drives of a drive."),
    RECORD(MR_LD_INFO, logicalDrive, 0, "A logical drive."),
    RECORD(MR_LD_PROGRESS, logicalDrive, 0, "Operations of a logical drive that run or pause."),
    BYTES("SL_PD_IN_LD_T", logicalDrive, 0, sizeof(SL_PD_IN_LD_T),
        "The drives of a logical drive: their count in four bytes, then two bytes each."),
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
