#pragma once

// The state of the management agents in the host's operating system: polled by a thread of its own, acted on by
// the system-information cycle.

#include <atomic>
#include <cstddef>

constexpr int AGENT_STATE_UNKNOWN = 1; // no answer, or a bad one
constexpr int AGENT_STATE_DOWN = 2;
constexpr int AGENT_STATE_CONNECTED = 3;         // driver monitoring and system information
constexpr int AGENT_STATE_CONNECTED_LIMITED = 4; // driver monitoring only

constexpr size_t AGENT_TEXT_SIZE = 64; // of the error texts below

// What the cycle acts on; 0, which enables nothing, until a poll differs from the one before.
extern std::atomic<int> g_agentState;

// Asks for the state over IPMI. errText (AGENT_TEXT_SIZE bytes, may be NULL) is empty or tells what failed.
int pollAgentStatus(char* errText);

// Body of the polling thread; never returns.
void* agentStatusThread(void*);

// Notes a state that differs from the one before. Without agents, all of the system information is marked for
// writing again.
void onAgentStateChange(int state, const char* errText);
