#include "simulator/machine/faultsReader.h"

#include "simulator/machine/faults.h"

namespace sim {
namespace {

Form<FaultKind> faultKindForm() {
    return {[](const Node& node, FaultKind& kind) {
                const std::string& text = readText(node);
                for (const FaultWord& row : faultWords())
                    if (row.word == text) kind = row.kind;
                if (kind == FaultKind::none) node.fail("must be error, empty, short, garbage, counts, slow or hang");
            },
            [] {
                Json words = Json::array();
                for (const FaultWord& row : faultWords()) words.push_back(row.word);
                return Json{{"enum", std::move(words)}};
            }};
}

Form<uint64_t> positiveForm() {
    return {[](const Node& node, uint64_t& value) {
                value = readUnsigned(node, INT64_MAX);
                if (value == 0) node.fail("must be at least 1");
            },
            [] {
                return Json{{"type", "integer"}, {"minimum", 1}, {"maximum", INT64_MAX}};
            }};
}

Form<std::string> callForm() {
    return {[](const Node& node, std::string& name) {
                name = readText(node);
                if (!name.empty()) readLibraryCall(node);
            },
            textForm().schema};
}

const MemberTable<FaultRule>& faultMembers() {
    static const MemberTable<FaultRule> table = {
        member("call", &FaultRule::call, callForm(), "The library function; any when absent."),
        member("controller", &FaultRule::controller, unsignedForm<uint32_t>(), "The id of the controller."),
        member("device", &FaultRule::device, unsignedForm<uint32_t>(UINT16_MAX),
               "The id of a drive or enclosure, or the target id of a logical drive."),
        member("nth", &FaultRule::nth, positiveForm(), "The first call that goes wrong; 1 when absent."),
        member("times", &FaultRule::times, positiveForm(), "How many go wrong; all when absent."),
        member("kind", &FaultRule::kind, faultKindForm(), "What goes wrong."),
    };
    return table;
}

void readFault(const Node& node, FaultRule& rule) {
    readMembers(node, rule, faultMembers());
    if (!isGiven(node, "kind")) node.fail("has no kind");
    const LibraryCall* call = findLibraryCall(rule.call);
    const size_t wanted = rule.device ? 2 : (rule.controller ? 1 : 0);
    if (call != nullptr && call->identifiers < wanted)
        node.fail(rule.call + (wanted == 2 ? " names no device" : " names no controller"));
}

} // namespace

const LibraryCall& readLibraryCall(const Node& node) {
    const std::string& name = readText(node);
    if (const LibraryCall* call = findLibraryCall(name); call != nullptr) return *call;
    std::vector<std::string_view> names;
    for (const LibraryCall& call : libraryCalls()) names.push_back(call.name);
    node.fail("there is no library function \"" + name + "\"" + suggestName(name, names));
}

Form<std::vector<FaultRule>> faultsForm() {
    return listForm(Form<FaultRule>{readFault, [] { return withRequired(schemaOf(faultMembers()), "kind"); }});
}

} // namespace sim
