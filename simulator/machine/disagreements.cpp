#include "simulator/machine/disagreements.h"

#include "platform/storelibDriveRecords.h"
#include "platform/storelibRecords.h"
#include "simulator/machine/codeWords.h"
#include "simulator/machine/deviceRanges.h"
#include "simulator/machine/places.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <tuple>

namespace sim {
namespace {

// As much of a record as there is; nothing when it cannot be read.
template <class Record>
std::optional<Record> recordOf(const Records& records, const char* name) {
    const auto found = records.find(name);
    if (found == records.end()) return {};
    Record record = {};
    memcpy(&record, found->second.data(), std::min(found->second.size(), sizeof record));
    return record;
}

class Finder {
  public:
    Finder(const Json& json, std::vector<Mistake>& found) : json_(json), found_(found) {}

    // At the pointer, or at what is nearest to it in the file.
    void add(std::string pointer, const std::string& text) {
        while (!json_.contains(Json::json_pointer(pointer))) pointer.resize(pointer.rfind('/'));
        if (found_.size() < MOST_MISTAKES) found_.push_back({pointer, text});
    }

    // A count that says more than the list of the file, or than the record holds.
    void checkCount(const std::string& record, const char* countName, const char* listName, uint64_t count,
                    uint64_t capacity) {
        const Json::json_pointer list(record + "/" + listName);
        const bool isWhole =
            json_.contains(list) && json_[list].is_array() && !json_.contains(Json::json_pointer(record + "/raw"));
        const uint64_t given = isWhole ? json_[list].size() : capacity;
        if (count > std::min(given, capacity))
            add(record + "/" + countName,
                "says " + std::to_string(count) + ", " + listName + " has " +
                    (given < capacity ? std::to_string(given) : "room for " + std::to_string(capacity)));
    }

    void checkEqual(const std::string& pointer, uint64_t said, uint64_t counted, const std::string& what) {
        if (said != counted) add(pointer, "says " + std::to_string(said) + ", " + what + " " + std::to_string(counted));
    }

