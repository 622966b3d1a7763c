// Whatever a tree holds: it is read, or refused in one line. What was read is shown by every word without a control
// character, differs from itself in nothing, and is found well by all words or by none.

#include "raidtree/check.h"
#include "raidtree/cleanText.h"
#include "raidtree/render.h"
#include "tests/fuzz/fuzz.h"

#include <nlohmann/json.hpp>

namespace {

using namespace raidtree;

const States& knownStates() {
    static const States states = builtInStates();
    return states;
}

bool isClean(const std::string& text, bool mayHaveLines) {
    return std::all_of(text.begin(), text.end(), [&](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return (byte >= 0x20 && byte != 0x7F) || (mayHaveLines && c == '\n');
    });
}

void tryWords(const Report& report) {
    const States& states = knownStates();
    const std::string text = renderText(report, states, {});
    const std::string metrics = renderMetrics(&report, states);
    const std::string page = renderPage(report, states);
    const CheckResult check = checkServer(report, states, {});
    for (const std::string& shown : {text, metrics, page, check.text, renderShort(report, states)})
        demand(isClean(shown, true), "no word shows a control character");
    demand(page.find("<script") == std::string::npos, "no text of the tree is markup");
    const nlohmann::json records = nlohmann::json::parse(renderJson(report, states)); // also: UTF-8
    demand(records.at("adapters").size() == report.server.adapters.size(), "the records are all there");
    demand(records.at("problems").empty() == (check.state == CHECK_OK), "all words find the same");
}

} // namespace

void tryReadServer(std::string_view bytes) {
    Report report;
    try {
        report.server = parseServer(std::string(bytes), "tree");
    } catch (const InputError& error) {
        demand(isClean(error.what(), false), "a refusal is one clean line");
        return;
    }
    report.problems = findProblems(report.server, knownStates());
    demand(compareServers(report.server, report.server, true).empty(), "a server is equal to itself");
    tryWords(report);
}
