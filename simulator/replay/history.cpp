#include "simulator/replay/history.h"

#include <algorithm>
#include <cstdio>
#include <set>

namespace sim {

// Records are read in buffers of different lengths.
bool History::isSame(const Fact& known, const Fact& fact) {
    if (known.kind != fact.kind) return false;
    if (known.kind != Fact::Kind::record) return known.value == fact.value;
    const size_t common = std::min(known.bytes.size(), fact.bytes.size());
    return std::equal(known.bytes.begin(), known.bytes.begin() + static_cast<ptrdiff_t>(common), fact.bytes.begin());
}

bool History::isContinued(const Fact& known, const Fact& fact) {
    return known.kind == Fact::Kind::record && known.bytes.size() < fact.bytes.size();
}

void History::tell(Place& place, Fact fact, int64_t at) {
    const bool wasTold = place.told == at;
    place.told = at;
    if (place.changes.empty()) {
        place.changes.push_back({0, std::move(fact), false});
        return;
    }
    Change& last = place.changes.back();
    if (isSame(last.fact, fact)) {
        if (isContinued(last.fact, fact)) last.fact = std::move(fact);
        last.isFromBefore = false;
        place.pending.reset();
    } else if (last.at == at && last.isFromBefore) {
        last = {at, std::move(fact), false};
    } else if (wasTold) {
        place.pending = std::move(fact);
    } else {
        place.changes.push_back({at, std::move(fact), false});
    }
}

void History::beginAt(int64_t second) {
    now_ = begin_ = second;
    const auto takeUp = [&](Place& place) {
        if (!place.pending) return;
        place.changes.push_back({second, std::move(*place.pending), true});
        place.pending.reset();
    };
    for (auto& [key, place] : places_)
        if (key.controller) takeUp(place);
    for (auto& [key, place] : answers_) takeUp(place);
}

void History::setControllers(std::optional<std::vector<uint32_t>> ids) {
    tell(list_, Fact::of(ids ? Json(*ids) : Json()), begin_);
}

void History::set(uint32_t controller, const Path& path, Fact fact) {
    const Key key{controller, path};
    if (!places_.contains(key)) order_.push_back(key);
    tell(places_[key], std::move(fact), begin_);
}

// At once; what is told twice in a second is another a second later.
void History::set(const Path& path, Fact fact) {
    const Key key{{}, path};
    if (!places_.contains(key)) order_.push_back(key);
    Place& place = places_[key];
    const bool isSecond = place.told == now_ && !isSame(place.changes.back().fact, fact);
    tell(place, std::move(fact), isSecond ? now_ + 1 : now_);
}

void History::setAnswer(const std::string& key, Fact fact) {
    if (!answers_.contains(key)) {
        if (fact.kind == Fact::Kind::absent) return;
        answerOrder_.push_back(key);
    }
    tell(answers_[key], std::move(fact), begin_);
}

namespace {

Json& childOf(Json& parent, const std::string& name, bool isArray) {
    if (!isArray) return parent[name];
    const size_t index = std::stoul(name);
    while (parent.is_null() || parent.size() <= index) parent.push_back(nullptr);
    return parent[index];
}

// Sensors are the one list whose elements are told one by one.
void place(Json& whole, const Path& path, const Fact& fact) {
    Json* at = &whole;
    for (size_t i = 0; i + 1 < path.size(); ++i) at = &childOf(*at, path[i], i > 0 && path[i - 1] == "thresholds");
    const bool isArray = path.size() > 1 && path[path.size() - 2] == "thresholds";
    if (fact.kind == Fact::Kind::absent && at->is_object())
        at->erase(path.back());
    else if (fact.kind != Fact::Kind::absent)
        childOf(*at, path.back(), isArray) = fact.toJson();
}

std::string pointerOf(const Path& path) {
    Json::json_pointer pointer;
    for (const std::string& name : path) pointer.push_back(name);
    return pointer.to_string();
}

// The members that differ where members can be changed one by one: none is taken away, raw bytes go as a whole.
void addDifferences(const std::string& pointer, const Json& before, const Json& after, Json& sets) {
    if (before == after) return;
    const auto isKept = [&](const auto& member) { return after.contains(member.key()); };
    const auto members = before.items();
    if (!before.is_object() || !after.is_object() || pointer.ends_with("/raw") ||
        !std::all_of(members.begin(), members.end(), isKept)) {
        sets[pointer] = after;
        return;
    }
    for (const auto& [name, value] : after.items())
        if (before.contains(name))
            addDifferences(pointer + pointerOf({name}), before[name], value, sets);
        else
            sets[pointer + pointerOf({name})] = value;
}

std::string clockText(int64_t second) {
    char text[32];
    snprintf(text, sizeof text, "%02lld:%02lld:%02lld", static_cast<long long>(second / 3600),
             static_cast<long long>(second / 60 % 60), static_cast<long long>(second % 60));
    return text;
}

} // namespace

// Goes through the history once, with the machine as it is at each moment.
class MachineWriter {
  public:
    explicit MachineWriter(const History& history) : history_(history) {
        for (const char* name :
             {"controllers", "configSpace", "configSpaceWriteFails", "agents", "processMonitor", "lcm", "ipmi", "dqmi"})
            whole_[name] = nullptr;
    }

