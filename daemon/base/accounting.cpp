#include "daemon/base/accounting.h"

#include "daemon/base/trace.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

int g_allocCount = 0;
long g_vmRSS = 0;
long g_vmSize = 0;

namespace {

const void* g_allocTable[ALLOC_TABLE_SIZE];

bool clearSlot(const void* address, int count) {
    for (int i = 0; i < count && i < ALLOC_TABLE_SIZE; ++i)
        if (g_allocTable[i] == address) {
            g_allocTable[i] = nullptr;
            return true;
        }
    return false;
}

// The number behind the line's first word.
bool readFigure(const char* line, long* figure) {
    const char* text = line + strcspn(line, " \t");
    char* end = nullptr;
    const long value = strtol(text, &end, 10);
    if (end == text) return false;
    *figure = value;
    return true;
}

} // namespace

void* allocateZeroed(size_t count, size_t size) {
    return calloc(count == 0 ? 1 : count, size); // an empty array is a block too
}

void noteForeignAllocation(const void* block) {
    if (g_traceEnabled != 0 && g_allocCount < ALLOC_TABLE_SIZE) g_allocTable[g_allocCount++] = block;
}

void noteAllocation(const void* block) {
    if (g_traceEnabled == 0) return;
    noteForeignAllocation(block);
    trace("CALLOC:address= 0x%x(%d)\n", traceAddress(block), int(traceAddress(block)));
}

void* callocAccounted(size_t count, size_t size) {
    void* block = allocateZeroed(count, size);
    if (block != nullptr) noteAllocation(block);
    return block;
}

void freeAccounted(void* block) {
    if (g_traceEnabled != 0) delete_my_memory(block, g_allocCount);
    trace("FREE:address= 0x%x (%d)\n", traceAddress(block), int(traceAddress(block)));
    free(block);
}

void freeUnnoted(void* block) {
    if (g_traceEnabled != 0) clearSlot(block, g_allocCount);
    free(block);
}

void delete_my_memory(const void* address, int count) {
    if (count < 0 || clearSlot(address, count)) return;
    printf("MEMORY_ERROR : delete_my_memory(0x%x)!\n", traceAddress(address));
    fflush(stdout);
}

void print_my_memory(int count) {
    for (int i = 0; i < count && i < ALLOC_TABLE_SIZE; ++i)
        if (g_allocTable[i] != nullptr) {
            const unsigned address = traceAddress(g_allocTable[i]);
            printf("MEMORY_occupied: addr[%d] = 0x%x (%d)\n", i, address, int(address));
        }
    fflush(stdout);
}

void getMemoryUsage(long* vmRSS, long* vmSize) {
    const int fd = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (fd == -1) return;
    char text[8192 + 1];
    const ssize_t length = read(fd, text, sizeof text - 1);
    close(fd);
    if (length <= 0) return;
    text[length] = '\0';

    bool rssFound = false;
    bool sizeFound = false;
    char* rest = nullptr;
    for (char* line = strtok_r(text, "\n", &rest); line != nullptr && !(rssFound && sizeFound);
         line = strtok_r(nullptr, "\n", &rest)) {
        if (strstr(line, "VmRSS:") != nullptr) rssFound = readFigure(line, vmRSS);
        if (strstr(line, "VmSize:") != nullptr) sizeFound = readFigure(line, vmSize);
    }
}
