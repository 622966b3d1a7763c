#pragma once

#include <cstddef>
#include <cstdint>

// Requests to the agents in the host's operating system.

// The finished RAID storage tree as text.
constexpr uint32_t DQMI_CMD_GET_RST = 8656;

constexpr size_t DQMI_ERROR_SIZE = 128; // of the error texts below

// The answer's data as text, malloc'ed, the caller's; NULL: none. errText (may be NULL) tells of a status of the
// agents' own; a request that could not be sent or an answer that could not be read leaves it alone.
char* dqmiRequestString(uint32_t selector, uint32_t command, uint32_t object, uint32_t pid, char* errText);

// A value of at most four bytes, or -1 and the reason in errText.
int dqmiRequestValue(uint32_t selector, uint32_t command, uint32_t object, uint32_t pid, char* errText);
