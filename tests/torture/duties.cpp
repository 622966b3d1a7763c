#include "tests/torture/duties.h"

#include "cache/cacheRelease.h"
#include "cache/oobCache.h"
#include "platform/csm.h"
#include "platform/lcm.h"
#include "platform/xmlParser.h"
#include "rst/inBandSource.h"
#include "rst/treeComparison.h"
#include "rst/treeWriters.h"
#include "rst/updateCycle.h"
#include "sysinfo/agentStatus.h"
#include "sysinfo/snmpdSupervision.h"
#include "sysinfo/systemInfoCycle.h"
#include "tests/daemon/base/outputs.h"

#include <filesystem>
#include <memory>
#include <regex>
#include <set>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr char NAME_IN_FILES[] = "bench-05";
constexpr char COMMUNITY_LINE[] = "rocommunity public 127.0.0.1\n";
constexpr char SNMPD_PID[] = "2000000000"; // no process has it

std::string inState(std::string text, int state) {
    const std::string name = "bench-" + std::to_string(state);
    for (size_t at = 0; (at = text.find(NAME_IN_FILES, at)) != std::string::npos; at += name.size())
        text.replace(at, sizeof NAME_IN_FILES - 1, name);
    return text;
}

std::string documentIn(int state) {
    static const std::string golden = textOf(GOLDEN_DOCUMENT);
    return inState(golden, state);
}

// Its text without the last bracket, to which faults can be added. Put together once, before points are forked off.
const std::string& wholeMachine() {
    static const std::string text = [] {
        nlohmann::json machine = nlohmann::json::parse(std::ifstream(RICH_MACHINE));
        machine.merge_patch(describedHost(SNMPD_PID));
        std::string whole = machine.dump();
        whole.pop_back();
        return whole;
    }();
    return text;
}

std::string tree() {
    return textOf(below(RST_FILE));
}

// What the schema's reader says of the tree; empty: it is valid.
std::string schemaFaults() {
    setenv("DOCUMENT", below(RST_FILE).c_str(), 1); // its name has an apostrophe
    const std::string command = std::string("'") + XMLLINT + "' --noout --schema '" + SCHEMA + "' \"$DOCUMENT\" 2>&1";
    // NOLINTNEXTLINE(cert-env33-c): a tool of the tests
    FILE* output = popen(command.c_str(), "r");
    if (output == nullptr) return "no shell";
    std::string text;
    char line[512];
    while (fgets(line, sizeof line, output) != nullptr) text += line;
    return pclose(output) == 0 ? "" : "not valid: " + text;
}

std::string judgeUpdate(int code, const std::string& before, const std::string& after) {
    if (code < UPDATE_WRITTEN || code > UPDATE_DISABLED) return "an unknown code";
    if (code == UPDATE_WRITTEN && after == before) return "nothing was written";
    if (code != UPDATE_WRITTEN && after != before) return "the file was touched";
    if (after.find("(null)") != std::string::npos) return "a text that the library does not have is named";
    return code == UPDATE_WRITTEN ? schemaFaults() : "";
}

// The agents' text is handed on as it came, so it is not judged.
std::string judgeAgents(int code, const std::string& before, const std::string& after) {
    if (code != UPDATE_WRITTEN && code != UPDATE_NOTHING_NEW && code != UPDATE_FROM_CONTROLLERS)
        return "an unknown code";
    return code != UPDATE_WRITTEN && after != before ? "the file was touched" : "";
}

int runHost() {
    onAgentStateChange(AGENT_STATE_DOWN, ""); // all is to be written again
    char text[AGENT_TEXT_SIZE];
    if (const int state = pollAgentStatus(text); state != AGENT_STATE_DOWN) onAgentStateChange(state, text);
    const int code = systemInfoCycle();
    updateSystemStatus();
    restartSnmpdRegistration();
    return code;
}

std::string conf() {
    return textOf(below("/conf/snmp_users.conf"));
}

// The lines of the configuration in the order of the alphabet, then the items that the cycle writes.
std::string publishedHost() {
    std::istringstream stream(conf());
    std::set<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.insert(line);
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    static constexpr uint16_t items[] = {12, 13, 513, 517, 518, 519, 520, 522, 523, 524, 525, 527, 528, 531};
    for (const uint16_t id : items) {
        char bytes[32] = "";
        text += std::to_string(id) + (LCMconfigSpaceRead(id, 0, bytes, sizeof bytes) != 0 ? ": " : ": none");
        size_t length = sizeof bytes;
        while (length > 0 && bytes[length - 1] == 0) --length;
        for (size_t i = 0; i < length; ++i)
            text += isprint(bytes[i]) != 0 ? std::string(1, bytes[i])
                                           : "<" + std::to_string(static_cast<uint8_t>(bytes[i])) + ">";
        text += "\n";
    }
    return text;
}

