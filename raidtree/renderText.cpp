#include "raidtree/cleanText.h"
#include "raidtree/render.h"

#include <algorithm>
#include <map>

namespace raidtree {

namespace {

constexpr size_t MOST_IN_HEADLINE = 3, MOST_IN_SHORT = 8, WIDEST_COLUMN = 24, WIDEST_HEAD = 32;

std::string nameOf(const Server& server) {
    return server.name.empty() ? "Server without name" : server.name;
}

std::string summaryOf(const Server& server) {
    return "(summary in the tree: " + (server.summary.overall.empty() ? "none" : server.summary.overall) + ")";
}

class Printer {
  public:
    Printer(const States& states, const TextStyle& style) : states_(states), style_(style) {}

    void line(const std::string& text, Severity severity = Severity::ok) {
        const std::string shown = cutText(text, style_.width);
        text_ += coloured(shown.substr(0, shown.find_last_not_of(' ') + 1), severity) + "\n";
    }
    // Wrapped between words, below the first one behind the head.
    void words(const std::string& head, const std::string& text, Severity severity = Severity::ok) {
        const size_t indent = std::min(textWidth(head), style_.width / 2);
        std::string row = head;
        for (size_t at = 0; at <= text.size();) {
            const size_t end = std::min(text.find(' ', at), text.size());
            const std::string word = text.substr(at, end - at);
            if (at > 0 && textWidth(row) + 1 + textWidth(word) > style_.width) {
                line(row, severity);
                row = std::string(indent, ' ');
            }
            row += " " + word;
            at = end + 1;
        }
        line(row.substr(head.empty() ? 1 : 0), severity);
    }
    void problem(const Problem& problem) {
        const std::string object = problem.label + (problem.title.empty() ? "" : " (" + problem.title + ")");
        const std::string grade = problem.severity == Severity::critical ? "CRITICAL" : "WARNING";
        words("  " + padText(grade, 8), object + ": " + problem.says, problem.severity);
    }
    // A row of the table that endTable prints, the state last.
    template <class Record>
    void row(std::vector<std::string> parts, const Record& record, const std::string& state) {
        const Verdict verdict = judge(record, states_);
        std::string says = verdict.says(Severity::info);
        if (verdict.findings.empty() || verdict.findings.front().field != "status")
            says = state + (state.empty() || says.empty() ? "" : ", ") + says;
        rows_.push_back({std::move(parts), says, verdict.severity});
    }
    void endTable(size_t indent) {
        std::vector<size_t> widths;
        for (const Row& row : rows_) {
            widths.resize(std::max(widths.size(), row.parts.size()));
            for (size_t i = 0; i < row.parts.size(); ++i)
                widths[i] = std::max(widths[i], std::min(textWidth(row.parts[i]), WIDEST_COLUMN));
        }
        for (const Row& row : rows_) {
            std::string head(indent, ' ');
            for (size_t i = 0; i < row.parts.size(); ++i)
                if (widths[i] > 0) head += padText(row.parts[i], widths[i]) + "  ";
            head.resize(head.size() - 1);
            words(head, row.says, row.severity);
        }
        rows_.clear();
    }
    void bays(const std::string& title, const std::vector<const Drive*>& drives);
    void elements(const Enclosure& enclosure);
    void adapter(const Adapter& adapter);
    std::string take() { return std::move(text_); }

  private:
    std::string coloured(const std::string& text, Severity severity) const {
        if (!style_.hasColour || severity < Severity::warning) return text;
        return (severity == Severity::critical ? "\x1b[1;31m" : "\x1b[33m") + text + "\x1b[0m";
    }

    struct Row {
        std::vector<std::string> parts;
        std::string says;
        Severity severity;
    };

