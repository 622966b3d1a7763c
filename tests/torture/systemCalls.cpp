// Every system call of the daemon on its files fails or is its last one, in turn; and the file systems are full. A
// point is what strace injects, in its own words: which call, its number among those of its name, and what becomes of
// it.

#include "tests/torture/scene.h"
#include "tests/torture/torture.h"

#include <algorithm>
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

void prepare(Scene& scene) {
    scene.layFiles();
    scene.change(0);
    scene.write(TREE, OLD_TREE);
    scene.write(DAEMON_LOG, std::string(64001, 'x')); // is rotated, the other one as well
    scene.write(RST_LOG, std::string(131072, 'x'));
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
    const std::regex end("(^|\n)" + std::to_string(daemon.pid()) + R"( +\+\+\+ )");
    waitFor("the end of the record", [&] { return std::regex_search(daemon.read(RECORD), end); });
    return daemon.read(RECORD);
}

// The values are put in place one after the other, and the first pass after a restart mends all.
void demandRecovery(Scene& scene) {
    const std::string tree = scene.read(TREE);
    const ConfStates states = scene.confStates();
    demand(std::is_sorted(states.rbegin(), states.rend()), "a later value was written before an earlier one");
    scene.restart();
    demand(tree == OLD_TREE || scene.read(TREE).starts_with(tree), "neither old tree nor new one: " + tree);
    scene.demandPublished(0);
}

// A failed write counts as published: what changes next is written.
void demandLifeGoesOn(Scene& scene, bool once) {
    scene.runToPass(1);
    scene.confStates();
    scene.demandNoLocks();
    if (once) {
        scene.change(1);
        scene.runToPass(6);
        scene.demandPublished(1);
    }
    scene.end(SIGTERM);
    demand(recordOf(scene).find("(INJECTED)") != std::string::npos, "nothing failed");
    scene.demandNoFaults();
    scene.restart();
    scene.demandPublished(once ? 1 : 0);
}

std::string runInjection(const std::string& point) {
    Scene scene;
    prepare(scene);
    std::istringstream words(point);
    launchTraced(scene, {std::istream_iterator<std::string>(words), {}});
    if (point.find("signal=KILL") == std::string::npos) {
        demandLifeGoesOn(scene, !point.ends_with('+'));
    } else {
        waitFor("the kill", [&] { return scene.hasEnded() || scene.read("simulator/clock") == "standing"; });
        if (!scene.hasEnded()) scene.end(SIGTERM); // a call of its end
        demand(scene.waitForEnd() == -1, "was not killed");
        demandRecovery(scene);
    }
    scene.end(SIGTERM);
    scene.demandNoFaults();
    return {};
}

std::vector<std::string> injections() {
    Scene scene;
    prepare(scene);
    launchTraced(scene, {});
    scene.runToPass(1);
    scene.end(SIGTERM);
    std::map<std::string, int> numbers;
    std::vector<std::string> points = COMBINED;
    std::istringstream record(recordOf(scene));
    const std::regex call(std::to_string(scene.pid()) + R"( +(\w+)\(.*)");
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
    demand(enterNamespaces(), "no namespaces");
    const std::string directory = point.substr(0, point.find(' '));
    Scene scene;
    std::filesystem::create_directories(scene.path(directory));
    demand(mount("none", scene.path(directory).c_str(), "tmpfs", 0, "size=512k") == 0, "cannot mount");
    scene.layFiles();
    scene.describe({{"controllers", json::parse(fileText(MACHINES "/two-controllers.json"))["controllers"]}});
    scene.change(0);
    const std::string filler = directory + "/filler";
    fill(scene.path(filler), strtol(point.c_str() + directory.size(), nullptr, 10));
    scene.runToPass(1);
    const std::string tree = scene.read(TREE);
    scene.confStates();
    scene.remove(filler);
    scene.change(1);
    scene.runToPass(6);
    scene.demandPublished(1);
    scene.change(0);
    scene.runToPass(11);
    demand(scene.read(TREE).starts_with(tree), "no beginning of the tree: " + tree);
    scene.end(SIGTERM);
    umount(scene.path(directory).c_str());
    scene.demandNoFaults();
    return {};
}

const bool REGISTERED = addTorture({"systemCalls", true, injectionsWherePossible, runInjection});
const bool FULL_REGISTERED = addTorture({"fullFileSystems", true, fullDirectories, runFull});

} // namespace
