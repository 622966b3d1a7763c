#pragma once

constexpr long LOG_FILE_LIMIT = 64000; // bytes

// At start: appends to the daemon log, or overwrites one that is too long from its start, until the first
// rotation truncates it.
void openLogFile();

// Before each pass: truncates the daemon log once it is too long. One that was deleted is not made again.
void rotateLogFile();
