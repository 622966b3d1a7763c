// raidtree: what the words of the command line do.

#include "raidtree/check.h"
#include "raidtree/redfish.h"
#include "raidtree/render.h"
#include "raidtree/serve/serve.h"
#include "raidtree/watch.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace raidtree;

constexpr const char* DEFAULT_TREE = "/var/RAIDStorageDeviceTree.xml";
constexpr int EXIT_TROUBLE = 2;

struct Arguments {
    std::string tree = DEFAULT_TREE, other, log, states, output, baseline, listen = "127.0.0.1:8080";
    bool asJson = false, problemsOnly = false, isShort = false, everything = false, noLog = false;
    int64_t maxUpdateAge = 900;
    int64_t expectedDrives = -1;
    std::string driveTemperature, chipTemperature, mediaErrors, otherErrors;
};

[[noreturn]] void refuse(const std::string& why) {
    throw InputError(why);
}

// All of it or nothing: a reader never sees a part.
void writeFile(const std::string& path, const std::string& text) {
    std::string name = path + ".XXXXXX";
    const int fd = mkstemp(name.data());
    if (fd == -1) refuse(path + ": " + strerror(errno));
    const mode_t mask = umask(0);
    umask(mask);
    size_t written = 0;
    bool isGood = fchmod(fd, 0666 & ~mask) == 0;
    while (isGood && written < text.size()) {
        const ssize_t count = write(fd, text.data() + written, text.size() - written);
        if (count == -1 && errno == EINTR) continue;
        isGood = count > 0;
        if (isGood) written += static_cast<size_t>(count);
    }
    isGood = isGood && fsync(fd) == 0;
    isGood = close(fd) == 0 && isGood && rename(name.c_str(), path.c_str()) == 0;
    if (isGood) return;
    const int error = errno;
    unlink(name.c_str());
    refuse(path + ": " + strerror(error));
}

void print(const std::string& text) {
    if (fwrite(text.data(), 1, text.size(), stdout) != text.size() || fflush(stdout) != 0)
        refuse(std::string("standard output: ") + strerror(errno));
}

void publish(const Arguments& arguments, const std::string& text) {
    if (arguments.output.empty() || arguments.output == "-")
        print(text);
    else
        writeFile(arguments.output, text);
}

TextStyle terminalStyle() {
    TextStyle style;
    const bool isTerminal = isatty(STDOUT_FILENO) != 0;
    winsize size{};
    if (isTerminal && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) style.width = std::max<size_t>(size.ws_col, 80);
    const char* noColour = getenv("NO_COLOR");
    const char* terminal = getenv("TERM");
    const bool isDumb = terminal == nullptr || std::string_view(terminal) == "dumb";
    style.hasColour = isTerminal && !isDumb && (noColour == nullptr || *noColour == 0);
    return style;
}

// "60,70": a warning from 60 on, critical from 70 on; either may be missing.
void setLimit(States& states, const char* field, const std::string& text) {
    if (text.empty()) return;
    const auto part = [&](const std::string& digits) -> Number {
        if (digits.empty()) return std::nullopt;
        if (digits.size() > 9 || digits.find_first_not_of("0123456789") != std::string::npos)
            refuse("limits are WARNING,CRITICAL in whole numbers, not " + text);
        return std::stoll(digits);
    };
    const size_t comma = text.find(',');
    states.limits[field] = {part(text.substr(0, comma)),
                            comma == std::string::npos ? Number() : part(text.substr(comma + 1))};
}

States loadStates(const Arguments& arguments) {
    States states = builtInStates();
    if (!arguments.states.empty()) extendStates(states, arguments.states);
    setLimit(states, "drive.temperatureCelsius", arguments.driveTemperature);
    setLimit(states, "adapter.temperatureCelsius", arguments.chipTemperature);
    setLimit(states, "drive.mediaErrors", arguments.mediaErrors);
    setLimit(states, "drive.otherErrors", arguments.otherErrors);
    return states;
}

// Beside the tree, as the daemon has it, unless it is named.
std::string logPath(const Arguments& arguments) {
    if (!arguments.log.empty()) return arguments.log;
    return (std::filesystem::path(arguments.tree).parent_path() / "LogFile.RST").string();
}

Report reportOn(Server server, const Arguments& arguments, const States& states) {
    Report report;
    report.server = std::move(server);
    report.problems = findProblems(report.server, states);
    if (arguments.noLog || (arguments.tree == "-" && arguments.log.empty())) return report;
    try {
        report.update = readUpdateLog(logPath(arguments));
    } catch (const InputError& error) {
        report.updateError = error.what();
    }
    return report;
}

Report makeReport(const Arguments& arguments, const States& states) {
    return reportOn(readServer(arguments.tree), arguments, states);
}

int show(const Arguments& arguments) {
    const States states = loadStates(arguments);
    const Report report = makeReport(arguments, states);
    const TextStyle style = terminalStyle();
    if (arguments.asJson)
        print(renderJson(report, states));
    else if (arguments.isShort)
        print(renderShort(report, states));
    else if (arguments.problemsOnly)
        print(renderProblems(report, style));
    else
        print(renderText(report, states, style));
    return 0;
}

