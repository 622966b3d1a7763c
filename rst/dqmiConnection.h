#pragma once

// The connection to the host's agents, opened once at start-up; -1: none.
extern int g_dqmiConnection;

void openDQMIConnectionOnce();
