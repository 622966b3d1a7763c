#include "raidtree/check.h"

#include <algorithm>
#include <array>

namespace raidtree {

namespace {

constexpr size_t MOST_IN_LINE = 5;

constexpr std::array<const char*, 4> STATE_NAMES = {"OK", "WARNING", "CRITICAL", "UNKNOWN"};

// A bar begins the performance data.
std::string withoutBars(std::string text) {
    std::replace(text.begin(), text.end(), '|', '!');
    return text;
}

// Why the state of the tree is not known, whatever stands in it.
std::string findStale(const Report& report, const CheckOptions& options) {
    if (!options.maxUpdateAge) return {};
    if (!report.update) return report.updateError;
    const Update& update = *report.update;
    if (update.ageSeconds > *options.maxUpdateAge)
        return "the last update was " + ageText(update.ageSeconds) + " ago, more than " +
               ageText(*options.maxUpdateAge);
    if (!update.isGood()) return "the last update ended so: " + resultText(update.result);
    return {};
}

Problem missing(const std::string& label, const std::string& title, const std::string& says, Severity severity) {
    return {severity, "server", label, title, says, {}, {{severity, "", says}}};
}

void addMissing(const Report& report, const CheckOptions& options, std::vector<Problem>& problems) {
    const size_t drives = countAll(report.server, {}).drives;
    if (options.expectedDrives && drives != *options.expectedDrives) {
        const bool isLess = drives < *options.expectedDrives;
        problems.push_back(missing("drives", "",
                                   std::to_string(drives) + ", expected " + std::to_string(*options.expectedDrives),
                                   isLess ? Severity::critical : Severity::warning));
    }
    if (!options.baseline) return;
    for (const Change& change : compareServers(*options.baseline, report.server, false))
        if (change.kind == Change::Kind::gone)
            problems.push_back(missing(change.label, change.title, "gone", Severity::critical));
}

std::string limitsOf(const States& states, const char* field) {
    const auto entry = states.limits.find(field);
    const auto text = [](const Number& limit) { return limit ? std::to_string(*limit) : std::string(); };
    if (entry == states.limits.end()) return ";;;0";
    // The plug-in alarms from the limit on, a range as plug-ins write it beyond its end.
    const auto below = [&](const Number& limit) { return limit ? text(*limit - 1) : std::string(); };
    return ";" + below(entry->second.warning) + ";" + below(entry->second.critical) + ";0";
}

std::string performanceData(const Report& report, const States& states, const CheckOptions& options,
                            const std::vector<Problem>& problems) {
    const Counts counts = countAll(report.server, problems);
    Number hottest;
    Number hottestChip;
    Number mediaErrors;
    Number otherErrors;
    Number predicted;
    const auto raise = [](Number& to, const Number& value) {
        if (value) to = std::max(to.value_or(0), *value);
    };
    for (const Adapter& adapter : report.server.adapters) {
        raise(hottestChip, adapter.temperatureCelsius);
        for (const Drive& drive : adapter.drives) {
            raise(hottest, drive.temperatureCelsius);
            raise(mediaErrors, drive.mediaErrors);
            raise(otherErrors, drive.otherErrors);
            raise(predicted, drive.predictedFailures);
        }
    }
    std::string data = "drives=" + std::to_string(counts.drives) + ";;;0 volumes=" + std::to_string(counts.volumes) +
                       ";;;0 problems_critical=" + std::to_string(counts.critical) +
                       ";;;0 problems_warning=" + std::to_string(counts.warnings) + ";;;0";
    const auto add = [&](const char* name, const Number& value, const char* field) {
        if (value) data += std::string(" ") + name + "=" + std::to_string(*value) + limitsOf(states, field);
    };
    add("drive_temperature_max", hottest, "drive.temperatureCelsius");
    add("adapter_temperature_max", hottestChip, "adapter.temperatureCelsius");
    add("media_errors_max", mediaErrors, "drive.mediaErrors");
    add("other_errors_max", otherErrors, "drive.otherErrors");
    add("predicted_failures_max", predicted, "drive.predictedFailures");
    if (report.update && options.maxUpdateAge)
        data += " update_age=" + std::to_string(report.update->ageSeconds) + "s;;;0";
    return data;
}

CheckResult result(CheckState state, const std::string& headline, const std::string& data, const std::string& details) {
    std::string text =
        std::string("RAID ") + STATE_NAMES.at(static_cast<size_t>(state)) + " - " + withoutBars(headline);
    if (!data.empty()) text += " | " + data;
    return {state, text + "\n" + withoutBars(details)};
}

} // namespace

CheckResult checkServer(const Report& report, const States& states, const CheckOptions& options) {
    std::vector<Problem> problems = report.problems;
    addMissing(report, options, problems);
    sortProblems(problems);
    std::string details;
    for (const Problem& problem : problems)
        details += std::string(problem.severity == Severity::critical ? "CRITICAL: " : "WARNING: ") + problem.label +
                   (problem.title.empty() ? "" : " (" + problem.title + ")") + " " + problem.says + "\n";
    for (const std::string& note : report.server.notes) details += "note: " + note + "\n";
    const std::string data = performanceData(report, states, options, problems);
    const Counts counts = countAll(report.server, problems);
    if (const std::string stale = findStale(report, options); !stale.empty())
        return result(CHECK_UNKNOWN,
                      stale + (problems.empty() ? "" : "; before it " + problemsText(problems, MOST_IN_LINE)), data,
                      details);
    const CheckState state = counts.critical > 0 ? CHECK_CRITICAL : counts.warnings > 0 ? CHECK_WARNING : CHECK_OK;
    const std::string name = report.server.name.empty() ? "" : report.server.name + ": ";
    const std::string whole =
        problems.empty() ? ", " + countedText(counts.volumes, "volume") + ", " + countedText(counts.drives, "drive")
                         : "";
    return result(state, name + problemsText(problems, MOST_IN_LINE) + whole, data, details);
}

CheckResult checkUnknown(const std::string& why) {
    return result(CHECK_UNKNOWN, why, "", "");
}

} // namespace raidtree
