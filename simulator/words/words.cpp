#include "simulator/words/words.h"

#include "platform/storelibDriveRecords.h"
#include "simulator/words/machineEdit.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <stdexcept>

namespace sim {
namespace {

using Words = std::span<const std::string>;

struct WrongWord : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Name {
    uint64_t code;
    const char* text;
};
constexpr Name DRIVE_STATES[] = {{MR_PD_STATE_UNCONFIGURED_GOOD, "Unconfigured Good"},
                                 {MR_PD_STATE_UNCONFIGURED_BAD, "Unconfigured Bad"},
                                 {MR_PD_STATE_HOT_SPARE, "Hot Spare"},
                                 {MR_PD_STATE_OFFLINE, "Offline"},
                                 {MR_PD_STATE_FAILED, "Failed"},
                                 {MR_PD_STATE_REBUILD, "Rebuild"},
                                 {MR_PD_STATE_ONLINE, "Online"},
                                 {MR_PD_STATE_COPYBACK, "Copyback"}};
constexpr Name VOLUME_STATES[] = {{MR_LD_STATE_OFFLINE, "Offline"},
                                  {MR_LD_STATE_PARTIALLY_DEGRADED, "Partially Degraded"},
                                  {MR_LD_STATE_DEGRADED, "Degraded"},
                                  {MR_LD_STATE_OPTIMAL, "Optimal"}};
constexpr Name ADAPTER_STATES[] = {{0, "OK"}, {1, "Degraded"}, {2, "Error"}};

// How many drives a span of each level stands without; one more and the volume is offline. Levels 10, 50 and 60 are
// 1, 5 and 6 with several spans.
constexpr struct {
    uint64_t level;
    uint64_t drives;
} SPAN_STANDS[] = {{0, 0}, {1, 1}, {3, 1}, {5, 1}, {6, 2}};

template <size_t N>
std::string nameOf(const Name (&table)[N], uint64_t code) {
    for (const Name& row : table)
        if (row.code == code) return row.text;
    return "state " + std::to_string(code);
}

uint64_t readNumber(const std::string& text, uint64_t highest, const char* what) {
    if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos ||
        std::stoul(text) > highest)
        throw WrongWord("\"" + text + "\" is no " + what + " (0 to " + std::to_string(highest) + ")");
    return std::stoul(text);
}

uint64_t readPercent(Words words) {
    if (words.size() != 4) throw WrongWord("\"" + words[2] + "\" wants a percentage, such as 40%");
    std::string text = words[3];
    if (!text.empty() && text.back() == '%') text.pop_back();
    return readNumber(text, 100, "percentage") * 65535 / 100;
}

size_t distance(const std::string& a, const std::string& b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); j++) row[j] = j;
    for (size_t i = 1; i <= a.size(); i++) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); j++) {
            const size_t above = row[j];
            row[j] = std::min({above + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
            diagonal = above;
        }
    }
    return row.back();
}

template <class Table>
const auto& findWord(const Table& table, const std::string& word) {
    const auto* nearest = std::begin(table);
    for (const auto& row : table) {
        if (word == row.word) return row;
        if (distance(word, row.word) < distance(word, nearest->word)) nearest = &row;
    }
    throw WrongWord("no word \"" + word + "\"; did you mean \"" + nearest->word + "\"?");
}

// A controller of the machine, and what a word has done to it so far.
struct Adapter {
    Json& json;
    std::string number;
    std::vector<std::string>& lines;

    Json* volumes() const { return findMember(json, "logicalDrives"); }
    Json* device(uint64_t id) const {
        Json* devices = findMember(json, "devices");
        return devices != nullptr ? findMember(*devices, std::to_string(id)) : nullptr;
    }
    RecordEdit drive(uint64_t id) const {
        static Json none;
        Json* found = device(id);
        return {found != nullptr ? *found : none, RecordOwner::device, "MR_PD_INFO"};
    }
    RecordEdit record(const char* name) const { return {json, RecordOwner::controller, name}; }
};

