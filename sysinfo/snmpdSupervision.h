#pragma once

// Keeps snmpd registered with the process monitor, or stopped, as the configuration space says.

// 0: snmpd is disabled, or the item cannot be read; else the low byte of the item, which may be 0 as well.
int superviseSnmpd();

// Adopts the snmpd that runs: registers it and applies the SNMP settings of every user afresh.
void startSnmpd();
void stopSnmpd();

// snmpd's process id, -1: none. The first line of its run file goes to `buffer` (at least SNMPD_PID_SIZE bytes) and
// its length to *length.
constexpr int SNMPD_PID_SIZE = 31;
int getSnmpdPid(char* buffer, int* length);

// Sends SIGHUP.
void reloadSnmpd();

// Registers snmpd anew. For the handler of SIGUSR1, which runs in the main thread's pauses only.
void restartSnmpdRegistration();
