// bmcsim: what a tester does to the described machine, and what it is now.

#include "simulator/bmcsim/commands.h"
#include "simulator/bmcsim/daemonNow.h"
#include "simulator/bmcsim/machineFile.h"
#include "simulator/replay/machineCommand.h"
#include "simulator/words/words.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int WRONG_WORD = 2;
constexpr int FAULTY_MACHINE = 3;

struct Settings : sim::Places {
    std::string topic;
    bool json = false;
    std::string pointer;
    std::string value;
};

std::string cellOf(const nlohmann::ordered_json& value) {
    if (value.is_null()) return "-";
    return value.is_string() ? value.get<std::string>() : value.dump();
}

// Columns as wide as their widest cell.
void printTable(const nlohmann::ordered_json& rows) {
    if (rows.empty()) return;
    std::vector<std::string> names;
    std::vector<size_t> widths;
    for (const auto& [name, value] : rows.front().items()) {
        names.push_back(name);
        widths.push_back(name.size());
    }
    for (const auto& row : rows)
        for (size_t i = 0; i < names.size(); i++)
            if (row.contains(names[i])) widths[i] = std::max(widths[i], cellOf(row.at(names[i])).size());
    const auto printRow = [&](const auto& cell) {
        std::string line;
        for (size_t i = 0; i < names.size(); i++) {
            std::string text = cell(i);
            text.resize(widths[i] + 2, ' ');
            line += text;
        }
        line.resize(line.find_last_not_of(' ') + 1);
        printf("%s\n", line.c_str());
    };
    printRow([&](size_t i) { return names[i]; });
    for (const auto& row : rows)
        printRow([&](size_t i) { return row.contains(names[i]) ? cellOf(row.at(names[i])) : std::string("-"); });
}

int show(const Settings& settings) {
    nlohmann::ordered_json tables = sim::describeMachine(sim::loadMachine(settings.machine()));
    if (!settings.topic.empty()) tables = {{settings.topic, tables.at(settings.topic)}};
    if (settings.json) {
        printf("%s\n", tables.dump(2).c_str());
        return 0;
    }
    const char* separator = "";
    for (const auto& [name, rows] : tables.items()) {
        if (rows.empty() && settings.topic.empty()) continue;
        printf("%s", separator);
        if (rows.empty()) printf("no %s\n", name.c_str());
        printTable(rows);
        separator = "\n";
    }
    return 0;
}

int applyAndStore(const Settings& settings, const std::vector<std::string>& words) {
    nlohmann::ordered_json machine = sim::loadMachine(settings.machine());
    const sim::WordResult result = sim::applyWords(machine, words);
    if (!result.error.empty()) {
        fprintf(stderr, "bmcsim: %s\n", result.error.c_str());
        return result.status;
    }
    try {
        sim::storeMachine(settings.machine(), machine);
    } catch (const sim::WrongChange& wrong) { // the word is right: the file has something that does not go with it
        throw std::runtime_error(wrong.what());
    }
    for (const std::string& line : result.lines) printf("%s\n", line.c_str());
    if (!settings.file.empty()) return 0;
    const std::optional<sim::DaemonNow> now = sim::readNow(settings.directory());
    printf("%s\n", now ? ("next update " + sim::nextUpdateText(*now)).c_str() : "no daemon runs there");
    return 0;
}

int get(const Settings& settings) {
    const nlohmann::ordered_json machine = sim::loadMachine(settings.machine());
    const nlohmann::ordered_json::json_pointer pointer(settings.pointer);
    if (!machine.contains(pointer)) throw CLI::ValidationError("nothing at " + settings.pointer, WRONG_WORD);
    printf("%s\n", machine.at(pointer).dump(2).c_str());
    return 0;
}

int set(const Settings& settings) {
    nlohmann::ordered_json machine = sim::loadMachine(settings.machine());
    const auto value = nlohmann::ordered_json::parse(settings.value, nullptr, false);
    machine[nlohmann::ordered_json::json_pointer(settings.pointer)] =
        value.is_discarded() ? nlohmann::ordered_json(settings.value) : value; // a text may go without its quotes
    sim::storeMachine(settings.machine(), machine);
    return 0;
}

} // namespace

std::string sim::Places::directory() const {
    const char* fromEnvironment = getenv("BMC_ROOT");
    if (!root.empty()) return root;
    return fromEnvironment != nullptr ? fromEnvironment : BMC_OF_RUN;
}

