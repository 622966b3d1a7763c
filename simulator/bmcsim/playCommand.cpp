// bmcsim play: what the tree does on a machine file, a day in seconds.

#include "raidtree/compare.h"
#include "raidtree/server.h"
#include "simulator/bmcsim/commands.h"
#include "simulator/bmcsim/daemonNow.h"
#include "simulator/bmcsim/machineFile.h"
#include "simulator/machine/duration.h"
#include "simulator/machine/machineReader.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace sim {
namespace {

namespace fs = std::filesystem;

constexpr int WRONG_LENGTH = 2;
constexpr int64_t BEHIND_UPDATE = 30; // seconds; an update takes none in virtual time
constexpr std::chrono::seconds PATIENCE(60);
constexpr std::chrono::microseconds PAUSE(500);

volatile sig_atomic_t interrupted = 0;

std::string textOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// Without the switch of SNMP, which the tree knows nothing of: the daemon would start three commands a minute for it.
std::string withoutSnmp(nlohmann::ordered_json machine) {
    constexpr char snmpSwitch[] = "5128";
    const auto items = machine.find("configSpace");
    if (items != machine.end() && items->is_object()) items->erase(snmpSwitch);
    return machine.dump();
}

// A daemon of its own in virtual time, below a temporary root directory; both are gone afterwards.
class Player {
  public:
    explicit Player(const std::string& machine) {
        std::string name = fs::temp_directory_path() / "bmcsim-XXXXXX";
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error(name + ": " + strerror(errno));
        root_ = name;
        std::ofstream(root_ + "/machine.json", std::ios::binary) << machine;
        fs::create_directory(root_ + "/simulator");
        prctl(PR_SET_CHILD_SUBREAPER, 1); // the daemon is a child of a child that ends
        const pid_t started = fork();
        if (started == 0) become();
        if (started < 0) throw std::runtime_error(std::string("fork: ") + strerror(errno));
        int status = 0;
        waitpid(started, &status, 0);
        if (status != 0) throw std::runtime_error("the daemon did not start: " + textOf(root_ + "/stderr"));
    }
    ~Player() {
        if (const std::optional<DaemonNow> now = readNow(root_)) {
            kill(now->pid, SIGTERM);
            for (int i = 0; i < 5000 && !hasEnded(now->pid); ++i)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            kill(now->pid, SIGKILL);
        }
        std::error_code ignored;
        fs::remove_all(root_, ignored);
    }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    const std::string& root() const { return root_; }

    void runTo(int64_t second) {
        moveClock(root_, waitFor(0), second);
        waitFor(second);
    }

  private:
    [[noreturn]] void become() const {
        setenv("BMC_ROOT", root_.c_str(), 1);
        setenv("BMC_SPEED", "max", 1);
        setenv("BMC_UNTIL", "0", 1);
        unsetenv("BMC_TIME");
        const std::string program = fs::read_symlink("/proc/self/exe").parent_path() / "ZEB_MIRA_Update";
        const std::string errors = root_ + "/stderr";
        dup2(open("/dev/null", O_RDWR | O_CLOEXEC), STDIN_FILENO);
        dup2(open("/dev/null", O_RDWR | O_CLOEXEC), STDOUT_FILENO);
        dup2(open(errors.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), STDERR_FILENO);
        execl(program.c_str(), program.c_str(), nullptr);
        dprintf(STDERR_FILENO, "%s: %s\n", program.c_str(), strerror(errno));
        _exit(127);
    }

    static bool hasEnded(pid_t pid) { return waitpid(pid, nullptr, WNOHANG) != 0; }

    DaemonNow waitFor(int64_t second) const {
        const auto end = std::chrono::steady_clock::now() + PATIENCE;
        while (interrupted == 0 && std::chrono::steady_clock::now() < end) {
            const std::optional<DaemonNow> now = readNow(root_);
            if (now && hasEnded(now->pid)) break;
            if (now && now->isStanding && now->time >= second) return *now;
            std::this_thread::sleep_for(PAUSE);
        }
        if (interrupted != 0) throw std::runtime_error("interrupted");
        throw std::runtime_error("the daemon has not come to " + clockText(second) + ": " + textOf(root_ + "/stderr"));
    }

