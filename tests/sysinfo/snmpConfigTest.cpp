// The lines of snmpd's configuration; what becomes of them in a pass, tests of the process with a real snmpd show.

#include "sysinfo/snmpConfig.h"

#include "sysinfo/snmpRewrite.h"
#include "tests/daemon/outputs.h"

#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <sys/stat.h>

namespace {

constexpr char CONF[] = "/conf/snmp_users.conf";
constexpr char CONF_NEW[] = "/conf/snmpd.new";

class SnmpConfig : public testing::Test {
  protected:
    SnmpConfig() { std::filesystem::create_directories(std::filesystem::path(below(CONF)).parent_path()); }
    ~SnmpConfig() override { std::filesystem::remove(below(CONF)); }
    static void write(const std::string& text) { std::ofstream(below(CONF)) << text; }
    static std::string valueOf(const char* key) {
        const std::unique_ptr<char, decltype(&free)> value(readSnmpConfValue(key), free);
        return value == nullptr ? "none" : value.get();
    }
};

std::string cleaned(std::string text) {
    cleanSnmpValue(text.data());
    text.resize(strlen(text.c_str()));
    return text;
}

TEST_F(SnmpConfig, takesCleanValues) {
    const std::string x253(253, 'x');
    const struct {
        std::string text;
        std::string clean;
    } rows[] = {{"", ""},
                {" \t ", ""},
                {"a", "a"},
                {"  a b\tc  ", "a b c"},
                {"\x01\x1F !~\x7F\x80", "!~ \x80"},
                {"x\nrwcommunity evil", "x rwcommunity evil"},
                {x253 + "yz", x253 + "yz"},
                {x253 + "yzz", x253 + "yz"},
                {x253 + "y z", x253 + "y"},
                {x253 + "\u00E9", x253 + "\u00E9"},
                {x253 + "y\u00E9", x253 + "y"}, // a character is kept whole or not at all
                {x253 + "\u20AC", x253},
                {x253.substr(1) + "\U0001F600", x253.substr(1)},
                {x253.substr(2) + "\U0001F600", x253.substr(2) + "\U0001F600"},
                {x253.substr(1) + "\x80\x80\x80\x80", x253.substr(1) + "\x80\x80\x80"}, // no character anyhow
                {x253.substr(1) + "a\x80\x80\x80", x253.substr(1)},
                {std::string(300, ' ') + "a", ""}};
    for (const auto& row : rows) EXPECT_EQ(cleaned(row.text), row.clean) << row.text;
}

TEST_F(SnmpConfig, readsTheFirstFieldOfTheFirstLineWithTheKey) {
    const struct {
        std::string conf;
        std::string value;
    } rows[] = {{"", "none"},
                {"rocommunity public\n", "none"},
                {"sysName\tserver\n", "sysName"},
                {"sysName server 1\n", "sysName server 1"},
                {"# old sysName\tx\nsysName y\n", "# old sysName"},
                {"a\nsysName", "sysName"},
                {"sysNam\nsysNameX z\t9", "sysNameX z"},
                {std::string(600, 's') + "sysName\n", std::string(511, 's')}};
    for (const auto& row : rows) {
        write(row.conf);
        EXPECT_EQ(valueOf("sysName"), row.value) << row.conf;
    }
    std::filesystem::remove(below(CONF));
    EXPECT_EQ(valueOf("sysName"), "none");
}

TEST_F(SnmpConfig, replacesTheKeysLines) {
    const struct {
        std::string before;
        std::string after;
    } rows[] = {{"", "sysName\tv\n"},
                {"a\n\nb\n", "a\n\nb\nsysName\tv\n"},
                {"a", "a\nsysName\tv\n"},
                {"a\nsysName\told\nb", "a\nsysName\tv\nb"},
                {"# sysName\nsysName x\n", "sysName\tv\nsysName\tv\n"},
                {"b\nsysName", "b\nsysName\tv\n"},
                {"xsysNamex" + std::string(2000, 'y') + "\nb\n", "sysName\tv\nb\n"}};
    for (const auto& row : rows) {
        write(row.before);
        ASSERT_EQ(chmod(below(CONF).c_str(), 0751), 0);
        EXPECT_EQ(rewriteSnmpConf("sysName", "v"), 0);
        EXPECT_EQ(textOf(below(CONF)), row.after) << row.before;
        struct stat status {};
        EXPECT_EQ(stat(below(CONF).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777U, 0751U);
        EXPECT_FALSE(std::filesystem::exists(below(CONF_NEW)));
    }
}

TEST_F(SnmpConfig, isWrittenOnceForEachValueAndTriedAgainAfterAFailure) {
    write("a\n");
    const auto fileIsGone = [] { std::filesystem::remove(below(CONF)); };
    const auto fileIsThere = [] { write("a\n"); };
    const auto newFileCannotBeMade = [] { std::filesystem::create_directory(below(CONF_NEW)); };
    const auto nothing = [] {};
    const struct {
        const char* what;
        std::function<void()> before;
        const char* key;
        const char* value;
        int result;
        int changed;
        const char* file;
    } steps[] = {
        {"a key of others", nothing, "sysServices", "v", 0, 0, "a\n"},
        {"an empty one that is not known", nothing, "sysContact", nullptr, 0, 0, "a\n"},
        {"a value", nothing, "sysContact", " v\n", 0, 1, "a\nsysContact\tv\n"},
        {"the same", fileIsThere, "sysContact", "v ", 0, 0, "a\n"},
        {"an empty one", nothing, "sysContact", " ", 0, 1, "a\nsysContact\t- unknown -\n"},
        {"the same", fileIsThere, "sysContact", nullptr, 0, 0, "a\n"},
        {"another key", nothing, "sysLocation", "v", 0, 1, "a\nsysLocation\tv\n"},
        {"no file", fileIsGone, "sysContact", "w", -1, 1, ""},
        {"is tried again", fileIsThere, "sysContact", "w", 0, 1, "a\nsysContact\tw\n"},
        {"no new file", newFileCannotBeMade, "sysContact", "x", -1, 1, "a\nsysContact\tw\n"},
        {"the known one stayed", nothing, "sysContact", "w", 0, 0, "a\nsysContact\tw\n"},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.what);
        step.before();
        int changed = 0;
        EXPECT_EQ(updateSnmpValue(step.key, step.value, &changed), step.result);
        EXPECT_EQ(changed, step.changed);
        EXPECT_EQ(textOf(below(CONF)), step.file);
    }
    std::filesystem::remove(below(CONF_NEW));
}

} // namespace
