#include "raidtree/render.h"
#include "raidtree/walk.h"

#include <algorithm>
#include <ctime>
#include <functional>
#include <map>

namespace raidtree {

namespace {

constexpr const char* STYLE = // page.css
#include "page.inc"
    ;

constexpr int64_t MOST_EMPTY_BAYS = 256; // a slot is a byte; more than that is no picture

std::string identifier(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == ' ' || c == '/'; }, '-');
    return text;
}

// A state as text, with what else is to be said of the object.
template <class Record>
std::string stateText(const Record& record, const States& states, const Verdict& verdict) {
    const std::string state = states.meaningOf(std::string(kindName<Record>()) + ".status", record.status).says;
    std::string text = "<span class=\"state\">" + markupText(state) + "</span>";
    for (const Finding& finding : verdict.findings)
        if (finding.field != "status") text += ", " + markupText(finding.says);
    return text;
}

class Page {
  public:
    Page(const Report& report, const States& states, bool isLive) : report_(report), states_(states), isLive_(isLive) {}
    std::string make();

  private:
    template <class Record>
    struct Column {
        const char* title;
        std::function<std::string(const Record&)> text;
    };

    // A row for each, its state in the first column behind the name.
    template <class Record>
    void table(const char* caption, const std::vector<Record>& records, const Place& place,
               const std::vector<Column<Record>>& columns) {
        if (records.empty()) return;
        const std::string id = identifier(labelOf(kindName<Record>(), place)) + "-table";
        text_ += R"(<div class="table" role="region" tabindex="0" aria-labelledby=")" + id +
                 "\"><table><caption id=\"" + id + "\">" + caption +
                 "</caption>\n<thead><tr><th scope=\"col\">Number</th><th scope=\"col\">State</th>";
        for (const Column<Record>& column : columns)
            text_ += std::string("<th scope=\"col\">") + column.title + "</th>";
        text_ += "</tr></thead>\n<tbody>\n";
        for (const Record& record : records) {
            const Verdict verdict = judge(record, states_);
            const Place own = {place.adapter, place.enclosure, record.number};
            text_ += "<tr id=\"" + identifier(labelOf(kindName<Record>(), own)) + "\" class=\"" +
                     severityName(verdict.severity) + R"("><th scope="row">)" + std::to_string(record.number) +
                     "</th><td>" + stateText(record, states_, verdict) + "</td>";
            for (const Column<Record>& column : columns) text_ += "<td>" + markupText(column.text(record)) + "</td>";
            text_ += "</tr>\n";
        }
        text_ += "</tbody></table></div>\n";
    }

    template <class Record>
    static Column<Record> column(const char* title, const char* key) {
        const std::span<const Field<Record>> fields = fieldsOf<Record>();
        const auto field = std::find_if(fields.begin(), fields.end(),
                                        [&](const Field<Record>& f) { return std::string_view(f.key) == key; });
        return {title, [field](const Record& record) { return fieldText(record, *field); }};
    }

    void head();
    void problems();
    void adapter(const Adapter& adapter);
    void battery(const Adapter& adapter);
    void bays(const Adapter& adapter, const std::vector<const Drive*>& drives, const std::string& name);
    void bay(const Adapter& adapter, const Drive& drive);
    void enclosure(const Adapter& adapter, const Enclosure& enclosure, const std::vector<const Drive*>& drives);
    void driveTable(const Adapter& adapter);

    const Report& report_;
    const States& states_;
    bool isLive_;
    std::string text_;
};

// Nothing may be loaded; live, what the same server has.
std::string pageHead(const std::string& title, bool isLive) {
    return std::string("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                       "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src "
                       "'unsafe-inline'; img-src data:") +
           (isLive ? "; script-src 'self'; connect-src 'self'" : "") +
           "\">\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           "<link rel=\"icon\" href=\"data:,\">\n<title>" +
           markupText(title) + "</title>\n<style>\n" + STYLE + "</style>\n" +
           (isLive ? "<script src=\"/live.js\" defer></script>\n" : "") + "</head>\n<body>\n" +
           "<a class=\"skip\" href=\"#adapters\">To the adapters</a>\n<header>\n" +
           (isLive ? "<p id=\"live\" role=\"status\"></p>\n" : "");
}

void Page::head() {
    const std::string name = report_.server.name.empty() ? "Server without name" : report_.server.name;
    text_ += pageHead(name + ": " + problemsText(report_.problems, 1), isLive_) + "<h1>" + markupText(name) +
             "</h1>\n<p>Summary in the tree: " +
             markupText(report_.server.summary.overall.empty() ? "none" : report_.server.summary.overall);
    if (report_.update) {
        char when[32] = "";
        tm utc{};
        const auto seconds = static_cast<time_t>(report_.update->seconds);
        gmtime_r(&seconds, &utc);
        strftime(when, sizeof when, "%F %T UTC", &utc);
        text_ += std::string(". Last update: ") + when + ", " + markupText(resultText(report_.update->result));
    }
    text_ += ".</p>\n</header>\n";
}

