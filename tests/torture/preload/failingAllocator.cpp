// Lets one allocation of a process fail, or all from one on, among those that its executable or the XML library makes,
// by itself or through the C library. Preloaded; FAILING_ALLOCATION is the number, with a "+" behind it: all from
// there, until the file FAILING_ALLOCATION_END exists. At the end of the process the file FAILING_ALLOCATION_COUNT
// tells how many there were.

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <execinfo.h>
#include <link.h>
#include <unistd.h>

namespace {

std::atomic<uint64_t> allocations = 0;
uint64_t failing = 0; // 0: none
bool failsForEver = false;
char endFile[4096];
char countFile[4096];
std::atomic<bool> isReady = false;
[[gnu::tls_model("initial-exec")]] thread_local bool isLooking = false;

enum Owner { OURS, C_LIBRARY, OTHERS };

Owner ownerOf(void* address) {
    dl_find_object object;
    if (_dl_find_object(address, &object) != 0) return OTHERS;
    const char* name = object.dlfo_link_map->l_name; // of the executable itself empty
    if (*name == '\0' || strstr(name, "libXMLParser.") != nullptr) return OURS;
    return strstr(name, "libc.so.") != nullptr ? C_LIBRARY : OTHERS;
}

// For whom the C library allocates: the caller of its outermost function.
bool isForUs(void* caller) {
    if (ownerOf(caller) != C_LIBRARY) return ownerOf(caller) == OURS;
    void* frames[48];
    void** end = frames + backtrace(frames, sizeof frames / sizeof frames[0]);
    void** frame = std::find(frames, end, caller);
    frame = std::find_if(frame, end, [](void* address) { return ownerOf(address) != C_LIBRARY; });
    return frame != end && ownerOf(*frame) == OURS;
}

bool failsNow(void* caller) {
    if (!isReady || isLooking) return false;
    isLooking = true;
    bool fails = false;
    if (isForUs(caller)) {
        const uint64_t number = ++allocations;
        fails = failing != 0 && (failsForEver ? number >= failing && access(endFile, F_OK) != 0 : number == failing);
        if (fails) errno = ENOMEM;
    }
    isLooking = false;
    return fails;
}

void copySetting(const char* name, char (&text)[4096]) {
    const char* setting = getenv(name);
    if (setting != nullptr) snprintf(text, sizeof text, "%s", setting);
}

[[gnu::constructor]] void begin() {
    void* frame = nullptr;
    backtrace(&frame, 1); // loads what it needs
    copySetting("FAILING_ALLOCATION_END", endFile);
    copySetting("FAILING_ALLOCATION_COUNT", countFile);
    if (const char* setting = getenv("FAILING_ALLOCATION")) {
        char* end = nullptr;
        failing = strtoull(setting, &end, 10);
        failsForEver = *end == '+';
    }
    unsetenv("LD_PRELOAD"); // the commands that the process runs are not meant
    isReady = true;
}

[[gnu::destructor]] void end() {
    isReady = false;
    FILE* file = fopen(countFile, "we");
    if (file == nullptr) return;
    fprintf(file, "%llu\n", static_cast<unsigned long long>(allocations));
    fclose(file);
}

} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the C library's names
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);

void* malloc(size_t size) {
    return failsNow(__builtin_return_address(0)) ? nullptr : __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
    return failsNow(__builtin_return_address(0)) ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) {
    return failsNow(__builtin_return_address(0)) ? nullptr : __libc_realloc(block, size);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
