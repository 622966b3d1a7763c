#include "platform/storelibDriveRecords.h"
#include "simulator/words/adapter.h"

#include <algorithm>
#include <set>

namespace sim {
namespace {

constexpr uint64_t LIST_ENTRY_SIZE = sizeof(MR_PD_ADDRESS);
constexpr uint64_t MOST_DEVICES = sizeof(MR_PD_LIST::addr) / sizeof(MR_PD_ADDRESS);

// A drive for a controller that has none to take after.
constexpr char COMMON_DRIVE[] = R"({"MR_PD_INFO": {
    "vendor": "SEAGATE ", "product": "ST4000QN0004    ", "revision": "E005", "vendorSpecific": "ZQ14A0K160000J512000",
    "connectedPortBitmap": 1, "deviceSpeed": 4, "ddfInterface": 32, "pathCount": 1, "sasAddr": [5775279798753562625],
    "rawSize": 7814037168, "coercedSize": 7811891200, "temperature": 31}})";

// The slot in the status of the enclosure that the drive sits in.
void setSlotStatus(const Adapter& adapter, const RecordEdit& drive, uint64_t code) {
    Json* enclosure = adapter.device(drive.number("/enclDeviceId"));
    if (enclosure == nullptr) return;
    RecordEdit status(*enclosure, RecordOwner::device, "SL_ENCL_STATUS_T");
    const uint64_t slot = drive.number("/slotNumber");
    if (!status.exists() || slot >= std::min<uint64_t>(status.number("/slotCount"), 124)) return;
    const std::string element = "/element/" + std::to_string(slot);
    status.set(element + "/status", code);
    if (status.number(element + "/ses/0") != 0) status.set(element + "/ses/0", code);
}

} // namespace

std::string driveTitle(const Adapter& adapter, uint64_t id) {
    const RecordEdit drive = adapter.drive(id);
    return "drive " + adapter.number + "/" + std::to_string(id) + " (slot " +
           std::to_string(drive.number("/slotNumber")) + ", " + drive.text("/product") + ", " +
           drive.text("/vendorSpecific") + ")";
}

void setDriveState(const Adapter& adapter, uint64_t id, uint64_t state) {
    RecordEdit drive = adapter.drive(id);
    const uint64_t before = drive.number("/fwState");
    drive.set("/fwState", state);
    const uint64_t operations = drive.number("/activeOperations") & ~uint64_t{MR_PD_OPERATION_REBUILD};
    drive.set("/activeOperations", operations | (state == MR_PD_STATE_REBUILD ? MR_PD_OPERATION_REBUILD : 0));
    if (state == MR_PD_STATE_REBUILD || state == MR_PD_STATE_ONLINE) drive.set("/powerState", MR_PD_POWER_ACTIVE);
    setSlotStatus(adapter, drive, state == MR_PD_STATE_FAILED ? SL_ENCL_ELEM_STATUS_CRITICAL : SL_ENCL_ELEM_STATUS_OK);
    if (before == state) return;
    adapter.say(driveTitle(adapter, id) + ": " + stateName(codes::DRIVE_STATES, before) + " -> " +
                stateName(codes::DRIVE_STATES, state));
}

namespace {

// The smallest hot spare of the drive's kind that is large enough.
std::optional<uint64_t> findSpare(const Adapter& adapter, const RecordEdit& lost) {
    std::optional<uint64_t> spare;
    for (const auto& [name, device] : adapter.devices()->items()) {
        const RecordEdit drive(device, RecordOwner::device, "MR_PD_INFO");
        if (!drive.exists() || drive.number("/fwState") != MR_PD_STATE_HOT_SPARE) continue;
        const uint64_t size = drive.number("/coercedSize");
        if (size < lost.number("/coercedSize") || drive.number("/mediaType") != lost.number("/mediaType")) continue;
        if (!spare || size < adapter.drive(*spare).number("/coercedSize")) spare = std::stoul(name);
    }
    return spare;
}

// It takes the failed drive's place in the volumes that live, and rebuilds.
void letSpareStepIn(const Adapter& adapter, uint64_t failed) {
    if (adapter.volumes() == nullptr || adapter.record("MR_CTRL_PROP").number("/disableAutoRebuild") != 0) return;
    const std::optional<uint64_t> spare = findSpare(adapter, adapter.drive(failed));
    if (!spare) return;
    bool taken = false;
    for (const auto& [target, volume] : adapter.volumes()->items()) {
        std::vector<uint64_t> drives = drivesOf(volume);
        const auto place = std::find(drives.begin(), drives.end(), failed);
        if (place == drives.end() || volumeState(adapter, volume) == MR_LD_STATE_OFFLINE) continue;
        *place = *spare;
        setDrivesOf(volume, drives);
        taken = true;
    }
    if (!taken) return;
    RecordEdit lostVolumes(*adapter.device(failed), RecordOwner::device, "LDS_OF_PD");
    if (lostVolumes.exists()) {
        (*adapter.device(*spare))["records"]["LDS_OF_PD"] = Json(lostVolumes.json());
        lostVolumes.setBytes(0, 4, 0);
    }
    setDriveState(adapter, *spare, MR_PD_STATE_REBUILD);
}

} // namespace

