// What every word says of every document that the daemon is known to write, against the document itself.

#include "raidtree/check.h"
#include "raidtree/cleanText.h"
#include "raidtree/render.h"
#include "tests/raidtree/command.h"

#include <map>
#include <pugixml.hpp>
#include <regex>
#include <set>
#include <sstream>

namespace {

using namespace raidtree;
using nlohmann::json;

struct Told { // of one document, by every word
    std::string xml, text, page, metrics, check;
    json records;
    int state = 0;
};

Told tellOf(const std::string& document) {
    const States states = builtInStates();
    Report report;
    report.server = parseServer(document, "document");
    report.problems = findProblems(report.server, states);
    const CheckResult result = checkServer(report, states, {});
    return {document,
            renderText(report, states, {}),
            renderPage(report, states),
            renderMetrics(&report, states),
            result.text,
            json::parse(renderJson(report, states)),
            result.state};
}

// test(told), for each document.
template <class Test>
void forEachDocument(Test test) {
    for (const auto& [name, document] : allDocuments()) {
        const testing::ScopedTrace trace(__FILE__, __LINE__, name);
        test(tellOf(document));
    }
}

bool isBad(const json& record) {
    return record.at("severity") == "warning" || record.at("severity") == "critical";
}

size_t badOnes(const json& records) {
    return static_cast<size_t>(std::count_if(records.begin(), records.end(), isBad));
}

// Objects whose state is none of `well`; those with the same "Nr" are one.
size_t badOnes(const pugi::xpath_node_set& elements, const std::set<std::string>& well) {
    std::set<std::string> bad;
    for (const pugi::xpath_node& element : elements)
        if (!well.contains(element.node().child_value("Status")))
            bad.insert(element.node().attribute("Nr") ? element.node().attribute("Nr").value()
                                                      : std::to_string(element.node().offset_debug()));
    return bad.size();
}

TEST(RaidtreeDocuments, noStateIsShownWellThatIsNot) {
    const std::set<std::string> drives = {"Online",
                                          "Hot Spare",
                                          "Unconfigured Good",
                                          "Pass-through",
                                          "Unconfigured under Test",
                                          "Hot Spare under Test",
                                          "Configured under Test"};
    const std::set<std::string> elements = {"OK", "Not Installed", "Unsupported"};
    size_t bad = 0;
    forEachDocument([&](const Told& told) {
        pugi::xml_document document;
        document.load_string(told.xml.c_str());
        const pugi::xpath_node_set adapters = document.select_nodes("/QPRaidStorageDeviceTree/System/Adapter");
        ASSERT_EQ(told.records["adapters"].size(), adapters.size());
        for (size_t i = 0; i < adapters.size(); ++i) {
            const pugi::xml_node& adapter = adapters[i].node();
            const json& record = told.records["adapters"][i];
            const auto compare = [&](const char* path, const std::set<std::string>& well, const json& records) {
                const size_t wanted = badOnes(adapter.select_nodes(path), well);
                EXPECT_GE(badOnes(records), wanted) << path;
                bad += wanted;
            };
            compare(".//PhysicalDrive", drives, record["drives"]);
            compare("LogicalDrive", {"Optimal"}, record["volumes"]);
            compare("Battery", {"Normal"}, record.contains("battery") ? json{record["battery"]} : json::array());
            const pugi::xpath_node_set enclosures = adapter.select_nodes("Port/Enclosure");
            ASSERT_EQ(record["enclosures"].size(), enclosures.size());
            for (const auto& [element, key] :
                 {std::pair{"Fan", "fans"}, {"PowerSupply", "powerSupplies"}, {"TemperatureSensor", "sensors"}})
                for (size_t k = 0; k < enclosures.size(); ++k)
                    EXPECT_GE(badOnes(record["enclosures"][k][key]),
                              badOnes(enclosures[k].node().select_nodes(element), elements));
        }
        EXPECT_TRUE(told.state == CHECK_OK ? told.records["problems"].empty() : !told.records["problems"].empty());
    });
    EXPECT_GT(bad, 30U) << "the documents have failures of all kinds";
}

// "drive 0/19" of each record that is not well.
void collectBad(const json& node, const std::string& label, std::map<std::string, std::string>& bad) {
    const std::pair<const char*, const char*> lists[] = {{"adapters", "adapter"}, {"volumes", "volume"},
                                                         {"drives", "drive"},     {"enclosures", "enclosure"},
                                                         {"fans", "fan"},         {"powerSupplies", "power supply"},
                                                         {"sensors", "sensor"}};
    for (const auto& [list, kind] : lists) {
        if (!node.contains(list)) continue;
        for (const json& record : node[list]) {
            const std::string numbers =
                label + (label.empty() ? "" : "/") + std::to_string(record["number"].get<int64_t>());
            const bool sumsUp = std::string_view(kind) == "adapter" || std::string_view(kind) == "enclosure";
            if (!sumsUp && isBad(record)) bad[kind + (" " + numbers)] = record["severity"];
            collectBad(record, numbers, bad);
        }
    }
    if (node.contains("battery") && isBad(node["battery"])) bad["battery " + label] = node["battery"]["severity"];
}

TEST(RaidtreeDocuments, allWordsTellTheSame) {
    forEachDocument([](const Told& told) {
        std::map<std::string, std::string> bad;
        collectBad(told.records, "", bad);
        std::map<std::string, std::string> listed;
        for (const json& problem : told.records["problems"]) listed[problem["object"]] = problem["severity"];
        for (const auto& [label, severity] : bad) EXPECT_EQ(listed[label], severity) << label;
        int worst = CHECK_OK;
        std::map<std::string, size_t> counts = {{"warning", 0}, {"critical", 0}};
        for (const auto& [label, severity] : listed) {
            const bool isCritical = severity == "critical";
            worst = std::max<int>(worst, isCritical ? CHECK_CRITICAL : CHECK_WARNING);
            ++counts[severity];
            const std::string grade = isCritical ? "CRITICAL" : "WARNING ";
            EXPECT_NE(told.text.find("  " + grade + " " + label), std::string::npos) << label;
            EXPECT_NE(told.check.find((isCritical ? "CRITICAL: " : "WARNING: ") + label), std::string::npos) << label;
            EXPECT_NE(told.page.find(">" + label + "<"), std::string::npos) << label;
            EXPECT_NE(told.metrics.find("object=\"" + label + "\""), std::string::npos) << label;
        }
        EXPECT_EQ(told.state, worst);
        for (const auto& [severity, count] : counts)
            EXPECT_TRUE(hasLine(told.metrics, "raid_problems{severity=\"" + severity + "\"} " + std::to_string(count)));
    });
}

TEST(RaidtreeDocuments, textIsForATerminal) {
    forEachDocument([](const Told& told) {
        std::istringstream lines(told.text);
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(textWidth(line), 80U) << line;
            EXPECT_TRUE(line.empty() || line.back() != ' ') << line;
            EXPECT_EQ(cleanText("x" + line), "x" + line) << line;
        }
    });
}

