// What the libraries answer on described machines. Each step of libraryCalls.json changes the machine (a merge patch)
// and makes calls: a name, its arguments, and behind " = " what has to come back.

#include "platform/appHelper.h"
#include "platform/dqmi.h"
#include "platform/lcm.h"
#include "platform/storelib.h"
#include "simulator/machine/clock.h"
#include "simulator/machine/faults.h"
#include "tests/daemon/base/outputs.h"

#include <algorithm>
#include <concepts>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <vector>

namespace {

using nlohmann::json;

struct Word : std::string { // is a number where one is asked for
    template <std::integral Number>
    operator Number() const {
        return static_cast<Number>(std::stoll(*this, nullptr, 0));
    }
};
using Words = std::vector<Word>;

[[maybe_unused]] const bool clockIsSet = setenv("BMC_SPEED", "max", 1) == 0;

constexpr uint8_t UNTOUCHED = 0xEE;

int64_t stepStart = 0;

// Many zeros become "..".
std::string hexOf(const void* data, size_t size) {
    std::string text;
    for (size_t i = 0; i < size; ++i) {
        char pair[3];
        snprintf(pair, sizeof pair, "%02x", static_cast<const uint8_t*>(data)[i]);
        text += pair;
    }
    return std::regex_replace(text, std::regex("(00){8,}"), "..");
}

// The status, how many bytes of a buffer were written, and these.
template <class Record, class Read>
std::string answerOf(Read read) {
    std::vector<uint8_t> buffer(8192, UNTOUCHED);
    const std::string status = std::to_string(read(static_cast<Record*>(static_cast<void*>(buffer.data()))));
    while (!buffer.empty() && buffer.back() == UNTOUCHED) buffer.pop_back();
    return buffer.empty() ? status
                          : status + " " + std::to_string(buffer.size()) + ":" + hexOf(buffer.data(), buffer.size());
}

// How many there are, and the last that the list holds.
std::string askForList() {
    SL_CTRL_LIST_T list{};
    const int status = raid_GetControllerList(&list);
    const size_t listed = std::min<size_t>(list.count, std::size(list.ctrlId));
    return std::to_string(status) + " " + std::to_string(list.count) + " " +
           std::to_string(listed > 0 ? list.ctrlId[listed - 1] : 0);
}

// Of some reads of a device's record those that failed.
std::string readFiveTimes(uint16_t device) {
    std::string pattern;
    MR_PD_INFO info{};
    for (int i = 0; i < 5; ++i) pattern += raid_PhysicalDeviceGetInfo(7, device, &info) == 0 ? '.' : 'x';
    return pattern;
}

std::string askForParameter(const std::string& name, int32_t instance) {
    uint32_t count = 77;
    LCMParamEntry* table = LCMParam_update(1, "G", name.c_str(), instance, &count);
    std::string text = table == nullptr ? "none" : std::to_string(count);
    for (uint32_t i = 0; i < count; ++i) {
        const LCMParamEntry& entry = table[i];
        const size_t length = entry.length > 8 ? 1 : entry.length; // of a hostile length the first byte
        text += ", " + std::to_string(entry.state) + " " + std::to_string(entry.type) + " " +
                std::to_string(entry.length) + ":" + (entry.value == nullptr ? "none" : hexOf(entry.value, length));
    }
    LCMParamDb_destroyParameterTable(table, count);
    return text;
}

std::string askAgents() {
    uint32_t header[16] = {};
    header[2] = 5; // the length
    void* data = nullptr;
    const int status = ReadReceivedDQMImessage(OpenDQMItransaction(6, 2, 0, 5, nullptr, 0), header, &data);
    free(data);
    return std::to_string(status) + " " + std::to_string(header[2]);
}

std::string askForPowerState(uint8_t state) {
    const char* found = raid_GetHddPowerState(state);
    const std::string text = found == nullptr ? "none" : found;
    return text.size() < 100 ? text : text.substr(0, 3) + ".. of " + std::to_string(text.size());
}

std::string ask(const Words& call) {
    const std::string& name = call.at(0);
    if (name == "list") return askForList();
    if (name == "fiveReads") return readFiveTimes(call.at(1));
    if (name == "parameter") return askForParameter(call.at(1), call.at(2));
    if (name == "agents") return askAgents();
    if (name == "powerState") return askForPowerState(call.at(1));
    if (name == "lanChannel") return std::to_string(etcGetDefaultLanChannelNumber());
    if (name == "seconds") return std::to_string(sim::clockTime().seconds - stepStart);
    if (name == "enclosures")
        return answerOf<MR_ENCL_LIST>([&](auto* list) { return raid_GetEnclosureList(call.at(1), list); });
    if (name == "operation")
        return answerOf<void>([&](void* data) { return raid_ControllerGetOperation(7, call.at(1), data, call.at(2)); });
    if (name == "battery")
        return answerOf<int32_t>([&](auto* status) { return raid_ControllerGetBatteryStatus(7, status); });
    if (name == "item")
        return answerOf<void>([&](void* data) { return LCMconfigSpaceRead(call.at(1), 3, data, call.at(2)); });
    const std::string text = call.size() > 2 ? call.at(2) : Word(); // "setItem"
    return std::to_string(LCMconfigSpaceWrite(call.at(1), 0, text.c_str(), uint32_t(text.size())));
}

TEST(LibraryCalls, answerAsTheMachineIsDescribed) {
    json machine;
    for (const json& step : casesOf(__FILE__)) {
        machine.merge_patch(step["machine"]);
        placeFile(below("/machine.json"), machine.dump());
        stepStart = sim::clockTime().seconds;
        for (const std::string call : step["calls"]) {
            const size_t end = call.find(" = ");
            std::istringstream stream(call.substr(0, end));
            const Words words{std::istream_iterator<Word>(stream), {}};
            EXPECT_EQ(ask(words), call.substr(end + 3)) << call << " on " << step["machine"];
        }
    }
}

TEST(LibraryCalls, spoiltByGarbageGiveTheSameInEveryRun) {
    const sim::Fault fault(sim::FaultKind::garbage, 1234);
    uint8_t bytes[8] = {};
    fault.spoil(bytes, sizeof bytes);
    EXPECT_EQ(hexOf(bytes, sizeof bytes), "d70c1de72645a904");
    EXPECT_STREQ(fault.spoiledText("a"), sim::Fault(sim::FaultKind::garbage, 1234).spoiledText("b"));
    EXPECT_EQ(fault.spoiledLength(5), 5U);
}

// The recorder's table has every function of the firmware's libraries, but for the XML library: its wrappers come of
// it.
TEST(LibraryCalls, areAllInTheTable) {
    const auto platform = std::filesystem::path(__FILE__).parent_path() / "../../platform";
    const std::regex declaration(R"((?:^|\n)[\w[][\w\[\]*\s]*\b(\w+)\([^()]*\);)");
    std::set<std::string> declared;
    for (const auto& entry : std::filesystem::directory_iterator(platform)) {
        if (entry.path().extension() != ".h" || entry.path().stem() == "host" || entry.path().stem() == "xmlParser")
            continue;
        const std::string text = textOf(entry.path());
        for (auto match = std::sregex_iterator(text.begin(), text.end(), declaration); match != std::sregex_iterator();
             ++match)
            declared.insert((*match)[1]);
    }
    std::set<std::string> known;
    for (const sim::LibraryCall& call : sim::libraryCalls()) known.emplace(call.name);
    EXPECT_EQ(declared, known);
}

} // namespace