void Page::problems() {
    text_ += "<section aria-labelledby=\"problems\">\n<h2 id=\"problems\">" +
             (report_.problems.empty() ? "No problems" : countedText(report_.problems.size(), "problem")) + "</h2>\n";
    if (!report_.problems.empty()) text_ += "<ul class=\"problems\">\n";
    for (const Problem& problem : report_.problems) {
        const bool isCritical = problem.severity == Severity::critical;
        text_ += std::string("<li class=\"") + severityName(problem.severity) + "\"><strong>" +
                 (isCritical ? "Critical" : "Warning") + ":</strong> ";
        const std::string name = markupText(problem.label);
        const bool hasPlace = problem.place.adapter.has_value() && problem.kind != "processor";
        text_ += hasPlace ? "<a href=\"#" + identifier(problem.label) + "\">" + name + "</a>" : name;
        if (!problem.title.empty()) text_ += " <span class=\"faint\">(" + markupText(problem.title) + ")</span>";
        text_ += " " + markupText(problem.says) + "</li>\n";
    }
    if (!report_.problems.empty()) text_ += "</ul>\n";
    for (const std::string& note : report_.server.notes)
        text_ += "<p class=\"faint\">Note: " + markupText(note) + "</p>\n";
    text_ += "</section>\n";
}

void Page::bay(const Adapter& adapter, const Drive& drive) {
    const Verdict verdict = judge(drive, states_);
    const std::string row = identifier(labelOf("drive", {adapter.number, {}, drive.number}));
    const std::string name = "Bay " + (drive.slot ? std::to_string(*drive.slot) : "not told");
    text_ += std::string("<li class=\"") + severityName(verdict.severity) + "\"><a href=\"#" + row +
             "\" aria-label=\"" + name + ", drive " + std::to_string(drive.number) + "\">" + name + "</a>";
    text_ += stateText(drive, states_, verdict);
    std::string more = drive.sizeBytes ? sizeText(*drive.sizeBytes) + " " + drive.mediaType : drive.mediaType;
    if (drive.temperatureCelsius) more += ", " + std::to_string(*drive.temperatureCelsius) + " °C";
    text_ += "<span class=\"size\">" + markupText(more) + "</span></li>\n";
}

// Slots below the highest one that is told and without a drive are drawn as what they are: nothing is told of them.
void Page::bays(const Adapter& adapter, const std::vector<const Drive*>& drives, const std::string& name) {
    if (drives.empty()) return;
    text_ += R"(<ol class="bays" aria-label="Bays of )" + markupText(name) + "\">\n";
    int64_t next = 0;
    for (const Drive* drive : drives) {
        if (drive->slot && *drive->slot < MOST_EMPTY_BAYS)
            for (; next < *drive->slot; ++next)
                text_ += "<li class=\"none\">Bay " + std::to_string(next) + "<br>no drive</li>\n";
        bay(adapter, *drive);
        if (drive->slot) next = std::max(next, *drive->slot + 1);
    }
    text_ += "</ol>\n";
}

void Page::battery(const Adapter& adapter) {
    if (!adapter.battery) return;
    const Verdict verdict = judge(*adapter.battery, states_);
    text_ += "<p id=\"" + identifier(labelOf("battery", {adapter.number, {}, {}})) + "\" class=\"" +
             severityName(verdict.severity) + "\">Battery: " + stateText(*adapter.battery, states_, verdict);
    for (const char* key : {"type", "deviceName", "volts", "temperatureCelsius", "chargeRatio", "nextLearnTime"}) {
        const Column<Battery> value = column<Battery>(key, key);
        const std::string shown = value.text(*adapter.battery);
        if (!shown.empty()) text_ += ", " + fieldTitle(key) + " " + markupText(shown);
    }
    text_ += ".</p>\n";
}

void Page::enclosure(const Adapter& adapter, const Enclosure& enclosure, const std::vector<const Drive*>& drives) {
    const Place place = {adapter.number, enclosure.number, {}};
    const std::string name = "Enclosure " + std::to_string(enclosure.number) + " " + enclosure.product;
    text_ += "<h3 id=\"" + identifier(labelOf("enclosure", place)) + "\">" + markupText(name) + "</h3>\n<p>" +
             markupText(enclosure.port) +
             ". The enclosure sums up: " + markupText(enclosure.status.empty() ? "nothing" : enclosure.status) +
             ".</p>\n";
    bays(adapter, drives, name);
    table<Fan>("Fans", enclosure.fans, place,
               {column<Fan>("Name", "name"), column<Fan>("Location", "location"), column<Fan>("Speed", "speed")});
    table<PowerSupply>("Power supplies", enclosure.powerSupplies, place,
                       {column<PowerSupply>("Name", "name"), column<PowerSupply>("Serial number", "serialNumber"),
                        column<PowerSupply>("Revision", "hardwareVersion")});
    table<Sensor>("Temperature sensors", enclosure.sensors, place,
                  {column<Sensor>("Location", "location"), column<Sensor>("Temperature", "temperatureCelsius"),
                   column<Sensor>("Too hot from", "warningHighCelsius"),
                   column<Sensor>("Critical from", "criticalHighCelsius")});
}

