#pragma once

// The simulator's words for codes: what the library's functions say, and what a machine file may say in place of them.

#include <cstdint>
#include <span>

namespace sim {

struct CodeText {
    uint32_t code;
    const char* text;
};

namespace codes {

inline constexpr CodeText DRIVE_STATES[] = {{0x00, "Unconfigured Good"},
                                            {0x01, "Unconfigured Bad"},
                                            {0x02, "Hot Spare"},
                                            {0x10, "Offline"},
                                            {0x11, "Failed"},
                                            {0x14, "Rebuild"},
                                            {0x18, "Online"},
                                            {0x20, "Copyback"},
                                            {0x40, "Pass-through"},
                                            {0x80, "Unconfigured under Test"},
                                            {0x82, "Hot Spare under Test"},
                                            {0x90, "Configured under Test"}};
inline constexpr CodeText POWER_STATES[] = {
    {0, "Active"}, {1, "Spun Down"}, {2, "Spinning Up"}, {3, "Spinning Down"}, {0xFF, "Powered Off"}};
inline constexpr CodeText MEDIA_TYPES[] = {{0, "HDD"}, {1, "SSD"}};

inline constexpr CodeText VOLUME_STATES[] = {
    {0, "Offline"}, {1, "Partially Degraded"}, {2, "Degraded"}, {3, "Optimal"}};
inline constexpr CodeText ACCESS_POLICIES[] = {{0, "Read/Write"}, {1, "Read Only"}, {2, "Blocked"}, {3, "Hidden"}};
inline constexpr CodeText DISK_CACHE_POLICIES[] = {{0, "Unchanged"}, {1, "Enabled"}, {2, "Disabled"}};
// 512 bytes times two to the power of the code.
inline constexpr CodeText STRIPE_SIZES[] = {{0, "512 B"},  {1, "1 KB"},   {2, "2 KB"},    {3, "4 KB"},
                                            {4, "8 KB"},   {5, "16 KB"},  {6, "32 KB"},   {7, "64 KB"},
                                            {8, "128 KB"}, {9, "256 KB"}, {10, "512 KB"}, {11, "1 MB"},
                                            {12, "2 MB"},  {13, "4 MB"},  {14, "8 MB"},   {15, "16 MB"}};

// Of a controller: what it says of its battery and of its logical drives together.
inline constexpr CodeText SUMMARY_STATES[] = {{0, "OK"}, {1, "Degraded"}, {2, "Error"}};
inline constexpr CodeText BATTERY_STATES[] = {{0, "Normal"}, {1, "Degraded"}, {2, "Error"}, {3, "Unknown"}};
inline constexpr CodeText BATTERY_TYPES[] = {{0, "No Battery"},
                                             {1, "Intelligent Battery"},
                                             {2, "Battery"},
                                             {3, "Transportable Battery"},
                                             {4, "Extended Battery"},
                                             {5, "Remote Battery"},
                                             {6, "Flash Backup Capacitor"}};
inline constexpr CodeText AUTO_LEARN_MODES[] = {{0, "Automatic"}, {1, "Disabled"}, {2, "Warn Only"}, {3, "Manual"}};
inline constexpr CodeText PATROL_READ_STATES[] = {
    {0, "Stopped"}, {1, "Ready"}, {2, "Active"}, {3, "Paused"}, {4, "Aborted"}};

// Makers of the simulated world.
inline constexpr CodeText VENDOR_NAMES[] = {
    {0x1A5E, "Zebrant"}, {0x1B2D, "Mirador Storage"}, {0x1C77, "Quillfeather"}, {0x1D40, "Harrow & Lind"}};

inline constexpr CodeText ENCLOSURE_TYPES[] = {{1, "KP17"}, {2, "KP23"}, {3, "KP17M2"}};
inline constexpr CodeText ELEMENT_STATES[] = {{0, "Unsupported"},   {1, "OK"},
                                              {2, "Critical"},      {3, "Noncritical"},
                                              {4, "Unrecoverable"}, {5, "Not Installed"},
                                              {6, "Not Available"}, {7, "No Access"}};

} // namespace codes

inline const char* codeText(std::span<const CodeText> table, uint32_t code, const char* unknown) {
    for (const CodeText& row : table)
        if (row.code == code) return row.text;
    return unknown;
}

} // namespace sim
