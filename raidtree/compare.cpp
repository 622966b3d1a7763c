#include "raidtree/compare.h"

#include "raidtree/walk.h"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>

namespace raidtree {

namespace {

template <class Record>
struct Object {
    const Record* record = nullptr;
    Place place;
};

class Comparison {
  public:
    Comparison(std::vector<Change>& changes, bool everything) : changes_(changes), everything_(everything) {}

    // One object, before and now; one of them may not be there.
    template <class Record>
    void compare(const Object<Record>& before, const Object<Record>& now) {
        if (before.record == nullptr || now.record == nullptr) {
            const Object<Record>& there = now.record != nullptr ? now : before;
            changes_.push_back({now.record != nullptr ? Change::Kind::added : Change::Kind::gone,
                                labelOf(kindName<Record>(), there.place), titleOf(*there.record), "", "", ""});
            return;
        }
        const std::string label = labelOf(kindName<Record>(), now.place);
        const std::string title = titleOf(*now.record);
        if (const std::string old = labelOf(kindName<Record>(), before.place); old != label)
            changes_.push_back({Change::Kind::changed, label, title, "number", old, label});
        for (const Field<Record>& field : fieldsOf<Record>()) {
            const bool moves = field.use == Use::measured || field.use == Use::counted || field.use == Use::moving;
            if (moves && !everything_) continue;
            std::string from = fieldText(*before.record, field);
            std::string to = fieldText(*now.record, field);
            if (from != to)
                changes_.push_back({Change::Kind::changed, label, title, field.key, std::move(from), std::move(to)});
        }
    }

  private:
    std::vector<Change>& changes_;
    bool everything_;
};

using Key = std::tuple<int64_t, int64_t, int64_t>;

// All objects of a kind, by their numbers.
template <class Record>
std::map<Key, Object<Record>> objectsOf(const Server& server) {
    std::map<Key, Object<Record>> objects;
    visitServer(server, [&](const auto& record, const Place& place) {
        if constexpr (std::is_same_v<std::decay_t<decltype(record)>, Record>)
            objects.emplace(Key{place.adapter.value_or(-1), place.enclosure.value_or(-1), place.number.value_or(-1)},
                            Object<Record>{&record, place});
    });
    return objects;
}

template <class Record>
void compareKind(const Server& before, const Server& now, Comparison& comparison) {
    const auto old = objectsOf<Record>(before);
    const auto current = objectsOf<Record>(now);
    for (const auto& [key, object] : old)
        comparison.compare(object, current.contains(key) ? current.at(key) : Object<Record>{});
    for (const auto& [key, object] : current)
        if (!old.contains(key)) comparison.compare(Object<Record>{}, object);
}

using DriveObject = Object<Drive>;

std::vector<DriveObject> drivesOf(const Server& server) {
    std::vector<DriveObject> drives;
    for (const auto& [key, drive] : objectsOf<Drive>(server)) drives.push_back(drive);
    return drives;
}

// Takes those with the same key out of both lists; a key that is not told, or told more than once, matches nothing.
template <class KeyOf>
void matchDrives(std::vector<DriveObject>& before, std::vector<DriveObject>& now, Comparison& comparison, KeyOf keyOf) {
    std::map<std::string, std::vector<size_t>> byKey;
    std::map<std::string, int> timesBefore;
    for (size_t i = 0; i < now.size(); ++i) byKey[keyOf(now[i])].push_back(i);
    for (const DriveObject& drive : before) ++timesBefore[keyOf(drive)];
    std::set<size_t> matched;
    std::erase_if(before, [&](const DriveObject& drive) {
        const std::string key = keyOf(drive);
        const auto entry = byKey.find(key);
        if (key.empty() || timesBefore[key] != 1 || entry == byKey.end() || entry->second.size() != 1) return false;
        comparison.compare(drive, now[entry->second.front()]);
        matched.insert(entry->second.front());
        return true;
    });
    std::vector<DriveObject> rest;
    for (size_t i = 0; i < now.size(); ++i)
        if (!matched.contains(i)) rest.push_back(now[i]);
    now = std::move(rest);
}

void compareDrives(const Server& before, const Server& now, Comparison& comparison) {
    std::vector<DriveObject> old = drivesOf(before);
    std::vector<DriveObject> current = drivesOf(now);
    matchDrives(old, current, comparison, [](const DriveObject& drive) { return drive.record->serialNumber; });
    // What is left in the same bay, a drive in the place of another: its serial number is one of the changes.
    const auto bayKey = [](const DriveObject& drive) {
        const std::string bay = bayOf(*drive.record);
        return bay.empty() ? bay : std::to_string(*drive.place.adapter) + " " + bay;
    };
    matchDrives(old, current, comparison, bayKey);
    // Two that say the same of themselves stay apart by their numbers.
    matchDrives(old, current, comparison, [](const DriveObject& drive) {
        return labelOf("drive", drive.place) + " " + bayOf(*drive.record) + " " + drive.record->serialNumber;
    });
    for (const DriveObject& drive : old) comparison.compare(drive, DriveObject{});
    for (const DriveObject& drive : current) comparison.compare(DriveObject{}, drive);
}

} // namespace

std::vector<Change> compareServers(const Server& before, const Server& now, bool everything) {
    std::vector<Change> changes;
    if (before.name != now.name)
        changes.push_back({Change::Kind::changed, "server", "", "name", before.name, now.name});
    Comparison comparison(changes, everything);
    compareKind<Adapter>(before, now, comparison);
    compareKind<Volume>(before, now, comparison);
    compareDrives(before, now, comparison);
    compareKind<Battery>(before, now, comparison);
    compareKind<Enclosure>(before, now, comparison);
    compareKind<Processor>(before, now, comparison);
    compareKind<Fan>(before, now, comparison);
    compareKind<PowerSupply>(before, now, comparison);
    compareKind<Sensor>(before, now, comparison);
    compareKind<Summary>(before, now, comparison);
    return changes;
}

std::string changeText(const Change& change) {
    const std::string object = change.label + (change.title.empty() ? "" : " (" + change.title + ")");
    if (change.kind != Change::Kind::changed) return object + (change.kind == Change::Kind::gone ? ": gone" : ": new");
    const auto shown = [](const std::string& value) { return value.empty() ? std::string("not told") : value; };
    return object + ": " + fieldTitle(change.field.c_str()) + " " + shown(change.from) + " -> " + shown(change.to);
}

} // namespace raidtree