std::string expectedHost(int state) {
    std::string text = std::string(COMMUNITY_LINE) +
                       "sysLocation\trow 7\nsysName\tbench-05\n"
                       "12: \n13: \n513: bench-05\n517: \n518: \n519: \n520: \n522: <192><0><2><21>\n"
                       "523:  <1><13><184><0><0><0><0><0><0><0><0><0><0><0><21>\n524: \n525: \n"
                       "527: OS of bench-05\n528: A-20417\n531: \n";
    return inState(text, state);
}

// snmpd's configuration is whole, and nothing but the daemon's own lines has changed.
std::string judgeHost(int /*code*/, const std::string& /*before*/, const std::string& /*after*/) {
    std::istringstream lines(conf());
    std::string line;
    std::getline(lines, line);
    if (line + "\n" != COMMUNITY_LINE) return "a line of snmpd's configuration is lost";
    while (std::getline(lines, line))
        if (line.find('\t') == std::string::npos || line.rfind("sys", 0) != 0 || lines.eof())
            return "a line of snmpd's configuration is \"" + line + "\"";
    return std::filesystem::exists(below("/conf/snmpd.new")) ? "the new configuration was left behind" : "";
}

// As it is in memory: without the lines' ends, and an empty text is a text as well.
std::unique_ptr<XMLDoc, void (*)(XMLDoc*)> documentOf(const std::string& tree) {
    const std::string text = std::regex_replace(tree, std::regex("></"), ">~</");
    return {parseText(nullptr, std::regex_replace(text, std::regex("\\n *"), "").c_str()), freeXMLDoc};
}

// A tree that differs only in what the comparison leaves out is not written.
bool countsAsEqual(const std::string& newTree, const std::string& oldTree) {
    const auto newDocument = documentOf(newTree);
    const auto oldDocument = documentOf(oldTree);
    return newDocument && oldDocument &&
           findXmlNodeWhichIsDifferent(newDocument->documentElement, oldDocument->documentElement) == nullptr;
}

size_t countDescriptors() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(descriptors), end(descriptors)));
}

// Everything that the daemon keeps between its passes, so that what is still there at the end of the process is a leak.
void releaseWhatIsKept() {
    freeoobMRCache(std::exchange(oobMRCache, nullptr));
    free(std::exchange(ibMRCache, nullptr));
}

void layOutHost() {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    setenv("BMC_SPEED", "max", 1);
    setenv("BMC_TIME", "1767225600", 1);
    std::ofstream(below("/conf/snmp_users.conf")) << COMMUNITY_LINE;
    hostTime(); // the clock takes a descriptor
    for (const char* file : {"/var/run/snmpd.run", "/var/run/snmpd.pid"}) std::ofstream(below(file)) << SNMPD_PID;
}

// The first line in which two texts differ.
std::string difference(const std::string& expected, const std::string& got) {
    std::istringstream expectedLines(expected);
    std::istringstream gotLines(got);
    std::string wanted;
    std::string line;
    while (wanted == line && (expectedLines || gotLines)) {
        if (!std::getline(expectedLines, wanted)) wanted = "the end";
        if (!std::getline(gotLines, line)) line = "the end";
    }
    return "\"" + line + "\" in place of \"" + wanted + "\"";
}

// One more run, which has to publish the state.
std::string runHealthy(const Duty& duty, int state) {
    describeState(state);
    const std::string before = duty.published();
    const int code = duty.run();
    const std::string after = duty.published();
    if (after == duty.expected(state)) return "";
    if (code == UPDATE_NOTHING_NEW && after == before && countsAsEqual(duty.expected(state), before)) return "";
    return "the next healthy run (code " + std::to_string(code) + ") publishes " +
           difference(duty.expected(state), after);
}

} // namespace

