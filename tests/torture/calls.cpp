// Every call of the daemon into the platform fails in turn: the libraries' by a fault in the machine file, the XML
// library's, which can fail for want of memory alone, where the link puts a function of this file in between.

#include "rst/updateCycle.h"
#include "simulator/machine/root.h"
#include "tests/daemon/base/outputs.h"
#include "tests/torture/duties.h"
#include "tests/torture/torture.h"

#include "platform/xmlParser.h"

#include <regex>
#include <set>
#include <string_view>

namespace {

using nlohmann::json;

constexpr size_t MOST_CALLS = 1500; // in a run
constexpr const char* KINDS[] = {"error", "empty", "short", "garbage", "counts"};

// The XML library's calls of the duty.
uint64_t xmlCalls = 0;
uint64_t failingXmlCall = 0; // 0: none
bool failsForEver = false;
bool writerFailed = false;

bool failsNow() {
    ++xmlCalls;
    return failingXmlCall != 0 && (failsForEver ? xmlCalls >= failingXmlCall : xmlCalls == failingXmlCall);
}

uint64_t countedCalls() {
    return strtoull(textOf(sim::simulatorFile("count")).c_str(), nullptr, 10);
}

std::string callLog() {
    return textOf(sim::simulatorFile("calls.jsonl"));
}

// What the log has behind its first `size` bytes of calls that can fail.
std::vector<json> callsSince(size_t size) {
    std::istringstream lines(callLog().substr(size));
    std::vector<json> calls;
    for (std::string line; std::getline(lines, line);)
        if (json call = json::parse(line); call["call"] != "hostSignal") calls.push_back(std::move(call));
    return calls;
}

// With a status alone a call can only fail.
bool handsOutNothing(const json& call) {
    const auto& name = call["call"].get_ref<const std::string&>();
    return !call.contains("out") && name.rfind("raid_", 0) != 0 && name != "LCMParam_update" &&
           name != "etcGetDefaultLanChannelNumber";
}

// The answers that decide about the code of an update: the switch, the controllers' list, then records of each.
constexpr size_t DECIDING_CALLS = 6;
bool decides(const json& call) {
    return call["call"] == "raid_GetControllerList" || call["call"] == "raid_ReadControllerInfoRaw" ||
           (call["call"] == "raid_ControllerGetOperation" && call["args"][1] == 0x01020100);
}

int updateCode(const std::vector<json>& calls) {
    if (calls.empty() || calls[0]["result"] == 0 || calls[0]["out"] == "00") return UPDATE_DISABLED;
    json status = 0;
    for (const json& call : calls)
        if (decides(call)) status = call["result"];
    return status == 0 ? UPDATE_WRITTEN : UPDATE_NO_CACHE;
}

// A line for each call of a run, what tells it from others of its name included, and one with the number of XML calls.
std::string undisturbed(const Duty& duty, int cycle) {
    setenv("BMC_TRACE", "1", 1);
    size_t before = 0;
    std::string lines;
    const auto begin = [&] {
        before = callLog().size();
        xmlCalls = 0;
        return json::array();
    };
    const auto end = [&](int) -> std::string {
        const std::vector<json> calls = callsSince(before);
        for (size_t i = 0; i < calls.size(); ++i) {
            if (i >= DECIDING_CALLS && decides(calls[i])) return "an update begins differently";
            lines += calls[i]["call"].get<std::string>() + (handsOutNothing(calls[i]) ? " status " : " answer ") +
                     calls[i]["args"].dump().substr(0, 100) + "\n";
        }
        lines += std::to_string(xmlCalls) + "\n";
        return "";
    };
    const std::string wrong = endure(duty, {cycle, begin, end});
    if (!wrong.empty()) throw std::runtime_error(wrong);
    return lines;
}

// DUTY-CYCLE-NUMBER-CALL-KIND-once or -ever; the call is for the reader. Of a first run what a second does not call.
std::vector<std::string> points() {
    std::vector<std::string> all;
    const auto add = [&](const Duty& duty, int cycle, uint64_t number, const std::string& call, const char* kind) {
        for (const char* how : {"-once", "-ever"})
            all.push_back(std::string(duty.name) + "-" + CYCLES[cycle] + "-" + std::to_string(number) + "-" + call +
                          "-" + kind + how);
    };
    for (const Duty& duty : duties()) {
        std::set<std::string> known;
        for (const int cycle : {1, 0}) {
            std::vector<std::string> calls = linesFromChild([&] { return undisturbed(duty, cycle); });
            const uint64_t xmlCount = std::stoull(calls.back());
            calls.pop_back();
            if (calls.size() > MOST_CALLS) throw std::runtime_error("a duty makes too many calls");
            for (size_t i = 0; i < calls.size(); ++i) {
                if (cycle == 0 && known.contains(calls[i])) continue;
                known.insert(calls[i]);
                std::istringstream words(calls[i]);
                std::string name;
                std::string what;
                words >> name >> what;
                for (const char* kind : KINDS)
                    if (kind == KINDS[0] || what == "answer") add(duty, cycle, i + 1, name, kind);
            }
            for (uint64_t i = 1; cycle == 1 && i <= xmlCount; ++i) add(duty, cycle, i, "xml", KINDS[0]);
        }
    }
    return all;
}

std::string runPoint(const std::string& point) {
    const std::regex form(R"((\w+)-(first|second)-(\d+)-(\w+)-(\w+)-(once|ever))");
    std::smatch parts;
    if (!std::regex_match(point, parts, form)) return "there is no such point";
    const std::string name = parts[1];
    const Duty& duty = dutyNamed(name);
    const uint64_t number = std::stoull(parts[3]);
    const bool isXml = parts[4] == "xml";
    const bool isDeciding = !isXml && number <= DECIDING_CALLS;
    failsForEver = parts[6] == "ever";
    if (isDeciding) setenv("BMC_TRACE", "1", 1);
    size_t before = 0;
    uint64_t countBefore = 0;
    const auto begin = [&]() -> json {
        before = callLog().size();
        countBefore = countedCalls();
        xmlCalls = 0;
        if (isXml) failingXmlCall = number;
        if (isXml) return json::array();
        json fault = {{"nth", countBefore + number}, {"kind", parts[5].str()}};
        if (!failsForEver) fault["times"] = 1;
        return json::array({fault});
    };
    const auto end = [&](int code) -> std::string {
        failingXmlCall = 0;
        if ((isXml ? xmlCalls : countedCalls() - countBefore) < number) return "there is no such call";
        if (duty.run != updateRAIDStorageTree) return "";
        int expected = isDeciding ? updateCode(callsSince(before)) : UPDATE_WRITTEN;
        if (isXml) expected = writerFailed ? UPDATE_NOT_WRITTEN : UPDATE_NO_DOCUMENT;
        return code == expected ? "" : std::to_string(expected) + " is expected";
    };
    return endure(duty, {parts[2] == CYCLES[0] ? 0 : 1, begin, end});
}

const bool REGISTERED = addTorture({"calls", true, points, runPoint});

} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker's names
extern "C" {
char* __real_writeXMLEnhancedForBf(XMLWorkArea* workArea, const XMLDoc* document, const char* encoding, int compact,
                                   int declaration);

char* __wrap_writeXMLEnhancedForBf(XMLWorkArea* workArea, const XMLDoc* document, const char* encoding, int compact,
                                   int declaration) {
    writerFailed = failsNow();
    return writerFailed ? nullptr : __real_writeXMLEnhancedForBf(workArea, document, encoding, compact, declaration);
}
FAILING(XMLDoc*, nullptr, createXMLDoc, (void), ())
FAILING(XMLNode*, nullptr, createElement, (const char* name), (name))
FAILING(int, 1, setDocumentElement, (XMLDoc * document, XMLNode* element), (document, element))
FAILING(int, 1, appendChild, (XMLNode * parent, XMLNode* child), (parent, child))
FAILING(int, 1, appendTextChild, (XMLNode * parent, const char* name, const char* text), (parent, name, text))
FAILING(int, 1, appendIntegerChild, (XMLNode * parent, const char* name, int32_t value), (parent, name, value))
FAILING(int, 1, setAttribute, (XMLNode * element, const char* name, const char* value), (element, name, value))
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
