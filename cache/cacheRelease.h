#pragma once

#include "cache/oobCache.h"

// Releases a cache with everything below it and its document; NULL is accepted.
void freeoobMRCache(OobMRCache* root);

// Releases what lies below the root without any trace line: what a failed build leaves.
void releaseCacheContents(OobMRCache& root);