std::vector<uint64_t> drivesOf(Json& volume) {
    RecordEdit list(volume, RecordOwner::logicalDrive, "SL_PD_IN_LD_T");
    std::vector<uint64_t> drives;
    if (!list.exists()) return drives;
    const uint64_t count = std::min<uint64_t>(list.bytes(0, 4), (sizeof(SL_PD_IN_LD_T) - 4) / 2);
    for (uint32_t i = 0; i < count; i++) drives.push_back(list.bytes(4 + 2 * i, 2));
    return drives;
}

void setDrivesOf(Json& volume, const std::vector<uint64_t>& drives) {
    RecordEdit list(volume, RecordOwner::logicalDrive, "SL_PD_IN_LD_T");
    const size_t before = drivesOf(volume).size();
    list.setBytes(0, 4, drives.size());
    for (uint32_t i = 0; i < std::max(before, drives.size()); i++)
        list.setBytes(4 + 2 * i, 2, i < drives.size() ? drives[i] : 0);
}

bool serves(const Adapter& adapter, uint64_t id) {
    const RecordEdit drive = adapter.drive(id);
    const uint64_t state = drive.number("/fwState");
    return drive.exists() && (state == MR_PD_STATE_ONLINE || state == MR_PD_STATE_COPYBACK);
}

uint64_t volumeState(const Adapter& adapter, Json& volume) {
    const RecordEdit info(volume, RecordOwner::logicalDrive, "MR_LD_INFO");
    const std::vector<uint64_t> drives = drivesOf(volume);
    const uint64_t level = info.number("/ldConfig/params/primaryRaidLevel");
    const uint64_t spans = std::max<uint64_t>(info.number("/ldConfig/params/spanDepth"), 1);
    const uint64_t width = std::max<uint64_t>(info.number("/ldConfig/params/numDrives"), 1);
    const auto* row = std::find_if(std::begin(SPAN_STANDS), std::end(SPAN_STANDS),
                                   [&](const auto& stands) { return stands.level == level; });
    if (row == std::end(SPAN_STANDS)) throw std::runtime_error("RAID level " + std::to_string(level) + " is not known");
    // A drive that was pulled is in no list: it may have been of any span, so it counts in the worst one.
    const uint64_t pulled = spans * width > drives.size() ? spans * width - drives.size() : 0;
    std::vector<uint64_t> missing(spans, 0);
    for (size_t i = 0; i < drives.size(); i++)
        if (!serves(adapter, drives[i])) missing[std::min<size_t>(i / width, spans - 1)]++;
    const uint64_t worst = *std::max_element(missing.begin(), missing.end()) + pulled;
    if (worst == 0) return MR_LD_STATE_OPTIMAL;
    if (worst > row->drives) return MR_LD_STATE_OFFLINE;
    return worst < row->drives ? MR_LD_STATE_PARTIALLY_DEGRADED : MR_LD_STATE_DEGRADED;
}

std::string volumeTitle(const Adapter& adapter, const std::string& target, Json& volume) {
    const RecordEdit info(volume, RecordOwner::logicalDrive, "MR_LD_INFO");
    std::string title = "volume " + adapter.number + "/" + target;
    const std::string name = info.text("/ldConfig/properties/name");
    if (!name.empty()) title += " " + name;
    title += " (RAID-" + std::to_string(info.number("/ldConfig/params/primaryRaidLevel"));
    if (info.number("/ldConfig/params/spanDepth") > 1) title += "0";
    title += ", drives";
    for (const uint64_t drive : drivesOf(volume)) title += " " + std::to_string(drive);
    return title + ")";
}

