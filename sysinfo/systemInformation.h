#pragma once

// The system-information parameters: what the host's agents report into the parameter database, shown in the
// configuration space.

// Marks every parameter for writing again. Call with the lock held.
void clearWrittenMarkers();

// Copies every parameter that is due. A STEP_* code (paramTableLock.h); `message` (LCM_MESSAGE_SIZE bytes) holds what
// the last read said.
int updateSystemInformation(char* message);
