// Stand-in for libzeb_RaidHelper: texts and bytes.

#include "platform/storelib.h"

#include "simulator/machine/call.h"

#include <algorithm>

// Up to the first NUL, blanks cut at both ends.
void raid_StrncpyTrim(char* destination, const char* source, size_t width) {
    sim::outputCall("raid_StrncpyTrim", {sim::CallValue(source, width), width}, {destination, width + 1, true}, [&] {
        const char* begin = source;
        const char* end = source + strnlen(source, width);
        while (begin != end && *begin == ' ') ++begin;
        while (end != begin && end[-1] == ' ') --end;
        const auto length = size_t(end - begin);
        memmove(destination, begin, length);
        destination[length] = 0;
        return sim::CallOutput{destination, length};
    });
}

void raid_swapBytes(void* destination, const void* source, size_t count) {
    sim::outputCall("raid_swapBytes", {sim::CallValue(source, count), count}, {destination, count}, [&] {
        if (count > 0) memmove(destination, source, count);
        auto* bytes = static_cast<uint8_t*>(destination);
        std::reverse(bytes, bytes + count);
        return sim::CallOutput{destination, count};
    });
}
