#include "simulator/machine/timeline.h"

#include "simulator/machine/duration.h"
#include "simulator/machine/memberTable.h"
#include "simulator/machine/plainMachine.h"
#include "simulator/words/words.h"

#include <algorithm>
#include <sstream>

namespace sim {

struct TimelineStep {
    std::string path = {}; // of the entry in the file
    int64_t at = 0;
    int64_t every = 0;
    std::optional<uint64_t> times = {};
    std::vector<std::string> words = {};
    Json sets = Json::object(); // values by pointers
};

namespace {

constexpr uint64_t MOST_MOMENTS = 10000;

Form<int64_t> timeForm() {
    return {[](const Node& node, int64_t& time) {
                const std::optional<int64_t> seconds = parseDuration(readText(node));
                if (!seconds) node.fail(R"(must be a time, such as "00:07:00" or "7min")");
                time = *seconds;
            },
            textForm().schema};
}

Form<std::vector<std::string>> wordsForm() {
    return {[](const Node& node, std::vector<std::string>& words) {
                std::istringstream text(readText(node));
                words.assign(std::istream_iterator<std::string>(text), {});
                if (words.empty()) node.fail("has no words");
            },
            textForm().schema};
}

Form<Json> setsForm() {
    return {[](const Node& node, Json& sets) {
                forEachMember(node, [&](const Node& member) {
                    if (member.key.empty() || member.key.front() != '/')
                        member.failName("the name must be a JSON pointer, such as /controllers/0/batteryStatus");
                    sets[std::string(member.key)] = member.json;
                });
            },
            [] { return schemaOfMembers("^/", Json::object()); }};
}

const MemberTable<TimelineStep>& stepMembers() {
    static const MemberTable<TimelineStep> table = {
        member("at", &TimelineStep::at, timeForm(), "When, after the daemon's start: 00:07:00 or 7min."),
        member("every", &TimelineStep::every, timeForm(), "Between repetitions; with \"times\"."),
        member("times", &TimelineStep::times, unsignedForm<uint64_t>(MOST_MOMENTS), "How often; with \"every\"."),
        member("do", &TimelineStep::words, wordsForm(), "What is done, in the words of bmcsim: drive 0/8 fail."),
        member("set", &TimelineStep::sets, setsForm(), "Values that are set, by JSON pointers."),
    };
    return table;
}

void readStep(const Node& entry, TimelineStep& step) {
    step.path = entry.path();
    const size_t mistakes = entry.allMistakes().size();
    readMembers(entry, step, stepMembers());
    if (!isGiven(entry, "at")) entry.fail(R"(has no time ("at"))");
    if (entry.allMistakes().size() > mistakes) return;
    if (step.words.empty() && step.sets.empty()) entry.fail(R"(has neither words ("do") nor values ("set"))");
    if (step.times.has_value() != (step.every > 0))
        entry.fail(R"("every" and "times" come together, and are more than 0)");
}

std::string unescaped(std::string name) {
    for (size_t i = name.find('~'); i != std::string::npos; i = name.find('~', i + 1))
        if (i + 1 < name.size() && (name[i + 1] == '0' || name[i + 1] == '1'))
            name.replace(i, 2, name[i + 1] == '0' ? "~" : "/");
    return name;
}

// The place that a name means below a value; a member that is missing and the element behind the last are made. NULL:
// there is none.
Json* childOf(Json& parent, const std::string& name) {
    if (parent.is_null()) parent = name == "-" ? Json::array() : Json::object();
    if (parent.is_object()) return &parent[name];
    if (!parent.is_array()) return nullptr;
    size_t index = parent.size();
    const char* end = name.data() + name.size();
    const auto [stop, error] = std::from_chars(name.data(), end, index);
    if (name != "-" && (error != std::errc() || stop != end || index > parent.size())) return nullptr;
    if (index == parent.size()) parent.push_back(nullptr);
    return &parent[index];
}

// The fault; empty: it is set.
std::string setValue(Json& file, const std::string& pointer, const Json& value) {
    Json* place = &file;
    for (size_t start = 1, end = 0; end != std::string::npos; start = end + 1) {
        end = pointer.find('/', start);
        const std::string name = unescaped(pointer.substr(start, end - start));
        Json* child = childOf(*place, name);
        if (child == nullptr)
            return place->is_array() ? "no element " + name + " in a list of " + std::to_string(place->size())
                                     : "nothing can be below " + pointer.substr(0, start - 1);
        place = child;
    }
    *place = value;
    return {};
}

} // namespace

nlohmann::ordered_json timelineSchema() {
    return {{"type", "array"}, {"items", withRequired(schemaOf(stepMembers()), "at")}};
}

Timeline::Timeline(const Node& file, const Node& member, MachineOf machineOf) : machineOf_(std::move(machineOf)) {
    forEachElement(member, MOST_MOMENTS, [&](const Node& entry) {
        TimelineStep step;
        readStep(entry, step);
        for (uint64_t i = 0; i < step.times.value_or(1); ++i)
            moments_.push_back({step.at + int64_t(i) * step.every, steps_.size()});
        if (moments_.size() > MOST_MOMENTS)
            member.fail("there are more than " + std::to_string(MOST_MOMENTS) + " steps");
        steps_.push_back(std::move(step));
    });
    if (!member.allMistakes().empty()) return;
    std::stable_sort(moments_.begin(), moments_.end(), [](const Moment& a, const Moment& b) { return a.at < b.at; });
    file_ = std::make_unique<Json>(plainMachine(file.json));
    file_->erase("timeline");
    member.attempt([this] { tryAll(); });
}

Timeline::~Timeline() = default;

void Timeline::apply(Json& file, const TimelineStep& step) {
    for (const auto& [pointer, value] : step.sets.items())
        if (const std::string fault = setValue(file, pointer, value); !fault.empty())
            throw DoesNotFit{{step.path + "/set", std::string(pointer).append(": ").append(fault)}};
    if (step.words.empty()) return;
    const WordResult result = applyWords(file, step.words);
    if (!result.error.empty()) throw DoesNotFit{{step.path + "/do", result.error}};
}

// Each moment must leave a machine.
void Timeline::tryAll() const {
    Json file = *file_;
    for (size_t i = 0; i < moments_.size(); ++i) {
        const TimelineStep& step = steps_[moments_[i].step];
        apply(file, step);
        if (i + 1 < moments_.size() && moments_[i + 1].at == moments_[i].at) continue;
        try {
            machineOf_(file);
        } catch (const DoesNotFit& fault) {
            throw DoesNotFit{{step.path, "leaves a machine that does not fit: " + fault.mistake.pointer + ": " +
                                             fault.mistake.text}};
        }
    }
}

std::optional<int64_t> Timeline::next() const {
    if (played_ == moments_.size()) return {};
    return moments_[played_].at;
}

std::unique_ptr<Machine> Timeline::play(int64_t second) {
    for (; played_ < moments_.size() && moments_[played_].at <= second; ++played_)
        apply(*file_, steps_[moments_[played_].step]);
    return machineOf_(*file_);
}

std::vector<std::pair<int64_t, std::string>> Timeline::plan() const {
    std::vector<std::pair<int64_t, std::string>> plan;
    for (const Moment& moment : moments_) {
        std::string text;
        for (const auto& [pointer, value] : steps_[moment.step].sets.items())
            text += (text.empty() ? "set " : ", ") + pointer;
        for (const std::string& word : steps_[moment.step].words) text += (text.empty() ? "" : " ") + word;
        plan.emplace_back(moment.at, text);
    }
    return plan;
}

} // namespace sim
