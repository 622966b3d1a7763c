#pragma once

// How fresh the tree is. Its own age says nothing: it is written only when something has changed. The daemon's log of
// updates tells: that file's time of change is the time of the last update, whatever the daemon's clock says in its
// text, and its last block tells the result.

#include <cstdint>
#include <optional>
#include <string>

namespace raidtree {

struct Update {
    std::string log; // the path
    // 0 written, 1 nothing new, 2 no document, 3 not written, 4 controllers not read; absent: one has begun and none
    // has ended before.
    std::optional<int> result;
    int64_t seconds = 0; // since 1970
    int64_t ageSeconds = 0;

    bool isGood() const { return result == 0 || result == 1; }
};

// Throws InputError.
Update readUpdateLog(const std::string& path);

// Of the log's text alone; an update that began within the last minute may still be at work, so that the one before it
// counts.
std::optional<int> lastResult(const std::string& text, bool mayBeAtWork);

// "nothing new, 33 s ago"
std::string updateText(const Update& update);
std::string resultText(const std::optional<int>& result);
std::string ageText(int64_t seconds);

} // namespace raidtree