// The state stands in the volume's own record and in the controller's configuration; the adapter's follows.
void updateVirtualDiskStatus(const Adapter& adapter) {
    uint64_t worst = 0;
    for (const auto& [target, volume] : adapter.volumes()->items()) {
        if (volume.is_null()) continue;
        const RecordEdit info(volume, RecordOwner::logicalDrive, "MR_LD_INFO");
        if (!info.exists()) continue;
        const uint64_t state = info.number("/ldConfig/params/state");
        worst = std::max<uint64_t>(worst, state == MR_LD_STATE_OFFLINE ? 2 : state == MR_LD_STATE_OPTIMAL ? 0 : 1);
    }
    Json& status = adapter.json["virtualDiskStatus"];
    const uint64_t before = status.is_number() ? status.get<uint64_t>() : 0;
    if (before == worst && !status.is_null()) return;
    status = worst;
    if (before != worst)
        adapter.lines.push_back("adapter " + adapter.number + ": volumes " + nameOf(ADAPTER_STATES, before) + " -> " +
                                nameOf(ADAPTER_STATES, worst));
}

void setVolumeState(const Adapter& adapter, const std::string& target, Json& volume, uint64_t state) {
    RecordEdit info(volume, RecordOwner::logicalDrive, "MR_LD_INFO");
    if (!info.exists()) throw std::runtime_error("volume " + adapter.number + "/" + target + " has no MR_LD_INFO");
    const uint64_t before = info.number("/ldConfig/params/state");
    info.set("/ldConfig/params/state", state);
    RecordEdit configuration = adapter.record("MR_CONFIG_DATA");
    const uint64_t entries = std::min<uint64_t>(configuration.number("/logDrvCount"), 2);
    for (uint64_t i = 0; i < entries; i++) {
        const std::string entry = "/ld/" + std::to_string(i);
        if (std::to_string(configuration.number(entry + "/properties/ldRef/targetId")) == target)
            configuration.set(entry + "/params/state", state);
    }
    if (before != state)
        adapter.lines.push_back(volumeTitle(adapter, target, volume) + ": " + nameOf(VOLUME_STATES, before) + " -> " +
                                nameOf(VOLUME_STATES, state));
}

void updateVolumes(const Adapter& adapter, uint64_t drive) {
    if (adapter.volumes() == nullptr) return;
    for (const auto& [target, volume] : adapter.volumes()->items()) {
        const std::vector<uint64_t> drives = drivesOf(volume);
        if (std::find(drives.begin(), drives.end(), drive) != drives.end())
            setVolumeState(adapter, target, volume, volumeState(adapter, volume));
    }
    updateVirtualDiskStatus(adapter);
}

void setDriveState(const Adapter& adapter, uint64_t id, uint64_t state) {
    RecordEdit drive = adapter.drive(id);
    const uint64_t before = drive.number("/fwState");
    drive.set("/fwState", state);
    const uint64_t operations = drive.number("/activeOperations") & ~uint64_t{MR_PD_OPERATION_REBUILD};
    drive.set("/activeOperations", operations | (state == MR_PD_STATE_REBUILD ? MR_PD_OPERATION_REBUILD : 0));
    if (state == MR_PD_STATE_REBUILD || state == MR_PD_STATE_ONLINE) drive.set("/powerState", MR_PD_POWER_ACTIVE);
    // The slot in the status of the enclosure that it sits in: a failed drive is critical there.
    if (Json* enclosure = adapter.device(drive.number("/enclDeviceId"))) {
        RecordEdit status(*enclosure, RecordOwner::device, "SL_ENCL_STATUS_T");
        const uint64_t slot = drive.number("/slotNumber");
        if (status.exists() && slot < std::min<uint64_t>(status.number("/slotCount"), 124))
            status.set("/element/" + std::to_string(slot) + "/status",
                       state == MR_PD_STATE_FAILED ? SL_ENCL_ELEM_STATUS_CRITICAL : SL_ENCL_ELEM_STATUS_OK);
    }
    if (before == state) return;
    adapter.lines.push_back("drive " + adapter.number + "/" + std::to_string(id) + " (slot " +
                            std::to_string(drive.number("/slotNumber")) + ", " + drive.text("/product") + ", " +
                            drive.text("/vendorSpecific") + "): " + nameOf(DRIVE_STATES, before) + " -> " +
                            nameOf(DRIVE_STATES, state));
}

