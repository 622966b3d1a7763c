// Every system call of the daemon on its files fails or is its last one, in turn; and the file systems are full. A
// point is what strace injects, in its own words: which call, its number among those of its name, and what becomes of
// it.

#include "tests/endToEnd/daemonProcess.h"
#include "tests/torture/torture.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sched.h>
#include <sstream>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using nlohmann::json;

constexpr char CONF[] = "conf/snmp_users.conf";
constexpr char NEW_CONF[] = "conf/snmpd.new";
constexpr char RECORD[] = "systemCalls";
constexpr char OLD_TREE[] = "<old/>\n";

// What is traced: every file that the daemon uses.
constexpr const char* FILES[] = {
    CONF,  NEW_CONF,         TREE,  TRACE, DAEMON_LOG, RST_LOG, "var", "var/run/snmpd.pid", "var/run/snmpd.run",
    "tmp", "tmp/snmp.start", "proc"};

// How calls fail on an embedded system's files.
const std::map<std::string, std::vector<std::string>> ERRORS = {{"openat", {"EACCES", "ENOSPC", "EMFILE"}},
                                                                {"write", {"ENOSPC", "EIO"}},
                                                                {"read", {"EIO"}},
                                                                {"fcntl", {"ENOLCK", "EAGAIN"}},
                                                                {"fsync", {"EIO"}},
                                                                {"rename", {"ENOSPC"}},
                                                                {"unlink", {"EACCES"}},
                                                                {"ftruncate", {"EIO"}},
                                                                {"fchmod", {"EPERM"}},
                                                                {"fchown", {"EPERM"}},
                                                                {"newfstatat", {"EIO"}},
                                                                {"lseek", {"EINVAL"}},
                                                                {"close", {"EIO"}},
                                                                {"chdir", {"EACCES"}},
                                                                {"getdents64", {"EIO"}}};

// What an undisturbed run does not come to: the new file is removed after its rename failed.
const std::vector<std::string> COMBINED = {"rename:error=EROFS:when=2 unlink:error=EROFS:when=1",
                                           "rename:error=EROFS:when=2 unlink:signal=KILL:when=1",
                                           "rename:error=EROFS:when=1+ unlink:error=EROFS:when=1+"};

// The old configuration, longer than a buffer, and with the new values that the bits name, in their order.
std::string configuration(unsigned values) {
    std::string text = "rocommunity public 127.0.0.1\nsysName old\n";
    for (int i = 0; i < 200; ++i) text += "# a person's comment, number " + std::to_string(i) + "\n";
    text += "sysContact nobody";
    if ((values & 1U) != 0) text.replace(text.rfind("sysC"), std::string::npos, "sysContact\tsomebody\n");
    if ((values & 2U) != 0) text += text.ends_with('\n') ? "sysLocation\there\n" : "\nsysLocation\there\n";
    if ((values & 4U) != 0) text.replace(text.find("sysName old"), 11, "sysName\tnew");
    return text;
}
constexpr unsigned ALL_VALUES = 7;
const std::vector<unsigned> ANY_VALUES = {0, 1, 2, 3, 4, 5, 6, ALL_VALUES};

void prepare(DaemonProcess& daemon) {
    const auto text = [](const char* value) { return json({{"0", {{{"type", "text"}, {"value", value}}}}}); };
    daemon.describe(
        {{"configSpace", {{"5128", {{"raw", {{"0", "01000000"}}}}}}},
         {"lcm",
          {{"System Information",
            {{"SystemContact", text("somebody")}, {"CabinetLocation", text("here")}, {"SystemName", text("new")}}}}}});
    for (const char* directory : {"conf", "proc", "var/run"})
        std::filesystem::create_directories(daemon.path(directory));
    daemon.write(CONF, configuration(0));
    chmod(daemon.path(CONF).c_str(), 0640);
    daemon.write(TREE, OLD_TREE);
    daemon.write(TRACE, "");
    daemon.write("var/run/snmpd.pid", "4242\n"); // no process that the machine has
    daemon.write(DAEMON_LOG, std::string(64001, 'x'));
    daemon.write(RST_LOG, std::string(131072, 'x'));
}

