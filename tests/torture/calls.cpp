// Every call of the daemon into the platform fails in turn: the libraries' by a fault in the machine file, the XML
// library's, which can fail for want of memory alone, where the link puts a function of this file in between.

#include "rst/updateCycle.h"
#include "simulator/machine/root.h"
#include "tests/daemon/outputs.h"
#include "tests/torture/duties.h"
#include "tests/torture/torture.h"

#include "platform/xmlParser.h"

#include <regex>
#include <string_view>

namespace {

using nlohmann::json;

constexpr const char* KINDS[] = {"error", "empty", "short", "garbage", "counts"};

// The XML library's calls of the duty.
uint64_t xmlCalls = 0;
uint64_t failingXmlCall = 0; // 0: none
bool failsForEver = false;
XMLDoc* youngest = nullptr;

bool failsNow() {
    ++xmlCalls;
    const bool fails = failingXmlCall != 0 && (failsForEver ? xmlCalls >= failingXmlCall : xmlCalls == failingXmlCall);
    if (fails && youngest != nullptr) youngest->allocationFailed = 1;
    return fails;
}

uint64_t countedCalls() {
    return strtoull(textOf(sim::simulatorFile("count")).c_str(), nullptr, 10);
}

// The lines of calls.jsonl behind the first `size` bytes.
std::vector<json> callsSince(size_t size) {
    std::istringstream lines(textOf(sim::simulatorFile("calls.jsonl")).substr(size));
    std::vector<json> calls;
    for (std::string line; std::getline(lines, line);) calls.push_back(json::parse(line));
    return calls;
}

size_t sizeOfCalls() {
    return std::filesystem::file_size(sim::simulatorFile("calls.jsonl"));
}

// With a status alone a call can only fail.
bool handsOutNothing(const json& call) {
    const std::string& name = call["call"].get_ref<const std::string&>();
    return !call.contains("out") && name.rfind("raid_", 0) != 0 && name != "LCMParam_update" &&
           name != "etcGetDefaultLanChannelNumber";
}

// DUTY-NUMBER-CALL-KIND-once or -ever; the call is for the reader.
std::string pointsOf(const Duty& duty) {
    setenv("BMC_TRACE", "1", 1);
    std::string points;
    size_t before = 0;
    const Blow none = {1,
                       [&] {
                           before = sizeOfCalls();
                           xmlCalls = 0;
                           return json::array();
                       },
                       [&](int) {
                           const std::vector<json> calls = callsSince(before);
                           const auto add = [&](size_t number, const std::string& call, const char* kind) {
                               for (const char* how : {"-once\n", "-ever\n"})
                                   points += std::string(duty.name) + "-" + std::to_string(number) + "-" + call + "-" +
                                             kind + how;
                           };
                           for (size_t i = 0; i < calls.size(); ++i)
                               for (const char* kind : KINDS)
                                   if (kind == KINDS[0] || !handsOutNothing(calls[i]))
                                       add(i + 1, calls[i]["call"], kind);
                           for (uint64_t i = 1; i <= xmlCalls; ++i) add(i, "xml", KINDS[0]);
                           return std::string();
                       }};
    const std::string wrong = endure(duty, none);
    if (!wrong.empty()) throw std::runtime_error(wrong);
    return points;
}

std::vector<std::string> points() {
    std::vector<std::string> all;
    for (const Duty& duty : duties())
        for (const std::string& point : linesFromChild([&] { return pointsOf(duty); })) all.push_back(point);
    return all;
}

// What the answers of the libraries mean for an update.
int updateCode(const std::vector<json>& calls) {
    if (calls.empty() || calls[0]["result"] == 0 || calls[0]["out"] == "00") return UPDATE_DISABLED;
    json status = 0;
    for (const json& call : calls)
        if (call["call"] == "raid_GetControllerList" || call["call"] == "raid_ReadControllerInfoRaw" ||
            (call["call"] == "raid_ControllerGetOperation" && call["args"][1] == 0x01020100))
            status = call["result"];
    return status == 0 ? UPDATE_WRITTEN : UPDATE_NO_CACHE;
}

std::string runPoint(const std::string& point) {
    const std::regex form(R"((\w+)-(\d+)-(\w+)-(\w+)-(once|ever))");
    std::smatch parts;
    if (!std::regex_match(point, parts, form)) return "there is no such point";
    const Duty& duty = dutyNamed(parts[1]);
    const uint64_t number = std::stoull(parts[2]);
    const bool isXml = parts[3] == "xml";
    failsForEver = parts[5] == "ever";
    setenv("BMC_TRACE", "1", 1);
    size_t before = 0;
    const auto begin = [&]() -> json {
        before = sizeOfCalls();
        if (isXml) {
            xmlCalls = 0;
            failingXmlCall = number;
            return json::array();
        }
        json fault = {{"nth", countedCalls() + number}, {"kind", parts[4].str()}};
        if (!failsForEver) fault["times"] = 1;
        return json::array({fault});
    };
    const auto end = [&](int code) -> std::string {
        failingXmlCall = 0;
        if (duty.run != updateRAIDStorageTree) return "";
        const int expected = isXml ? code : updateCode(callsSince(before));
        return code == expected ? "" : "the answers mean " + std::to_string(expected);
    };
    return endure(duty, {1, begin, end});
}

const bool REGISTERED = addTorture({"calls", true, points, runPoint});

} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker's names
extern "C" {
XMLDoc* __real_createXMLDoc(void);
void __real_freeXMLDoc(XMLDoc* document);
XMLNode* __real_createElement(const char* name);
int __real_setDocumentElement(XMLDoc* document, XMLNode* element);
int __real_appendChild(XMLNode* parent, XMLNode* child);
int __real_appendTextChild(XMLNode* parent, const char* name, const char* text);
int __real_appendIntegerChild(XMLNode* parent, const char* name, int32_t value);
int __real_setAttribute(XMLNode* element, const char* name, const char* value);
char* __real_writeXMLEnhancedForBf(XMLWorkArea* workArea, const XMLDoc* document, const char* encoding, int compact,
                                   int declaration);

XMLDoc* __wrap_createXMLDoc(void) {
    youngest = nullptr;
    return failsNow() ? nullptr : youngest = __real_createXMLDoc();
}
void __wrap_freeXMLDoc(XMLDoc* document) {
    if (document == youngest) youngest = nullptr;
    __real_freeXMLDoc(document);
}
XMLNode* __wrap_createElement(const char* name) {
    return failsNow() ? nullptr : __real_createElement(name);
}
int __wrap_setDocumentElement(XMLDoc* document, XMLNode* element) {
    return failsNow() ? 1 : __real_setDocumentElement(document, element);
}
int __wrap_appendChild(XMLNode* parent, XMLNode* child) {
    return failsNow() ? 1 : __real_appendChild(parent, child);
}
int __wrap_appendTextChild(XMLNode* parent, const char* name, const char* text) {
    return failsNow() ? 1 : __real_appendTextChild(parent, name, text);
}
int __wrap_appendIntegerChild(XMLNode* parent, const char* name, int32_t value) {
    return failsNow() ? 1 : __real_appendIntegerChild(parent, name, value);
}
int __wrap_setAttribute(XMLNode* element, const char* name, const char* value) {
    return failsNow() ? 1 : __real_setAttribute(element, name, value);
}
char* __wrap_writeXMLEnhancedForBf(XMLWorkArea* workArea, const XMLDoc* document, const char* encoding, int compact,
                                   int declaration) {
    return failsNow() ? nullptr : __real_writeXMLEnhancedForBf(workArea, document, encoding, compact, declaration);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