void failDrive(const Adapter& adapter, uint64_t id) {
    setDriveState(adapter, id, MR_PD_STATE_FAILED);
    updateVolumes(adapter, id);
    letSpareStepIn(adapter, id);
}

// Where the file leaves the list to its devices, it follows by itself.
void removeFromList(const Adapter& adapter, uint64_t id) {
    RecordEdit list = adapter.record("MR_PD_LIST");
    if (list.exists()) {
        const uint64_t count = list.number("/count");
        if (list.hasRaw() || list.json().value("addr", Json::array()).size() < count)
            throw std::runtime_error("MR_PD_LIST is given as bytes: no entry can be taken out");
        Json& entries = list.json()["addr"];
        for (size_t i = 0; i < entries.size(); i++) {
            if (list.number("/addr/" + std::to_string(i) + "/deviceId") != id) continue;
            entries.erase(i);
            list.set("/count", count - 1);
            if (list.number("/listSize") >= LIST_ENTRY_SIZE)
                list.set("/listSize", list.number("/listSize") - LIST_ENTRY_SIZE);
            break;
        }
    }
    RecordEdit info = adapter.record("MR_CTRL_INFO");
    if (info.number("/pdPresentCount") > 0) info.set("/pdPresentCount", info.number("/pdPresentCount") - 1);
}

void addToList(const Adapter& adapter, uint64_t id, uint64_t enclosure, uint64_t slot, uint64_t type) {
    RecordEdit list = adapter.record("MR_PD_LIST");
    if (list.exists()) {
        const uint64_t count = list.number("/count");
        if (list.hasRaw() || list.json().value("addr", Json::array()).size() != count)
            throw std::runtime_error("MR_PD_LIST is given as bytes: no entry can be added");
        if (count >= MOST_DEVICES) throw std::runtime_error("the adapter has as many devices as its list holds");
        list.json()["addr"].push_back(
            {{"deviceId", id}, {"enclDeviceId", enclosure}, {"slotNumber", slot}, {"scsiDevType", type}});
        list.set("/count", count + 1);
        if (list.number("/listSize") > 0) list.set("/listSize", list.number("/listSize") + LIST_ENTRY_SIZE);
    }
    RecordEdit info = adapter.record("MR_CTRL_INFO");
    if (info.exists()) info.set("/pdPresentCount", info.number("/pdPresentCount") + 1);
}

void pullDrive(const Adapter& adapter, uint64_t id) {
    removeFromList(adapter, id);
    failDrive(adapter, id);
    if (adapter.volumes() != nullptr)
        for (const auto& [target, volume] : adapter.volumes()->items()) {
            std::vector<uint64_t> drives = drivesOf(volume);
            if (std::erase(drives, id) != 0) setDrivesOf(volume, drives);
        }
    setSlotStatus(adapter, adapter.drive(id), SL_ENCL_ELEM_STATUS_NOT_INSTALLED);
    adapter.devices()->erase(std::to_string(id));
    adapter.say("drive " + adapter.number + "/" + std::to_string(id) + " is no longer there");
}

uint64_t freeDeviceId(const Adapter& adapter, uint64_t lowest) {
    uint64_t id = lowest;
    while (adapter.device(id) != nullptr) id++;
    return id;
}

namespace {

// The records of a drive beside which a new one fits: of the same enclosure, else of any.
std::pair<Json, uint64_t> recordsLike(const Adapter& adapter, uint64_t enclosure) {
    std::pair<Json, uint64_t> model = {Json::parse(COMMON_DRIVE), 0};
    if (adapter.devices() == nullptr) return model;
    for (const auto& [name, device] : adapter.devices()->items()) {
        if (!adapter.isDrive(std::stoul(name))) continue;
        const bool isBeside = adapter.drive(std::stoul(name)).number("/enclDeviceId") == enclosure;
        if (!isBeside && model.second != 0) continue;
        model = {device.at("records"), std::stoul(name)};
        if (isBeside) break;
    }
    return model;
}

// Of the maker's serial number the last digits differ; IDENTIFY has its characters swapped by twos.
void setSerialNumber(RecordEdit& info, RecordEdit& identify, uint64_t id) {
    std::string serial = info.text("/vendorSpecific");
    const std::string digits = std::to_string(10000 + id % 10000).substr(1);
    serial.replace(serial.size() - std::min(serial.size(), digits.size()), std::string::npos, digits);
    info.json()["vendorSpecific"] = serial;
    if (!identify.exists()) return;
    std::string padded = std::string(20 - std::min<size_t>(serial.size(), 20), ' ') + serial;
    for (uint32_t i = 0; i < 20; i++) identify.setBytes(20 + (i ^ 1U), 1, static_cast<unsigned char>(padded[i]));
}

} // namespace