  private:
    const Json& json_;
    std::vector<Mistake>& found_;
};

void checkController(Finder& finder, const std::string& path, const Controller& controller) {
    const std::string records = path + "/records/";
    const size_t drives = controller.logicalDrives.size();
    const auto list = recordOf<MR_PD_LIST>(controller.records, "MR_PD_LIST");
    const auto configuration = recordOf<MR_CONFIG_DATA>(controller.records, "MR_CONFIG_DATA");
    if (const auto info = recordOf<MR_CTRL_INFO>(controller.records, "MR_CTRL_INFO")) {
        const std::string pointer = records + "MR_CTRL_INFO";
        finder.checkCount(pointer, "imageComponentCount", "imageComponent", info->imageComponentCount,
                          std::size(info->imageComponent));
        if (list) finder.checkEqual(pointer + "/pdPresentCount", info->pdPresentCount, list->count, "MR_PD_LIST");
        finder.checkEqual(pointer + "/ldPresentCount", info->ldPresentCount, drives, "\"logicalDrives\" has");
    }
    if (const auto ports = recordOf<MR_SAS_CONNECTORS>(controller.records, "MR_SAS_CONNECTORS"))
        finder.checkCount(records + "MR_SAS_CONNECTORS", "count", "conn", ports->count, std::size(ports->conn));
    if (const auto enclosures = recordOf<MR_ENCL_LIST>(controller.records, "MR_ENCL_LIST"))
        finder.checkCount(records + "MR_ENCL_LIST", "count", "encl", enclosures->count, std::size(enclosures->encl));
    if (configuration)
        finder.checkEqual(records + "MR_CONFIG_DATA/logDrvCount", configuration->logDrvCount, drives,
                          "\"logicalDrives\" has");
}

void checkDeviceList(Finder& finder, const std::string& path, const Controller& controller) {
    const auto list = recordOf<MR_PD_LIST>(controller.records, "MR_PD_LIST");
    if (!list) return;
    const std::string pointer = path + "/records/MR_PD_LIST";
    finder.checkCount(pointer, "count", "addr", list->count, std::size(list->addr));
    std::set<uint16_t> listed;
    for (size_t i = 0; i < std::min<size_t>(list->count, std::size(list->addr)); ++i) {
        const uint16_t id = list->addr[i].deviceId;
        const std::string name = std::to_string(id);
        const std::string entry = pointer + "/addr/" + std::to_string(i) + "/deviceId";
        if (!listed.insert(id).second) finder.add(entry, "lists device " + name + " for a second time");
        if (!controller.devices.contains(id)) finder.add(entry, "\"devices\" has no " + name);
    }
    for (const auto& [id, device] : controller.devices)
        if (!listed.contains(id)) finder.add(path + "/devices/" + std::to_string(id), "not in MR_PD_LIST");
}

void checkDevices(Finder& finder, const std::string& path, const Controller& controller) {
    for (const auto& [id, device] : controller.devices) {
        const std::string records = path + "/devices/" + std::to_string(id) + "/records/";
        if (const auto info = recordOf<MR_PD_INFO>(device.records, "MR_PD_INFO"))
            if (info->deviceId != id)
                finder.add(records + "MR_PD_INFO/deviceId", "says " + std::to_string(info->deviceId));
        const auto status = recordOf<SL_ENCL_STATUS_T>(device.records, "SL_ENCL_STATUS_T");
        if (!status) continue;
        const uint64_t elements = uint64_t{status->slotCount} + status->psuCount + status->fanCount +
                                  status->sensorCount + status->alarmCount;
        finder.checkCount(records + "SL_ENCL_STATUS_T", "slotCount", "element", elements, std::size(status->element));
    }
}

std::string stateText(uint8_t state) {
    return codeText(codes::VOLUME_STATES, state, "Unknown");
}

void checkLogicalDrives(Finder& finder, const std::string& path, const Controller& controller) {
    constexpr size_t memberOffset = 4; // SL_PD_IN_LD_T: the count in four bytes, then ids of two
    for (const auto& [id, records] : controller.logicalDrives) {
        const std::string pointer = path + "/logicalDrives/" + std::to_string(id) + "/records/";
        if (const auto info = recordOf<MR_LD_INFO>(records, "MR_LD_INFO"))
            if (const uint8_t target = info->ldConfig.properties.ldRef.targetId; target != id)
                finder.add(pointer + "MR_LD_INFO/ldConfig/properties/ldRef/targetId", "says " + std::to_string(target));
        const auto members = recordOf<SL_PD_IN_LD_T>(records, "SL_PD_IN_LD_T");
        if (!members) continue;
        uint32_t count = 0;
        memcpy(&count, members->reserved0, sizeof count);
        const size_t most = (sizeof *members - memberOffset) / sizeof(uint16_t);
        if (count > most)
            finder.add(pointer + "SL_PD_IN_LD_T", "says " + std::to_string(count) + " drives, has room for 256");
        for (size_t i = 0; i < std::min<size_t>(count, most); ++i) {
            uint16_t drive = 0;
            memcpy(&drive, members->reserved0 + memberOffset + i * sizeof drive, sizeof drive);
            if (!controller.devices.contains(drive))
                finder.add(pointer + "SL_PD_IN_LD_T", "\"devices\" has no " + std::to_string(drive));
        }
    }
}

void checkConfiguration(Finder& finder, const std::string& path, const Controller& controller) {
    const auto configuration = recordOf<MR_CONFIG_DATA>(controller.records, "MR_CONFIG_DATA");
    if (!configuration || configuration->logDrvCount == 0) return;
    const MR_LD_CONFIG first = configuration->ld[0];
    const auto drive = controller.logicalDrives.find(first.properties.ldRef.targetId);
    if (drive == controller.logicalDrives.end()) return;
    const auto info = recordOf<MR_LD_INFO>(drive->second, "MR_LD_INFO");
    if (info && info->ldConfig.params.state != first.params.state)
        finder.add(path + "/records/MR_CONFIG_DATA/ld/0/params/state",
                   "says " + stateText(first.params.state) + ", MR_LD_INFO " + stateText(info->ldConfig.params.state));
}

} // namespace

std::vector<Mistake> findDisagreements(const Machine& machine, std::string_view text) {
    std::vector<Mistake> found;
    if (machine.controllers == nullptr) return found;
    const Json json = PlacesInFile(text).parse();
    Finder finder(json, found);
    for (size_t i = 0; i < machine.controllers->size(); ++i) {
        const std::string path = "/controllers/" + std::to_string(i);
        for (const auto check :
             {checkController, checkDeviceList, checkDevices, checkLogicalDrives, checkConfiguration})
            check(finder, path, (*machine.controllers)[i]);
    }
    placeMistakes(text, found);
    return found;
}

} // namespace sim
