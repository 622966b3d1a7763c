// Stand-in for libzeb_RaidHelper: logical drives.

#include "platform/storelib.h"

#include "simulator/machine/call.h"
#include "simulator/machine/codeWords.h"
#include "simulator/raid/answerRecord.h"

namespace {

// A cache policy byte holds three policies of two bits each.
constexpr uint8_t writePolicy(uint8_t policy) {
    return policy & 3;
}
constexpr uint8_t readPolicy(uint8_t policy) {
    return policy >> 2 & 3;
}
constexpr uint8_t ioPolicy(uint8_t policy) {
    return policy >> 4 & 3;
}

constexpr sim::CodeText WRITE_POLICIES[] = {{0, "Write-through"}, {1, "Write-back"}, {2, "Always Write-back"}};
constexpr sim::CodeText READ_POLICIES[] = {{0, "No Read-ahead"}, {1, "Read-ahead"}, {2, "Adaptive Read-ahead"}};
constexpr sim::CodeText IO_POLICIES[] = {{0, "Direct"}, {1, "Cached"}};
constexpr sim::CodeText RAID_LEVELS[] = {{0, "RAID-0"}, {1, "RAID-1"}, {3, "RAID-3"}, {5, "RAID-5"}, {6, "RAID-6"}};
constexpr sim::CodeText SPANNED_RAID_LEVELS[] = {
    {0, "RAID-00"}, {1, "RAID-10"}, {3, "RAID-30"}, {5, "RAID-50"}, {6, "RAID-60"}};

const char* raidLevel(uint8_t primaryLevel, uint8_t spanDepth, uint8_t drivesPerSpan) {
    if (spanDepth > 1) return sim::codeText(SPANNED_RAID_LEVELS, primaryLevel, "Unknown");
    if (primaryLevel == 1 && drivesPerSpan > 2) return "RAID-1E";
    return sim::codeText(RAID_LEVELS, primaryLevel, "Unknown");
}

} // namespace

int raid_LogicalDriveGetInfo(uint32_t ctrlId, uint8_t targetId, MR_LD_INFO* info) {
    return sim::call("raid_LogicalDriveGetInfo", {ctrlId, targetId}, sim::RAID_NOT_AVAILABLE, {info, sizeof *info},
                     [&] { return sim::answerLogicalDriveRecord(ctrlId, targetId, "MR_LD_INFO", info, sizeof *info); });
}

int raid_LogicalDriveGetProgress(uint32_t ctrlId, uint8_t targetId, MR_LD_PROGRESS* progress, uint32_t* secondWord) {
    return sim::call(
        "raid_LogicalDriveGetProgress", {ctrlId, targetId}, sim::RAID_NOT_AVAILABLE, {progress, sizeof *progress}, [&] {
            const sim::Answer<int> answer =
                sim::answerLogicalDriveRecord(ctrlId, targetId, "MR_LD_PROGRESS", progress, sizeof *progress);
            if (answer.result == sim::RAID_OK && secondWord != nullptr) *secondWord = 0;
            return answer;
        });
}

const char* raid_GetRaidLevel(uint8_t primaryRaidLevel, uint8_t spanDepth, uint8_t drivesPerSpan) {
    return sim::textCall("raid_GetRaidLevel", {primaryRaidLevel, spanDepth, drivesPerSpan},
                         raidLevel(primaryRaidLevel, spanDepth, drivesPerSpan));
}

const char* raid_GetStripeSize(uint8_t stripeSize) {
    return sim::textCall("raid_GetStripeSize", {stripeSize},
                         sim::codeText(sim::codes::STRIPE_SIZES, stripeSize, "Unknown"));
}

const char* raid_GetLogicalDriveCacheWritePolicy(uint8_t policy) {
    return sim::textCall("raid_GetLogicalDriveCacheWritePolicy", {policy},
                         sim::codeText(WRITE_POLICIES, writePolicy(policy), "Unknown"));
}

const char* raid_GetLogicalDriveCacheReadPolicy(uint8_t policy) {
    return sim::textCall("raid_GetLogicalDriveCacheReadPolicy", {policy},
                         sim::codeText(READ_POLICIES, readPolicy(policy), "Unknown"));
}

const char* raid_GetLogicalDriveCacheIoPolicy(uint8_t policy) {
    return sim::textCall("raid_GetLogicalDriveCacheIoPolicy", {policy},
                         sim::codeText(IO_POLICIES, ioPolicy(policy), "Unknown"));
}

const char* raid_GetLogicalDriveAccessPolicy(uint8_t policy) {
    return sim::textCall("raid_GetLogicalDriveAccessPolicy", {policy},
                         sim::codeText(sim::codes::ACCESS_POLICIES, policy, "Unknown"));
}

const char* raid_GetPhysicalDriveCachePolicy(uint8_t policy) {
    return sim::textCall("raid_GetPhysicalDriveCachePolicy", {policy},
                         sim::codeText(sim::codes::DISK_CACHE_POLICIES, policy, "Unknown"));
}

const char* raid_GetLogicalDriveState(uint8_t state) {
    return sim::textCall("raid_GetLogicalDriveState", {state},
                         sim::codeText(sim::codes::VOLUME_STATES, state, "Unknown"));
}