nlohmann::json describedHost(const char* snmpdPid) {
    const auto text = [](const char* value) { return nlohmann::json{{{"type", "text"}, {"value", value}}}; };
    const auto number = [](int value) { return nlohmann::json{{{"type", "number"}, {"value", value}}}; };
    const auto raw = [](const char* value) { return nlohmann::json{{{"type", "raw"}, {"value", value}}}; };
    return {{"lcm",
             {{"System Information",
               {{"SystemName", {{"0", text(NAME_IN_FILES)}}},
                {"CabinetLocation", {{"0", text("row 7")}}},
                {"OSProductName", {{"0", text("OS of bench-05")}}},
                {"ServerAssetTag", {{"0", text("A-20417")}}},
                {"OsLocalTimeOffset", {{"0", number(60)}}},
                {"ConfServerMgmtIp", {{"-1", raw("c0000215")}}},
                {"ConfServerMgmtIp6", {{"-1", raw("20010db8000000000000000000000015")}}}}},
              {"Driver Monitoring",
               {{"DrvMonNumberComponents", {{"-1", number(1)}}},
                {"DrvMonComponentName", {{"0", {{{"type", "not available"}}}}}},
                {"DrvMonSummaryStatus", {{"-1", number(1)}}}}},
              {"Driver Monitoring Events", {{"DrvMonNumberEvents", {{"-1", number(1)}}}}}}},
            {"ipmi",
             {{"session", true},
              {"userAccess", {{"raw", {{"0", "0004"}}}}},
              {"users",
               {{"2", {{"code", 0}, {"name", {{"raw", {{"0", "61"}}}}}, {"snmp", {1, 2, 3, 4}}}},
                {"3", {{"code", 0xCC}}}}}}},
            {"dqmi", {{"connection", 3}, {"text", textOf(GOLDEN_DOCUMENT)}}},
            {"processes", {{snmpdPid, {{"cmdline", {"/usr/sbin/snmpd", "-f"}}}}}}};
}

const std::vector<Duty>& duties() {
    static const std::vector<Duty> all = {{"update", updateRAIDStorageTree, tree, documentIn, judgeUpdate},
                                          {"agents", updateFromAgents, tree, documentIn, judgeAgents},
                                          {"host", runHost, publishedHost, expectedHost, judgeHost}};
    return all;
}

const Duty& dutyNamed(const std::string& name) {
    for (const Duty& duty : duties())
        if (duty.name == name) return duty;
    throw std::runtime_error("there is no duty \"" + name + "\"");
}

void describeState(int state, const nlohmann::json& faults) {
    placeFile(below("/machine.json"), inState(wholeMachine(), state) + R"(, "faults": )" + faults.dump() + "}");
}

std::string endure(const Duty& duty, const Blow& blow) {
    layOutHost();
    int state = 1;
    for (; state <= blow.healthyBefore; ++state)
        if (const std::string wrong = runHealthy(duty, state); !wrong.empty()) return wrong;
    describeState(state);
    const std::string before = duty.published();
    const size_t descriptors = countDescriptors();
    describeState(state, blow.begin());
    const int code = duty.run();
    std::string wrong = blow.end(code);
    describeState(state);
    if (wrong.empty()) wrong = duty.judge(code, before, duty.published());
    if (wrong.empty() && countDescriptors() != descriptors) wrong = "a descriptor is left behind";
    // A tree that could not be written counts as published until something changes.
    if (code == UPDATE_NOT_WRITTEN) ++state;
    if (wrong.empty()) wrong = runHealthy(duty, state);
    releaseWhatIsKept();
    return wrong.empty() ? "" : "code " + std::to_string(code) + ": " + wrong;
}

std::vector<std::string> linesFromChild(const std::function<std::string()>& work) {
    wholeMachine();
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        try {
            const std::string text = work();
            const std::unique_ptr<FILE, int (*)(FILE*)> stream(fdopen(ends[1], "w"), fclose);
            fwrite(text.data(), 1, text.size(), stream.get());
        } catch (const std::exception& exception) {
            fprintf(stderr, "%s\n", exception.what());
            exit(EXIT_FAILURE);
        }
        exit(EXIT_SUCCESS);
    }
    close(ends[1]);
    std::vector<std::string> lines;
    const std::unique_ptr<FILE, int (*)(FILE*)> stream(fdopen(ends[0], "r"), fclose);
    char line[256];
    while (fgets(line, sizeof line, stream.get()) != nullptr) lines.emplace_back(line, strcspn(line, "\n"));
    int status = 0;
    waitpid(child, &status, 0);
    if (status != 0) throw std::runtime_error("an undisturbed run fails");
    return lines;
}
