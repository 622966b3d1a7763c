// Whatever the configuration of snmpd and the values for it hold: nothing but the lines of the three keys changes, and
// what the daemon writes there is one clean line a key.

#include "sysinfo/snmpConfig.h"
#include "sysinfo/snmpdSupervision.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/memoryMachine.h"

#include <array>
#include <sys/stat.h>
#include <vector>

namespace {

constexpr char CONF_FILE[] = "/conf/snmp_users.conf";
constexpr char NO_VALUE[] = "- unknown -";
constexpr int SNMPD = 100;       // the one process that may get a signal
constexpr int SETTLED_AFTER = 4; // passes: each of the three lines may be lost to another one once

struct Value {
    std::string key;
    const char* parameter;
    std::string text; // as the database has it
};
using Values = std::array<Value, 3>;
using Lines = std::vector<std::string>;

Lines linesOf(const std::string& text) {
    Lines lines;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
        lines.push_back(text.substr(at, end - at));
        at = end;
    }
    return lines;
}

// getline ends a text at its NUL.
bool contains(const std::string& line, const std::string& key) {
    return strstr(line.c_str(), key.c_str()) != nullptr;
}

std::string cleaned(std::string text) {
    text.push_back('\0');
    cleanSnmpValue(text.data());
    text.resize(strlen(text.data()));
    demand(text.size() < 256, "a value fits its line");
    demand(std::all_of(text.begin(), text.end(), [](unsigned char c) { return c >= 0x20 && c != 0x7F; }),
           "a value has no control characters");
    demand(text.empty() || (text.front() != ' ' && text.back() != ' '), "a value has no outer blanks");
    return text.empty() ? NO_VALUE : text;
}

// What one changed value makes of the file.
std::string rewritten(const std::string& before, const Value& value) {
    const std::string fresh = value.key + "\t" + cleaned(value.text) + "\n";
    std::string after;
    bool found = false;
    for (const std::string& line : linesOf(before)) {
        after += contains(line, value.key) ? fresh : line;
        found = found || contains(line, value.key);
    }
    if (!found && !after.empty() && after.back() != '\n') after += '\n';
    return found ? after : after + fresh;
}

// A comment may say it, or a line with a blank in place of the tab.
bool says(const std::string& text, const Value& value) {
    const Lines lines = linesOf(text);
    const std::string wanted = cleaned(value.text);
    return wanted == NO_VALUE || std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
               return contains(line, value.key) && contains(line, wanted);
           });
}

// Each value may have been the same already: eight ways in all.
bool isFromSync(const std::string& before, const std::string& after, const Values& values, size_t at = 0) {
    if (at == values.size()) return before == after;
    return isFromSync(before, after, values, at + 1) ||
           isFromSync(rewritten(before, values[at]), after, values, at + 1);
}

void describe(const Values& values, Input& input) {
    auto& parameters = g_machine.machine.parameters["System Information"];
    for (const Value& value : values) {
        sim::Bytes bytes(value.text.begin(), value.text.end()); // without a NUL: its length ends it
        parameters[value.parameter][0] = {{0, 1, uint32_t(bytes.size()), std::move(bytes)}};
    }
    g_machine.machine.configSpace[5128] = {1, 0, 0, 0};
    writeFileBelow("/var/run/snmpd.pid", input.takeText());
    writeFileBelow("/var/run/snmpd.run", input.takeText());
    writeFileBelow(CONF_FILE, input.takeAll());
}

// What grep prints of the file, in place of a process for each question. It prints nothing of a file with a NUL.
std::string grep(const std::string& key) {
    const std::string text = readFileBelow(CONF_FILE);
    std::string matching;
    if (text.find('\0') != std::string::npos) return matching;
    for (const std::string& line : linesOf(text))
        if (contains(line, key)) matching += line;
    return matching;
}

// Forgets what the configuration was known to say.
void startAfresh() {
    static const bool areThere = [] {
        for (const char* process : {"/proc/1", "/proc/100", "/proc/300"}) mkdir((fuzzRoot() + process).c_str(), 0755);
        writeFileBelow("/proc/100/cmdline", std::string_view("/usr/sbin/snmpd\0-f", 18));
        writeFileBelow("/proc/300/cmdline", "/bin/sh");
        return true;
    }();
    demand(areThere, "there are processes");
    g_machine.machine.configSpace[5128] = {1, 0, 0, 0};
    unlink((fuzzRoot() + CONF_FILE).c_str());
    unlink((fuzzRoot() + "/var/run/snmpd.run").c_str());
    restartSnmpdRegistration();
    syncSnmpConfig();
    g_machine = {};
}

} // namespace

// Before the C library's.
FILE* popen(const char* command, const char* /*mode*/) {
    static std::string output;
    const std::string rest = " " + fuzzRoot() + CONF_FILE + " 2>/dev/null";
    const std::string text = command;
    demand(text.starts_with("grep sys") && text.ends_with(rest), "the command is a search in the configuration");
    output = grep(text.substr(5, text.size() - 5 - rest.size()));
    return output.empty() ? fopen("/dev/null", "r") : fmemopen(output.data(), output.size(), "r");
}

int pclose(FILE* stream) {
    return fclose(stream);
}

void trySnmp(std::string_view bytes) {
    const MachineOfOneInput scope;
    startAfresh();
    Input input(bytes);
    Values values = {
        {{"sysContact", "SystemContact", {}}, {"sysLocation", "CabinetLocation", {}}, {"sysName", "SystemName", {}}}};
    for (Value& value : values) value.text = input.takeText();
    describe(values, input);

    // What grep finds nothing in is written anew in each pass.
    const bool canSettle = readFileBelow(CONF_FILE).find('\0') == std::string::npos;
    bool isChanged = true;
    for (int pass = 0; isChanged && (canSettle || pass < SETTLED_AFTER); ++pass) {
        demand(pass < SETTLED_AFTER, "values that stay are written once");
        const std::string before = readFileBelow(CONF_FILE);
        g_machine.signalled.clear();
        syncSnmpConfig();
        const std::string after = readFileBelow(CONF_FILE);
        demand(isFromSync(before, after, values), "only the lines of the keys change");
        isChanged = before != after;
        demand(!isChanged || !g_machine.signalled.empty(), "snmpd is told of a change");
        for (const int pid : g_machine.signalled) demand(pid == SNMPD, "nobody but snmpd gets a signal");
    }
    // A value that contains a key is lost to that key's line.
    const bool isPlain =
        std::all_of(values.begin(), values.end(), [](const Value& v) { return !contains(v.text, "sys"); });
    const std::string text = readFileBelow(CONF_FILE);
    for (const Value& value : values)
        demand(!canSettle || !isPlain || says(text, value), "the configuration says each value");
}