std::string sim::Places::machine() const {
    return file.empty() ? directory() + "/machine.json" : file;
}

namespace {

// The words themselves are checked where they are done.
constexpr struct {
    const char* name;
    const char* help;
} OBJECTS[] = {
    {"drive", "ADAPTER/DEVICE or ADAPTER/eENCLOSURE:SLOT fail|pull|insert|online|rebuild "
              "N%|spare|foreign|predict|temperature N: "
              "bmcsim drive 0/8 fail"},
    {"volume", "ADAPTER/TARGET degrade|offline|optimal|initialize N%|check N%: bmcsim volume 0/1 check 12%"},
    {"enclosure",
     "ADAPTER/NUMBER remove, or ADAPTER add KP17|KP17M2|KP23 --drives N: bmcsim enclosure 0 add KP23 --drives 12"},
    {"fan", "ADAPTER/ENCLOSURE/NUMBER fail|ok|RPM|+N|-N: bmcsim fan 0/1/2 fail"},
    {"supply", "ADAPTER/ENCLOSURE/NUMBER fail|ok: bmcsim supply 0/1/0 fail"},
    {"sensor", "ADAPTER/ENCLOSURE/NUMBER fail|ok|DEGREES|+N|-N: bmcsim sensor 0/1/0 +5"},
    {"battery", "ADAPTER fail|low|learn|ok|remove: bmcsim battery 0 low"},
    {"controller", "ADAPTER remove|return: bmcsim controller 1 remove"},
    {"agents", "connected|limited|down: bmcsim agents down"},
    {"host", "name|location|contact TEXT: bmcsim host location \"Hall 2\""}};

int run(int argc, char** argv) {
    CLI::App app("Shows and changes the server that the daemon sees on a workstation.", "bmcsim");
    Settings settings;
    app.require_subcommand(1);
    app.add_option("--root", settings.root, "the root directory (BMC_ROOT, else bmc)");
    app.add_option("--file", settings.file, "a machine file at rest, in place of the root's");

    CLI::App* showCommand = app.add_subcommand("show", "what the machine is: bmcsim show drives");
    showCommand->add_option("topic", settings.topic)
        ->check(CLI::IsMember({"drives", "volumes", "enclosures", "battery", "host", "faults"}));
    showCommand->add_flag("--json", settings.json, "the tables as JSON");
    for (const auto& [name, help] : OBJECTS) app.add_subcommand(name, help)->prefix_command();
    CLI::App* getCommand = app.add_subcommand("get", "the value at a JSON pointer");
    getCommand->add_option("POINTER", settings.pointer)->required();
    CLI::App* setCommand = app.add_subcommand("set", "sets it: bmcsim set /controllers/0/batteryStatus 2");
    setCommand->add_option("POINTER", settings.pointer)->required();
    setCommand->add_option("VALUE", settings.value)->required();

    sim::addMachineCommand(app);
    sim::addCheckCommand(app);
    sim::addFaultCommand(app, settings);
    sim::addLogCommand(app, settings);
    sim::addNowCommands(app, settings);
    sim::addStepCommand(app, settings);
#ifdef HAS_PLAY
    sim::addPlayCommand(app);
#endif

    try {
        app.parse(argc, argv);
        const std::string command = app.get_subcommands().front()->get_name();
        if (command == "show") return show(settings);
        if (command == "get") return get(settings);
        if (command == "set") return set(settings);
        for (const char* done :
             {"machine", "check", "schema", "fault", "log", "status", "wait", "step", "play"}) // while they were read
            if (command == done) return 0;
        std::vector<std::string> words = app.get_subcommands().front()->remaining();
        words.insert(words.begin(), command);
        return applyAndStore(settings, words);
    } catch (const CLI::RuntimeError& error) {
        return error.get_exit_code();
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : WRONG_WORD;
    } catch (const nlohmann::ordered_json::exception& error) {
        fprintf(stderr, "bmcsim: %s: %s\n", settings.pointer.c_str(), error.what());
        return WRONG_WORD;
    } catch (const sim::WrongChange& error) {
        fprintf(stderr, "bmcsim: %s\n", error.what());
        return WRONG_WORD;
    } catch (const std::exception& error) {
        fprintf(stderr, "bmcsim: %s\n", error.what());
        return FAULTY_MACHINE;
    }
}

} // namespace

int main(int argc, char** argv) { // NOLINT(bugprone-exception-escape): what is thrown while reporting ends it
    return run(argc, argv);
}
