#pragma once

// The real executable as a process of its own: in virtual time, below a private root directory, on a machine that the
// test describes. What does not come to pass within bounded time is thrown as a std::runtime_error.

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <sys/types.h>
#include <vector>

inline constexpr char DAEMON_LOG[] = "var/LogFile.MIRA_update";
inline constexpr char RST_LOG[] = "var/LogFile.RST";
inline constexpr char TREE[] = "var/RAIDStorageDeviceTree.xml";
inline constexpr char TRACE[] = "tmp/TraceFile.RST";
inline constexpr char SYSLOG[] = "simulator/syslog";

struct Call {
    int64_t time; // seconds since the start
    std::string name;
    std::string arguments; // JSON
};

class DaemonProcess {
  public:
    DaemonProcess(); // its machine has no controllers, enables the update, and is called "host"
    ~DaemonProcess();
    DaemonProcess(const DaemonProcess&) = delete;
    DaemonProcess& operator=(const DaemonProcess&) = delete;

    // Files, by their names below the root. An absent one reads as "".
    std::string path(const std::string& name) const { return root_ + "/" + name; }
    std::string read(const std::string& name) const;
    void write(const std::string& name, const std::string& text) const;
    void remove(const std::string& name) const;
    void makeFifo(const std::string& name) const; // in place of what is there
    int open(const std::string& name, int flags); // until the test's end

    // Changes the machine by a JSON merge patch: null removes, an array replaces.
    void describe(const nlohmann::json& change);
    void describeName(const char* name) { describe({{"configSpace", {{"513", name}}}}); } // which a tree shows

    // For the launches that follow.
    void setEnvironment(const std::string& name, const std::string& value) { environment_[name] = value; }
    void launchUnder(const std::vector<std::string>& tracer) { tracer_ = tracer; } // a command that runs its last words

    // Starts the executable; the exit status of the process started. The daemon that it leaves runs until pass 1 is
    // over and the clock stands.
    int launch(const std::vector<std::string>& arguments = {"ZEB_MIRA_Update"});
    void restart(); // waits for the end, and for pass 1 of the new one, under no tracer
    void letRunToPass(int pass);
    void letRunTo(int64_t second); // since the start
    void runToPass(int pass);      // waits until it is over; launches the first time

    pid_t pid() const { return pid_; } // 0: no daemon was left
    std::vector<Call> calls(const std::string& name = {}) const;
    std::string statusField(const std::string& name) const; // of /proc/PID/status

    void signal(int number); // one that it survives: returns when its handler was entered
    int waitForEnd();        // the exit status, -1: killed
    int end(int number);     // sends a signal and waits
    bool hasEnded();

    // To be called at the end of every test. A crash ends with status 0 like a stop, so the daemon log is searched too;
    // a daemon that still runs is stopped.
    void finish();
    std::string faults() const; // the same as text, empty: none

  private:
    [[noreturn]] void become(const std::vector<std::string>& arguments) const;
    void waitForStandingClock();

    std::string root_;
    std::map<std::string, std::string> environment_ = {{"BMC_SPEED", "max"}, {"BMC_TRACE", "1"}};
    std::vector<std::string> tracer_;
    nlohmann::json machine_;
    pid_t pid_ = 0;
    bool ended_ = false;
    int waitStatus_ = 0;
    std::set<int> expected_; // signals
    std::vector<int> descriptors_;
};

class EndToEnd : public testing::Test {
  protected:
    DaemonProcess daemon;
    void TearDown() override { daemon.finish(); }
};

void waitFor(const std::string& what, const std::function<bool()>& condition);
std::string fileText(const std::string& path);
