#pragma once

#include <atomic>

constexpr char DAEMON_NAME[] = "ZEB_MIRA_Update";
constexpr char DAEMON_PATH[] = "/usr/local/bin/ZEB_MIRA_Update";
#define DAEMON_VERSION "1.4.2 " // with its blank, in every message

// Cleared to end the main loop.
extern std::atomic<unsigned char> g_running;
static_assert(std::atomic<unsigned char>::is_always_lock_free);

// 1: the process monitor has the daemon registered.
extern std::atomic<int> g_procMonRegistered;

void installFirstHandlers(); // until the daemon is registered
void installSignalHandlers();

// Keeps the signals that end or steer the daemon away from a thread started next; they are the main thread's.
void blockDaemonSignals();
void unblockDaemonSignals();

// Exit handler: says so in syslog and closes the daemon log. Runs in forked processes too.
void onExit();
