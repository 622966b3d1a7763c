#include "simulator/machine/machineReader.h"

#include "simulator/machine/answersReader.h"
#include "simulator/machine/controllerReader.h"
#include "simulator/machine/faultsReader.h"
#include "simulator/machine/hostReader.h"
#include "simulator/machine/places.h"

#include <algorithm>

namespace sim {
namespace {

const MemberTable<Machine>& machineMembers() {
    static const MemberTable<Machine> table = {
        {"$schema", "Where this schema is, for editors.", [](const Node& node, Machine&) { readText(node); },
         textForm().schema},
        member("controllers", &Machine::controllers, controllersForm(),
               "In the order of the library's list; absent or null: the list cannot be read."),
        member("configSpace", &Machine::configSpace, configSpaceForm(),
               "Configuration items by id; a text is an item with its NUL."),
        member("configSpaceWriteFails", &Machine::configSpaceWriteFails, writeFailuresForm(),
               "Configuration items that cannot be written."),
        member("agents", &Machine::agentsAnswer, agentsForm(),
               "What the agents on the host answer; absent: they cannot be asked."),
        member("processMonitor", &Machine::processMonitor, processMonitorForm(),
               "Results of the process monitor; 0 when absent."),
        member("lcm", &Machine::parameters, parametersForm(),
               "The parameter database: values by group, name and instance."),
        member("ipmi", &Machine::ipmi, ipmiForm(), "What IPMI requests are answered with."),
        member("dqmi", &Machine::dqmi, dqmiForm(), "The interface to the host; absent: none."),
        member("processes", &Machine::processes, processesForm(), "The BMC's processes by id."),
        member("faults", &Machine::faults, faultsForm(), "Calls of the libraries that go wrong."),
        member("answers", &Machine::answers, answersForm(), "What single calls answer in place of all else."),
        {"timeline", "What becomes of the machine over time.", [](const Node&, Machine&) {}, // read last
         timelineSchema},
        {"removed", "What bmcsim took away and can put back.",
         [](const Node& node, Machine&) {
             if (!node.json.is_object()) node.fail("must be an object");
         },
         [] {
             return Json{{"type", "object"}};
         }},
    };
    return table;
}

// Without what the library puts in front: "[json.exception...] " and "parse error at line 1, column 2: ".
std::string bareText(const std::string& text) {
    size_t start = text.find("] ");
    start = start == std::string::npos ? 0 : start + 2;
    const size_t place = text.compare(start, 11, "parse error") == 0 ? text.find(": ", start) : std::string::npos;
    return text.substr(place == std::string::npos ? start : place + 2);
}

// The comma that the parser stumbled over, one byte behind the closing bracket.
std::optional<size_t> findTrailingComma(std::string_view text, size_t bytesRead) {
    if (bytesRead == 0 || bytesRead > text.size()) return {};
    const char closing = text[bytesRead - 1];
    if (closing != '}' && closing != ']') return {};
    const size_t before = text.substr(0, bytesRead - 1).find_last_not_of(" \t\r\n");
    return before != std::string_view::npos && text[before] == ',' ? std::optional(before) : std::nullopt;
}

// Parses the text, and goes on behind commas that stand in front of a closing bracket, blanking them, so that more than
// these comes out. Nothing: it is no JSON.
std::optional<Json> parse(std::string& text, std::vector<Mistake>& mistakes) {
    constexpr size_t mostCommas = 20;
    while (mistakes.size() < mostCommas) {
        PlacesInFile places(text);
        Mistake mistake;
        std::optional<size_t> comma;
        try {
            Json json = places.parse();
            mistakes.insert(mistakes.end(), places.doubles().begin(), places.doubles().end());
            return json;
        } catch (const Json::parse_error& error) {
            comma = findTrailingComma(text, error.byte);
            mistake.text = comma ? "a comma with nothing behind it" : bareText(error.what());
            placeAt(mistake, text, comma.value_or(std::max<size_t>(error.byte, 1) - 1));
        } catch (const Json::exception& error) {
            mistake.text = bareText(error.what());
            placeAt(mistake, text, places.nextToken());
        }
        mistakes.push_back(std::move(mistake));
        if (!comma) break;
        text[*comma] = ' ';
    }
    return {};
}

std::unique_ptr<Machine> readWhole(const Node& file) {
    auto machine = std::make_unique<Machine>();
    readMembers(file, *machine, machineMembers());
    return machine;
}

std::unique_ptr<Machine> machineOf(const Json& json) {
    std::vector<Mistake> mistakes;
    std::unique_ptr<Machine> machine = readWhole({json, nullptr, {}, 0, &mistakes});
    if (!mistakes.empty()) throw DoesNotFit{mistakes.front()};
    return machine;
}

void read(const Node& file, MachineReading& reading) {
    reading.machine = readWhole(file);
    if (!isGiven(file, "timeline")) return;
    const Node member{file.json["timeline"], &file, "timeline"};
    member.attempt([&] { reading.timeline = std::make_unique<Timeline>(file, member, machineOf); });
}

} // namespace

MachineReading readMachine(std::string_view given) {
    MachineReading reading;
    std::string text(given);
    if (const std::optional<Json> json = parse(text, reading.mistakes)) {
        const Node file{*json, nullptr, {}, 0, &reading.mistakes};
        try {
            file.attempt([&] { read(file, reading); });
        } catch (const TooManyMistakes&) { // those that are known are enough
        }
        placeMistakes(text, reading.mistakes);
    }
    if (!reading.mistakes.empty()) reading.machine = nullptr;
    return reading;
}

std::string machineSchema() {
    Json schema = {{"$schema", "http://json-schema.org/draft-07/schema#"},
                   {"title", "Machine file"},
                   {"description", "A server for the stand-in libraries, as docs/machine-file.md tells it."}};
    schema.update(schemaOf(machineMembers()));
    schema["definitions"] = recordDefinitions();
    return schema.dump(1) + "\n";
}

} // namespace sim
