#pragma once

// What the words of all objects are made of: names, numbers, and a controller of the machine with the records that
// change together.

#include "simulator/words/machineEdit.h"

#include <functional>
#include <iterator>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace sim {

using Words = std::span<const std::string>;
using Lines = std::vector<std::string>;

struct WrongWord : std::runtime_error {
    using std::runtime_error::runtime_error;
};

constexpr uint64_t FULL_PROGRESS = 65535; // as the records have it

uint64_t readNumber(const std::string& text, uint64_t highest, const char* what);
uint64_t readProgress(Words words); // of "40%" behind the word
// "31", or "+5" and "-5" from the value before.
int64_t readChange(const std::string& text, int64_t before, int64_t lowest, int64_t highest, const char* what);

std::string stateName(std::span<const CodeText> table, uint64_t code); // "state 7": it has no name

size_t distance(const std::string& a, const std::string& b);

// The row whose `word` it is.
template <class Table>
const auto& findWord(const Table& table, const std::string& word) {
    const auto* nearest = std::data(table);
    for (const auto& row : table) {
        if (word == row.word) return row;
        if (distance(word, row.word) < distance(word, nearest->word)) nearest = &row;
    }
    throw WrongWord("no word \"" + word + "\"; did you mean \"" + nearest->word + "\"?");
}

// A controller of the machine, and what a word has said of it so far.
struct Adapter {
    Json& json;
    std::string number;
    Lines& lines;

    Json* volumes() const { return findMember(json, "logicalDrives"); }
    Json* devices() const { return findMember(json, "devices"); }
    Json* device(uint64_t id) const;
    RecordEdit drive(uint64_t id) const;
    RecordEdit record(const char* name) const { return {json, RecordOwner::controller, name}; }
    bool isDrive(uint64_t id) const;
    std::vector<uint64_t> enclosures() const; // device ids; the first has number 1
    Json& enclosure(uint64_t enclosureNumber) const;
    void say(const std::string& line) const { lines.push_back(line); }
};

Adapter findAdapter(Json& machine, const std::string& number, Lines& lines);

// "0/8", and of drives "0/e1:3" (enclosure number and slot) too; a name of `parts` numbers behind the adapter's.
struct Named {
    Adapter adapter;
    std::vector<uint64_t> numbers;
};
Named findObject(Json& machine, const std::string& name, size_t parts, Lines& lines);

// The daemon compares elements pairwise and stops at the shorter list.
inline constexpr char NO_NEWS[] =
    "the last of a list comes and goes unseen: this is written with the next change (docs/machine-file.md)";

// Drives and the volumes on them.
std::string driveTitle(const Adapter& adapter, uint64_t id);
void setDriveState(const Adapter& adapter, uint64_t id, uint64_t state);
void failDrive(const Adapter& adapter, uint64_t id);
void pullDrive(const Adapter& adapter, uint64_t id);
// A new one like `model` (NULL: like any), without a configuration.
void insertDrive(const Adapter& adapter, uint64_t id, uint64_t enclosure, uint64_t slot);
uint64_t freeDeviceId(const Adapter& adapter, uint64_t lowest);
void removeFromList(const Adapter& adapter, uint64_t id);
void addToList(const Adapter& adapter, uint64_t id, uint64_t enclosure, uint64_t slot, uint64_t type);

std::vector<uint64_t> drivesOf(Json& volume);
void setDrivesOf(Json& volume, const std::vector<uint64_t>& drives);
uint64_t volumeState(const Adapter& adapter, Json& volume);
std::string volumeTitle(const Adapter& adapter, const std::string& target, Json& volume);
void setVolumeState(const Adapter& adapter, const std::string& target, Json& volume, uint64_t state);
void updateVolumes(const Adapter& adapter, uint64_t drive); // those that the drive belongs to, and what follows
void updateVirtualDiskStatus(const Adapter& adapter);
std::string volumeOf(const Adapter& adapter, uint64_t drive); // empty: it belongs to none

// What the tree says of the adapter: the worse of battery and volumes.
std::string adapterState(const Adapter& adapter);

// Each object's words; they throw WrongWord, or std::runtime_error where the machine cannot express the change.
void applyDrive(Json& machine, Words words, Lines& lines);
void applyVolume(Json& machine, Words words, Lines& lines);
void applyEnclosure(Json& machine, Words words, Lines& lines);
void applyFan(Json& machine, Words words, Lines& lines);
void applySupply(Json& machine, Words words, Lines& lines);
void applySensor(Json& machine, Words words, Lines& lines);
void applyBattery(Json& machine, Words words, Lines& lines);
void applyController(Json& machine, Words words, Lines& lines);
void applyAgents(Json& machine, Words words, Lines& lines);
void applyHost(Json& machine, Words words, Lines& lines);

} // namespace sim