void launchTraced(DaemonProcess& daemon, const std::vector<std::string>& injections) {
    // -D: the daemon stays a child of ours; -b: what it starts itself is left alone.
    std::vector<std::string> command = {"strace", "-D", "-f", "-q", "-b", "execve", "-o", daemon.path(RECORD)};
    for (const char* file : FILES) command.insert(command.end(), {"-P", daemon.path(file)});
    for (const std::string& injection : injections) command.insert(command.end(), {"-e", "inject=" + injection});
    daemon.launchUnder(command);
    daemon.launch();
}

// The record is whole when it tells of the daemon's end.
std::string recordOf(const DaemonProcess& daemon) {
    const std::regex end("(^|\n)" + std::to_string(daemon.pid()) + " +\\+\\+\\+ ");
    waitFor("the end of the record", [&] { return std::regex_search(daemon.read(RECORD), end); });
    return daemon.read(RECORD);
}

bool isLocked(const std::string& path) {
    const int fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
    const bool locked = fd != -1 && lockf(fd, F_TEST, 0) != 0;
    close(fd);
    return locked;
}

bool isTree(const std::string& text, const char* name) {
    return text.ends_with("</QPRaidStorageDeviceTree>\n") &&
           text.find(std::string("<Name>") + name + "</Name>") != std::string::npos;
}

// The values that the configuration holds; it is one of those allowed, or torn.
std::string checkAlways(const DaemonProcess& daemon, const std::vector<unsigned>& allowed) {
    const std::string text = daemon.read(CONF);
    if (std::none_of(allowed.begin(), allowed.end(), [&](unsigned values) { return text == configuration(values); }))
        return "the configuration is torn: " + text;
    struct stat status = {};
    if (stat(daemon.path(CONF).c_str(), &status) != 0 || (status.st_mode & 07777) != 0640) return "its mode is another";
    for (const char* file : {TREE, RST_LOG, CONF})
        if (isLocked(daemon.path(file))) return std::string("a lock is left on ") + file;
    return {};
}

std::string checkRecovered(const DaemonProcess& daemon, const char* name) {
    if (!isTree(daemon.read(TREE), name)) return "no new tree: " + daemon.read(TREE);
    if (std::filesystem::exists(daemon.path(NEW_CONF))) return "snmpd.new is left";
    return checkAlways(daemon, {ALL_VALUES});
}

// The first pass after a restart mends all.
std::string checkKilled(DaemonProcess& daemon) {
    const std::string tree = daemon.read(TREE);
    if (const std::string wrong = checkAlways(daemon, {0, 1, 3, ALL_VALUES}); !wrong.empty()) return wrong;
    daemon.restart();
    if (tree != OLD_TREE && !daemon.read(TREE).starts_with(tree)) return "neither old tree nor new one: " + tree;
    return checkRecovered(daemon, "host");
}

// A failed write counts as published: what changes next is written.
std::string checkFailed(DaemonProcess& daemon, bool once) {
    daemon.runToPass(1);
    if (const std::string wrong = checkAlways(daemon, ANY_VALUES); !wrong.empty()) return wrong;
    if (once) {
        daemon.describeName("another");
        daemon.runToPass(6);
        if (const std::string wrong = checkRecovered(daemon, "another"); !wrong.empty()) return wrong;
    }
    daemon.end(SIGTERM);
    if (recordOf(daemon).find("(INJECTED)") == std::string::npos) return "nothing failed";
    if (const std::string wrong = daemon.faults(); !wrong.empty() || once) return wrong;
    daemon.restart();
    return checkRecovered(daemon, "host");
}

std::string runInjection(const std::string& point) {
    DaemonProcess daemon;
    prepare(daemon);
    std::istringstream words(point);
    launchTraced(daemon, {std::istream_iterator<std::string>(words), {}});
    if (point.find("signal=KILL") == std::string::npos) return checkFailed(daemon, !point.ends_with('+'));
    waitFor("the kill", [&] { return daemon.hasEnded() || daemon.read("simulator/clock") == "standing"; });
    if (!daemon.hasEnded()) daemon.end(SIGTERM); // a call of its end
    if (daemon.waitForEnd() != -1) return "was not killed";
    if (const std::string wrong = checkKilled(daemon); !wrong.empty()) return wrong;
    daemon.end(SIGTERM);
    return daemon.faults();
}

