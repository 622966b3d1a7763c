#include "raidtree/render.h"
#include "raidtree/walk.h"

#include <array>
#include <cctype>
#include <deque>
#include <unordered_map>

namespace raidtree {

namespace {

std::string snakeCase(std::string_view key) {
    std::string name;
    for (const char c : key) {
        if (isupper(static_cast<unsigned char>(c)) != 0) name += '_';
        name += static_cast<char>(tolower(static_cast<unsigned char>(c)));
    }
    return name;
}

std::string label(std::string_view name, const std::string& value) {
    std::string text = std::string(name) + "=\"";
    for (const char c : value) { // clean texts have no line's end
        if (c == '"' || c == '\\') text += '\\';
        text += c;
    }
    return text + "\"";
}

// All samples of a metric stand together, behind what it is.
struct Family {
    std::string name, help, type, samples;

    void add(std::string_view labels, std::string_view value) {
        samples += name;
        if (!labels.empty()) samples.append("{").append(labels).append("}");
        samples.append(" ").append(value).append("\n");
    }
};

class Metrics {
  public:
    Family& family(const std::string& name, const std::string& help, const char* type = "gauge") {
        const auto [entry, isNew] = byName_.try_emplace(name, families_.size());
        if (isNew) families_.push_back({name, help, type, ""});
        return families_[entry->second];
    }
    std::string take() {
        std::string all;
        size_t size = 0;
        for (const Family& family : families_) size += 2 * family.name.size() + family.samples.size() + 128;
        all.reserve(size);
        for (Family& family : families_) {
            all += "# HELP " + family.name + " " + family.help + "\n# TYPE " + family.name + " " + family.type + "\n";
            all += family.samples;
            std::string().swap(family.samples); // there is much of it
        }
        return all;
    }

  private:
    std::deque<Family> families_;
    std::unordered_map<std::string, size_t> byName_;
};

std::string placeLabels(const char* kind, const Place& place) {
    std::string labels;
    const auto add = [&](const std::string& name, const Number& number) {
        if (number) labels += (labels.empty() ? "" : ",") + label(name, std::to_string(*number));
    };
    add("adapter", place.adapter);
    add("enclosure", place.enclosure);
    add(snakeCase(kind), place.number);
    return labels;
}

// The series of one kind of objects. What is the same for all of them is made once.
template <class Record>
class KindMetrics {
  public:
    KindMetrics(Metrics& metrics, const States& states) : kind_(snakeCase(kindName<Record>())), metrics_(metrics) {
        for (const Field<Record>& field : fieldsOf<Record>()) {
            Column& column = columns_.emplace_back();
            column.label = snakeCase(field.key);
            if (field.use != Use::state && field.use != Use::summary) continue;
            const auto texts = states.texts.find(std::string(kindName<Record>()) + "." + field.key);
            if (texts == states.texts.end()) continue;
            for (const auto& [state, meaning] : texts->second)
                column.known.emplace_back(state, label("state", state) + "} ");
        }
    }

    void add(const Record& record, const Place& place) {
        const std::string labels = placeLabels(kindName<Record>(), place);
        std::string info = labels;
        Column* column = columns_.data();
        for (const Field<Record>& field : fieldsOf<Record>()) {
            if (field.use == Use::identity)
                addInfo(record, field, place, *column, info);
            else if (field.use == Use::state || field.use == Use::summary)
                addState(record, field, labels, *column);
            else if (field.use == Use::measured || field.use == Use::counted || field.use == Use::size)
                addNumber(record, field, labels, *column);
            ++column;
        }
        if constexpr (!std::is_same_v<Record, Summary>)
            metrics_.family("raid_" + kind_ + "_info", "What the " + kind_ + " is.").add(info, "1");
    }

  private:
    struct Column { // of a field
        std::string label;
        Family* family = nullptr;                               // once it has samples
        std::vector<std::pair<std::string, std::string>> known; // states, each with the end of its sample's name
    };

    static void addInfo(const Record& record, const Field<Record>& field, const Place& place, const Column& column,
                        std::string& labels) {
        const bool isPlace = column.label == "enclosure" && place.enclosure;
        const std::string text = fieldText(record, field);
        if (!isPlace && !text.empty()) labels += (labels.empty() ? "" : ",") + label(column.label, text);
    }

