#include "platform/storelibDriveRecords.h"
#include "simulator/words/adapter.h"

#include <algorithm>

namespace sim {
namespace {

// How many drives a span of each level stands without; one more and the volume is offline. Levels 10, 50 and 60 are
// 1, 5 and 6 with several spans.
constexpr struct {
    uint64_t level;
    uint64_t drives;
} SPAN_STANDS[] = {{0, 0}, {1, 1}, {3, 1}, {5, 1}, {6, 2}};

bool serves(const Adapter& adapter, uint64_t id) {
    const RecordEdit drive = adapter.drive(id);
    const uint64_t state = drive.number("/fwState");
    return drive.exists() && (state == MR_PD_STATE_ONLINE || state == MR_PD_STATE_COPYBACK);
}

} // namespace

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

uint64_t volumeState(const Adapter& adapter, Json& volume) {
    const RecordEdit info(volume, RecordOwner::logicalDrive, "MR_LD_INFO");
    const std::vector<uint64_t> drives = drivesOf(volume);
    const uint64_t level = info.number("/ldConfig/params/primaryRaidLevel");
    const size_t spans = std::max<size_t>(size_t(info.number("/ldConfig/params/spanDepth")), 1);
    const size_t width = std::max<size_t>(size_t(info.number("/ldConfig/params/numDrives")), 1);
    const auto* row = std::find_if(std::begin(SPAN_STANDS), std::end(SPAN_STANDS),
                                   [&](const auto& stands) { return stands.level == level; });
    if (row == std::end(SPAN_STANDS)) throw std::runtime_error("RAID level " + std::to_string(level) + " is not known");
    // A drive that was pulled is in no list: it may have been of any span, so it counts in the worst one.
    const size_t pulled = spans * width > drives.size() ? spans * width - drives.size() : 0;
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
        adapter.say("adapter " + adapter.number + ": volumes " + stateName(codes::SUMMARY_STATES, before) + " -> " +
                    stateName(codes::SUMMARY_STATES, worst));
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
        adapter.say(volumeTitle(adapter, target, volume) + ": " + stateName(codes::VOLUME_STATES, before) + " -> " +
                    stateName(codes::VOLUME_STATES, state));
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

std::string volumeOf(const Adapter& adapter, uint64_t drive) { // empty: it belongs to none
    if (adapter.volumes() == nullptr) return "";
    for (const auto& [target, volume] : adapter.volumes()->items()) {
        const std::vector<uint64_t> drives = drivesOf(volume);
        if (std::find(drives.begin(), drives.end(), drive) != drives.end()) return adapter.number + "/" + target;
    }
    return "";
}

namespace {

void runOperation(Json& volume, uint64_t bit, const char* member, uint64_t progress) {
    RecordEdit info(volume, RecordOwner::logicalDrive, "MR_LD_INFO");
    RecordEdit own(volume, RecordOwner::logicalDrive, "MR_LD_PROGRESS");
    const bool done = progress == FULL_PROGRESS;
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

} // namespace

void applyVolume(Json& machine, Words words, Lines& lines) {
    if (words.size() < 3) throw WrongWord("volume ADAPTER/TARGET WORD, such as: volume 0/1 degrade");
    const auto& word = findWord(VOLUME_WORDS, words[2]);
    const auto [adapter, numbers] = findObject(machine, words[1], 1, lines);
    const std::string target = std::to_string(numbers[0]);
    Json* volume = adapter.volumes() != nullptr ? findMember(*adapter.volumes(), target) : nullptr;
    if (volume == nullptr) throw WrongWord("there is no volume " + words[1]);
    if (word.operation == 0) {
        setVolumeState(adapter, target, *volume, word.state);
        updateVirtualDiskStatus(adapter);
    } else {
        const uint64_t progress = readProgress(words);
        runOperation(*volume, word.operation, word.progress, progress);
        lines.push_back(volumeTitle(adapter, target, *volume) + ": " + word.word + " " + words[3]);
    }
}

} // namespace sim
