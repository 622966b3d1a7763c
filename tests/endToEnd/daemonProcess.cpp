#include "tests/endToEnd/daemonProcess.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using nlohmann::json;

namespace {

constexpr int64_t START_TIME = 4354819200; // 2108-01-01 00:00:00 UTC: more seconds than 32 bits count
constexpr int PASS_SECONDS = 60;
constexpr char SANITIZER_REPORT[] = "sanitizer";
constexpr auto PATIENCE = std::chrono::seconds(30);

int64_t endOfPass(int pass) {
    return PASS_SECONDS * int64_t{pass} - PASS_SECONDS / 2;
}

// What starts the daemon: itself, or the emulator of its processor, which is told the daemon's argv[0].
std::vector<std::string> emulated(const std::vector<std::string>& arguments) {
    std::istringstream emulator(EMULATOR);
    std::vector<std::string> words{std::istream_iterator<std::string>(emulator), {}};
    if (words.empty()) return arguments;
    words.insert(words.end(), {"-0", arguments[0], WORKSTATION_EXECUTABLE});
    words.insert(words.end(), arguments.begin() + 1, arguments.end());
    return words;
}

// The sanitizers' own handlers stay in force: the daemon's would end a crash with status 0. Leaks cannot be looked
// for in a process that is traced. That a handler allocates is no fault where it only runs in the thread's waits.
void setSanitizerOptions(const std::string& root, bool traced) {
    const std::string log = ":log_path='" + root + "/" + SANITIZER_REPORT + "'";
    const std::string address = "handle_segv=2:handle_abort=2:handle_sigill=2:detect_leaks=";
    setenv("ASAN_OPTIONS", (address + (traced ? "0" : "1") + log).c_str(), 1);
    setenv("UBSAN_OPTIONS", ("print_stacktrace=1" + log).c_str(), 1);
    setenv("TSAN_OPTIONS", ("report_signal_unsafe=0" + log).c_str(), 1);
}

// The process whose environment names the root, less a tracer.
pid_t findDaemon(const std::string& root) {
    std::error_code gone;
    for (const auto& entry : std::filesystem::directory_iterator("/proc"))
        if (const int pid = int(strtol(entry.path().filename().c_str(), nullptr, 10)); pid > 0)
            if (fileText(entry.path() / "environ").find("BMC_ROOT=" + root + '\0') != std::string::npos &&
                std::filesystem::read_symlink(entry.path() / "exe", gone).filename() != "strace")
                return pid;
    return 0;
}

} // namespace

