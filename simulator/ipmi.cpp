// Stand-in for libipmi.

#include "platform/ipmi.h"

#include "simulator/machine/call.h"
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

constexpr size_t SETTING_COUNT = 3;

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
    IPMISession* session = nullptr;
    sim::recordedCall("ipmiCreateLocalSession", {timeout}, 0, [&] {
        if (sim::currentMachine()->ipmi.session) session = static_cast<IPMISession*>(calloc(1, sizeof(IPMISession)));
        return sim::Answer<int>{session != nullptr ? 1 : 0};
    });
    return session;
}

void ipmiCloseLocalSession(IPMISession* session) {
    sim::recordedCall("ipmiCloseLocalSession", {}, 0, [] { return sim::Answer<int>{0}; });
    free(session); // whatever went wrong
}

int ipmiSendCmd(IPMISession* session, uint8_t netFn, uint8_t command, const void* request, uint32_t requestLength,
                void* response, uint32_t* responseLength) {
    const uint32_t room = responseLength != nullptr ? *responseLength : 0;
    const auto send = [&](const sim::Fault& fault) {
        const std::shared_ptr<const sim::Machine> machine = sim::currentMachine();
        std::optional<sim::Bytes> answer;
        if (session != nullptr && responseLength != nullptr)
            answer = answerTo(machine->ipmi, netFn, command, static_cast<const uint8_t*>(request), requestLength);
        if (!answer) return sim::Answer<int>{NOT_SENT};
        const size_t copied = sim::copyRecord(*answer, response, room);
        fault.spoil(response, copied);
        *responseLength = fault.spoiledLength(uint32_t(copied));
        return sim::Answer<int>{SENT, {response, copied}};
    };
    return sim::recordedCall(
        "ipmiSendCmd", {netFn, command, sim::CallValue(request, requestLength), requestLength, room}, NOT_SENT, send);
}

int LIBIPMI_HL_AMIGetSNMPConf(IPMISession* session, uint8_t userId, uint8_t* enable, uint8_t* settings, int timeout) {
    std::array<uint8_t, 4> bytes{};
    const auto read = [&](const sim::Fault& fault) {
        const std::shared_ptr<const sim::Machine> machine = sim::currentMachine();
        const auto* described = findSettings(*machine, userId);
        if (session == nullptr || described == nullptr || enable == nullptr || settings == nullptr)
            return sim::Answer<int>{NOT_SENT};
        bytes = *described;
        fault.spoil(bytes.data(), bytes.size());
        *enable = bytes.front();
        std::copy(bytes.begin() + 1, bytes.end(), settings);
        return sim::Answer<int>{SENT, {bytes.data(), bytes.size()}};
    };
    return sim::recordedCall("LIBIPMI_HL_AMIGetSNMPConf", {userId, timeout}, NOT_SENT, read);
}

int LIBIPMI_HL_AMISetSNMPConf(IPMISession* session, uint8_t userId, uint8_t enable, const uint8_t* settings,
                              int timeout) {
    const std::shared_ptr<const sim::Machine> machine = sim::currentMachine();
    const auto* described = findSettings(*machine, userId);
    const int result = session != nullptr && described != nullptr && settings != nullptr ? SENT : NOT_SENT;
    return sim::recordedCall("LIBIPMI_HL_AMISetSNMPConf",
                             {userId, enable, sim::CallValue(settings, SETTING_COUNT), timeout}, NOT_SENT,
                             [&] { return sim::Answer<int>{result}; });
}
