// What the words say of changes, of texts that nobody knows and of old updates.

#include "raidtree/updateLog.h"
#include "tests/raidtree/command.h"

#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

namespace {

using raidtree::lastResult;
using Changes = std::vector<std::pair<std::string, std::string>>;

class RaidtreeWords : public Raidtree {};

TEST_F(RaidtreeWords, diffTellsWhatChanged) {
    const std::string old = goldenDocument("enclosures");
    const size_t drive = old.find("<PhysicalDrive Nr=\"19\">");
    const std::string drive19 = old.substr(drive, old.find("</PhysicalDrive>", drive) + 16 - drive);
    const struct {
        Changes changes;
        const char* says; // "": nothing
        const char* saysWithAll = nullptr;
    } rows[] = {
        {{}, ""},
        {{{"<Status>Failed<", "<Status>Online<"}},
         "drive 0/19 (bay 1:3, ZQ14A0K190000J512003): status Failed -> Online\n"},
        {{{drive19, ""}}, "drive 0/19 (bay 1:3, ZQ14A0K190000J512003): gone\n"},
        {{{"<Slot>3<", "<Slot>9<"}}, "drive 0/19 (bay 1:9, ZQ14A0K190000J512003): slot 3 -> 9\n"},
        {{{"ZQ14A0K190000J512003", "ANOTHER"}},
         "drive 0/19 (bay 1:3, ANOTHER): serial number ZQ14A0K190000J512003 -> ANOTHER\n"},
        {{{"Nr=\"19\"", "Nr=\"77\""}}, "drive 0/77 (bay 1:3, ZQ14A0K190000J512003): number drive 0/19 -> drive 0/77\n"},
        {{{"<MediaErrorCount>214<", "<MediaErrorCount>215<"}},
         "",
         "drive 0/19 (bay 1:3, ZQ14A0K190000J512003): media errors 214 -> 215\n"},
        {{{"<Name>Archive<", "<Name>Attic<"}, {"<Status>Partially Degraded<", "<Status>Optimal<"}},
         "volume 0/0 (Attic): name Archive -> Attic\nvolume 0/0 (Attic): status Partially Degraded -> Optimal\n"},
        {{{"<Status>Critical<", "<Status>OK<"}}, "fan 0/1/1 (Rear Center Left): status Critical -> OK\n"},
    };
    write("old.xml", old);
    for (const auto& row : rows) {
        write("new.xml", changed(old, row.changes));
        const Output output = run("diff old.xml new.xml");
        EXPECT_EQ(output.text, row.says);
        EXPECT_EQ(output.status, *row.says == 0 ? 0 : 1);
        const Output all = run("diff --all old.xml new.xml");
        EXPECT_EQ(all.text, row.saysWithAll != nullptr ? row.saysWithAll : row.says);
        const auto json = nlohmann::json::parse(run("diff --all --json old.xml new.xml").text);
        EXPECT_EQ(json["changes"].size(), static_cast<size_t>(std::count(all.text.begin(), all.text.end(), '\n')));
    }
    EXPECT_EQ(run("diff old.xml absent.xml").status, 2);
}

TEST_F(RaidtreeWords, aTextThatNobodyKnowsIsAWarningThatNamesIt) {
    const std::string plain = goldenDocument("ssd-cache"); // without a problem
    const struct {
        const char *from, *to, *says;
    } rows[] = {
        {"<Status>Online<", "<Status>Splendid<", "unknown: \"Splendid\""},
        {"<Status>Online<", "<Status>online<", "unknown: \"online\""},
        {"<Status>Online<", "<Status><", "not told"},
        {"<Status>Optimal<", "<Status>Best<", "unknown: \"Best\""},
        {"<PowerStatus>Active<", "<PowerStatus>Asleep<", "power status unknown: \"Asleep\""},
        {"<SMARTStatus>Not Available<", "<SMARTStatus>Fine<", "smart status unknown: \"Fine\""},
        {"<InitState>Initialized<", "<InitState>Half<", "init state unknown: \"Half\""},
        {"<StatusOverall>OK<", "<StatusOverall>Good<", "unknown: \"Good\""},
    };
    for (const auto& row : rows) {
        write("tree.xml", changed(plain, {{row.from, row.to}}));
        const Output check = run("check --no-log tree.xml");
        EXPECT_EQ(check.status, 1) << check.text;
        EXPECT_NE(check.text.find(row.says), std::string::npos) << check.text;
        EXPECT_NE(run("show --no-log --problems tree.xml").text.find(row.says), std::string::npos);
        EXPECT_NE(run("metrics --no-log tree.xml").text.find("unknown=\"true\""), std::string::npos);
    }
    write("tree.xml", changed(plain, {{"<Status>Online<", "<Status>Splendid<"}}));
    write("states.json", R"({"states": {"drive.status": {"Splendid": {"severity": "ok"}}}})");
    EXPECT_EQ(run("check --no-log --states states.json tree.xml").status, 0);
    write("states.json", R"({"states": {"drive.status": {"Online": {"severity": "critical", "says": "too busy"}}}})");
    EXPECT_EQ(run("check --no-log --states states.json tree.xml").status, 2);
}

TEST_F(RaidtreeWords, statesThatAreWrongAreRefused) {
    write("tree.xml", goldenDocument("ssd-cache"));
    const struct {
        const char *text, *says;
    } rows[] = {
        {"{", "parse error"},
        {"[]", "an object is wanted"},
        {R"({"state": {}})", "unknown: \"state\""},
        {R"({"states": {"drive.stat": {}}})", "drive.stat: no state has this name"},
        {R"({"states": {"drive.status": {"X": {"severity": "fine"}}}})", "drive.status: X: \"severity\" is ok"},
        {R"({"limits": {"drive.size": {"warning": 1}}})", "no number with a limit"},
        {R"({"limits": {"drive.mediaErrors": {"warning": "1"}}})", "a whole number is wanted"},
    };
    for (const auto& row : rows) {
        write("states.json", row.text);
        const Output output = run("show --states states.json tree.xml");
        EXPECT_EQ(output.status, 2) << row.text;
        EXPECT_TRUE(output.errors.starts_with("raidtree: states.json: ")) << output.errors;
        EXPECT_NE(output.errors.find(row.says), std::string::npos) << output.errors;
    }
    for (const char* file : {"absent.json", "/tmp"}) EXPECT_EQ(run(std::string("check --states ") + file).status, 3);
}

TEST_F(RaidtreeWords, limitsRaiseAProblem) {
    write("tree.xml", goldenDocument("ssd-cache")); // its hottest drive has less than 60 C
    const struct {
        const char* arguments;
        int status;
    } rows[] = {{"", 0},
                {"--drive-temperature 10", 1},
                {"--drive-temperature 90,95", 0},
                {"--drive-temperature ,10", 2},
                {"--chip-temperature 1,2", 2},
                {"--media-errors 0", 1},
                {"--expect-drives 6", 0},
                {"--expect-drives 7", 2},
                {"--expect-drives 5", 1},
                {"--baseline tree.xml", 0},
                {"--baseline absent.xml", 3},
                {"--drive-temperature warm", 3},
                {"--max-update-age 0", 3},
                {"--unheard-of", 3}};
    for (const auto& row : rows) {
        const Output output = run(std::string("check --no-log tree.xml ") + row.arguments);
        EXPECT_EQ(output.status, row.status) << row.arguments << ": " << output.text << output.errors;
        EXPECT_TRUE(output.text.starts_with("RAID ")) << output.text;
    }
    write("baseline.xml", goldenDocument("ssd-cache"));
    write("tree.xml", changed(goldenDocument("ssd-cache"), {{"<LogicalDrive Nr=\"0\">", "<LogicalDrive Nr=\"9\">"}}));
    const Output output = run("check --no-log --baseline baseline.xml tree.xml");
    EXPECT_EQ(output.status, 2);
    EXPECT_NE(output.text.find("CRITICAL: volume 0/0"), std::string::npos) << output.text;
}

constexpr char START[] = "updateRAIDStorageTree(): START: \nbuildoobMRCache(): called.\n";
constexpr char SAME[] = "updateRAIDStorageTree(): END - Old and new DOM trees are the same! (ret=1)\n";
const std::string WRITTEN = "updateRAIDStorageTree(): END - ret=0 (\n";
const std::string NO_DOCUMENT = "updateRAIDStorageTree(): END with ERROR= 2 (XML DOM tree creation failed!)!\n";
const std::string NOT_WRITTEN = "updateRAIDStorageTree(): END - ret=3 (\n";

TEST_F(RaidtreeWords, checkKnowsWhenItKnowsNothing) {
    write("tree.xml", goldenDocument("ssd-cache"));
    const struct {
        std::string log;
        int secondsAgo, status;
        const char* says;
    } rows[] = {
        {START + WRITTEN, 10, 0, "no problems"},
        {std::string(START) + SAME, 10, 0, "no problems"},
        {std::string(START) + SAME, 899, 0, "no problems"},
        {std::string(START) + SAME, 1000, 3, "the last update was 16 min ago, more than 15 min"},
        {START + NO_DOCUMENT, 10, 3, "no document"},
        {START + NOT_WRITTEN, 10, 3, "not written"},
        {START, 100, 3, "controllers not read"},
        {START + WRITTEN + START, 100, 3, "controllers not read"},
        {START + WRITTEN + START, 10, 0, "no problems"}, // one is at work
        {START, 10, 3, "the first one is at work"},
        {"", 100, 3, "controllers not read"},
    };
    for (const auto& row : rows) {
        const std::string log = write("LogFile.RST", row.log);
        timespec times[2] = {};
        times[0].tv_sec = times[1].tv_sec = time(nullptr) - row.secondsAgo;
        ASSERT_EQ(utimensat(AT_FDCWD, log.c_str(), times, 0), 0);
        const Output output = run("check tree.xml");
        EXPECT_EQ(output.status, row.status) << row.log << output.text;
        EXPECT_NE(output.text.find(row.says), std::string::npos) << output.text;
        const Output metrics = run("metrics tree.xml");
        EXPECT_TRUE(hasLine(metrics.text, "raid_update_time_seconds " + std::to_string(times[0].tv_sec)));
    }
    EXPECT_EQ(lastResult(std::string(100000, 'x') + START + WRITTEN, false), 0);
    std::filesystem::remove(path("LogFile.RST"));
    EXPECT_EQ(run("check tree.xml").status, 3);
    EXPECT_EQ(run("show tree.xml").status, 0); // what is there can be looked at all the same
    EXPECT_EQ(run("check --no-log tree.xml").status, 0);
}

TEST_F(RaidtreeWords, filesAreWrittenAtOnceOrNotAtAll) {
    write("tree.xml", goldenDocument("rich"));
    for (const std::string word : {"html", "metrics"}) {
        const std::string wanted = run(word + " --no-log tree.xml").text;
        EXPECT_EQ(run(word + " --no-log tree.xml --output out").status, 0);
        EXPECT_EQ(textOfFile(path("out")), wanted);
        EXPECT_EQ(run(word + " --no-log tree.xml --output nowhere/out").status, 2);
        EXPECT_EQ(run(word + " --no-log tree.xml >/dev/full").status, 2);
    }
    write("tree.xml", "");
    EXPECT_EQ(run("html tree.xml --output out").status, 2);
    EXPECT_FALSE(textOfFile(path("out")).empty());
    EXPECT_EQ(run("metrics tree.xml --output out").status, 2);
    EXPECT_TRUE(hasLine(textOfFile(path("out")), "raid_read_success 0"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(path("")), {}), 3); // tree.xml, out, .errors
}

TEST_F(RaidtreeWords, helpAndWrongWords) {
    for (const char* word : {"show", "diff", "check", "metrics", "watch", "html"}) {
        const Output help = run(std::string(word) + " --help");
        EXPECT_EQ(help.status, 0);
        EXPECT_NE(help.text.find(std::string("For example:\n  raidtree ") + word), std::string::npos) << help.text;
    }
    for (const char* arguments : {"", "shew", "show --nonsense", "diff one.xml", "show --json --problems"})
        EXPECT_EQ(run(arguments).status, 2) << arguments;
}

} // namespace
