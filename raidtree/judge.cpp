#include "raidtree/judge.h"

#include <algorithm>

namespace raidtree {

namespace {

std::string fieldName(const char* kind, const char* key) {
    return std::string(kind) + "." + key;
}

// The text of a state, "true" and "false" among them.
template <class Record>
Finding judgeState(const Record& record, const Field<Record>& field, const States& states) {
    const Meaning meaning = states.meaningOf(fieldName(kindName<Record>(), field.key), fieldText(record, field));
    const bool namesField = !meaning.isKnown && std::string_view(field.key) != "status";
    return {meaning.severity, field.key, (namesField ? fieldTitle(field.key) + " " : "") + meaning.says,
            !meaning.isKnown};
}

template <class Record>
void judgeNumber(const Record& record, const Field<Record>& field, const States& states, Verdict& verdict) {
    const auto* member = std::get_if<Number Record::*>(&field.member);
    if (member == nullptr || !(record.**member)) return;
    const Severity severity = states.severityOf(fieldName(kindName<Record>(), field.key), *(record.**member));
    if (severity > Severity::ok)
        verdict.add({severity, field.key, fieldTitle(field.key) + " " + fieldText(record, field)});
}

void judgeLimits(const Sensor& sensor, Verdict& verdict) {
    if (!sensor.temperatureCelsius) return;
    const int64_t now = *sensor.temperatureCelsius;
    const std::string says = "temperature " + std::to_string(now) + " C, ";
    const auto add = [&](Severity severity, const char* what, const Number& limit) {
        verdict.add({severity, "temperatureCelsius", says + what + std::to_string(*limit) + " C"});
    };
    if (sensor.criticalHighCelsius && now >= *sensor.criticalHighCelsius)
        add(Severity::critical, "critical from ", sensor.criticalHighCelsius);
    else if (sensor.warningHighCelsius && now >= *sensor.warningHighCelsius)
        add(Severity::warning, "too hot from ", sensor.warningHighCelsius);
    else if (sensor.criticalLowCelsius && now < *sensor.criticalLowCelsius)
        add(Severity::critical, "critical below ", sensor.criticalLowCelsius);
    else if (sensor.warningLowCelsius && now < *sensor.warningLowCelsius)
        add(Severity::warning, "too cold below ", sensor.warningLowCelsius);
}

void judgeCounters(const Drive& drive, Verdict& verdict) {
    // The only reason why a drive with a state is without its counters.
    constexpr const char* TOO_MANY = " not told: 2147483648 or more";
    if (!drive.status.empty() && !drive.mediaErrors)
        verdict.add({Severity::warning, "mediaErrors", std::string("media errors") + TOO_MANY});
    // Both say the same; the number says more.
    const auto isIt = [](const char* field) { return [field](const Finding& f) { return f.field == field; }; };
    const auto smart = std::find_if(verdict.findings.begin(), verdict.findings.end(), isIt("smartStatus"));
    const auto count = std::find_if(verdict.findings.begin(), verdict.findings.end(), isIt("predictedFailures"));
    if (smart == verdict.findings.end() || count == verdict.findings.end()) return;
    smart->says += " (" + std::to_string(*drive.predictedFailures) + ")";
    smart->severity = std::max(smart->severity, count->severity);
    verdict.findings.erase(count);
}

Problem problemOf(const char* kind, const Place& place, const std::string& title, const Verdict& verdict) {
    Problem problem = {verdict.severity, kind, labelOf(kind, place), title, verdict.says(Severity::warning), place, {}};
    for (const Finding& finding : verdict.findings)
        if (finding.severity >= Severity::warning) problem.findings.push_back(finding);
    return problem;
}

// What the tree sums up, where it is worse than all that it sums up, or says what nobody knows.
template <class Record>
void addSummary(const Record& record, const Place& place, Severity explained, const States& states,
                std::vector<Problem>& problems) {
    Verdict verdict;
    for (const Field<Record>& field : fieldsOf<Record>()) {
        if (field.use != Use::summary) continue;
        Finding finding = judgeState(record, field, states);
        const std::string text = fieldText(record, field);
        if (!finding.isUnknown && finding.severity <= explained) continue;
        if (finding.says == text) finding.says += ", though no element is";
        if (!finding.isUnknown && std::is_same_v<Record, Summary>)
            finding.says = fieldTitle(field.key) + " " + finding.says;
        verdict.add(std::move(finding));
    }
    // One that says nothing at all has nothing to sum up.
    if (verdict.severity >= Severity::warning)
        problems.push_back(problemOf(kindName<Record>(), place, titleOf(record), verdict));
}

// A backplane that only blinks its lights has no page of states to sum up. Any other enclosure without elements has one
// that could not be read.
bool hasNoState(const Enclosure& enclosure) {
    return enclosure.product == "SGPIO" && enclosure.status == "Unknown" && enclosure.fans.empty() &&
           enclosure.powerSupplies.empty() && enclosure.sensors.empty();
}

struct Collector {
    template <class Record>
    Severity add(const Record& record, const Place& place) {
        const Verdict verdict = judge(record, states);
        if (verdict.severity >= Severity::warning)
            problems.push_back(problemOf(kindName<Record>(), place, titleOf(record), verdict));
        return verdict.severity;
    }
    // Of the elements of an enclosure, without what it sums up.
    void addEnclosure(int64_t adapter, const Enclosure& enclosure) {
        Severity worst = Severity::ok;
        visitEnclosure(adapter, enclosure,
                       [&](const auto& record, const Place& place) { worst = std::max(worst, add(record, place)); });
        if (hasNoState(enclosure)) return;
        const Place place = {adapter, enclosure.number, {}};
        const size_t before = problems.size();
        addSummary(enclosure, place, worst, states, problems);
        if (problems.size() == before)
            addSummary(enclosure.processor, place, worst, states, problems); // the same, mostly
    }
    void addAdapter(const Adapter& adapter) {
        const Place place = {adapter.number, {}, {}};
        add(adapter, place);
        Severity worst = Severity::ok; // its status is that of volumes and battery
        for (const Volume& volume : adapter.volumes)
            worst = std::max(worst, add(volume, {adapter.number, {}, volume.number}));
        if (adapter.battery) worst = std::max(worst, add(*adapter.battery, place));
        addSummary(adapter, place, worst, states, problems);
        for (const Enclosure& enclosure : adapter.enclosures) addEnclosure(adapter.number, enclosure);
        for (const Drive& drive : adapter.drives) add(drive, {adapter.number, {}, drive.number});
    }

