#pragma once

// The detailed trace of a tree update. Main thread only.

#include <cstdio>

extern int g_traceEnabled; // 1: the trace file existed when the last update began
extern FILE* g_traceFile;  // NULL: closed

// True while texts are written, for those that cost something to make.
inline bool isTracing() {
    return g_traceEnabled != 0 && g_traceFile != nullptr;
}

// Writes and flushes one text while tracing is enabled and the stream is open.
[[gnu::format(printf, 1, 2)]] void trace(const char* format, ...);

// Addresses are printed by their low 32 bits.
inline unsigned traceAddress(const void* address) {
    return static_cast<unsigned>(reinterpret_cast<unsigned long>(address));
}
