#pragma once

// The system-information parameters: what the host's agents report into the parameter database, shown in the
// configuration space.

// The lock of the parameter database's file list, shared by the cycle and the agents' thread, which clears the
// written markers. 1: taken; 0: not within half a minute, skip the work.
int lockParamTable();
void unlockParamTable();

// Marks every parameter for writing again. Call with the lock held.
void clearWrittenMarkers();

constexpr int STEP_DONE = 0;
constexpr int STEP_NOT_LOCKED = 1; // `message` tells so

// Copies every parameter that is due. `message` (LCM_MESSAGE_SIZE bytes) holds what the last read said.
int updateSystemInformation(char* message);
