// The lines of snmpd's configuration; what becomes of them pass by pass, scenarios and tests with a real snmpd show.

#include "sysinfo/snmpConfig.h"

#include "sysinfo/snmpRewrite.h"
#include "tests/daemon/base/outputs.h"

#include <array>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <nlohmann/json.hpp>
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

TEST_F(SnmpConfig, takesCleanValues) {
    const std::string x253(253, 'x');
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},
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
    for (const auto& [text, clean] : rows) {
        std::string value = text;
        cleanSnmpValue(value.data());
        EXPECT_EQ(value.c_str(), clean) << text;
    }
}

// Rows of a configuration, what is read of it, and what it becomes.
TEST_F(SnmpConfig, readsTheFirstFieldOfTheFirstLineWithTheKeyAndReplacesAllSuchLines) {
    auto rows = casesOf(__FILE__).get<std::vector<std::array<std::string, 3>>>();
    rows.push_back({std::string(600, 's') + "sysName\n", std::string(511, 's'), "sysName\tv\n"});
    rows.push_back(
        {"xsysNamex" + std::string(2000, 'y') + "\nb\n", "xsysNamex" + std::string(502, 'y'), "sysName\tv\nb\n"});
    for (const auto& [before, value, after] : rows) {
        write(before);
        ASSERT_EQ(chmod(below(CONF).c_str(), 0751), 0);
        EXPECT_EQ(valueOf("sysName"), value) << before;
        EXPECT_EQ(rewriteSnmpConf("sysName", "v"), 0);
        EXPECT_EQ(textOf(below(CONF)), after) << before;
        struct stat status {};
        EXPECT_EQ(stat(below(CONF).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777U, 0751U);
        EXPECT_FALSE(std::filesystem::exists(below(CONF_NEW)));
    }
    std::filesystem::remove(below(CONF));
    EXPECT_EQ(valueOf("sysName"), "none");
}

} // namespace