    const States& states_;
    const TextStyle& style_;
    std::string text_;
    std::vector<Row> rows_;
};

// "encl 1 KP23   0:On 1:On 2:On 3:FAIL"; in columns where one row does not hold them all.
void Printer::bays(const std::string& title, const std::vector<const Drive*>& drives) {
    std::vector<std::pair<std::string, Severity>> cells;
    size_t widest = 0;
    size_t total = 0;
    for (const Drive* drive : drives) {
        const Verdict verdict = judge(*drive, states_);
        const Meaning state = states_.meaningOf("drive.status", drive->status);
        const bool marked = verdict.severity > std::max(state.severity, Severity::info);
        const std::string cell = (drive->slot ? std::to_string(*drive->slot) : "?") + ":" +
                                 cutText(state.shortForm, 16) + (marked ? "!" : "");
        widest = std::max(widest, textWidth(cell));
        total += textWidth(cell) + 1;
        cells.emplace_back(cell, verdict.severity);
    }
    const std::string head = "  " + title + "  ";
    const size_t indent = std::min(textWidth(head), WIDEST_HEAD);
    const bool inColumns = indent + total > style_.width + 1;
    if (textWidth(head) > indent || cells.empty()) line(head.substr(0, head.find_last_not_of(' ') + 1));
    std::string row = textWidth(head) > indent ? std::string(indent, ' ') : padText(head, indent);
    size_t column = indent;
    bool isFirst = true;
    for (const auto& [cell, severity] : cells) {
        const size_t width = inColumns ? widest : textWidth(cell);
        if (!isFirst && column + 1 + width > style_.width) {
            text_ += row + "\n";
            row = std::string(indent, ' ');
            column = indent;
            isFirst = true;
        }
        if (!isFirst) row += ' ', ++column;
        const std::string blanks(width - textWidth(cell), ' ');
        row += coloured(cell, severity) + blanks;
        column += width;
        isFirst = false;
    }
    if (cells.empty()) return;
    row.resize(row.find_last_not_of(' ') + 1);
    text_ += row + "\n";
}

void Printer::elements(const Enclosure& enclosure) {
    for (const Fan& fan : enclosure.fans)
        row({"fan " + std::to_string(fan.number), fan.location, fan.speed}, fan, fan.status);
    for (const PowerSupply& supply : enclosure.powerSupplies)
        row({"power supply " + std::to_string(supply.number), supply.serialNumber, ""}, supply, supply.status);
    for (const Sensor& sensor : enclosure.sensors) {
        const std::string degrees = sensor.temperatureCelsius ? std::to_string(*sensor.temperatureCelsius) + " C" : "";
        row({"sensor " + std::to_string(sensor.number), sensor.location, degrees}, sensor, sensor.status);
    }
    endTable(4);
}

void Printer::adapter(const Adapter& adapter) {
    const std::string degrees = adapter.temperatureCelsius ? std::to_string(*adapter.temperatureCelsius) + " C" : "";
    row({"adapter " + std::to_string(adapter.number), titleOf(adapter),
         adapter.firmwareVersion.empty() ? "" : "firmware " + adapter.firmwareVersion, degrees},
        adapter, adapter.status);
    endTable(0);
    for (const Volume& volume : adapter.volumes) {
        const std::string progress = volume.progressRatio ? decimalText(*volume.progressRatio * 100, 1) + " %" : "";
        row({labelOf("volume", {adapter.number, {}, volume.number}), volume.name, volume.raidLevel,
             volume.sizeBytes ? sizeText(*volume.sizeBytes) : "", progress},
            volume, volume.status);
    }
    endTable(2);
    if (const auto& battery = adapter.battery) {
        std::vector<std::string> parts = {"battery", battery->type};
        if (battery->volts) parts.push_back(decimalText(*battery->volts, 3) + " V");
        if (battery->temperatureCelsius) parts.push_back(std::to_string(*battery->temperatureCelsius) + " C");
        if (battery->chargeRatio) parts.push_back(decimalText(*battery->chargeRatio * 100, 0) + " %");
        row(parts, *battery, battery->status);
        endTable(2);
    }
    std::map<std::string, std::vector<const Drive*>> elsewhere;
    std::map<int64_t, std::vector<const Drive*>> inEnclosures;
    for (const Drive& drive : adapter.drives) {
        const auto isIt = [&](const Enclosure& e) { return drive.enclosure && e.number == *drive.enclosure; };
        if (std::any_of(adapter.enclosures.begin(), adapter.enclosures.end(), isIt))
            inEnclosures[*drive.enclosure].push_back(&drive);
        else
            elsewhere[drive.port].push_back(&drive);
    }
    for (const Enclosure& enclosure : adapter.enclosures) {
        const std::string state = enclosure.status == "OK" ? "" : "  " + enclosure.status;
        bays("encl " + std::to_string(enclosure.number) + " " + enclosure.product + state,
             inEnclosures[enclosure.number]);
        elements(enclosure);
    }
    for (const auto& [port, drives] : elsewhere) bays(port.empty() ? "no port" : port, drives);
}

std::string headline(const Report& report) {
    return "  " + problemsText(report.problems, MOST_IN_HEADLINE) + "   " + summaryOf(report.server);
}

void printFreshness(Printer& printer, const Report& report) {
    if (report.update)
        printer.line("last update: " + updateText(*report.update));
    else if (!report.updateError.empty())
        printer.line("last update: not known (" + report.updateError + ")");
}

} // namespace

std::string renderProblems(const Report& report, const TextStyle& style) {
    const States none;
    Printer printer(none, style);
    printer.words(nameOf(report.server), headline(report));
    for (const Problem& problem : report.problems) printer.problem(problem);
    return printer.take();
}

std::string renderText(const Report& report, const States& states, const TextStyle& style) {
    Printer printer(states, style);
    printer.words(nameOf(report.server), headline(report));
    printFreshness(printer, report);
    for (const Problem& problem : report.problems) printer.problem(problem);
    for (const Adapter& adapter : report.server.adapters) {
        printer.line("");
        printer.adapter(adapter);
    }
    if (report.server.adapters.empty()) printer.line("no adapters");
    if (!report.server.notes.empty()) printer.line("");
    for (const std::string& note : report.server.notes) printer.line("note: " + note);
    return printer.take();
}

std::string renderShort(const Report& report, const States& states) {
    const Server& server = report.server;
    std::string text = nameOf(server) + ": " + countedText(server.adapters.size(), "adapter") + ", " +
                       problemsText(report.problems, 0) + " " + summaryOf(server) + "\n";
    for (const Adapter& adapter : server.adapters)
        text += "  adapter " + padText(std::to_string(adapter.number), 4) + padText(titleOf(adapter), 29) +
                padText(states.meaningOf("adapter.status", adapter.status).says, 11) +
                countedText(adapter.volumes.size(), "logical drive") + ", " +
                countedText(adapter.drives.size(), "drive") + (adapter.battery ? ", battery" : "") + "\n";
    for (size_t i = 0; i < std::min(report.problems.size(), MOST_IN_SHORT); ++i)
        text += "  " + report.problems[i].label + ": " + report.problems[i].says + "\n";
    if (report.problems.size() > MOST_IN_SHORT)
        text += "  and " + countedText(report.problems.size() - MOST_IN_SHORT, "problem") + " more\n";
    return text;
}

} // namespace raidtree
