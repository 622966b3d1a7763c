#include "simulator/machine/machineReader.h"

#include "simulator/machine/recordLayout.h"
#include "tests/simulator/simulatedMachine.h"

#include <cmath>
#include <set>

using namespace sim;

namespace {

std::string hexOf(const Bytes& bytes) {
    std::string text;
    for (const uint8_t byte : bytes) {
        char pair[3];
        snprintf(pair, sizeof pair, "%02x", byte);
        text += pair;
    }
    return text;
}

// The configuration item 7 made from a RECORD or a text.
std::string itemOf(const std::string& json) {
    const MachineReading reading = readMachine(R"({"configSpace": {"7": )" + json + "}}");
    if (reading.machine == nullptr) return reading.fault;
    return hexOf(reading.machine->configSpace.at(7));
}

Bytes controllerRecord(const std::string& name, const std::string& json) {
    const MachineReading reading =
        readMachine(R"({"controllers": [{"id": 1, "records": {")" + name + "\": " + json + "}}]}");
    if (reading.machine != nullptr) return reading.machine->controllers->front().records.find(name)->second;
    ADD_FAILURE() << reading.fault;
    return {};
}

TEST(RecordLayout, everyMemberLiesInItsRecordUnderANameOfItsOwn) {
    std::set<std::string_view> names;
    std::set<uint32_t> opcodes;
    for (const RecordLayout& layout : recordLayouts()) {
        EXPECT_TRUE(names.insert(layout.name).second) << layout.name;
        EXPECT_TRUE(layout.opcode == 0 || opcodes.insert(layout.opcode).second) << layout.name;
        std::set<std::string_view> members = {"size", "raw"};
        uint32_t end = 0;
        for (const Field& field : layout.members) {
            EXPECT_TRUE(members.insert(field.name).second) << layout.name << "." << field.name;
            EXPECT_GE(field.offset, end) << layout.name << "." << field.name;
            end = field.offset + field.size * std::max(1U, field.count);
            EXPECT_TRUE(end <= layout.size || field.name == "ld") << layout.name << "." << field.name;
        }
        EXPECT_EQ(&layout, findRecordLayout(layout.owner, layout.name));
    }
}

TEST(MachineReader, recordsAreMembersThenRawBytesInTheOrderOfTheFile) {
    const struct {
        const char* json;
        const char* bytes;
    } cases[] = {
        {R"("ab")", "616200"},
        {R"({"raw": {"2": "0a0B"}})", "00000a0b"},
        {R"({"raw": {"0": "11 22 33", "1": "ff"}})", "11ff33"},
        {R"({"raw": {"1": "ff", "0": "112233"}})", "112233"},
        {R"({"size": 3})", "000000"},
        {R"({"raw": {"0": "01"}, "size": 2})", "0100"},
        {R"({"raw": {"4": ""}})", "00000000"},
        {R"({})", ""},
    };
    for (const auto& [json, bytes] : cases) EXPECT_EQ(itemOf(json), bytes) << json;

    const char* const progress = R"({"active": 9, "raw": {"5": "01"}, "consistencyCheck": {"progress": 258}})";
    const MachineReading reading = readMachine(
        std::string(R"({"controllers": [{"id": 1, "logicalDrives": {"3": {"records": {"MR_LD_PROGRESS": )") + progress +
        "}}}}]}");
    ASSERT_NE(reading.machine, nullptr) << reading.fault;
    EXPECT_EQ(hexOf(reading.machine->controllers->front().logicalDrives.at(3).find("MR_LD_PROGRESS")->second),
              "0900000002010000" + std::string(56, '0'));
}

TEST(MachineReader, nestedMembersAndArraysFindTheirPlaces) {
    const Bytes info = controllerRecord(
        "MR_CTRL_INFO",
        R"({"imageComponent": [{}, {"name": "12345678", "version": "9"}], "properties": {"onOffProperties": 4294967295}})");
    EXPECT_EQ(info.size(), 2048);
    EXPECT_EQ(std::string(info.begin() + 256, info.begin() + 266), std::string("123456789\0", 10));
    EXPECT_EQ(hexOf({info.begin() + 1567, info.begin() + 1573}), "00ffffffff00");

    const Bytes configuration = controllerRecord(
        "MR_CONFIG_DATA",
        R"({"logDrvCount": 2, "ld": [{}, {"properties": {"ldRef": {"targetId": 5}}, "params": {"state": 3}}]})");
    EXPECT_EQ(configuration.at(576), 5);
    EXPECT_EQ(configuration.at(614), 3);
}

