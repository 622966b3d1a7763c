#pragma once

// What is done for the host once a minute. Returns the result of the last step that ran, or the agents' state.
int systemInfoCycle();