void insertDrive(const Adapter& adapter, uint64_t id, uint64_t enclosure, uint64_t slot) {
    const auto [records, like] = recordsLike(adapter, enclosure);
    addToList(adapter, id, enclosure, slot, SCSI_DEVICE_TYPE_DISK);
    Json& device = adapter.json["devices"][std::to_string(id)];
    device = Json::object();
    if (like != 0) device = *adapter.device(like); // what can be read beside its records too
    device["records"] = records;
    device["records"].erase("LDS_OF_PD");
    RecordEdit info(device, RecordOwner::device, "MR_PD_INFO");
    RecordEdit identify(device, RecordOwner::device, "SATA_IDENTIFY");
    const uint64_t addresses = info.number("/pathCount");
    for (uint64_t path = 0; path < std::min<uint64_t>(addresses, 2); path++) {
        const std::string address = "/sasAddr/" + std::to_string(path);
        info.set(address, info.number(address) ^ id << 16);
    }
    for (const auto& [member, value] : {std::pair<const char*, uint64_t>{"/deviceId", id},
                                        {"/enclDeviceId", enclosure},
                                        {"/slotNumber", slot},
                                        {"/mediaErrCount", 0},
                                        {"/otherErrCount", 0},
                                        {"/predFailCount", 0},
                                        {"/ddfState", 0},
                                        {"/activeOperations", 0},
                                        {"/powerState", MR_PD_POWER_ACTIVE},
                                        {"/fwState", MR_PD_STATE_UNCONFIGURED_GOOD}})
        info.set(member, value);
    setSerialNumber(info, identify, id);
    setSlotStatus(adapter, info, SL_ENCL_ELEM_STATUS_OK);
    adapter.say(driveTitle(adapter, id) +
                " is there: " + stateName(codes::DRIVE_STATES, MR_PD_STATE_UNCONFIGURED_GOOD));
}

