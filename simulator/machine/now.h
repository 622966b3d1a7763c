#pragma once

// simulator/now, for those who look on from outside: one line of JSON, always of the same length, rewritten in one
// piece. Seconds count from the daemon's start.
//
//   {"time": 65, "nextUpdate": 300, "file": "taken", "standing": false, "speed": 1, "start": 1767225600, "pid": 77}
//
// Time that runs goes on between two writings, `speed` times as fast as that of the file (its time of change); virtual
// time (speed 0) does not. All of it may be called anywhere, also while locks are held and signals are handled.

namespace sim {

void publishTime();
void publishUpdate(); // an update of the tree begins
void publishFile(bool taken);
void publishStanding(bool standing);

} // namespace sim