    std::string root_;
};

class Story {
  public:
    Story(const MachineReading& reading, bool everything) : everything_(everything) {
        if (reading.timeline != nullptr) plan_ = reading.timeline->plan();
    }

    void tellPlanUntil(int64_t second) {
        for (; told_ < plan_.size() && plan_[told_].first <= second; ++told_)
            tell(plan_[told_].first, "timeline: " + plan_[told_].second);
    }

    void tellUpdate(int64_t second, int result, const std::string& root) {
        ++updates_;
        if (result > 1 || result < 0) tell(second, std::string("update: ") + resultText(result));
        if (result != 0) return;
        ++written_;
        raidtree::Server now = raidtree::readServer(root + "/var/RAIDStorageDeviceTree.xml");
        if (written_ == 1) tell(second, "first tree: " + summaryOf(now));
        const auto changes =
            written_ > 1 ? raidtree::compareServers(before_, now, everything_) : std::vector<raidtree::Change>();
        for (const raidtree::Change& change : changes) tell(second, raidtree::changeText(change));
        if (written_ > 1 && changes.empty()) tell(second, "only figures have changed (--all shows them)");
        before_ = std::move(now);
    }

    void end(int64_t second) const {
        tell(second, "end: " + std::to_string(updates_) + " updates, " + std::to_string(written_) + " trees written");
        if (updates_ == 0) printf("Item 11054 of configSpace, which allows updates, is 0 or absent.\n");
    }

  private:
    static void tell(int64_t second, const std::string& text) {
        printf("%s  %s\n", clockText(second).c_str(), text.c_str());
    }

    static std::string summaryOf(const raidtree::Server& server) {
        size_t volumes = 0;
        size_t drives = 0;
        for (const raidtree::Adapter& adapter : server.adapters) {
            volumes += adapter.volumes.size();
            drives += adapter.drives.size();
        }
        return std::to_string(server.adapters.size()) + " adapters, " + std::to_string(volumes) + " volumes, " +
               std::to_string(drives) + " drives";
    }

    const bool everything_;
    std::vector<std::pair<int64_t, std::string>> plan_;
    size_t told_ = 0;
    size_t updates_ = 0;
    size_t written_ = 0;
    raidtree::Server before_;
};

void play(const std::string& file, const std::string& length, bool everything) {
    const std::optional<int64_t> seconds = parseDuration(length);
    if (!seconds) {
        fprintf(stderr, "bmcsim: \"%s\" is no length of time, such as 24h or \"1h 30min\"\n", length.c_str());
        throw CLI::RuntimeError(WRONG_LENGTH);
    }
    const std::string text = withoutSnmp(loadMachine(file));
    const MachineReading reading = readMachine(text);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) signal(number, [](int) { interrupted = 1; });
    Player player(text);
    Story story(reading, everything);
    UpdateLog log(player.root());
    for (int64_t update = 0; update <= *seconds; update += UPDATE_SECONDS) {
        player.runTo(update + BEHIND_UPDATE);
        story.tellPlanUntil(update);
        for (const int result : log.added()) story.tellUpdate(update, result, player.root());
    }
    story.tellPlanUntil(*seconds);
    story.end(*seconds);
}

} // namespace

void addPlayCommand(CLI::App& app) {
    static std::string file;
    static std::string length = "24h";
    static bool everything = false;
    CLI::App* command = app.add_subcommand(
        "play", "what the tree does on a machine file and its timeline: bmcsim play fault.json --for 24h");
    command->add_option("FILE", file, "the machine file; nothing is written into it")->required();
    command->add_option("--for", length, "how long, from the daemon's start; otherwise 24h");
    command->add_flag("--all", everything, "temperatures, counters and progress as well");
    command->callback([] { play(file, length, everything); });
}

} // namespace sim