void Page::driveTable(const Adapter& adapter) {
    const Column<Drive> bay = {"Bay", [](const Drive& drive) { return bayOf(drive).substr(drive.slot ? 4 : 0); }};
    table<Drive>("Drives", adapter.drives, {adapter.number, {}, {}},
                 {bay, column<Drive>("Activity", "activity"), column<Drive>("Vendor", "vendor"),
                  column<Drive>("Product", "product"), column<Drive>("Serial number", "serialNumber"),
                  column<Drive>("Firmware", "firmwareVersion"), column<Drive>("Size", "sizeBytes"),
                  column<Drive>("Medium", "mediaType"), column<Drive>("Temperature", "temperatureCelsius"),
                  column<Drive>("Media errors", "mediaErrors"), column<Drive>("Other errors", "otherErrors")});
}

void Page::adapter(const Adapter& adapter) {
    const Place place = {adapter.number, {}, {}};
    const std::string id = identifier(labelOf("adapter", place));
    const Verdict verdict = judge(adapter, states_);
    text_ += "<section aria-labelledby=\"" + id + "\">\n<h2 id=\"" + id + "\">Adapter " +
             std::to_string(adapter.number) + ": " + markupText(titleOf(adapter)) + "</h2>\n<p class=\"" +
             severityName(severityOf(adapter, states_)) +
             "\">The adapter sums up: " + stateText(adapter, states_, verdict);
    for (const char* key : {"vendor", "serialNumber", "firmwareVersion", "memoryBytes", "temperatureCelsius"}) {
        const std::string shown = column<Adapter>(key, key).text(adapter);
        if (!shown.empty()) text_ += ", " + fieldTitle(key) + " " + markupText(shown);
    }
    text_ += ".</p>\n";
    battery(adapter);
    table<Volume>("Volumes", adapter.volumes, place,
                  {column<Volume>("Name", "name"), column<Volume>("Level", "raidLevel"),
                   column<Volume>("Size", "sizeBytes"), column<Volume>("Activity", "activity"),
                   column<Volume>("Progress", "progressRatio"), column<Volume>("Writing", "writeMode")});
    std::map<int64_t, std::vector<const Drive*>> inEnclosures;
    std::map<std::string, std::vector<const Drive*>> elsewhere;
    for (const Drive& drive : adapter.drives) {
        const bool isInside =
            drive.enclosure && std::any_of(adapter.enclosures.begin(), adapter.enclosures.end(),
                                           [&](const Enclosure& e) { return e.number == *drive.enclosure; });
        (isInside ? inEnclosures[*drive.enclosure] : elsewhere[drive.port]).push_back(&drive);
    }
    for (const Enclosure& enclosure : adapter.enclosures)
        this->enclosure(adapter, enclosure, inEnclosures[enclosure.number]);
    for (const auto& [port, drives] : elsewhere) {
        const std::string name = port.empty() ? "No port" : port;
        text_ += "<h3>" + markupText(name) + "</h3>\n";
        bays(adapter, drives, name);
    }
    driveTable(adapter);
    text_ += "</section>\n";
}

std::string Page::make() {
    head();
    text_ += "<main>\n";
    problems();
    text_ += "<div id=\"adapters\" tabindex=\"-1\">\n";
    for (const Adapter& adapter : report_.server.adapters) this->adapter(adapter);
    if (report_.server.adapters.empty()) text_ += "<p>The tree has no adapters.</p>\n";
    text_ +=
        "</div>\n</main>\n<footer class=\"faint\"><p>Which drives form a volume the tree does not say.</p></footer>\n"
        "</body>\n</html>\n";
    return std::move(text_);
}

} // namespace

std::string markupText(const std::string& text) {
    std::string markup;
    markup.reserve(text.size());
    for (const char c : text) {
        switch (c) {
        case '&': markup += "&amp;"; break;
        case '<': markup += "&lt;"; break;
        case '>': markup += "&gt;"; break;
        case '"': markup += "&quot;"; break;
        case '\'': markup += "&#39;"; break;
        default: markup += c;
        }
    }
    return markup;
}

std::string renderPage(const Report& report, const States& states, bool isLive) {
    return Page(report, states, isLive).make();
}

std::string renderTroublePage(const std::string& why) {
    return pageHead("No RAID storage tree", true) +
           "<h1>No RAID storage tree</h1>\n</header>\n<main id=\"adapters\">\n<section aria-labelledby=\"problems\">\n"
           "<h2 id=\"problems\">Nothing is known</h2>\n<p class=\"critical\"><strong>There is no tree that can be "
           "read:</strong> " +
           markupText(why) + "</p>\n</section>\n</main>\n</body>\n</html>\n";
}

} // namespace raidtree
