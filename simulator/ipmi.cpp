// Stand-in for libipmi.

#include "platform/ipmi.h"

#include "simulator/machine/callLog.h"
#include "simulator/machine/machine.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

// There is nothing in it: all sessions ask the one described machine.
struct IPMISession {
    int timeout;
};

namespace {

constexpr uint8_t NET_FN_APP = 0x18; // network function 6 for logical unit 0
constexpr uint8_t GET_USER_ACCESS = 0x44;
constexpr uint8_t GET_USER_NAME = 0x46;

constexpr int SENT = 0;
constexpr int NOT_SENT = 1;

// What a request is answered with; nothing: it cannot be sent.
std::optional<sim::Bytes> answerTo(const sim::Ipmi& ipmi, uint8_t netFn, uint8_t command, const uint8_t* request,
                                   uint32_t requestLength) {
    if (netFn == NET_FN_APP && command == GET_USER_ACCESS) return ipmi.userAccess;
    if (netFn != NET_FN_APP || command != GET_USER_NAME || request == nullptr || requestLength != 1) return {};
    const auto user = ipmi.users.find(*request);
    if (user == ipmi.users.end() || !user->second.code) return {};
    sim::Bytes answer = {*user->second.code};
    answer.insert(answer.end(), user->second.name.begin(), user->second.name.end());
    return answer;
}

const std::array<uint8_t, 4>* findSettings(const sim::Machine& machine, uint8_t userId) {
    const auto user = machine.ipmi.users.find(userId);
    return user != machine.ipmi.users.end() && user->second.snmp ? &*user->second.snmp : nullptr;
}

} // namespace

IPMISession* ipmiCreateLocalSession(int timeout) {
    const bool possible = sim::currentMachine()->ipmi.session;
    auto* session = possible ? static_cast<IPMISession*>(calloc(1, sizeof(IPMISession))) : nullptr;
    sim::logCall("ipmiCreateLocalSession", {timeout}, session != nullptr ? 1 : 0);
    return session;
}

void ipmiCloseLocalSession(IPMISession* session) {
    sim::logCall("ipmiCloseLocalSession", {}, 0);
    free(session);
}

int ipmiSendCmd(IPMISession* session, uint8_t netFn, uint8_t command, const void* request, uint32_t requestLength,
                void* response, uint32_t* responseLength) {
    const std::shared_ptr<const sim::Machine> machine = sim::currentMachine();
    std::optional<sim::Bytes> answer;
    if (session != nullptr && responseLength != nullptr)
        answer = answerTo(machine->ipmi, netFn, command, static_cast<const uint8_t*>(request), requestLength);
    size_t copied = 0;
    const uint32_t room = responseLength != nullptr ? *responseLength : 0;
    if (answer) {
        copied = sim::copyRecord(*answer, response, room);
        *responseLength = static_cast<uint32_t>(copied);
    }
    const int result = answer ? SENT : NOT_SENT;
    sim::logCall("ipmiSendCmd", {netFn, command, sim::CallValue(request, requestLength), requestLength, room}, result,
                 {answer ? response : nullptr, copied});
    return result;
}

int LIBIPMI_HL_AMIGetSNMPConf(IPMISession* session, uint8_t userId, uint8_t* enable, uint8_t* settings, int timeout) {
    const std::shared_ptr<const sim::Machine> machine = sim::currentMachine();
    const auto* described = findSettings(*machine, userId);
    const bool read = session != nullptr && described != nullptr && enable != nullptr && settings != nullptr;
    if (read) {
        *enable = described->front();
        std::copy(described->begin() + 1, described->end(), settings);
    }
    sim::logCall("LIBIPMI_HL_AMIGetSNMPConf", {userId, timeout}, read ? SENT : NOT_SENT,
                 {read ? described->data() : nullptr, described != nullptr ? described->size() : 0});
    return read ? SENT : NOT_SENT;
}

int LIBIPMI_HL_AMISetSNMPConf(IPMISession* session, uint8_t userId, uint8_t enable, const uint8_t* settings,
                              int timeout) {
    const std::shared_ptr<const sim::Machine> machine = sim::currentMachine();
    const auto* described = findSettings(*machine, userId);
    const size_t settingCount = described != nullptr ? described->size() - 1 : 0;
    const int result = session != nullptr && described != nullptr && settings != nullptr ? SENT : NOT_SENT;
    sim::logCall("LIBIPMI_HL_AMISetSNMPConf", {userId, enable, sim::CallValue(settings, settingCount), timeout},
                 result);
    return result;
}