std::vector<std::string> injections() {
    DaemonProcess daemon;
    prepare(daemon);
    launchTraced(daemon, {});
    daemon.runToPass(1);
    daemon.end(SIGTERM);
    std::map<std::string, int> numbers;
    std::vector<std::string> points = COMBINED;
    std::istringstream record(recordOf(daemon));
    const std::regex call(std::to_string(daemon.pid()) + R"( +(\w+)\(.*)");
    for (std::string line; std::getline(record, line);) {
        std::smatch match;
        if (!std::regex_match(line, match, call)) continue;
        const std::string name = match[1];
        if (name == "mkdir" || name == "readlink") continue; // the simulator lays out its root
        const std::string number = std::to_string(++numbers[name]);
        points.push_back(name + ":signal=KILL:when=" + number);
        if (!ERRORS.contains(name)) throw std::runtime_error("how does " + name + " fail?");
        for (const std::string& error : ERRORS.at(name)) points.push_back(name + ":error=" + error + ":when=" + number);
        points.push_back(name + ":error=" + ERRORS.at(name).front() + ":when=" + number + "+");
    }
    return points;
}

std::vector<std::string> injectionsWherePossible() {
    if (system("strace -D -o /dev/null true") == 0) return injections(); // NOLINT(concurrency-mt-unsafe)
    puts("systemCalls: skipped, strace cannot trace here");
    return {};
}

// In mount and user namespaces of our own.
bool enterNamespaces() {
    const std::string map = "0 " + std::to_string(getuid()) + " 1";
    const std::string groupMap = "0 " + std::to_string(getgid()) + " 1";
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << map;
    std::ofstream("/proc/self/gid_map") << groupMap;
    return getuid() == 0;
}

// A point is a directory that is a file system of its own, and how many pages are free in it.
std::vector<std::string> fullDirectories() {
    const pid_t child = fork();
    if (child == 0) _exit(enterNamespaces() && mount("none", "/tmp", "tmpfs", 0, nullptr) == 0 ? 0 : 1);
    int status = -1;
    if (waitpid(child, &status, 0) != child || status != 0) {
        puts("fullFileSystems: skipped, namespaces are not allowed here");
        return {};
    }
    std::vector<std::string> points;
    for (const char* directory : {"conf", "var", "tmp"})
        for (int pages = 0; pages < 8; ++pages) points.push_back(directory + (" " + std::to_string(pages)));
    return points;
}

// All but some of the space.
void fill(const std::string& file, off_t freePages) {
    const int fd = open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const std::string page(size_t(getpagesize()), 'x');
    while (write(fd, page.data(), page.size()) > 0) continue;
    if (ftruncate(fd, lseek(fd, 0, SEEK_END) - freePages * getpagesize()) != 0) throw std::runtime_error("not filled");
    close(fd);
}

std::string runFull(const std::string& point) {
    if (!enterNamespaces()) return "no namespaces";
    const std::string directory = point.substr(0, point.find(' '));
    DaemonProcess daemon;
    std::filesystem::create_directories(daemon.path(directory));
    if (mount("none", daemon.path(directory).c_str(), "tmpfs", 0, "size=512k") != 0) return "cannot mount";
    prepare(daemon);
    daemon.write(DAEMON_LOG, "");
    daemon.write(RST_LOG, "");
    daemon.describe({{"controllers", json::parse(fileText(MACHINES "/two-controllers.json"))["controllers"]}});
    const std::string filler = directory + "/filler";
    fill(daemon.path(filler), strtol(point.c_str() + directory.size(), nullptr, 10));
    daemon.runToPass(1);
    const std::string tree = daemon.read(TREE);
    if (const std::string wrong = checkAlways(daemon, ANY_VALUES); !wrong.empty()) return wrong;
    daemon.remove(filler);
    daemon.describeName("another");
    daemon.runToPass(6);
    if (const std::string wrong = checkRecovered(daemon, "another"); !wrong.empty()) return wrong;
    daemon.describeName("host");
    daemon.runToPass(11);
    if (!daemon.read(TREE).starts_with(tree)) return "no beginning of the tree: " + tree;
    daemon.end(SIGTERM);
    umount(daemon.path(directory).c_str());
    return daemon.faults();
}

const bool REGISTERED = addTorture({"systemCalls", true, injectionsWherePossible, runInjection});
const bool FULL_REGISTERED = addTorture({"fullFileSystems", true, fullDirectories, runFull});

} // namespace
