#pragma once

// The command interface to the agents in the host operating system (libzeb_DQMI).

#include <cstdint>

extern "C" {

[[nodiscard]] int OpenDQMIConnection(void); // a handle, -1: none

// A transaction handle, -1: failed. `request` is a 48-byte request record.
[[nodiscard]] int OpenDQMItransaction(int kind, int version, int flags, int timeout, const void* request, int extra);

// -1: failed. Fills a 64-byte answer header; *data is malloc'ed, the caller's, or NULL.
[[nodiscard]] int ReadReceivedDQMImessage(int transaction, void* header, void** data);
}