TEST(MachineReader, whatDoesNotFitIsSaidWithTheWayToIt) {
    const struct {
        const char* json;
        const char* fault;
    } cases[] = {
        {R"([])", "the file: must be an object"},
        {R"({"controler": 1})", "/controler: unknown member"},
        {R"({"controllers": 1})", "/controllers: must be an array"},
        {R"({"controllers": [{}]})", "/controllers/0: has no id"},
        {R"({"controllers": [{"id": null}]})", "/controllers/0: has no id"},
        {R"({"controllers": [{"id": -1}]})", "/controllers/0/id: must be a whole number from 0 to 4294967295"},
        {R"({"controllers": [{"id": 2}, {"id": 2}]})", "/controllers/1: has the id of an earlier controller"},
        {R"({"controllers": [{"id": 1, "records": {"MR_PD_INFO": {}}}]})",
         "/controllers/0/records/MR_PD_INFO: unknown record"},
        {R"({"controllers": [{"id": 1, "records": {"MR_PR_STATUS": {"status": 1}}}]})",
         "/controllers/0/records/MR_PR_STATUS/status: unknown member"},
        {R"({"controllers": [{"id": 1, "records": {"MR_PR_STATUS": {"state": 256}}}]})",
         "/controllers/0/records/MR_PR_STATUS/state: must be a whole number from 0 to 255"},
        {R"({"controllers": [{"id": 1, "records": {"MR_PR_STATUS": {"state": 1.0}}}]})",
         "/controllers/0/records/MR_PR_STATUS/state: must be a whole number from 0 to 255"},
        {R"({"controllers": [{"id": 1, "records": {"MR_PR_STATUS": {"raw": {"14": "010203"}}}}]})",
         "/controllers/0/records/MR_PR_STATUS/raw/14: lies beyond the record's 16 bytes"},
        {R"({"controllers": [{"id": 1, "records": {"MR_PR_STATUS": {"size": 4, "state": 1}}}]})",
         "/controllers/0/records/MR_PR_STATUS/state: lies beyond the record's 4 bytes"},
        {R"({"controllers": [{"id": 1, "records": {"MR_CTRL_INFO": {"imageComponent": [{"name": "123456789"}]}}}]})",
         "/controllers/0/records/MR_CTRL_INFO/imageComponent/0/name: is longer than 8 bytes"},
        {R"({"controllers": [{"id": 1, "records": {"MR_SAS_CONNECTORS": {"conn": [{},{},{},{},{},{},{},{},{}]}}}]})",
         "/controllers/0/records/MR_SAS_CONNECTORS/conn: has more than 8 elements"},
        {R"({"controllers": [{"id": 1, "records": {"MR_CONFIG_DATA": {"ld": [{}, {"params": {"ssdCaching": 1}}]}}}]})",
         "/controllers/0/records/MR_CONFIG_DATA/ld/1/params/ssdCaching: lies beyond the record's 616 bytes"},
        {R"({"controllers": [{"id": 1, "devices": {"65536": {}}}]})",
         "/controllers/0/devices/65536: the name must be a decimal number from 0 to 65535"},
        {R"({"controllers": [{"id": 1, "devices": {"8": {}, "08": {}}}]})", "/controllers/0/devices/08: given twice"},
        {R"({"controllers": [{"id": 1, "devices": {"8": {"pages": {"7": {"state": 1}}}}}]})",
         "/controllers/0/devices/8/pages/7/state: unknown member"},
        {R"({"controllers": [{"id": 1, "devices": {"8": {"thresholds": [null, [1, 2, 3]]}}}]})",
         "/controllers/0/devices/8/thresholds/1: must have four values"},
        {R"({"configSpace": {"7": {"raw": {"0": "123"}}}})",
         "/configSpace/7/raw/0: must be pairs of hexadecimal digits"},
        {R"({"configSpace": {"7": {"raw": {"9999999": "12"}}}})",
         "/configSpace/7/raw/9999999: the name must be a decimal number from 0 to 1048576"},
        {R"({"configSpace": {"7": 1}})", "/configSpace/7: must be an object or null"},
        {R"({"agents": {"state": 3}})", "/agents/state: must be a whole number from 0 to 2"},
        {R"({"agents": {"state": 1, "response": {}}})", "/agents: must have either a response or a state"},
        {R"({"lcm": {"G": {"N": {"x": []}}}})", "/lcm/G/N/x: the name must be a decimal number of 32 bits"},
        {R"({"lcm": {"G": {"N": {"0": [{"value": 1}]}}}})", "/lcm/G/N/0/0: must be an object with a type"},
        {R"({"lcm": {"G": {"N": {"0": [{"type": "date"}]}}}})",
         "/lcm/G/N/0/0/type: must be raw, text, number, invalid or not available"},
        {R"({"lcm": {"G": {"N": {"0": [{"type": "number", "value": "1"}]}}}})",
         "/lcm/G/N/0/0/value: must be a whole number"},
        {R"({"ipmi": {"session": 1}})", "/ipmi/session: must be true or false"},
        {R"({"ipmi": {"users": {"2": {"snmp": [1, 2, 3]}}}})", "/ipmi/users/2/snmp: must have four bytes"},
        {R"({"dqmi": {"open": ["maybe"]}})", "/dqmi/open/0: must be ok or fail"},
        {R"({"faults": [{"call": "raid_GetHddPowerStatus", "kind": "error"}]})",
         "/faults/0: there is no library function \"raid_GetHddPowerStatus\""},
        {R"({"faults": [{"call": "raid_GetEnclosureList", "device": 1, "kind": "error"}]})",
         "/faults/0: raid_GetEnclosureList names no device"},
        {R"({"faults": [{"nth": 0, "kind": "error"}]})", "/faults/0/nth: must be at least 1"},
        {R"({"processes": {"0": {}}})", "/processes: 0 is no process id"},
        {R"({"processes": {"5": {"cmdline": "snmpd"}}})", "/processes/5/cmdline: must be an array"},
        {R"({"configSpaceWriteFails": [65536]})", "/configSpaceWriteFails/0: must be a whole number from 0 to 65535"},
        {R"({"configSpace": {"7": "a", "7": "b"}})", "the file: the member \"7\" is given twice"},
        {"{\n  \"agents\": {,\n", "line 2, column 14: "},
        {"", "line 1, column 1: "},
        {"{\n\"agents\": {}\n", "line 3, column 1: "},
        {"{\"a\": \"\xff\"}", "line 1, column 8: "},
    };
    for (const auto& [json, fault] : cases) {
        const MachineReading reading = readMachine(json);
        EXPECT_EQ(reading.machine, nullptr) << json;
        EXPECT_EQ(reading.fault.substr(0, strlen(fault)), fault) << json;
    }
}

