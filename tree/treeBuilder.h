#pragma once

#include "platform/xmlParser.h"

// Builds the RAID storage tree from oobMRCache: a document with the root "QPRaidStorageDeviceTree". The caller
// owns it. NULL: no memory.
[[nodiscard]] XMLDoc* getRSTfromCache();
