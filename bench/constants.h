#pragma once

// A platform of constants: the libraries' functions answer from arrays that are made once, so that what is measured
// is the daemon's own work and that of the XML library.

#include <cstdint>
#include <string>

// Controllers of 24 drives an enclosure, of which every fourth is a SATA SSD and the others SAS hard disks; two
// logical drives and a battery each. Main thread only; replaces the machine before.
void setMachine(uint32_t controllers, uint32_t drives);

// One drive's temperature differs from here on.
void changeMachine();

// Where the fixed paths lie from here on.
void setRoot(const std::string& directory);
