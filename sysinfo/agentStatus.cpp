#include "sysinfo/agentStatus.h"

#include "platform/host.h"
#include "platform/lcm.h"
#include "sysinfo/paramTableLock.h"
#include "sysinfo/systemInformation.h"

#include <cstdint>
#include <cstdio>

std::atomic<int> g_agentState = 0;
static_assert(std::atomic<int>::is_always_lock_free);

namespace {

int g_prevAgentState = AGENT_STATE_UNKNOWN; // the thread's own
char g_agentMessage[AGENT_TEXT_SIZE];       // of the last failed poll, for whoever debugs the daemon

constexpr uint8_t NETFN_OEM_GROUP = 0xB8; // 0x2E, LUN 0
constexpr uint8_t COMMAND_AGENT_STATE = 0x02;
constexpr uint32_t ENTERPRISE_NUMBER = 0; // the maker's, as IANA assigns them
constexpr uint8_t SUBJECT_AGENTS = 0x08;

constexpr size_t RESPONSE_SIZE = 16;
constexpr size_t RESPONSE_COMPLETION = 0;
constexpr size_t RESPONSE_VALID = 4; // must be 1
constexpr size_t RESPONSE_STATE = 5;

constexpr unsigned POLL_SECONDS_CONNECTED = 30;
constexpr unsigned POLL_SECONDS = 60;

} // namespace

int pollAgentStatus(char* errText) {
    if (errText != nullptr) errText[0] = '\0';
    const uint8_t request[] = {uint8_t(ENTERPRISE_NUMBER), uint8_t(ENTERPRISE_NUMBER >> 8),
                               uint8_t(ENTERPRISE_NUMBER >> 16), SUBJECT_AGENTS};
    uint8_t response[RESPONSE_SIZE] = {};
    if (LCMipmiSendCmdC(NETFN_OEM_GROUP, COMMAND_AGENT_STATE, sizeof request, request, sizeof response, response) ==
        0) {
        if (errText != nullptr) snprintf(errText, AGENT_TEXT_SIZE, "send failed");
        return AGENT_STATE_UNKNOWN;
    }
    if (response[RESPONSE_COMPLETION] != 0 || response[RESPONSE_VALID] != 1) {
        if (errText != nullptr) snprintf(errText, AGENT_TEXT_SIZE, "bad resonse");
        return AGENT_STATE_UNKNOWN;
    }
    constexpr int states[] = {AGENT_STATE_DOWN, AGENT_STATE_CONNECTED_LIMITED, AGENT_STATE_CONNECTED};
    const uint8_t state = response[RESPONSE_STATE];
    return state < sizeof states / sizeof states[0] ? states[state] : AGENT_STATE_UNKNOWN;
}

void* agentStatusThread(void*) {
    for (;;) {
        char text[AGENT_TEXT_SIZE];
        const int state = pollAgentStatus(text);
        if (state != g_prevAgentState) onAgentStateChange(state, text);
        const bool connected = state == AGENT_STATE_CONNECTED || state == AGENT_STATE_CONNECTED_LIMITED;
        hostSleep(connected ? POLL_SECONDS_CONNECTED : POLL_SECONDS);
        g_prevAgentState = state;
    }
}

void onAgentStateChange(int state, const char* errText) {
    g_agentState = state;
    snprintf(g_agentMessage, sizeof g_agentMessage, "%s", errText);
    if (state > AGENT_STATE_DOWN) return;
    if (lockParamTable() == 0) return;
    clearWrittenMarkers();
    unlockParamTable();
}
