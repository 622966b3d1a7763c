#include "rst/dqmiConnection.h"

#include "platform/dqmi.h"

int g_dqmiConnection = -1;

void openDQMIConnectionOnce() {
    if (g_dqmiConnection == -1) g_dqmiConnection = OpenDQMIConnection();
}