    void addState(const Record& record, const Field<Record>& field, const std::string& labels, Column& column) {
        if (column.family == nullptr)
            column.family =
                &metrics_.family("raid_" + kind_ + "_" + column.label,
                                 "The " + fieldTitle(field.key) + " of the " + kind_ + ", 1 for what it is.");
        Family& family = *column.family;
        const std::string now = fieldText(record, field);
        const std::string begin = family.name + "{" + labels + (labels.empty() ? "" : ",");
        bool isKnown = false;
        for (const auto& [state, end] : column.known) {
            const bool isIt = state == now;
            isKnown = isKnown || isIt;
            family.samples.append(begin).append(end).append(isIt ? "1\n" : "0\n");
        }
        if (!isKnown) family.samples.append(begin + label("state", now.empty() ? "(not told)" : now) + "} 1\n");
    }

    void addNumber(const Record& record, const Field<Record>& field, const std::string& labels, Column& column) {
        std::array<char, 32> digits{};
        if (const auto* whole = std::get_if<Number Record::*>(&field.member); whole != nullptr && record.**whole)
            snprintf(digits.data(), digits.size(), "%lld", static_cast<long long>(*(record.**whole)));
        if (const auto* real = std::get_if<Real Record::*>(&field.member); real != nullptr && record.**real)
            snprintf(digits.data(), digits.size(), "%.10g", *(record.**real));
        if (digits[0] == 0) return;
        const bool isCounter = field.use == Use::counted;
        if (column.family == nullptr)
            column.family = &metrics_.family("raid_" + kind_ + "_" + column.label + (isCounter ? "_total" : ""),
                                             "The " + fieldTitle(field.key) + " of the " + kind_ + ".",
                                             isCounter ? "counter" : "gauge");
        column.family->add(labels, digits.data());
    }

    std::string kind_;
    Metrics& metrics_;
    std::vector<Column> columns_; // one for each field
};

// The series of all kinds.
struct AllKinds {
    AllKinds(Metrics& metrics, const States& states)
        : kinds(KindMetrics<Adapter>(metrics, states), KindMetrics<Volume>(metrics, states),
                KindMetrics<Battery>(metrics, states), KindMetrics<Enclosure>(metrics, states),
                KindMetrics<Processor>(metrics, states), KindMetrics<Fan>(metrics, states),
                KindMetrics<PowerSupply>(metrics, states), KindMetrics<Sensor>(metrics, states),
                KindMetrics<Drive>(metrics, states), KindMetrics<Summary>(metrics, states)) {}
    template <class Record>
    void operator()(const Record& record, const Place& place) {
        std::get<KindMetrics<Record>>(kinds).add(record, place);
    }
    std::tuple<KindMetrics<Adapter>, KindMetrics<Volume>, KindMetrics<Battery>, KindMetrics<Enclosure>,
               KindMetrics<Processor>, KindMetrics<Fan>, KindMetrics<PowerSupply>, KindMetrics<Sensor>,
               KindMetrics<Drive>, KindMetrics<Summary>>
        kinds;
};

void addProblems(Metrics& metrics, const std::vector<Problem>& problems) {
    size_t counts[2] = {};
    for (const Problem& problem : problems) {
        ++counts[problem.severity == Severity::critical ? 1 : 0];
        for (const Finding& finding : problem.findings)
            metrics.family("raid_problem", "What is wrong with an object; there is no series where nothing is.")
                .add(label("kind", snakeCase(problem.kind)) + "," + label("object", problem.label) + "," +
                         label("title", problem.title) + "," + label("field", snakeCase(finding.field)) + "," +
                         label("severity", severityName(finding.severity)) + "," +
                         label("unknown", finding.isUnknown ? "true" : "false"),
                     "1");
    }
    Family& family = metrics.family("raid_problems", "Objects with which something is wrong, by their worst.");
    family.add(label("severity", "warning"), std::to_string(counts[0]));
    family.add(label("severity", "critical"), std::to_string(counts[1]));
}

} // namespace

std::string renderMetrics(const Report* report, const States& states) {
    Metrics metrics;
    metrics.family("raid_read_success", "Whether the tree could be read.").add("", report != nullptr ? "1" : "0");
    if (report == nullptr) return metrics.take();
    if (const auto& update = report->update) {
        metrics.family("raid_update_time_seconds", "When the daemon's last update was, since 1970.")
            .add("", std::to_string(update->seconds));
        if (update->result)
            metrics.family("raid_update_result", "0 written, 1 nothing new, 2 no document, 3 not written, 4 not read.")
                .add("", std::to_string(*update->result));
    }
    metrics.family("raid_server_info", "The server.").add(label("server", report->server.name), "1");
    addProblems(metrics, report->problems);
    visitServer(report->server, AllKinds(metrics, states));
    return metrics.take();
}

} // namespace raidtree
