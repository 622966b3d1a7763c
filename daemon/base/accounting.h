#pragma once

// Allocation accounting for leak hunting, active while tracing, and the process's memory figures.
// Main thread only.

#include <cstddef>

constexpr int ALLOC_TABLE_SIZE = 64000;
constexpr int ALLOC_TABLE_RESET = 63000; // a traced update starts the table afresh beyond this

extern int g_allocCount; // slots used so far; a released block leaves an empty slot
extern long g_vmRSS;     // kB, as of the last getMemoryUsage
extern long g_vmSize;

// A zero-filled block, NULL without memory.
[[nodiscard]] void* allocateZeroed(size_t count, size_t size);

// Enters a block into the table and the trace, or, one that a library allocated, into the table only.
void noteAllocation(const void* block);
void noteForeignAllocation(const void* block);

// Both at once.
[[nodiscard]] void* callocAccounted(size_t count, size_t size);

// Frees a block and takes it from the table: with its trace line, or without any output.
void freeAccounted(void* block);
void freeUnnoted(void* block);

void delete_my_memory(const void* address, int count);
void print_my_memory(int count);

// A figure that cannot be read keeps its value.
void getMemoryUsage(long* vmRSS, long* vmSize);
