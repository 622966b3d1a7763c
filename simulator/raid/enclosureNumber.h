#pragma once

#include "platform/storelibDriveRecords.h"

#include <algorithm>
#include <iterator>

namespace sim {

// The position in the list, from 1; 0: not in it.
inline int enclosureNumber(uint16_t deviceId, const MR_ENCL_LIST* enclosures) {
    if (enclosures == nullptr) return 0;
    const auto count = std::min<size_t>(enclosures->count, std::size(enclosures->encl));
    for (size_t i = 0; i < count; ++i)
        if (enclosures->encl[i].deviceId == deviceId) return int(i + 1);
    return 0;
}

} // namespace sim