namespace {

// Also the end of a rebuild.
void bringOnline(const Adapter& adapter, uint64_t id, Words) {
    if (volumeOf(adapter, id).empty()) throw std::runtime_error("the drive belongs to no volume");
    setDriveState(adapter, id, MR_PD_STATE_ONLINE);
    updateVolumes(adapter, id);
}

// How far a rebuild is stands in no record that can be described; only its end changes more.
void rebuildDrive(const Adapter& adapter, uint64_t id, Words words) {
    if (words.size() == 4 && readProgress(words) == FULL_PROGRESS) return bringOnline(adapter, id, words);
    if (volumeOf(adapter, id).empty()) throw std::runtime_error("the drive belongs to no volume");
    setDriveState(adapter, id, MR_PD_STATE_REBUILD);
    updateVolumes(adapter, id);
}

// A spare that comes too late for a failed drive takes its place all the same.
void makeSpare(const Adapter& adapter, uint64_t id, Words) {
    const std::string volume = volumeOf(adapter, id);
    if (!volume.empty()) throw std::runtime_error("the drive belongs to volume " + volume);
    setDriveState(adapter, id, MR_PD_STATE_HOT_SPARE);
    std::vector<uint64_t> failed;
    for (const auto& [name, device] : adapter.devices()->items())
        if (adapter.drive(std::stoul(name)).number("/fwState") == MR_PD_STATE_FAILED)
            failed.push_back(std::stoul(name));
    for (const uint64_t drive : failed) letSpareStepIn(adapter, drive);
}

void makeForeign(const Adapter& adapter, uint64_t id, Words) {
    RecordEdit drive = adapter.drive(id);
    setDriveState(adapter, id, MR_PD_STATE_UNCONFIGURED_GOOD);
    drive.set("/ddfState", drive.number("/ddfState") | MR_PD_DDF_FOREIGN);
    updateVolumes(adapter, id);
}

void predictFailure(const Adapter& adapter, uint64_t id, Words) {
    RecordEdit drive = adapter.drive(id);
    drive.set("/predFailCount", drive.number("/predFailCount") + 1);
    adapter.say("drive " + adapter.number + "/" + std::to_string(id) +
                ": predicted failures: " + std::to_string(drive.number("/predFailCount")));
}

void setTemperature(const Adapter& adapter, uint64_t id, Words words) {
    if (words.size() != 4) throw WrongWord("\"temperature\" wants degrees Celsius, such as 61 or +5");
    RecordEdit drive = adapter.drive(id);
    const auto before = int64_t(drive.number("/temperature"));
    const int64_t degrees = readChange(words[3], before, 0, 254, "temperature");
    drive.set("/temperature", uint64_t(degrees));
    adapter.say(driveTitle(adapter, id) + ": " + std::to_string(before) + " -> " + std::to_string(degrees) +
                " degrees");
}

void sayWhetherItIsNews(const Adapter& adapter, uint64_t id) {
    const RecordEdit drive = adapter.drive(id);
    for (const auto& [name, device] : adapter.devices()->items()) {
        const RecordEdit other = adapter.drive(std::stoul(name));
        if (adapter.isDrive(std::stoul(name)) && other.number("/enclDeviceId") == drive.number("/enclDeviceId") &&
            other.number("/slotNumber") > drive.number("/slotNumber"))
            return;
    }
    if (volumeOf(adapter, id).empty()) adapter.say(NO_NEWS);
}

void pullAndSay(const Adapter& adapter, uint64_t id, Words) {
    sayWhetherItIsNews(adapter, id);
    pullDrive(adapter, id);
}

constexpr struct {
    const char* word;
    void (*apply)(const Adapter&, uint64_t, Words);
} DRIVE_WORDS[] = {{"fail", [](const Adapter& a, uint64_t id, Words) { failDrive(a, id); }},
                   {"pull", pullAndSay},
                   {"online", bringOnline},
                   {"rebuild", rebuildDrive},
                   {"spare", makeSpare},
                   {"foreign", makeForeign},
                   {"predict", predictFailure},
                   {"temperature", setTemperature},
                   {"insert", nullptr}}; // of a drive that is not there yet

// Its enclosure's device id and slot where the name tells them.
std::optional<std::pair<uint64_t, uint64_t>> readBay(const Adapter& adapter, const std::string& name) {
    const size_t colon = name.find(':');
    if (name.empty() || name[0] != 'e' || colon == std::string::npos) return {};
    const uint64_t number = readNumber(name.substr(1, colon - 1), UINT8_MAX, "number of an enclosure");
    const std::vector<uint64_t> enclosures = adapter.enclosures();
    if (number == 0 || number > enclosures.size())
        throw WrongWord("there is no enclosure " + adapter.number + "/" + std::to_string(number));
    return {{enclosures[size_t(number - 1)], readNumber(name.substr(colon + 1), UINT8_MAX, "slot")}};
}

std::optional<uint64_t> findDriveAt(const Adapter& adapter, uint64_t enclosure, uint64_t slot) {
    if (adapter.devices() == nullptr) return {};
    for (const auto& [name, device] : adapter.devices()->items()) {
        const uint64_t id = std::stoul(name);
        const RecordEdit drive = adapter.drive(id);
        if (adapter.isDrive(id) && drive.number("/enclDeviceId") == enclosure && drive.number("/slotNumber") == slot)
            return id;
    }
    return {};
}

// The first bay without a drive beside the others.
std::pair<uint64_t, uint64_t> findFreeBay(const Adapter& adapter) {
    const auto [records, like] = recordsLike(adapter, UINT64_MAX);
    const uint64_t enclosure = like != 0 ? adapter.drive(like).number("/enclDeviceId") : 0;
    uint64_t slot = 0;
    while (findDriveAt(adapter, enclosure, slot)) slot++;
    return {enclosure, slot};
}

} // namespace

void applyDrive(Json& machine, Words words, Lines& lines) {
    if (words.size() < 3) throw WrongWord("drive ADAPTER/DEVICE WORD, such as: drive 0/8 fail");
    const auto& word = findWord(DRIVE_WORDS, words[2]);
    const size_t slash = words[1].find('/');
    if (slash == std::string::npos) throw WrongWord("\"" + words[1] + "\" is not of the form ADAPTER/DEVICE");
    const Adapter adapter = findAdapter(machine, words[1].substr(0, slash), lines);
    const std::string name = words[1].substr(slash + 1);
    const std::optional<std::pair<uint64_t, uint64_t>> bay = readBay(adapter, name);
    const std::optional<uint64_t> id = bay ? findDriveAt(adapter, bay->first, bay->second)
                                           : std::optional(readNumber(name, UINT16_MAX, "number of a device"));
    const bool isThere = id && adapter.drive(*id).exists();
    if (word.apply == nullptr) {
        if (isThere || (id && adapter.device(*id) != nullptr)) throw WrongWord(words[1] + " is there already");
        const auto [enclosure, slot] = bay ? *bay : findFreeBay(adapter);
        const uint64_t fresh = id ? *id : freeDeviceId(adapter, 8);
        insertDrive(adapter, fresh, enclosure, slot);
        return sayWhetherItIsNews(adapter, fresh);
    }
    if (!isThere) throw WrongWord("there is no drive " + words[1]);
    if (!adapter.isDrive(*id)) throw WrongWord("device " + words[1] + " is no drive");
    word.apply(adapter, *id, words);
}

} // namespace sim
