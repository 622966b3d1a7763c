// The Redfish view and the answers of the server, of every document; and that every member of the JSON is documented.

#include "raidtree/redfish.h"
#include "raidtree/serve/answers.h"
#include "raidtree/walk.h"
#include "tests/raidtree/command.h"

#include <set>

namespace {

using namespace raidtree;
using nlohmann::json;

const States& knownStates() {
    static const States states = builtInStates();
    return states;
}

Publication publicationOf(const std::string& document) {
    Report report;
    report.server = parseServer(document, "document");
    report.problems = findProblems(report.server, knownStates());
    return publishServer(document, report, knownStates());
}

void collectLinks(const json& node, std::set<std::string>& links) {
    if (node.is_object() && node.contains("@odata.id")) links.insert(node["@odata.id"].get<std::string>());
    for (const json& child : node)
        if (child.is_structured()) collectLinks(child, links);
}

TEST(RaidtreeRedfish, everyLinkAnswersAndEveryResourceIsLinked) {
    for (const auto& [name, document] : allDocuments()) {
        const Publication publication = publicationOf(document);
        std::set<std::string> links = {"/redfish", "/redfish/v1/odata", "/redfish/v1/$metadata",
                                       "/redfish/v1/SessionService"};
        for (const auto& [path, text] : publication.redfish)
            if (text.starts_with('{')) collectLinks(json::parse(text), links);
        for (const std::string& link : links) {
            const std::string path = link.substr(0, link.find('#'));
            EXPECT_EQ(answerTo({"GET", path, ""}, publication).status, 200) << name << " " << link;
        }
        for (const auto& [path, text] : publication.redfish)
            EXPECT_TRUE(links.contains(path) || links.contains(path + "/")) << name << " " << path;
    }
}

TEST(RaidtreeRedfish, healthIsTheSeverity) {
    size_t compared = 0;
    for (const auto& [name, document] : allDocuments()) {
        const Publication publication = publicationOf(document);
        const json records = json::parse(publication.json);
        const auto compare = [&publication, &compared, &name = name](const json& record, const std::string& path) {
            const json resource = json::parse(answerTo({"GET", path, ""}, publication).body);
            const std::string severity = record["severity"];
            const bool isAbsent = resource["Status"].value("State", "") == "Absent";
            const std::string wanted = severity == "critical" ? "Critical" : severity == "warning" ? "Warning" : "OK";
            EXPECT_EQ(resource["Status"].value("Health", ""), isAbsent ? "" : wanted) << name << " " << path;
            ++compared;
        };
        const auto number = [](const json& record) { return "/" + std::to_string(record["number"].get<int64_t>()); };
        for (const json& adapter : records["adapters"]) {
            const std::string storage = "/redfish/v1/Systems/server/Storage" + number(adapter);
            compare(adapter, storage);
            for (const json& drive : adapter["drives"]) compare(drive, storage + "/Drives" + number(drive));
            for (const json& volume : adapter["volumes"]) compare(volume, storage + "/Volumes" + number(volume));
            for (const json& enclosure : adapter["enclosures"]) {
                const std::string chassis =
                    "/redfish/v1/Chassis/enclosure-" + number(adapter).substr(1) + "-" + number(enclosure).substr(1);
                compare(enclosure, chassis);
                for (const json& fan : enclosure["fans"])
                    compare(fan, chassis + "/ThermalSubsystem/Fans" + number(fan));
                for (const json& supply : enclosure["powerSupplies"])
                    compare(supply, chassis + "/PowerSubsystem/PowerSupplies" + number(supply));
                for (const json& sensor : enclosure["sensors"]) compare(sensor, chassis + "/Sensors" + number(sensor));
            }
        }
    }
    EXPECT_GT(compared, 150U);
}

TEST(RaidtreeRedfish, withoutATreeEverythingSaysSo) {
    const Publication none = publishTrouble("tree.xml: <gone>");
    for (const char* path : {"/", "/server.json", "/tree.xml", "/metrics", "/redfish/v1", "/redfish/v1/Systems"}) {
        const Answer answer = answerTo({"GET", path, ""}, none);
        EXPECT_EQ(answer.status, 503) << path;
        EXPECT_FALSE(answer.body.empty()) << path;
        EXPECT_EQ(answer.etag, "") << path;
    }
    EXPECT_NE(none.page.find("tree.xml: &lt;gone&gt;"), std::string::npos);
    EXPECT_EQ(json::parse(none.json)["error"], "tree.xml: <gone>");
}

// Each name in a table of docs/raidtree.md stands between backticks.
TEST(RaidtreeRedfish, everyMemberIsDocumented) {
    const std::string text = textOfFile(std::string(DOCS) + "/raidtree.md");
    const std::string redfish = textOfFile(std::string(DOCS) + "/redfish.md");
    const auto check = [&](const auto& fields) {
        for (const auto& field : fields)
            EXPECT_NE(text.find(std::string("| `") + field.key + "` |"), std::string::npos) << field.key;
    };
    check(fieldsOf<Adapter>());
    check(fieldsOf<Volume>());
    check(fieldsOf<Battery>());
    check(fieldsOf<Enclosure>());
    check(fieldsOf<Processor>());
    check(fieldsOf<Fan>());
    check(fieldsOf<PowerSupply>());
    check(fieldsOf<Sensor>());
    check(fieldsOf<Drive>());
    for (const auto& field : fieldsOf<Drive>()) {
        const std::string element = field.element != nullptr ? field.element : "Nr";
        EXPECT_NE(redfish.find("`" + element + "`"), std::string::npos) << element;
    }
}

} // namespace
