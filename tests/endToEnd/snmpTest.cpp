// The daemon and a real snmpd on the loopback interface.

#include "tests/endToEnd/daemonProcess.h"

#include <arpa/inet.h>
#include <csignal>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using nlohmann::json;

constexpr char CONF[] = "conf/snmp_users.conf";
constexpr char PID_FILE[] = "var/run/snmpd.pid";
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

class Snmp : public EndToEnd {
  protected:
    void SetUp() override {
        if (access("/usr/sbin/snmpd", X_OK) != 0) GTEST_SKIP() << "no snmpd on this machine";
        for (const char* directory : {"conf", "var/run", "persist"})
            std::filesystem::create_directories(daemon.path(directory));
        daemon.write(CONF, "rocommunity public 127.0.0.1\n# the line below is sysName\nsysLocation\tbefore\n");
        setSwitch("01000000");
        startSnmpd();
    }
    void TearDown() override {
        if (snmpd_ > 0) stopSnmpd();
        EndToEnd::TearDown();
    }

    // The output of a program of net-snmp's.
    std::string run(const std::string& command) const {
        const std::string settings =
            "SNMP_PERSISTENT_DIR=" + daemon.path("persist") + " SNMPCONFPATH=/nonexistent MIBS= ";
        FILE* pipe = popen((settings + command).c_str(), "re");
        std::string output;
        char buffer[512];
        while (fgets(buffer, sizeof buffer, pipe) != nullptr) output += buffer;
        pclose(pipe);
        return output;
    }
    void startSnmpd() { // it is adopted, when the shell has ended
        daemon.remove("snmpd.log");
        run("/usr/sbin/snmpd -f -r -C -c " + daemon.path(CONF) + " -I -smux -m '' -Lf " + daemon.path("snmpd.log") +
            " -p " + daemon.path(PID_FILE) + " udp:" + address_ + " >&2 &");
        waitFor("snmpd's start", [&] {
            return !daemon.read(PID_FILE).empty() &&
                   daemon.read("snmpd.log").find("NET-SNMP version") != std::string::npos;
        });
        snmpd_ = std::stoi(daemon.read(PID_FILE));
        daemon.write("var/run/snmpd.run", std::to_string(snmpd_) + "\n");
        daemon.write("tmp/snmp.start", "");
        daemon.describe({{"processes", {{std::to_string(snmpd_), {{"cmdline", {"/usr/sbin/snmpd", "-f"}}}}}}});
    }
    void stopSnmpd() {
        kill(snmpd_, SIGTERM);
        waitpid(snmpd_, nullptr, 0);
        snmpd_ = 0;
    }

    void setSwitch(const char* bits) { daemon.describe({{"configSpace", {{"5128", {{"raw", {{"0", bits}}}}}}}}); }
    void describeSystem(const char* parameter, const std::string& value) {
        const json values = {{{"type", "text"}, {"value", value}}};
        daemon.describe({{"lcm", {{"System Information", {{parameter, {{"0", values}}}}}}}});
    }
    std::string ask(const char* oid, const char* community = "public") const {
        return run(std::string("snmpget -v2c -c ") + community + " -On -Oqv -t 1 -r 0 " + address_ + " " + oid +
                   " 2>&1");
    }
    void expectServed(const char* oid, const std::string& value) {
        waitFor("snmpd's answer " + value, [&] { return ask(oid) == "\"" + value + "\"\n"; });
    }
    size_t registrations() const { return daemon.calls("ProcMonitorRegisterExt").size(); }

    const std::string address_ = "127.0.0.1:" + std::to_string(findFreePort());
    pid_t snmpd_ = 0;
};

// What becomes of the file, scenarios show.
TEST_F(Snmp, servesWhatTheDatabaseHolds) {
    describeSystem("SystemName", "server-1");
    describeSystem("CabinetLocation", "rack 7");
    describeSystem("SystemContact", "ops@example.org");
    daemon.runToPass(1);
    expectServed(SYS_NAME, "server-1");
    expectServed(SYS_LOCATION, "rack 7");
    expectServed(SYS_CONTACT, "ops@example.org");
    describeSystem("SystemName", "server-2");
    describeSystem("CabinetLocation", "");
    daemon.runToPass(3);
    expectServed(SYS_NAME, "server-2");
    expectServed(SYS_LOCATION, "- unknown -");
    EXPECT_EQ(ask(SYS_CONTACT), "\"ops@example.org\"\n");
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
    EXPECT_EQ(registrations(), 1);
    daemon.signal(SIGUSR1);
    waitFor("the new registration", [&] { return registrations() == 2; });
    EXPECT_EQ(daemon.calls("ProcMonitorDeRegister").size(), 1U);

    setSwitch("00000000");
    daemon.runToPass(3);
    EXPECT_EQ(waitpid(snmpd_, nullptr, 0), snmpd_); // by SIGINT
    EXPECT_FALSE(std::filesystem::exists(daemon.path("tmp/snmp.start")));
    EXPECT_GE(daemon.calls("ProcMonitorDeRegister").size(), 2U);

    startSnmpd();
    setSwitch("01000000");
    describeSystem("SystemName", "again");
    daemon.runToPass(5);
    expectServed(SYS_NAME, "again");
    EXPECT_EQ(registrations(), 3);
}

} // namespace
