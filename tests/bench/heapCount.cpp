#include "tests/bench/heapCount.h"

#include <algorithm>
#include <malloc.h>

// The C library's own, behind the names that are taken here.
extern "C" { // NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void __libc_free(void* block);
} // NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

namespace {

HeapCount g_count; // one thread

void* noted(void* block) {
    g_count.bytes += malloc_usable_size(block);
    g_count.peak = std::max(g_count.peak, g_count.bytes);
    return block;
}

} // namespace

HeapCount heapCount() {
    return g_count;
}

void resetHeapPeak() {
    g_count.peak = g_count.bytes;
}

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the C library's names are reserved ones
void* malloc(size_t size) {
    return noted(__libc_malloc(size));
}

void* calloc(size_t count, size_t size) {
    return noted(__libc_calloc(count, size));
}

void* realloc(void* block, size_t size) {
    const size_t before = malloc_usable_size(block);
    void* grown = __libc_realloc(block, size);
    if (grown == nullptr && size != 0) return nullptr;
    g_count.bytes -= before;
    return noted(grown);
}

void free(void* block) {
    g_count.bytes -= malloc_usable_size(block);
    __libc_free(block);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
