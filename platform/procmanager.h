#pragma once

// The process monitor's library (libprocmanager): it restarts a registered process that ended.

extern "C" {

// 0: registered, or no longer registered.
int ProcMonitorRegister(const char* path, int flags, const char* name, int priority, int argumentCount);
int ProcMonitorRegisterExt(int pid, const char* path, int flags, const char* name, int priority, int argumentCount,
                           const char* const* arguments);
int ProcMonitorDeRegister(const char* path);
}
