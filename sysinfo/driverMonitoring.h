#pragma once

// Makes the parameter database ask the host's agents for their driver monitoring parameters, as often as each is
// due. Only the counts of components and events are kept. A STEP_* code (paramTableLock.h); `message` (LCM_MESSAGE_SIZE
// bytes) holds what the last read said.
int updateDriverMonitoring(char* message);
