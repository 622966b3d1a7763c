#pragma once

// The system status library (libzeb_CSM).

extern "C" {

int CSM_Init(void);
void updateSystemStatus(void);
}