void waitFor(const std::string& what, const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("waited in vain for " + what);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

std::string fileText(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

DaemonProcess::DaemonProcess()
    : machine_({{"controllers", json::array()}, {"configSpace", {{"11054", {{"raw", {{"0", "01"}}}}}}}}) {
    prctl(PR_SET_CHILD_SUBREAPER, 1); // the daemon, a grandchild, becomes a child when its parent has ended
    root_ = std::filesystem::canonical(testing::TempDir()) / "endToEndXXXXXX";
    if (mkdtemp(root_.data()) == nullptr) throw std::runtime_error("no temporary directory");
    for (const char* directory : {"var", "tmp", "simulator"}) std::filesystem::create_directory(path(directory));
    describeName("host");
}

DaemonProcess::~DaemonProcess() {
    if (pid_ != 0 && !hasEnded()) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    for (const int descriptor : descriptors_) close(descriptor);
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
}

std::string DaemonProcess::read(const std::string& name) const {
    return fileText(path(name));
}

void DaemonProcess::write(const std::string& name, const std::string& text) const {
    std::ofstream(path(name)) << text;
}

void DaemonProcess::remove(const std::string& name) const {
    std::filesystem::remove(path(name));
}

void DaemonProcess::makeFifo(const std::string& name) const {
    remove(name);
    if (mkfifo(path(name).c_str(), 0600) != 0) throw std::runtime_error("cannot make a FIFO");
}

int DaemonProcess::open(const std::string& name, int flags) {
    descriptors_.push_back(::open(path(name).c_str(), flags | O_CLOEXEC));
    if (descriptors_.back() == -1) throw std::runtime_error("cannot open " + name);
    return descriptors_.back();
}

void DaemonProcess::describe(const json& change) {
    machine_.merge_patch(change);
    write("machine.new", machine_.dump());
    std::filesystem::rename(path("machine.new"), path("machine.json")); // a new inode: seen whatever the clock shows
}

// Under a tracer, which starts the daemon, the command line is the tracer's.
void DaemonProcess::become(const std::vector<std::string>& arguments) const {
    for (const auto& [name, value] : environment_) setenv(name.c_str(), value.c_str(), 1);
    setenv("BMC_ROOT", root_.c_str(), 1);
    setenv("BMC_TIME", std::to_string(START_TIME).c_str(), 1);
    setenv("BMC_UNTIL", std::to_string(endOfPass(1)).c_str(), 1);
    setenv("TZ", "ABC-5:45", 1); // a mistaken time zone shows
    setSanitizerOptions(root_, !tracer_.empty());
    dup2(::open("/dev/null", O_RDONLY), STDIN_FILENO);
    dup2(::open((root_ + "/stdout").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644), STDOUT_FILENO);
    dup2(::open((root_ + "/stderr").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644), STDERR_FILENO);
    for (int descriptor = STDERR_FILENO + 1; descriptor < 256; ++descriptor) ::close(descriptor);
    std::vector<std::string> words = tracer_.empty() ? emulated(arguments) : tracer_;
    if (!tracer_.empty()) words.emplace_back(WORKSTATION_EXECUTABLE);
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    execvp(words == arguments ? WORKSTATION_EXECUTABLE : argv[0], argv.data());
    _exit(127);
}

int DaemonProcess::launch(const std::vector<std::string>& arguments) {
    const pid_t started = fork();
    if (started == 0) become(arguments);
    int status = -1;
    waitFor("the end of the process started", [&] { return waitpid(started, &status, WNOHANG) == started; });
    pid_ = findDaemon(root_);
    if (pid_ == 0 && !tracer_.empty()) { // it was killed before it was found; what is over it ends with status 0
        while (!WIFSIGNALED(waitStatus_) && (pid_ = waitpid(-1, &waitStatus_, 0)) > 0) continue;
        ended_ = true;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void DaemonProcess::restart() {
    waitForEnd();
    for (const char* file : {"simulator/until", "simulator/clock"}) remove(file);
    tracer_.clear();
    expected_.clear();
    ended_ = false;
    waitStatus_ = 0;
    pid_ = 0;
    runToPass(1);
}

void DaemonProcess::waitForStandingClock() {
    waitFor("the clock to stand", [this] {
        if (pid_ == 0 || hasEnded()) throw std::runtime_error("the daemon has ended: " + faults());
        return read("simulator/clock") == "standing";
    });
}

// A standing clock says so once: its word is taken away before it may go on, so that the next word is a new one.
void DaemonProcess::letRunToPass(int pass) {
    letRunTo(endOfPass(pass));
}

void DaemonProcess::letRunTo(int64_t second) {
    waitForStandingClock();
    remove("simulator/clock");
    write("simulator/until.new", std::to_string(second));
    std::filesystem::rename(path("simulator/until.new"), path("simulator/until"));
}

void DaemonProcess::runToPass(int pass) {
    if (pid_ == 0) {
        EXPECT_EQ(launch(), 0);
    }
    if (pass > 1) letRunToPass(pass);
    waitForStandingClock();
}

std::vector<Call> DaemonProcess::calls(const std::string& name) const {
    std::vector<Call> found;
    std::istringstream lines(read("simulator/calls.jsonl"));
    for (std::string line; std::getline(lines, line) && !lines.eof();) { // a line that is being written does not count
        const json call = json::parse(line);
        if (name.empty() || call["call"] == name)
            found.push_back({call["time"].get<int64_t>() - START_TIME, call["call"], call["args"].dump()});
    }
    return found;
}

std::string DaemonProcess::statusField(const std::string& name) const {
    std::istringstream lines(fileText("/proc/" + std::to_string(pid_) + "/status"));
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with(name + ":\t")) return line.substr(name.size() + 2);
    return {};
}

void DaemonProcess::signal(int number) {
    expected_.insert(number);
    kill(pid_, number);
    waitFor("the signal's handler", [&] { return std::stoull(statusField("ShdPnd"), nullptr, 16) == 0; });
}

int DaemonProcess::waitForEnd() {
    waitFor("the daemon's end", [this] { return hasEnded(); });
    return WIFEXITED(waitStatus_) ? WEXITSTATUS(waitStatus_) : -1;
}

int DaemonProcess::end(int number) {
    expected_.insert(number);
    kill(pid_, number);
    return waitForEnd();
}

bool DaemonProcess::hasEnded() {
    if (!ended_) ended_ = waitpid(pid_, &waitStatus_, WNOHANG) == pid_;
    return ended_;
}

std::string DaemonProcess::faults() const {
    std::string found;
    const std::string log = read(DAEMON_LOG);
    static const std::regex line("got signal (\\d+)");
    for (auto match = std::sregex_iterator(log.begin(), log.end(), line); match != std::sregex_iterator(); ++match)
        if (!expected_.contains(std::stoi((*match)[1]))) found += match->str() + ", ";
    if (ended_ && expected_.empty()) found += "ended by itself, ";
    if (ended_ && waitStatus_ != 0) found += "ended with wait status " + std::to_string(waitStatus_) + ", ";
    for (const auto& entry : std::filesystem::directory_iterator(root_))
        if (entry.path().filename().string().starts_with(SANITIZER_REPORT)) found += fileText(entry.path());
    return found.empty() ? found : found + "standard error: " + read("stderr");
}

void DaemonProcess::finish() {
    if (pid_ == 0) return;
    if (!hasEnded()) end(SIGTERM);
    EXPECT_EQ(faults(), "") << "the daemon broke down";
}