TEST(RaidtreeDocuments, checkIsOneLineOfAPlugin) {
    const std::regex line(R"(RAID (OK|WARNING|CRITICAL) - [^|\n]+ \|( [a-z_]+=\d+s?(;\d*){3,4})+)");
    forEachDocument([&](const Told& told) {
        const size_t end = told.check.find('\n');
        EXPECT_TRUE(std::regex_match(told.check.substr(0, end), line)) << told.check;
        EXPECT_EQ(told.check.find('|', end), std::string::npos);
    });
}

TEST(RaidtreeDocuments, metricsAreOneHotAndStandTogether) {
    forEachDocument([](const Told& told) {
        std::set<std::string> seen;
        std::map<std::string, int> hot;
        std::string family;
        std::istringstream lines(told.metrics);
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with("# HELP ")) family = line.substr(7, line.find(' ', 7) - 7);
            if (line.starts_with('#')) continue;
            EXPECT_TRUE(line.starts_with(family + " ") || line.starts_with(family + "{")) << line;
            const size_t end = line.rfind(' ');
            EXPECT_TRUE(seen.insert(line.substr(0, end)).second) << "twice: " << line;
            const size_t state = line.find("state=\"");
            if (state != std::string::npos && !family.ends_with("_info"))
                hot[line.substr(0, state)] += line[end + 1] == '1' ? 1 : 0;
        }
        for (const auto& [series, count] : hot) EXPECT_EQ(count, 1) << series;
    });
}

// The page as the elements and attributes that it has, without texts and without values that are texts.
std::string markupOf(const std::string& page) {
    std::string markup;
    const std::regex tag("<[^>]*>");
    const std::regex texts(R"re((aria-label|class)="[^"]*")re");
    for (std::sregex_iterator i(page.begin(), page.end(), tag), end; i != end; ++i)
        markup += std::regex_replace(i->str(), texts, "$1");
    return markup;
}

TEST(RaidtreeDocuments, textsNeverBecomeMarkup) {
    const std::string hostile = R"(--></td></style><script src="x">&lt;]]><b onclick='x'>&#x202e;{{x}})";
    const auto documentWith = [](std::string text) { // in place of all texts that are not numbers
        pugi::xml_document document;
        document.load_string(goldenDocument("enclosures").c_str());
        for (const pugi::xpath_node& node : document.select_nodes("//text()"))
            if (node.node().text().as_llong() == 0) node.node().set_value(text.c_str());
        std::ostringstream stream;
        document.save(stream);
        return stream.str();
    };
    const Told harmless = tellOf(documentWith("x"));
    const Told told = tellOf(documentWith(hostile));
    EXPECT_EQ(markupOf(told.page), markupOf(harmless.page));
    EXPECT_NE(told.page.find("&lt;script src=&quot;x&quot;&gt;"), std::string::npos);
    EXPECT_EQ(told.records["adapters"][0]["drives"][0]["status"].get<std::string>().substr(0, 30),
              hostile.substr(0, 30));
    EXPECT_NE(told.metrics.find(R"(product="--></td></style><script src=\"x\">)"), std::string::npos);
    for (const json& drive : told.records["adapters"][0]["drives"]) EXPECT_TRUE(isBad(drive));
}

TEST(RaidtreeDocuments, aDriveThatStandsTwiceIsOne) {
    size_t twice = 0;
    forEachDocument([&](const Told& told) {
        pugi::xml_document document;
        document.load_string(told.xml.c_str());
        for (const json& adapter : told.records["adapters"]) {
            std::set<int64_t> numbers;
            for (const json& drive : adapter["drives"])
                EXPECT_TRUE(numbers.insert(drive["number"].get<int64_t>()).second);
            const std::string path =
                "//Adapter[@Nr='" + std::to_string(adapter["number"].get<int64_t>()) + "']//PhysicalDrive";
            const pugi::xpath_node_set drives = document.select_nodes(path.c_str());
            std::set<std::string> keys;
            for (const pugi::xpath_node& drive : drives) keys.insert(drive.node().attribute("Nr").value());
            EXPECT_GE(numbers.size(), keys.size());
            twice += drives.size() - keys.size();
        }
    });
    EXPECT_GT(twice, 0U);
}

} // namespace
