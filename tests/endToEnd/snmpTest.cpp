// The daemon and a real snmpd on the loopback interface.

#include "tests/endToEnd/daemonProcess.h"

#include <arpa/inet.h>
#include <csignal>
#include <filesystem>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using nlohmann::json;

constexpr char CONF[] = "conf/snmp_users.conf";
constexpr char SYS_CONTACT[] = "1.3.6.1.2.1.1.4.0";
constexpr char SYS_NAME[] = "1.3.6.1.2.1.1.5.0";
constexpr char SYS_LOCATION[] = "1.3.6.1.2.1.1.6.0";

int findFreePort() {
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    EXPECT_EQ(bind(descriptor, reinterpret_cast<sockaddr*>(&address), length), 0);
    getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length);
    close(descriptor);
    return ntohs(address.sin_port);
}

std::string outputOf(const std::string& command) {
    std::string output;
    FILE* pipe = popen(command.c_str(), "re");
    char buffer[512];
    while (fgets(buffer, sizeof buffer, pipe) != nullptr) output += buffer;
    pclose(pipe);
    return output;
}

class Snmp : public EndToEnd {
  protected:
    void SetUp() override {
        if (access("/usr/sbin/snmpd", X_OK) != 0) GTEST_SKIP() << "no snmpd on this machine";
        std::filesystem::create_directories(daemon.path("conf"));
        std::filesystem::create_directories(daemon.path("var/run"));
        std::filesystem::create_directories(daemon.path("tmp"));
        std::filesystem::create_directories(daemon.path("persist"));
        daemon.write(CONF, "rocommunity public 127.0.0.1\n# the line below is sysName\nsysLocation\tbefore\n");
        chmod(daemon.path(CONF).c_str(), 0640);
        daemon.describe({{"configSpace", {{"5128", {{"raw", {{"0", "01000000"}}}}}}}});
        startSnmpd();
    }
    void TearDown() override {
        if (snmpd_ > 0) stopSnmpd();
        EndToEnd::TearDown();
    }

    void startSnmpd() {
        const std::string address = "udp:127.0.0.1:" + std::to_string(port_);
        const std::string log = daemon.path("snmpd.log");
        const std::string pidFile = daemon.path("var/run/snmpd.pid");
        const std::string conf = daemon.path(CONF);
        std::filesystem::remove(log);
        snmpd_ = fork();
        if (snmpd_ == 0) {
            setenv("SNMP_PERSISTENT_DIR", daemon.path("persist").c_str(), 1);
            setenv("MIBS", "", 1);
            setenv("SNMPCONFPATH", "/nonexistent", 1);
            execl("/usr/sbin/snmpd", "snmpd", "-f", "-r", "-C", "-c", conf.c_str(), "-I", "-smux", "-m", "", "-Lf",
                  log.c_str(), "-p", pidFile.c_str(), address.c_str(), nullptr);
            _exit(127);
        }
        waitFor("snmpd's start", [&] {
            return !fileText(pidFile).empty() && fileText(log).find("NET-SNMP version") != std::string::npos;
        });
        daemon.write("var/run/snmpd.run", std::to_string(snmpd_) + "\n");
        daemon.write("tmp/snmp.start", "");
        daemon.describe({{"processes", {{std::to_string(snmpd_), {{"cmdline", {"/usr/sbin/snmpd", "-f"}}}}}}});
    }
    void stopSnmpd() {
        kill(snmpd_, SIGTERM);
        waitpid(snmpd_, nullptr, 0);
        snmpd_ = 0;
    }

    void describeSystem(const char* parameter, const std::string& value) {
        const json values = {{{"type", "text"}, {"value", value}}};
        daemon.describe({{"lcm", {{"System Information", {{parameter, {{"0", values}}}}}}}});
    }
    std::string ask(const char* oid, const char* community = "public") const {
        return outputOf("SNMP_PERSISTENT_DIR=" + daemon.path("persist") + " MIBS= snmpget -v2c -c " + community +
                        " -On -Oqv -t 1 -r 0 127.0.0.1:" + std::to_string(port_) + " " + oid + " 2>&1");
    }
    void expectServed(const char* oid, const std::string& value) {
        waitFor("snmpd's answer " + value, [&] { return ask(oid) == "\"" + value + "\"\n"; });
    }
    size_t countSignals() const { return daemon.calls("hostSignal").size(); }

