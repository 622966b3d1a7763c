#pragma once

#include "platform/xmlParser.h"

inline constexpr char RST_FILE[] = "/var/RAIDStorageDeviceTree.xml";

constexpr int WRITE_NO_DOCUMENT = 1; // document or path is NULL
constexpr int WRITE_NO_TEXT = 2;     // the document could not be serialised
constexpr int WRITE_INCOMPLETE = 3;  // fewer bytes written than the text has

// Both writers hold the file's lockf lock while they write, so that a reader who takes the same lock sees no
// half-written tree. The file is truncated before the lock is taken. Paths are fixed paths.

// 0, a WRITE_* code, or the errno of a lock that could not be had. A file that cannot be opened is no error.
int writeRST2File(const XMLDoc* document, const char* path);

// 0 (also for a NULL text), or the errno of what failed: opening, locking, writing.
int writeRSTString2File(const char* text, const char* path);