TEST(MachineReader, nullStandsForWhatIsNotThere) {
    const MachineReading reading = readMachine(
        R"({"controllers": [{"id": 1, "number": null, "records": {"MR_PR_STATUS": null}, "logicalDrives": {"0": null},
            "devices": {"8": {"pages": {"7": null}, "temperature": null, "thresholds": [null, [-1.5, null, 1e39, -1e39]]}}}],
            "configSpace": {"7": null}, "agents": null, "processMonitor": {"register": -1}})");
    ASSERT_NE(reading.machine, nullptr) << reading.fault;
    const Controller& controller = reading.machine->controllers->front();
    const Device& device = controller.devices.at(8);
    EXPECT_TRUE(controller.records.empty() && controller.logicalDrives.empty() && !controller.number);
    EXPECT_TRUE(device.pages.contains(7) && !device.pages.at(7) && !device.temperature);
    ASSERT_EQ(device.thresholds.size(), 2);
    EXPECT_TRUE(!device.thresholds[0] && device.thresholds[1]);
    const auto [first, second, third, fourth] = *device.thresholds[1];
    EXPECT_TRUE(first == -1.5F && std::isnan(second) && third > 1e38F && fourth < -1e38F);
    EXPECT_TRUE(reading.machine->configSpace.empty() && !reading.machine->agentsAnswer);
    EXPECT_EQ(reading.machine->processMonitor.registerResult, -1);
    EXPECT_EQ(readMachine(R"({"controllers": null})").machine->controllers, nullptr);
}

TEST(MachineReader, theDescribedMachinesAreValid) {
    const auto machines = std::filesystem::path(__FILE__).parent_path().parent_path().parent_path() / "machines";
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(machines)) {
        if (entry.path().extension() != ".json") continue;
        const MachineReading reading = readMachine(simtest::readFile(entry.path()));
        EXPECT_NE(reading.machine, nullptr) << entry.path() << ": " << reading.fault;
        ++count;
    }
    EXPECT_GE(count, 2);
}

} // namespace
