#pragma once

// The system status library (libzeb_CSM).

extern "C" {

int CSM_Init(void);            // once, before the other; 0: done
void updateSystemStatus(void); // has the library look at all sensors again
}
