#pragma once

// The system-information parameters: what the host's agents report and the configuration space shows.

#include <cstdint>

// The mutex of the parameter table, shared by the cycle and the agents' thread. 1: taken; 0: not within half a
// minute, skip the work.
int lockParamTable();
void unlockParamTable();

// Marks every parameter for writing again. Call with the lock held.
void clearWrittenMarkers();