// The smallest hot spare of the drive's kind that is large enough.
std::optional<uint64_t> findSpare(const Adapter& adapter, const RecordEdit& lost) {
    std::optional<uint64_t> spare;
    for (const auto& [name, device] : findMember(adapter.json, "devices")->items()) {
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

void failDrive(const Adapter& adapter, uint64_t id, Words) {
    setDriveState(adapter, id, MR_PD_STATE_FAILED);
    updateVolumes(adapter, id);
    letSpareStepIn(adapter, id);
}

void pullDrive(const Adapter& adapter, uint64_t id, Words) {
    RecordEdit list = adapter.record("MR_PD_LIST");
    const uint64_t count = list.number("/count");
    if (list.exists() && (list.hasRaw() || list.json().value("addr", Json::array()).size() < count))
        throw std::runtime_error("MR_PD_LIST is given as bytes: no entry can be taken out");
    setDriveState(adapter, id, MR_PD_STATE_FAILED);
    updateVolumes(adapter, id);
    letSpareStepIn(adapter, id);
    if (adapter.volumes() != nullptr)
        for (const auto& [target, volume] : adapter.volumes()->items()) {
            std::vector<uint64_t> drives = drivesOf(volume);
            if (std::erase(drives, id) != 0) setDrivesOf(volume, drives);
        }
    const RecordEdit drive = adapter.drive(id);
    if (Json* enclosure = adapter.device(drive.number("/enclDeviceId"))) {
        RecordEdit status(*enclosure, RecordOwner::device, "SL_ENCL_STATUS_T");
        const uint64_t slot = drive.number("/slotNumber");
        if (status.exists() && slot < std::min<uint64_t>(status.number("/slotCount"), 124))
            status.set("/element/" + std::to_string(slot) + "/status", SL_ENCL_ELEM_STATUS_NOT_INSTALLED);
    }
    if (list.exists()) {
        Json& entries = list.json()["addr"];
        for (size_t i = 0; i < entries.size(); i++) {
            if (list.number("/addr/" + std::to_string(i) + "/deviceId") != id) continue;
            entries.erase(i);
            list.set("/count", count - 1);
            if (list.number("/listSize") >= 24) list.set("/listSize", list.number("/listSize") - 24);
            break;
        }
    }
    RecordEdit info = adapter.record("MR_CTRL_INFO");
    if (info.number("/pdPresentCount") > 0) info.set("/pdPresentCount", info.number("/pdPresentCount") - 1);
    findMember(adapter.json, "devices")->erase(std::to_string(id));
    adapter.lines.push_back("drive " + adapter.number + "/" + std::to_string(id) + " is no longer there");
}

std::string volumeOf(const Adapter& adapter, uint64_t drive) { // empty: it belongs to none
    if (adapter.volumes() == nullptr) return "";
    for (const auto& [target, volume] : adapter.volumes()->items()) {
        const std::vector<uint64_t> drives = drivesOf(volume);
        if (std::find(drives.begin(), drives.end(), drive) != drives.end()) return adapter.number + "/" + target;
    }
    return "";
}

// Also the end of a rebuild.
void bringOnline(const Adapter& adapter, uint64_t id, Words) {
    if (volumeOf(adapter, id).empty()) throw std::runtime_error("the drive belongs to no volume");
    setDriveState(adapter, id, MR_PD_STATE_ONLINE);
    updateVolumes(adapter, id);
}

// How far a rebuild is stands in no record that can be described; only its end changes more.
void rebuildDrive(const Adapter& adapter, uint64_t id, Words words) {
    if (words.size() == 4 && readPercent(words) == 65535) return bringOnline(adapter, id, words);
    if (volumeOf(adapter, id).empty()) throw std::runtime_error("the drive belongs to no volume");
    setDriveState(adapter, id, MR_PD_STATE_REBUILD);
    updateVolumes(adapter, id);
}

void makeSpare(const Adapter& adapter, uint64_t id, Words) {
    const std::string volume = volumeOf(adapter, id);
    if (!volume.empty()) throw std::runtime_error("the drive belongs to volume " + volume);
    setDriveState(adapter, id, MR_PD_STATE_HOT_SPARE);
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
    adapter.lines.push_back("drive " + adapter.number + "/" + std::to_string(id) +
                            ": predicted failures: " + std::to_string(drive.number("/predFailCount")));
}

void setTemperature(const Adapter& adapter, uint64_t id, Words words) {
    if (words.size() != 4) throw WrongWord("\"temperature\" wants degrees Celsius");
    const uint64_t degrees = readNumber(words[3], 254, "temperature");
    adapter.drive(id).set("/temperature", degrees);
    adapter.lines.push_back("drive " + adapter.number + "/" + std::to_string(id) + ": " + words[3] + " degrees");
}

constexpr struct {
    const char* word;
    void (*apply)(const Adapter&, uint64_t, Words);
} DRIVE_WORDS[] = {
    {"fail", failDrive},  {"pull", pullDrive},      {"online", bringOnline},     {"rebuild", rebuildDrive},
    {"spare", makeSpare}, {"foreign", makeForeign}, {"predict", predictFailure}, {"temperature", setTemperature}};

void runOperation(Json& volume, uint64_t bit, const char* member, uint64_t progress) {
    RecordEdit info(volume, RecordOwner::logicalDrive, "MR_LD_INFO");
    RecordEdit own(volume, RecordOwner::logicalDrive, "MR_LD_PROGRESS");
    const bool done = progress == 65535;
    for (const auto& [record, prefix] : {std::pair{&info, "/progress"}, std::pair{&own, ""}}) {
        if (!record->exists()) continue;
        const std::string active = std::string(prefix) + "/active";
        record->set(active, done ? record->number(active) & ~bit : record->number(active) | bit);
        record->set(std::string(prefix) + "/" + member + "/progress", done ? 0 : progress);
    }
}

constexpr struct {
    const char* word;
    uint64_t state;     // without an operation
    uint64_t operation; // 0: a state
    const char* progress;
} VOLUME_WORDS[] = {{"degrade", MR_LD_STATE_DEGRADED, 0, nullptr},
                    {"offline", MR_LD_STATE_OFFLINE, 0, nullptr},
                    {"optimal", MR_LD_STATE_OPTIMAL, 0, nullptr},
                    {"initialize", 0, MR_LD_OPERATION_FOREGROUND_INIT, "foregroundInit"},
                    {"check", 0, MR_LD_OPERATION_CONSISTENCY_CHECK, "consistencyCheck"}};

// "0/8": the adapter's place in the file's list or its number, and the object's id.
std::pair<Adapter, uint64_t> findObject(Json& machine, const std::string& name, std::vector<std::string>& lines) {
    const size_t slash = name.find('/');
    if (slash == std::string::npos) throw WrongWord("\"" + name + "\" is not of the form ADAPTER/NUMBER");
    const uint64_t number = readNumber(name.substr(0, slash), UINT16_MAX, "adapter");
    const uint64_t id = readNumber(name.substr(slash + 1), UINT16_MAX, "number of a device");
    Json* controllers = findMember(machine, "controllers");
    if (controllers != nullptr && controllers->is_array())
        for (Json& controller : *controllers)
            if (controller.is_object() && controller.value("number", -1) == int64_t(number))
                return {{controller, std::to_string(number), lines}, id};
    throw WrongWord("there is no adapter " + std::to_string(number));
}

void applyDrive(Json& machine, Words words, std::vector<std::string>& lines) {
    if (words.size() < 3) throw WrongWord("drive ADAPTER/DEVICE WORD, such as: drive 0/8 fail");
    const auto& word = findWord(DRIVE_WORDS, words[2]);
    const auto [adapter, id] = findObject(machine, words[1], lines);
    const RecordEdit drive = adapter.drive(id);
    if (!drive.exists()) throw WrongWord("there is no drive " + words[1]);
    if ((drive.number("/scsiDevType") & SCSI_DEVICE_TYPE_MASK) != SCSI_DEVICE_TYPE_DISK)
        throw WrongWord("device " + words[1] + " is no drive");
    word.apply(adapter, id, words);
}

void applyVolume(Json& machine, Words words, std::vector<std::string>& lines) {
    if (words.size() < 3) throw WrongWord("volume ADAPTER/TARGET WORD, such as: volume 0/1 degrade");
    const auto& word = findWord(VOLUME_WORDS, words[2]);
    const auto [adapter, id] = findObject(machine, words[1], lines);
    const std::string target = std::to_string(id);
    Json* volume = adapter.volumes() != nullptr ? findMember(*adapter.volumes(), target) : nullptr;
    if (volume == nullptr) throw WrongWord("there is no volume " + words[1]);
    if (word.operation == 0) {
        setVolumeState(adapter, target, *volume, word.state);
        updateVirtualDiskStatus(adapter);
    } else {
        const uint64_t progress = readPercent(words);
        runOperation(*volume, word.operation, word.progress, progress);
        lines.push_back(volumeTitle(adapter, target, *volume) + ": " + word.word + " " + words[3]);
    }
}

void applyAgents(Json& machine, Words words, std::vector<std::string>& lines) {
    constexpr struct {
        const char* word;
        int state;
    } states[] = {{"down", 0}, {"limited", 1}, {"connected", 2}};
    if (words.size() != 2) throw WrongWord("agents connected|limited|down");
    machine["agents"] = {{"state", findWord(states, words[1]).state}};
    lines.push_back("agents: " + words[1]);
}

constexpr struct {
    const char* word;
    void (*apply)(Json&, Words, std::vector<std::string>&);
} OBJECTS[] = {{"drive", applyDrive}, {"volume", applyVolume}, {"agents", applyAgents}};

} // namespace

WordResult applyWords(nlohmann::ordered_json& machine, std::span<const std::string> words) {
    WordResult result;
    Json changed = machine;
    try {
        if (words.empty()) throw WrongWord("no word given");
        findWord(OBJECTS, words[0]).apply(changed, words, result.lines);
        machine = std::move(changed);
    } catch (const WrongWord& wrong) {
        result = {{}, wrong.what(), 2};
    } catch (const std::exception& fault) { // what the file has is not of the kind that the word needs
        result = {{}, fault.what(), 3};
    }
    return result;
}

std::vector<std::string> describeDrives(Json& machine) {
    std::vector<std::string> lines;
    for (Json& controller : machine.at("controllers")) {
        Json* devices = findMember(controller, "devices");
        if (devices == nullptr) continue;
        for (const auto& [id, device] : devices->items()) {
            const RecordEdit drive(device, RecordOwner::device, "MR_PD_INFO");
            if (!drive.exists() || (drive.number("/scsiDevType") & SCSI_DEVICE_TYPE_MASK) != SCSI_DEVICE_TYPE_DISK)
                continue;
            lines.push_back(std::to_string(controller.value("number", -1)) + "/" + id + "  slot " +
                            std::to_string(drive.number("/slotNumber")) + "  " +
                            nameOf(DRIVE_STATES, drive.number("/fwState")) + "  " + drive.text("/product"));
        }
    }
    return lines;
}

std::vector<std::string> describeVolumes(Json& machine) {
    std::vector<std::string> lines;
    for (Json& controller : machine.at("controllers")) {
        const Adapter adapter{controller, std::to_string(controller.value("number", -1)), lines};
        if (adapter.volumes() == nullptr) continue;
        for (const auto& [target, volume] : adapter.volumes()->items()) {
            const RecordEdit info(volume, RecordOwner::logicalDrive, "MR_LD_INFO");
            if (info.exists())
                lines.push_back(volumeTitle(adapter, target, volume) + ": " +
                                nameOf(VOLUME_STATES, info.number("/ldConfig/params/state")));
        }
    }
    return lines;
}

} // namespace sim
