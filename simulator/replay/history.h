#pragma once

// What a record tells of a machine over time, and the machine file that it makes.

#include "simulator/replay/recordWriter.h"

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace sim {

using Path = std::vector<std::string>; // names of members and indexes, from the top

// What a place in the machine file holds: absent, or JSON, or the bytes of a record.
struct Fact { // NOLINT(bugprone-exception-escape): moving JSON throws nothing
    enum class Kind : uint8_t { absent, value, record };
    Kind kind = Kind::absent;
    Json value;
    Bytes bytes;
    const RecordLayout* layout = nullptr;

    static Fact of(Json json) { return {Kind::value, std::move(json), {}, nullptr}; }
    static Fact ofRecord(const Bytes& record, const RecordLayout* recordLayout) {
        return {Kind::record, nullptr, record, recordLayout};
    }
    Json toJson() const { return kind == Kind::record ? recordToJson(bytes, layout) : value; }
};

// A fact that is learnt later than at the start holds from the start, unless another was known before. The controllers'
// change at the beginning of what is read in one go; a second, different answer in one go is that of the next.
class History {
  public:
    void beginAt(int64_t second); // since the start; what is read from here on is read in one go
    void setNow(int64_t second) { now_ = second; }

    void setControllers(std::optional<std::vector<uint32_t>> ids); // nothing: their list cannot be read
    void set(uint32_t controller, const Path& path, Fact fact);
    void set(const Path& path, Fact fact);
    bool knows(const Path& path) const { return places_.contains({{}, path}); }
    bool knows(uint32_t controller, const Path& path) const { return places_.contains({controller, path}); }
    void setAnswer(const std::string& key, Fact fact); // absent: the stand-in's own again

    Json machine() const; // with its timeline

  private:
    struct Change {
        int64_t at;
        Fact fact;
        bool isFromBefore; // a second answer of what was read before
    };
    struct Place {
        std::vector<Change> changes; // the first one holds from the start
        int64_t told = -1;           // the beginning of the reading that has told it
        std::optional<Fact> pending;
    };
    struct Key {
        std::optional<uint32_t> controller;
        Path path;
        bool operator<(const Key& other) const {
            return controller != other.controller ? controller < other.controller : path < other.path;
        }
    };

    static bool isSame(const Fact& known, const Fact& fact);
    static bool isContinued(const Fact& known, const Fact& fact);
    static void tell(Place& place, Fact fact, int64_t at);

    std::map<Key, Place> places_;
    std::vector<Key> order_; // of the places
    std::map<std::string, Place> answers_;
    std::vector<std::string> answerOrder_;
    Place list_;
    int64_t now_ = 0;
    int64_t begin_ = 0;

    friend class MachineWriter;
};

} // namespace sim