    const States& states;
    std::vector<Problem>& problems;
};

} // namespace

void Verdict::add(Finding finding) {
    severity = std::max(severity, finding.severity);
    if (finding.severity > Severity::ok) findings.push_back(std::move(finding));
}

std::string Verdict::says(Severity least) const {
    std::string all;
    for (const Finding& finding : findings)
        if (finding.severity >= least) all += (all.empty() ? "" : ", ") + finding.says;
    return all;
}

template <class Record>
Verdict judge(const Record& record, const States& states) {
    Verdict verdict;
    size_t told = 0;
    size_t notTold = 0;
    for (const Field<Record>& field : fieldsOf<Record>()) {
        if (field.use == Use::state) {
            const bool isTold = !fieldText(record, field).empty();
            ++(isTold ? told : notTold);
            verdict.add(judgeState(record, field, states));
        } else {
            judgeNumber(record, field, states, verdict);
        }
    }
    if (told == 0 && notTold > 0) {
        std::erase_if(verdict.findings, [](const Finding& f) { return f.says.ends_with("not told"); });
        verdict.add({Severity::warning, "status", "state not told", true});
    }
    if constexpr (std::is_same_v<Record, Sensor>) judgeLimits(record, verdict);
    if constexpr (std::is_same_v<Record, Drive>) judgeCounters(record, verdict);
    // The state first, whatever the order of the tree.
    std::stable_partition(verdict.findings.begin(), verdict.findings.end(),
                          [](const Finding& f) { return f.field == "status"; });
    return verdict;
}

template Verdict judge(const Adapter&, const States&);
template Verdict judge(const Volume&, const States&);
template Verdict judge(const Battery&, const States&);
template Verdict judge(const Enclosure&, const States&);
template Verdict judge(const Processor&, const States&);
template Verdict judge(const Fan&, const States&);
template Verdict judge(const PowerSupply&, const States&);
template Verdict judge(const Sensor&, const States&);
template Verdict judge(const Drive&, const States&);
template Verdict judge(const Summary&, const States&);

template <class Record>
Severity severityOf(const Record& record, const States& states) {
    if constexpr (std::is_same_v<Record, Enclosure>)
        if (hasNoState(record)) return Severity::ok;
    Severity worst = judge(record, states).severity;
    for (const Field<Record>& field : fieldsOf<Record>())
        if (field.use == Use::summary) worst = std::max(worst, judgeState(record, field, states).severity);
    return worst;
}

template Severity severityOf(const Adapter&, const States&);
template Severity severityOf(const Volume&, const States&);
template Severity severityOf(const Battery&, const States&);
template Severity severityOf(const Enclosure&, const States&);
template Severity severityOf(const Fan&, const States&);
template Severity severityOf(const PowerSupply&, const States&);
template Severity severityOf(const Sensor&, const States&);
template Severity severityOf(const Drive&, const States&);

std::vector<Problem> findProblems(const Server& server, const States& states) {
    std::vector<Problem> problems;
    Collector collector = {states, problems};
    for (const Adapter& adapter : server.adapters) collector.addAdapter(adapter);
    Severity worst = Severity::ok;
    for (const Problem& problem : problems) worst = std::max(worst, problem.severity);
    addSummary(server.summary, {}, worst, states, problems);
    sortProblems(problems);
    return problems;
}

void sortProblems(std::vector<Problem>& problems) {
    const auto rank = [](const Problem& problem) {
        const int kind = problem.kind == "drive" ? 0 : problem.kind == "volume" ? 1 : 2;
        return std::pair(-static_cast<int>(problem.severity), kind);
    };
    std::stable_sort(problems.begin(), problems.end(),
                     [&](const Problem& a, const Problem& b) { return rank(a) < rank(b); });
}

Counts countAll(const Server& server, const std::vector<Problem>& problems) {
    Counts counts;
    for (const Problem& problem : problems)
        ++(problem.severity == Severity::critical ? counts.critical : counts.warnings);
    for (const Adapter& adapter : server.adapters) {
        counts.volumes += adapter.volumes.size();
        counts.drives += adapter.drives.size();
    }
    return counts;
}

std::string countedText(size_t count, const char* what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string problemsText(const std::vector<Problem>& problems, size_t most) {
    if (problems.empty()) return "no problems";
    std::string text = countedText(problems.size(), "problem") + (most > 0 ? ": " : "");
    for (size_t i = 0; i < std::min(problems.size(), most); ++i)
        text += (i == 0 ? "" : ", ") + problems[i].label + " " + problems[i].findings.front().says;
    if (most > 0 && problems.size() > most) text += ", and " + std::to_string(problems.size() - most) + " more";
    return text;
}

// Of walk.h.

std::string labelOf(const char* kind, const Place& place) {
    std::string label;
    for (const char* c = kind; *c != 0; ++c) // "powerSupply"
        label += *c >= 'A' && *c <= 'Z' ? std::string{' ', static_cast<char>(*c - 'A' + 'a')} : std::string{*c};
    char separator = ' ';
    for (const Number& number : {place.adapter, place.enclosure, place.number}) {
        if (!number) continue;
        label += separator + std::to_string(*number);
        separator = '/';
    }
    return label;
}

std::string bayOf(const Drive& drive) {
    if (!drive.slot) return {};
    return "bay " + (drive.enclosure ? std::to_string(*drive.enclosure) + ":" : "") + std::to_string(*drive.slot);
}

} // namespace raidtree