int diff(const Arguments& arguments) {
    const std::vector<Change> changes =
        compareServers(readServer(arguments.tree), readServer(arguments.other), arguments.everything);
    std::string text;
    for (const Change& change : changes) text += changeText(change) + "\n";
    print(arguments.asJson ? renderJson(changes) : text);
    return changes.empty() ? 0 : 1;
}

int check(const Arguments& arguments) {
    CheckResult result;
    try {
        const States states = loadStates(arguments);
        CheckOptions options;
        if (!arguments.noLog) options.maxUpdateAge = arguments.maxUpdateAge;
        if (arguments.expectedDrives >= 0) options.expectedDrives = static_cast<size_t>(arguments.expectedDrives);
        if (!arguments.baseline.empty()) options.baseline = readServer(arguments.baseline);
        result = checkServer(makeReport(arguments, states), states, options);
    } catch (const InputError& error) {
        result = checkUnknown(error.what());
    }
    print(result.text);
    return result.state;
}

int metrics(const Arguments& arguments) {
    const States states = loadStates(arguments);
    try {
        const Report report = makeReport(arguments, states);
        publish(arguments, renderMetrics(&report, states));
    } catch (const InputError&) {
        publish(arguments, renderMetrics(nullptr, states)); // that it cannot be read is news too
        throw;
    }
    return 0;
}

int html(const Arguments& arguments) {
    const States states = loadStates(arguments);
    publish(arguments, renderPage(makeReport(arguments, states), states));
    return 0;
}

// DIR/redfish/v1/Systems/index.json and so on, all of them in the place of those of before.
int redfish(const Arguments& arguments) {
    namespace fs = std::filesystem;
    const States states = loadStates(arguments);
    const RedfishResources resources = redfishResources(makeReport(arguments, states), states);
    const fs::path to = fs::path(arguments.output) / "redfish";
    const fs::path fresh = fs::path(arguments.output) / ".redfish.new";
    try {
        if (fs::exists(to) && !fs::exists(to / "v1/index.json")) refuse(to.string() + ": is there, and none of ours");
        fs::remove_all(fresh);
        for (const auto& [path, text] : resources) {
            const fs::path folder = fresh / fs::path(path).relative_path();
            fs::create_directories(folder);
            std::ofstream stream;
            stream.exceptions(std::ios::badbit | std::ios::failbit);
            stream.open(folder / (text.starts_with('<') ? "index.xml" : "index.json"), std::ios::binary);
            stream << text;
            stream.close();
        }
        fs::remove_all(to);
        fs::rename(fresh / "redfish", to);
        fs::remove_all(fresh);
    } catch (const std::ios::failure&) {
        refuse(arguments.output + ": " + strerror(errno));
    } catch (const fs::filesystem_error& error) {
        refuse(arguments.output + ": " + error.code().message());
    }
    return 0;
}

std::string timeText() {
    const time_t now = time(nullptr);
    tm local{};
    char text[32] = "";
    localtime_r(&now, &local);
    strftime(text, sizeof text, "%F %T  ", &local);
    return text;
}

int watch(const Arguments& arguments) {
    const States states = loadStates(arguments);
    bool isFirst = true;
    watchServer(
        arguments.tree,
        [&](const Server& before, const Server& now) {
            if (isFirst) print(timeText() + now.name + ": " + problemsText(findProblems(now, states), 5) + "\n");
            for (const Change& change :
                 isFirst ? std::vector<Change>() : compareServers(before, now, arguments.everything))
                print(timeText() + changeText(change) + "\n");
            isFirst = false;
        },
        [](const std::string& why) { print(timeText() + why + "\n"); });
    return 0;
}

Publication publish(const Arguments& arguments, const States& states) {
    try {
        std::string text = readTreeText(arguments.tree);
        const Report report = reportOn(parseServer(text, arguments.tree), arguments, states);
        return publishServer(std::move(text), report, states);
    } catch (const InputError& error) {
        return publishTrouble(error.what());
    }
}

int serve(const Arguments& arguments) {
    if (arguments.tree == "-") refuse("standard input cannot be followed: serve wants a file");
    const States states = loadStates(arguments);
    serveTree(arguments.listen, arguments.tree, [&] { return publish(arguments, states); });
    return 0;
}

void addTree(CLI::App* word, Arguments& arguments) {
    word->add_option("FILE", arguments.tree, "The tree; - is standard input")->capture_default_str();
}

void addCommon(CLI::App* word, Arguments& arguments) {
    addTree(word, arguments);
    word->add_option("--states", arguments.states, "More texts of the controller library and what they mean")
        ->type_name("FILE");
    auto* log = word->add_option("--log", arguments.log, "The log of updates; otherwise LogFile.RST beside the tree")
                    ->type_name("FILE");
    word->add_flag("--no-log", arguments.noLog, "Do not ask when the last update was")->excludes(log);
}

CLI::App* addWord(CLI::App& app, const char* name, const char* what, const char* example) {
    CLI::App* word = app.add_subcommand(name, what);
    word->footer(std::string("For example:\n  ") + example);
    return word;
}

