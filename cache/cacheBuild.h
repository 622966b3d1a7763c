#pragma once

#include "cache/oobCache.h"

// Reads every controller into a new cache, which becomes oobMRCache at once. NULL when the controllers could
// not be read or memory is short: oobMRCache is NULL then, everything is released, and errText (at least four
// bytes) holds the mark "Can"; otherwise it is empty.
OobMRCache* buildoobMRCache(char* errText);

// The steps of the build, in this order. A failed read leaves its member NULL. Only the first step can fail the
// build by its status, which is that of the last controller's last read; running out of memory for an array or
// a controller record fails it in every step (allocationFailed of the cache).
[[nodiscard]] int createCache_CtrlInfo();
void createCache_CtrlInfo2();
int createCache_PDInfo(); // the status of the last SATA identify request, 0: none was made
int createCache_LDInfo(); // the status of the last read
