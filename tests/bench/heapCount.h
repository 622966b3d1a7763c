#pragma once

// Counts what malloc and its like hand out in this process.

#include <cstddef>

struct HeapCount {
    size_t bytes; // in use
    size_t peak;  // since resetHeapPeak
};

HeapCount heapCount();
void resetHeapPeak();
