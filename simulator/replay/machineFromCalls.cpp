#include "simulator/replay/machineFromCalls.h"

#include "platform/storelib.h"
#include "simulator/machine/faults.h"
#include "simulator/record/libraryCalls.h"
#include "simulator/replay/anonymize.h"
#include "simulator/replay/blocks.h"
#include "simulator/replay/computed.h"
#include "simulator/replay/history.h"
#include "simulator/replay/sources.h"

#include <algorithm>
#include <cstring>
#include <set>

namespace sim {
namespace {

constexpr int STATUS_NOT_AVAILABLE = 1; // what the stand-in says of what is not described
constexpr size_t IPMI_APPLICATION = 0x18;
constexpr size_t GET_USER_ACCESS = 0x44;
constexpr size_t GET_USER_NAME = 0x46;
constexpr size_t AGENTS_NET_FN = 0xB8;
constexpr size_t AGENTS_COMMAND = 2;
constexpr size_t DQMI_STATUS_OFFSET = 28;

template <class T>
T numberAt(const Bytes& bytes, size_t offset) {
    T number{};
    if (offset + sizeof number > bytes.size()) throw BadRecord("\"out\" is too short");
    memcpy(&number, bytes.data() + offset, sizeof number);
    return number;
}

// Learns from one call after the other.
class Learner {
  public:
    void learn(const ReplayedCall& call, int64_t second); // since the start
    void end();
    const History& history() const { return history_; }
    const std::vector<std::string>& notes() const { return notes_; }

  private:
    using Teach = void (Learner::*)(const ReplayedCall&);
    static const std::map<std::string, Teach, std::less<>>& teachers();

    static bool isSuccess(const ReplayedCall& call) { return call.output && call.result == 0; }
    static uint32_t idOf(const ReplayedCall& call) { return call.arguments.at(0).get<uint32_t>(); }
    static std::string deviceOf(const ReplayedCall& call) {
        return std::to_string(call.arguments.at(1).get<uint32_t>());
    }

    void learnAnswer(const ReplayedCall& call, bool isOwn);
    void learnStatus(const ReplayedCall& call);
    bool learnRecord(const ReplayedCall& call);
    void learnNumber(const ReplayedCall& call, const Path& path);
    void note(const std::string& text) {
        if (std::find(notes_.begin(), notes_.end(), text) == notes_.end()) notes_.push_back(text);
    }

    void list(const ReplayedCall& call);
    void record(const ReplayedCall& call);
    void controllerValue(const ReplayedCall& call);
    void controllerNumber(const ReplayedCall& call);
    void deviceValue(const ReplayedCall& call);
    void deviceTemperature(const ReplayedCall& call);
    void pageIsValid(const ReplayedCall& call);
    void pageContent(const ReplayedCall& call);
    void thresholds(const ReplayedCall& call);
    void itemRead(const ReplayedCall& call);
    void itemWritten(const ReplayedCall& call);
    void agents(const ReplayedCall& call);
    void parameter(const ReplayedCall& call);
    void dqmiConnection(const ReplayedCall& call);
    void dqmiTransaction(const ReplayedCall& call);
    void dqmiAnswer(const ReplayedCall& call);
    void processMonitor(const ReplayedCall& call);
    void session(const ReplayedCall& call);
    void ipmiCommand(const ReplayedCall& call);
    void userSettings(const ReplayedCall& call);
    void lanChannel(const ReplayedCall& call);
    void success(const ReplayedCall& call) { learnAnswer(call, call.result != 0); }
    void nothing(const ReplayedCall& /*call*/) {}

    Json valueOf(const Json& entry);

