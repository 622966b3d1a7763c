#pragma once

// What the words print, as texts: from records alone, nothing is read or written here.

#include "raidtree/compare.h"
#include "raidtree/judge.h"
#include "raidtree/server.h"
#include "raidtree/states.h"
#include "raidtree/updateLog.h"

#include <optional>
#include <string>
#include <vector>

namespace raidtree {

// A server with what has been found out about it.
struct Report {
    Server server;
    std::vector<Problem> problems;
    std::optional<Update> update; // where the log of updates can be read
    std::string updateError;      // why it cannot
};

struct TextStyle {
    size_t width = 80;
    bool hasColour = false;
};

// For people: problems, adapters, volumes, bays.
std::string renderText(const Report& report, const States& states, const TextStyle& style);
std::string renderProblems(const Report& report, const TextStyle& style);
std::string renderShort(const Report& report, const States& states); // a line for the whole, one for each adapter

// The records; docs/raidtree.md describes them.
std::string renderJson(const Report& report, const States& states);
std::string renderJson(const std::vector<Change>& changes);
std::string jsonText(const std::string& text); // quoted

// Prometheus text. Without a report: the tree could not be read.
std::string renderMetrics(const Report* report, const States& states);

// One page that needs nothing else; live, it brings itself up to date from the server that it comes from.
std::string renderPage(const Report& report, const States& states, bool isLive = false);
std::string renderTroublePage(const std::string& why); // live: there is no tree
std::string markupText(const std::string& text);       // so that nothing in it is markup

} // namespace raidtree