    const int port_ = findFreePort();
    pid_t snmpd_ = 0;
};

TEST_F(Snmp, servesWhatTheDatabaseHolds) {
    describeSystem("SystemName", "server-1");
    describeSystem("CabinetLocation", "rack 7");
    describeSystem("SystemContact", "ops@example.org");
    daemon.runToPass(1);
    expectServed(SYS_NAME, "server-1");
    expectServed(SYS_LOCATION, "rack 7");
    expectServed(SYS_CONTACT, "ops@example.org");
    // The comment that contains the key is replaced as well, what is missing is appended.
    EXPECT_EQ(daemon.read(CONF), "rocommunity public 127.0.0.1\nsysName\tserver-1\nsysLocation\track 7\n"
                                 "sysContact\tops@example.org\n");
    struct stat before;
    struct stat after;
    stat(daemon.path(CONF).c_str(), &before);
    EXPECT_EQ(before.st_mode & 07777, 0640U);
    EXPECT_FALSE(std::filesystem::exists(daemon.path("conf/snmpd.new")));

    daemon.runToPass(4); // nothing changed
    stat(daemon.path(CONF).c_str(), &after);
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_EQ(countSignals(), 1U);

    // Not UTF-8: still the same value on the pass after, whatever the locale that the daemon was started in.
    const json broken = {{{"type", "text"}, {"value", "caf\u00e9"}, {"length", 4}}};
    daemon.describe({{"lcm", {{"System Information", {{"SystemName", {{"0", broken}}}}}}}});
    daemon.runToPass(5);
    stat(daemon.path(CONF).c_str(), &before);
    daemon.runToPass(6);
    stat(daemon.path(CONF).c_str(), &after);
    EXPECT_EQ(before.st_ino, after.st_ino);

    describeSystem("SystemName", "server-2");
    describeSystem("CabinetLocation", "");
    daemon.runToPass(7);
    expectServed(SYS_NAME, "server-2");
    expectServed(SYS_LOCATION, "- unknown -");
}

TEST_F(Snmp, givesAHostileNameNoDirective) {
    describeSystem("SystemName", "x\nrwcommunity evil 127.0.0.1\nextend pwn /usr/bin/id\r\x01");
    daemon.runToPass(1);
    expectServed(SYS_NAME, "x rwcommunity evil 127.0.0.1 extend pwn /usr/bin/id");
    EXPECT_NE(ask(SYS_NAME, "evil").find("Timeout"), std::string::npos);
    EXPECT_NE(ask("1.3.6.1.4.1.8072.1.3.2.1.0").find("No Such"), std::string::npos); // no extension
}

TEST_F(Snmp, isStoppedAndAdoptedAgain) {
    daemon.runToPass(1);
    ASSERT_EQ(daemon.calls("ProcMonitorRegisterExt").size(), 1U);
    EXPECT_EQ(
        daemon.calls("ProcMonitorRegisterExt")[0].arguments,
        "[" + std::to_string(snmpd_) +
            R"(,"/usr/sbin/snmpd",0,"snmpd",0,6,"-c","/conf/snmp_users.conf","--agentXSocket=\"/var/agentXsock\"",)"
            R"("-Lf","/var/log/snmpd.log",null])");
    daemon.signal(SIGUSR1);
    waitFor("the new registration", [&] { return daemon.calls("ProcMonitorRegisterExt").size() == 2; });
    EXPECT_EQ(daemon.calls("ProcMonitorDeRegister").size(), 1U);

    daemon.describe({{"configSpace", {{"5128", {{"raw", {{"0", "00000000"}}}}}}}});
    daemon.runToPass(3);
    EXPECT_EQ(waitpid(snmpd_, nullptr, 0), snmpd_); // by SIGINT
    EXPECT_FALSE(std::filesystem::exists(daemon.path("tmp/snmp.start")));
    EXPECT_GE(daemon.calls("ProcMonitorDeRegister").size(), 2U);

    startSnmpd();
    daemon.describe({{"configSpace", {{"5128", {{"raw", {{"0", "01000000"}}}}}}}});
    describeSystem("SystemName", "again");
    daemon.runToPass(5);
    expectServed(SYS_NAME, "again");
    EXPECT_EQ(daemon.calls("ProcMonitorRegisterExt").size(), 3U);
}

} // namespace