    History history_;
    std::vector<std::string> notes_;
    std::map<std::pair<uint32_t, Path>, Fact> pages_; // as they were last received
    std::map<uint32_t, Bytes> writtenItems_;
    std::set<uint32_t> failedItems_;
    Json transactions_ = Json::array();
};

void Learner::learnAnswer(const ReplayedCall& call, bool isOwn) {
    const std::string key = call.name + call.arguments.dump();
    if (!isOwn) return history_.setAnswer(key, Fact());
    Json answer = {{"call", call.name}, {"args", call.arguments}, {"result", call.result}};
    if (call.output) answer["out"] = hexOf(call.output->data(), call.output->size());
    history_.setAnswer(key, Fact::of(std::move(answer)));
}

// A status that the stand-in does not give of itself.
void Learner::learnStatus(const ReplayedCall& call) {
    learnAnswer(call, call.result != 0 && call.result != STATUS_NOT_AVAILABLE);
}

// False: the call reads no record that is known.
bool Learner::learnRecord(const ReplayedCall& call) {
    const RecordLayout* layout = recordReadBy(call);
    if (layout == nullptr) return false;
    Path path;
    const std::string reference = call.name == "ZEBRAID_DirectLibCommand"    ? referenceOf(call)
                                  : layout->owner != RecordOwner::controller ? deviceOf(call)
                                                                             : std::string();
    if (layout->owner == RecordOwner::device) path = {"devices", reference};
    if (layout->owner == RecordOwner::logicalDrive) path = {"logicalDrives", reference};
    path.insert(path.end(), {"records", std::string(layout->name)});
    history_.set(idOf(call), path, isSuccess(call) ? Fact::ofRecord(*call.output, layout) : Fact::of(nullptr));
    learnStatus(call);
    return true;
}

void Learner::learnNumber(const ReplayedCall& call, const Path& path) {
    history_.set(idOf(call), path,
                 isSuccess(call) ? Fact::of(path.size() > 1 ? Json(numberAt<uint32_t>(*call.output, 0))
                                                            : Json(numberAt<int32_t>(*call.output, 0)))
                                 : Fact::of(nullptr));
    learnStatus(call);
}

void Learner::list(const ReplayedCall& call) {
    std::optional<std::vector<uint32_t>> ids;
    if (isSuccess(call)) {
        const auto count = numberAt<uint32_t>(*call.output, offsetof(SL_CTRL_LIST_T, count));
        if (count > std::size(SL_CTRL_LIST_T().ctrlId))
            note("the list counts " + std::to_string(count) + " controllers; those that it does not hold are left out");
        ids.emplace();
        for (size_t i = 0; i < std::min<size_t>(count, std::size(SL_CTRL_LIST_T().ctrlId)); ++i)
            ids->push_back(numberAt<uint32_t>(*call.output, offsetof(SL_CTRL_LIST_T, ctrlId) + i * sizeof(uint32_t)));
        std::set<uint32_t> seen;
        const auto isTwice = [&](uint32_t id) { return !seen.insert(id).second; };
        if (std::erase_if(*ids, isTwice) > 0) note("the list names a controller twice; once is kept");
    }
    history_.setControllers(ids);
    learnStatus(call);
}

void Learner::record(const ReplayedCall& call) {
    if (!learnRecord(call)) learnAnswer(call, call.result != STATUS_NOT_AVAILABLE);
}

void Learner::controllerValue(const ReplayedCall& call) {
    learnNumber(call, {memberReadBy(call.name)});
}

void Learner::controllerNumber(const ReplayedCall& call) {
    history_.set(idOf(call), {"number"}, Fact::of(call.result));
}

void Learner::deviceValue(const ReplayedCall& call) {
    learnNumber(call, {"devices", deviceOf(call), memberReadBy(call.name)});
}

void Learner::deviceTemperature(const ReplayedCall& call) {
    history_.set(idOf(call), {"devices", deviceOf(call), "temperature"}, Fact::of(call.result));
}

// Valid again, a page has what was last received of it: that it is the same is not recorded.
void Learner::pageIsValid(const ReplayedCall& call) {
    const Path path = {"devices", deviceOf(call), "pages", call.arguments.at(2).dump()};
    const bool isValid = call.result != 0;
    const auto received = pages_.find({idOf(call), path});
    if (!isValid)
        history_.set(idOf(call), path, Fact());
    else if (received != pages_.end())
        history_.set(idOf(call), path, received->second);
    else
        pages_[{idOf(call), path}] = Fact::of(nullptr); // unless it will be received
    learnAnswer(call, call.result != 0 && call.result != 1);
}

void Learner::pageContent(const ReplayedCall& call) {
    const Path path = {"devices", deviceOf(call), "pages", call.arguments.at(2).dump()};
    Fact& page = pages_[{idOf(call), path}];
    page = isSuccess(call) ? Fact::ofRecord(*call.output, nullptr) : Fact::of(nullptr);
    history_.set(idOf(call), path, page);
    learnStatus(call);
}

void Learner::thresholds(const ReplayedCall& call) {
    const size_t sensor = call.arguments.at(2).get<size_t>();
    constexpr size_t mostSensors = 4096;
    if (sensor >= mostSensors) return learnAnswer(call, true);
    Json values = nullptr;
    bool isExact = true;
    if (isSuccess(call)) {
        values = Json::array();
        for (size_t i = 0; i < std::size(SL_TEMP_THRESHOLD_T().value); ++i) {
            const auto value = numberAt<float>(*call.output, offsetof(SL_TEMP_THRESHOLD_T, value) + i * sizeof(float));
            values.push_back(value);
            isExact = isExact && value - value == 0;
        }
    }
    if (!isExact) return learnAnswer(call, true); // neither a number nor written as one
    history_.set(idOf(call), {"devices", deviceOf(call), "thresholds", std::to_string(sensor)}, Fact::of(values));
    learnStatus(call);
}

bool areEqualButZeros(const Bytes& a, const Bytes& b) {
    const auto isRestZero = [](const Bytes& bytes, size_t from) {
        return std::all_of(bytes.begin() + static_cast<ptrdiff_t>(std::min(from, bytes.size())), bytes.end(),
                           [](uint8_t byte) { return byte == 0; });
    };
    const size_t common = std::min(a.size(), b.size());
    return std::equal(a.begin(), a.begin() + static_cast<ptrdiff_t>(common), b.begin()) && isRestZero(a, common);
}

// What the daemon wrote itself is no change of the machine.
void Learner::itemRead(const ReplayedCall& call) {
    const auto id = call.arguments.at(0).get<uint32_t>();
    const Path path = {"configSpace", std::to_string(id)};
    const auto written = writtenItems_.find(id);
    if (!call.output || call.result == 0) return history_.set(path, Fact::of(nullptr));
    if (written != writtenItems_.end() && areEqualButZeros(*call.output, written->second)) return;
    writtenItems_.erase(id);
    history_.set(path, Fact::of(itemToJson(*call.output)));
}

void Learner::itemWritten(const ReplayedCall& call) {
    const auto id = call.arguments.at(0).get<uint32_t>();
    if (call.result == 0) {
        failedItems_.insert(id);
    } else if (call.arguments.at(2).is_string()) {
        writtenItems_[id] = bytesOfHex(call.arguments.at(2).get<std::string>());
    }
}

void Learner::agents(const ReplayedCall& call) {
    constexpr size_t stateOffset = 5;
    if (call.arguments.at(0) != AGENTS_NET_FN || call.arguments.at(1) != AGENTS_COMMAND)
        return learnAnswer(call, call.result != 0);
    if (!call.output) return history_.set({"agents"}, Fact::of(nullptr));
    Bytes usual(call.output->size());
    if (usual.size() > stateOffset) usual[stateOffset - 1] = 1, usual[stateOffset] = (*call.output)[stateOffset];
    const bool isUsual = usual == *call.output && usual.size() > stateOffset && usual[stateOffset] <= 2;
    history_.set({"agents"}, Fact::of(isUsual ? Json{{"state", usual[stateOffset]}}
                                              : Json{{"response", recordToJson(*call.output, nullptr)}}));
}

// [state, type, length, bytes as hex].
Json Learner::valueOf(const Json& entry) {
    static constexpr const char* TYPES[] = {"raw", "text", "number"};
    constexpr int notAvailable = 3;
    const int state = entry.at(0);
    const auto type = entry.at(1).get<uint32_t>();
    const auto length = entry.at(2).get<uint32_t>();
    Json value = {
        {"type", state == notAvailable ? "not available" : (type < std::size(TYPES) ? TYPES[type] : "invalid")}};
    size_t own = 0;
    if (entry.at(3).is_string()) {
        Bytes bytes = bytesOfHex(entry.at(3));
        own = bytes.size();
        if (value["type"] == "text") {
            if (!isPlainText(bytes.data(), bytes.size())) note("texts of parameters that are not plain have ? in them");
            for (uint8_t& byte : bytes)
                if (!isPlainText(&byte, 1)) byte = '?';
            value["value"] = std::string(bytes.begin(), bytes.end());
            own = bytes.size() + 1;
        } else if (value["type"] == "number") {
            bytes.resize(sizeof(int64_t));
            value["value"] = numberAt<int64_t>(bytes, 0);
            own = 0; // 4 or 8 of themselves: said always
        } else if (value["type"] == "raw") {
            value["value"] = hexOf(bytes.data(), bytes.size());
        } else {
            own = 0;
        }
    }
    if (own != length) value["length"] = length;
    return value;
}

void Learner::parameter(const ReplayedCall& call) {
    const Path path = {"lcm", call.arguments.at(1).get<std::string>(), call.arguments.at(2).get<std::string>(),
                       call.arguments.at(3).dump()};
    Json values = call.values.is_array() ? Json::array() : Json();
    for (const Json& entry : call.values) values.push_back(valueOf(entry));
    history_.set(path, Fact::of(values));
}

void Learner::dqmiConnection(const ReplayedCall& call) {
    history_.set({"dqmi", "connection"}, Fact::of(call.result));
}

void Learner::dqmiTransaction(const ReplayedCall& call) {
    transactions_.push_back(call.result.get<int64_t>() >= 0 ? "ok" : "fail");
}

void Learner::dqmiAnswer(const ReplayedCall& call) {
    history_.set({"dqmi", "read"}, Fact::of(call.output ? "ok" : "fail"));
    if (!call.output || call.output->size() < DQMI_HEADER_SIZE) return;
    const Bytes text(call.output->begin() + DQMI_HEADER_SIZE, call.output->end());
    const auto length = numberAt<uint32_t>(*call.output, DQMI_LENGTH_OFFSET);
    const auto isText = [](uint8_t byte) { return isPlainText(&byte, 1) || byte == '\n' || byte == '\t'; };
    const bool isPlain = std::all_of(text.begin(), text.end(), isText);
    Json record = {{"size", text.size()}};
    if (!isPlain) record["raw"] = {{"0", hexOf(text.data(), text.size())}};
    history_.set({"dqmi", "status"}, Fact::of(numberAt<int32_t>(*call.output, DQMI_STATUS_OFFSET)));
    history_.set({"dqmi", "length"}, Fact::of(length != text.size() ? Json(length) : Json()));
    history_.set({"dqmi", "text"}, Fact::of(isPlain ? Json(std::string(text.begin(), text.end())) : record));
}

void Learner::processMonitor(const ReplayedCall& call) {
    history_.set({"processMonitor", memberReadBy(call.name)}, Fact::of(call.result));
}

void Learner::session(const ReplayedCall& call) {
    history_.set({"ipmi", "session"}, Fact::of(call.result != 0));
}

void Learner::ipmiCommand(const ReplayedCall& call) {
    const bool isApplication = call.arguments.at(0) == IPMI_APPLICATION;
    if (isApplication && call.arguments.at(1) == GET_USER_ACCESS)
        return history_.set({"ipmi", "userAccess"},
                            call.output ? Fact::of(recordToJson(*call.output, nullptr)) : Fact::of(nullptr));
    if (!isApplication || call.arguments.at(1) != GET_USER_NAME) return learnAnswer(call, true);
    const Bytes request = bytesOfHex(call.arguments.at(2).get<std::string>());
    const Path user = {"ipmi", "users", std::to_string(numberAt<uint8_t>(request, 0))};
    if (!call.output || call.output->empty())
        return history_.set({user[0], user[1], user[2], "code"}, Fact::of(nullptr));
    const Bytes name(call.output->begin() + 1, call.output->end());
    history_.set({user[0], user[1], user[2], "code"}, Fact::of(call.output->front()));
    history_.set({user[0], user[1], user[2], "name"},
                 Fact::of(Json{{"size", name.size()}, {"raw", {{"0", hexOf(name.data(), name.size())}}}}));
}

void Learner::userSettings(const ReplayedCall& call) {
    const Path path = {"ipmi", "users", call.arguments.at(0).dump(), "snmp"};
    history_.set(path, call.output ? Fact::of(Json(*call.output)) : Fact::of(nullptr));
}

void Learner::lanChannel(const ReplayedCall& call) {
    history_.set({"ipmi", "lanChannel"}, Fact::of(call.result));
}

const std::map<std::string, Learner::Teach, std::less<>>& Learner::teachers() {
    static const std::map<std::string, Teach, std::less<>> all = {
        {"raid_GetControllerList", &Learner::list},
        {"raid_ReadControllerInfoRaw", &Learner::record},
        {"raid_ControllerGetOperation", &Learner::record},
        {"raid_GetControllerNumber", &Learner::controllerNumber},
        {"raid_ControllerGetBatteryStatus", &Learner::controllerValue},
        {"raid_ControllerGetVirtualDiskStatus", &Learner::controllerValue},
        {"ZEBRAID_DirectLibCommand", &Learner::record},
        {"raid_GetControllerPDList", &Learner::record},
        {"raid_GetSasConnectors", &Learner::record},
        {"raid_GetEnclosureList", &Learner::record},
        {"raid_PhysicalDeviceGetInfo", &Learner::record},
        {"raid_FirePDSATAPassthru_Identify", &Learner::record},
        {"raid_PhysicalDriveGetSasRotationalSpeed", &Learner::deviceValue},
        {"raid_PhysicalDriveGetAtaRotationalSpeed", &Learner::deviceValue},
        {"raid_PhysicalGetDriveTemperature", &Learner::deviceTemperature},
        {"raid_LogicalDriveGetInfo", &Learner::record},
        {"raid_LogicalDriveGetProgress", &Learner::record},
        {"raid_GetEnclosureStatusFunc", &Learner::record},
        {"raid_IsDiagnosticPageValid", &Learner::pageIsValid},
        {"raid_ReceiveDiagnosticResults", &Learner::pageContent},
        {"raid_GetEnclosureTemperatureThreshold", &Learner::thresholds},
        {"LCMconfigSpaceRead", &Learner::itemRead},
        {"LCMconfigSpaceWrite", &Learner::itemWritten},
        {"LCMParam_update", &Learner::parameter},
        {"LCMParamDb_destroyParameterTable", &Learner::nothing},
        {"LCMipmiSendCmdC", &Learner::agents},
        {"OpenDQMIConnection", &Learner::dqmiConnection},
        {"OpenDQMItransaction", &Learner::dqmiTransaction},
        {"ReadReceivedDQMImessage", &Learner::dqmiAnswer},
        {"CSM_Init", &Learner::success},
        {"updateSystemStatus", &Learner::nothing},
        {"ProcMonitorRegister", &Learner::processMonitor},
        {"ProcMonitorRegisterExt", &Learner::processMonitor},
        {"ProcMonitorDeRegister", &Learner::processMonitor},
        {"ipmiCreateLocalSession", &Learner::session},
        {"ipmiCloseLocalSession", &Learner::nothing},
        {"ipmiSendCmd", &Learner::ipmiCommand},
        {"LIBIPMI_HL_AMIGetSNMPConf", &Learner::userSettings},
        {"LIBIPMI_HL_AMISetSNMPConf", &Learner::nothing},
        {"etcGetDefaultLanChannelNumber", &Learner::lanChannel},
        {"hostSignal", &Learner::nothing},
    };
    return all;
}

void Learner::learn(const ReplayedCall& call, int64_t second) {
    history_.setNow(second);
    if (call.name == "raid_GetControllerList") history_.beginAt(second);
    const LibraryCall* known = findLibraryCall(call.name);
    if (known != nullptr && known->kind == CallKind::computes) return learnAnswer(call, true);
    const auto teach = teachers().find(call.name);
    if (teach == teachers().end()) return note(call.name + " is no call that a machine file describes");
    (this->*teach->second)(call);
}

void Learner::end() {
    for (const auto& [key, page] : pages_)
        if (!history_.knows(key.first, key.second)) history_.set(key.first, key.second, page);
    if (!failedItems_.empty()) history_.set({"configSpaceWriteFails"}, Fact::of(Json(failedItems_)));
    while (transactions_.size() > 1 && transactions_.back() == transactions_[transactions_.size() - 2])
        transactions_.erase(transactions_.size() - 1);
    if (!transactions_.empty() && transactions_ != Json::array({"ok"}))
        history_.set({"dqmi", "open"}, Fact::of(transactions_));
}

std::vector<std::string> functionsWithout(const std::vector<ReplayedCall>& calls) {
    std::set<std::string_view> made;
    for (const ReplayedCall& call : calls) made.insert(call.name);
    std::vector<std::string> missing;
    for (const LibraryCall& call : libraryCalls())
        if (!made.contains(call.name)) missing.emplace_back(call.name);
    return missing;
}

} // namespace

MachineFromCalls machineFromCalls(std::istream& record, bool anonymous) {
    std::vector<ReplayedCall> calls = readRecordFile(record);
    if (calls.empty()) throw BadRecord("no call is recorded");
    MachineFromCalls result;
    result.neverMade = functionsWithout(calls);
    const int64_t start = calls.front().time;
    const BlockIndex blocks(calls);
    std::erase_if(calls, [&](const ReplayedCall& call) {
        return isStandInsAnswer(call, [&](const std::string& hashed) { return blocks.find(hashed); });
    });
    if (anonymous) anonymize(calls, blocks);
    Learner learner;
    for (const ReplayedCall& call : calls) {
        const int64_t second = std::max<int64_t>(call.time - start, 0);
        try {
            learner.learn(call, second);
        } catch (const std::exception& error) {
            throw BadRecord("a call of " + call.name + " at " + std::to_string(call.time) +
                            " is none that a record has: " + error.what());
        }
    }
    learner.end();
    result.machine = learner.history().machine();
    result.notes = learner.notes();
    return result;
}

} // namespace sim
