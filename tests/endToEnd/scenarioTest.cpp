// What the daemon calls and writes pass by pass, byte for byte. A scenario is a list of steps: before the daemon runs
// to the end of "pass", the machine is changed ("describe", a merge patch) and files below the root: "remove", then
// "link" and "write" by their names, "directory", "fifo" (which cannot be locked). Calls that only read are left out.
//
// After an intended change, and with a look at what it changes:
//     REGENERATE_GOLDEN=1 build/tests/endToEndTests --gtest_filter='*Scenario*'

#include "tests/endToEnd/daemonProcess.h"
#include "tests/support/steadyText.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>

namespace {

using nlohmann::json;

constexpr const char* FILES[] = {TREE, RST_LOG, TRACE, "tmp/LCMdbbug_mira.log", "conf/snmp_users.conf", "stdout"};
constexpr const char* READING[] = {"raid_", "LCMconfigSpaceRead", "LCMParamDb_", "etc", "ZEBRAID_"};

class Scenario : public EndToEnd, public testing::WithParamInterface<std::string> {
  protected:
    void prepare(const json& step) {
        for (const std::string name : step.value("remove", json::array())) daemon.remove(name);
        for (const auto& [name, target] : step.value("link", json::object()).get<std::map<std::string, std::string>>())
            std::filesystem::create_symlink(target, daemon.path(name));
        for (const auto& [name, text] : step.value("write", json::object()).get<std::map<std::string, std::string>>()) {
            std::filesystem::create_directories(std::filesystem::path(daemon.path(name)).parent_path());
            daemon.write(name, text);
        }
        if (step.contains("directory")) std::filesystem::create_directory(daemon.path(step["directory"]));
        if (step.contains("fifo")) daemon.makeFifo(step["fifo"]), daemon.open(step["fifo"], O_RDWR);
        for (const json& change : step.value("describe", json::array())) daemon.describe(change);
        for (const char* name : FILES) before_[name] = contentOf(name);
    }
    std::string whatHappened() {
        std::string text;
        std::string kind;
        size_t more = 0; // of a kind: calls that differ in their last argument
        for (const Call& call : daemon.calls()) {
            const auto isRead = [&](const char* start) { return call.name.starts_with(start); };
            if (++seen_ <= shown_ || std::any_of(std::begin(READING), std::end(READING), isRead)) continue;
            const std::string line = std::to_string(call.time) + " " + call.name + call.arguments;
            const bool isMore = call.name == "LCMParam_update" && line.substr(0, line.rfind(',')) == kind;
            if (!isMore && more > 0) text += "    and " + std::to_string(std::exchange(more, 0)) + " more\n";
            if (isMore)
                ++more;
            else
                text += line + "\n";
            kind = line.substr(0, line.rfind(','));
        }
        shown_ = std::exchange(seen_, 0);
        for (const char* name : FILES)
            if (const std::string content = contentOf(name); content != before_[name]) {
                steady_.forgetBlocks();
                text += std::string("---- ") + name + "\n" + steady_.of(content);
            }
        return text;
    }

  private:
    std::string contentOf(const std::string& name) const {
        return std::filesystem::is_regular_file(daemon.path(name)) ? daemon.read(name) : "";
    }

    std::map<std::string, std::string> before_;
    SteadyText steady_;
    size_t seen_ = 0;  // calls of this step and of those before
    size_t shown_ = 0; // of those before
};

std::filesystem::path directory() {
    return std::filesystem::path(__FILE__).replace_filename("scenarios");
}

TEST_P(Scenario, isAsItWas) {
    std::string text;
    for (const json& step : json::parse(std::ifstream(directory() / (GetParam() + ".json")))) {
        prepare(step);
        daemon.runToPass(step["pass"]);
        text += "==== pass " + step["pass"].dump() + step.value("what", "") + "\n" + whatHappened();
    }
    const std::filesystem::path golden = directory() / (GetParam() + ".txt");
    if (getenv("REGENERATE_GOLDEN") != nullptr) std::ofstream(golden) << text;
    EXPECT_EQ(fileText(golden), text);
}

std::vector<std::string> scenarios() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory()))
        if (entry.path().extension() == ".json") names.push_back(entry.path().stem());
    return names;
}

INSTANTIATE_TEST_SUITE_P(Of, Scenario, testing::ValuesIn(scenarios()),
                         [](const auto& scenario) { return scenario.param; });

} // namespace