void describe(CLI::App& app, Arguments& arguments) {
    app.require_subcommand(1);
    app.set_version_flag("--version", RAIDTREE_VERSION);
    app.footer("Exit status: 0, or 2 when something cannot be read or written; of diff 1 when there are changes; of\n"
               "check that of a monitoring plug-in. raidtree WORD --help tells more; so does man raidtree.");

    CLI::App* word = addWord(app, "show", "Show the server, problems first", "raidtree show --problems");
    addCommon(word, arguments);
    auto* json = word->add_flag("--json", arguments.asJson, "The records as JSON");
    auto* problems = word->add_flag("--problems", arguments.problemsOnly, "Only the problems")->excludes(json);
    word->add_flag("--short", arguments.isShort, "A line for each adapter")->excludes(json)->excludes(problems);

    word = addWord(app, "diff", "Tell what differs between two trees",
                   "raidtree diff kept.xml /var/RAIDStorageDeviceTree.xml");
    word->add_option("OLD", arguments.tree, "The tree as it was")->required();
    word->add_option("NEW", arguments.other, "The tree as it is")->required();
    word->add_flag("--all", arguments.everything, "Temperatures and counters too");
    word->add_flag("--json", arguments.asJson, "As JSON");

    word = addWord(app, "check", "Check the server for a monitoring system",
                   "raidtree check --expect-drives 12 --drive-temperature 55,65");
    addCommon(word, arguments);
    word->add_option("--max-update-age", arguments.maxUpdateAge, "Seconds since the last update until nothing is known")
        ->capture_default_str()
        ->check(CLI::Range(int64_t{1}, int64_t{1} << 40));
    word->add_option("--expect-drives", arguments.expectedDrives, "How many drives there have to be")
        ->check(CLI::Range(int64_t{0}, int64_t{1000000}));
    word->add_option("--baseline", arguments.baseline, "A kept tree: what is gone since then is missing")
        ->type_name("FILE");
    for (const auto& [name, text, what] :
         {std::tuple{"--drive-temperature", &arguments.driveTemperature, "Limits of the drives' temperatures"},
          std::tuple{"--chip-temperature", &arguments.chipTemperature, "Limits of the adapters' temperatures"},
          std::tuple{"--media-errors", &arguments.mediaErrors, "Limits of a drive's media errors"},
          std::tuple{"--other-errors", &arguments.otherErrors, "Limits of a drive's other errors"}})
        word->add_option(name, *text, what)->type_name("WARNING,CRITICAL");

    word = addWord(app, "metrics", "Print metrics for Prometheus",
                   "raidtree metrics --output /var/lib/prometheus/node-exporter/raid.prom");
    addCommon(word, arguments);
    word->add_option("--output", arguments.output, "Write this file, at once")->type_name("FILE");

    word = addWord(app, "watch", "Print each change as it is published", "raidtree watch --all");
    addTree(word, arguments);
    word->add_option("--states", arguments.states, "More texts and what they mean")->type_name("FILE");
    word->add_flag("--all", arguments.everything, "Temperatures and counters too");

    word = addWord(app, "html", "Write a page about the server", "raidtree html --output raid.html");
    addCommon(word, arguments);
    word->add_option("--output", arguments.output, "The page; otherwise standard output")->type_name("PAGE");

    word = addWord(app, "serve", "Serve the page, live, metrics and a Redfish view over HTTP",
                   "raidtree serve --listen 127.0.0.1:8080");
    addCommon(word, arguments);
    word->add_option("--listen", arguments.listen, "The address of an interface and a port; 0: a free one")
        ->capture_default_str()
        ->type_name("ADDR:PORT");

    word = addWord(app, "redfish", "Write the server as resources of Redfish", "raidtree redfish --output mockup");
    addCommon(word, arguments);
    word->add_option("--output", arguments.output, "The folder; the files are DIR/redfish/v1/.../index.json")
        ->required()
        ->type_name("DIR");
}

int runWord(int argc, char** argv) {
    constexpr std::pair<const char*, int (*)(const Arguments&)> WORDS[] = {
        {"show", show},   {"diff", diff}, {"check", check},     {"metrics", metrics},
        {"watch", watch}, {"html", html}, {"redfish", redfish}, {"serve", serve}};
    Arguments arguments;
    CLI::App app("Reads the RAID storage tree for people, for monitoring and for programs.", "raidtree");
    const bool isCheck = argc > 1 && std::string_view(argv[1]) == "check";
    const int trouble = isCheck ? CHECK_UNKNOWN : EXIT_TROUBLE;
    try {
        describe(app, arguments);
        app.parse(argc, argv);
        for (const auto& [name, run] : WORDS)
            if (app.got_subcommand(name)) return run(arguments);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0 || !isCheck) return app.exit(error) == 0 ? 0 : trouble;
        fputs(checkUnknown(error.what()).text.c_str(), stdout);
    } catch (const std::exception& error) {
        fprintf(stderr, "raidtree: %s\n", error.what());
    }
    return trouble;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return runWord(argc, argv);
    } catch (...) { // even an error could not be told: no memory
        return EXIT_TROUBLE;
    }
}
