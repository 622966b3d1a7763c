#include "tests/torture/scene.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <regex>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using nlohmann::json;

constexpr mode_t CONF_MODE = 0640;

// In memory, where it can be: what is synced need not reach a disk, and a file is read page by page beside its writer.
const bool IN_MEMORY = access("/dev/shm", W_OK) == 0 && setenv("TEST_TMPDIR", "/dev/shm", 0) == 0;

// Longer than a buffer; a key is there without a value of ours, one without its newline, one not at all.
std::string configuration(const ConfStates& states) {
    const auto value = [&](size_t i) { return "\tstate" + std::to_string(states.at(i)) + "\n"; };
    std::string text = "rocommunity public 127.0.0.1\nsysName" + (states[2] == OLD ? " old\n" : value(2));
    for (int i = 0; i < 200; ++i) text += "# a person's comment, number " + std::to_string(i) + "\n";
    text += "sysContact" + (states[0] == OLD ? " nobody" : value(0));
    if (states[1] != OLD) text += (states[0] == OLD ? "\nsysLocation" : "sysLocation") + value(1);
    return text;
}

bool isLocked(const std::string& path) {
    const int fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
    const bool locked = fd != -1 && lockf(fd, F_TEST, 0) != 0;
    if (fd != -1) close(fd);
    return locked;
}

} // namespace

void demand(bool met, const std::string& complaint) {
    if (!met) throw std::runtime_error(complaint);
}

void Scene::layFiles() const {
    for (const char* directory : {"conf", "proc", "var/run"}) std::filesystem::create_directories(path(directory));
    write(CONF, configuration({OLD, OLD, OLD}));
    chmod(path(CONF).c_str(), CONF_MODE);
    write(TRACE, "");
    write("var/run/snmpd.pid", "4242\n"); // no process that the machine has
    write("var/run/snmpd.run", "4242\n");
}

void Scene::change(int state) {
    const std::string name = "state" + std::to_string(state);
    json parameters;
    for (const char* parameter : {"SystemContact", "CabinetLocation", "SystemName", "OsDomainName"})
        parameters[parameter]["0"] = {{{"type", "text"}, {"value", name}}};
    describe({{"configSpace", {{"513", name}, {"5128", {{"raw", {{"0", "01000000"}}}}}}},
              {"lcm", {{"System Information", parameters}}}});
}

ConfStates Scene::confStates() const {
    const std::string text = read(CONF);
    ConfStates states = {OLD, OLD, OLD};
    constexpr const char* keys[] = {"sysContact", "sysLocation", "sysName"};
    for (size_t i = 0; i < states.size(); ++i) {
        std::smatch match;
        if (std::regex_search(text, match, std::regex(keys[i] + std::string("\tstate(\\d+)\n"))))
            states.at(i) = std::stoi(match[1]);
    }
    demand(text == configuration(states), "the configuration is torn: " + text);
    struct stat status = {};
    demand(stat(path(CONF).c_str(), &status) == 0 && (status.st_mode & 07777) == CONF_MODE, "its mode is another");
    return states;
}

void Scene::demandNoLocks() const {
    for (const char* file : {CONF, TREE, RST_LOG, DAEMON_LOG})
        demand(!isLocked(path(file)), std::string("a lock is left on ") + file);
}

void Scene::demandPublished(int state) const {
    const std::string tree = read(TREE);
    demand(tree.find("<Name>state" + std::to_string(state) + "</Name>") != std::string::npos &&
               tree.ends_with("</QPRaidStorageDeviceTree>\n"),
           "the tree is not that of the machine: " + tree);
    demand(confStates() == ConfStates{state, state, state}, "the configuration does not have the last values");
    demand(!std::filesystem::exists(path(NEW_CONF)), "snmpd.new is left");
    demandNoLocks();
}

void Scene::demandNoFaults() const {
    demand(faults().empty(), faults());
}