    Json write() {
        for (const History::Key& key : history_.order_)
            if (!isDefault(key)) apply(key, history_.places_.at(key).changes.front().fact);
        for (const std::string& key : history_.answerOrder_) addAnswer(key);
        if (!history_.list_.changes.empty()) list_ = history_.list_.changes.front().fact.value;
        whole_["controllers"] = listed();
        Json machine;
        for (const auto& [name, value] : whole_.items())
            if (!value.is_null()) machine[name] = value;
        Json timeline = Json::array();
        const std::set<int64_t> moments = momentsOf();
        const bool hasAnswers = !answers_.empty() || !history_.answers_.empty();
        if (hasAnswers) machine["answers"] = answers_;
        for (const int64_t moment : moments)
            if (Json sets = setsAt(moment); !sets.empty())
                timeline.push_back({{"at", clockText(moment)}, {"set", std::move(sets)}});
        if (!timeline.empty()) machine["timeline"] = std::move(timeline);
        return machine;
    }

  private:
    // What a machine file need not say, and never says otherwise. A page or a sensor that is null has a meaning.
    bool isDefault(const History::Key& key) const {
        const History::Place& place = history_.places_.at(key);
        const Fact& fact = place.changes.front().fact;
        if (place.changes.size() > 1 || fact.kind != Fact::Kind::value) return false;
        if (fact.value.is_null()) return key.path.size() < 2 || !isListed(key.path[key.path.size() - 2]);
        if (key.path == Path{"dqmi", "connection"})
            return fact.value == -1 && !history_.knows({"dqmi", "read"}) && !history_.knows({"dqmi", "open"});
        return key.path.front() == "processMonitor" && fact.value == 0;
    }
    static bool isListed(const std::string& parent) { return parent == "pages" || parent == "thresholds"; }

    void apply(const History::Key& key, const Fact& fact) {
        if (!key.controller) return place(whole_, key.path, fact);
        place(controller(*key.controller), key.path, fact);
    }

    Json& controller(uint32_t id) {
        const auto [entry, fresh] = controllers_.try_emplace(id, Json::object());
        if (fresh) entry->second["id"] = id;
        return entry->second;
    }

    Json listed() {
        if (list_.is_null()) return nullptr;
        Json all = Json::array();
        for (const Json& id : list_) all.push_back(controller(id.get<uint32_t>()));
        return all;
    }

    void addAnswer(const std::string& key) {
        const Fact& fact = history_.answers_.at(key).changes.front().fact;
        if (fact.kind == Fact::Kind::absent) return;
        answerIndexes_[key] = answers_.size();
        answers_.push_back(fact.value);
    }

    template <class Visit>
    static void forLater(const History::Place& place, Visit visit) {
        for (size_t i = 1; i < place.changes.size(); ++i) visit(place.changes[i]);
    }

    std::set<int64_t> momentsOf() const {
        std::set<int64_t> moments;
        const auto add = [&](const History::Change& change) { moments.insert(change.at); };
        forLater(history_.list_, add);
        for (const auto& [key, place] : history_.places_) forLater(place, add);
        for (const auto& [key, place] : history_.answers_) forLater(place, add);
        return moments;
    }

    Json setsAt(int64_t moment) {
        Json sets = Json::object();
        bool isRelisted = false;
        forLater(history_.list_, [&](const History::Change& change) {
            if (change.at != moment) return;
            list_ = change.fact.value;
            isRelisted = true;
        });
        for (const History::Key& key : history_.order_)
            forLater(history_.places_.at(key), [&](const History::Change& change) {
                if (change.at == moment) addSet(key, change.fact, sets, isRelisted);
            });
        if (isRelisted) sets["/controllers"] = listed();
        for (const std::string& key : history_.answerOrder_)
            forLater(history_.answers_.at(key), [&](const History::Change& change) {
                if (change.at == moment) addAnswerSet(key, change.fact, sets);
            });
        return sets;
    }

    void addSet(const History::Key& key, const Fact& fact, Json& sets, bool isRelisted) {
        Json& whole = key.controller ? controller(*key.controller) : whole_;
        const Json before = valueAt(whole, key.path);
        apply(key, fact);
        if (key.controller && isRelisted) return; // told with all the others
        Path path = key.path;
        if (key.controller) {
            const auto found = std::find(list_.begin(), list_.end(), *key.controller);
            if (found == list_.end()) return;
            path.insert(path.begin(), {"controllers", std::to_string(found - list_.begin())});
        }
        if (fact.kind != Fact::Kind::absent)
            return addDifferences(pointerOf(path), before, valueAt(whole, key.path), sets);
        path.pop_back(); // nothing can be taken away alone
        sets[pointerOf(path)] = valueAt(whole, Path(key.path.begin(), key.path.end() - 1));
    }

    static Json valueAt(const Json& whole, const Path& path) {
        const Json::json_pointer pointer(pointerOf(path));
        return whole.contains(pointer) ? whole.at(pointer) : Json();
    }

    void addAnswerSet(const std::string& key, const Fact& fact, Json& sets) {
        const auto [entry, fresh] = answerIndexes_.try_emplace(key, answers_.size());
        if (fresh) answers_.push_back(nullptr);
        sets["/answers/" + std::to_string(entry->second)] = fact.kind == Fact::Kind::absent ? Json() : fact.value;
    }

    const History& history_;
    Json whole_;
    std::map<uint32_t, Json> controllers_;
    Json list_;
    Json answers_ = Json::array();
    std::map<std::string, size_t> answerIndexes_;
};

Json History::machine() const {
    return MachineWriter(*this).write();
}

} // namespace sim
