// Lets one allocation of a process fail, or all from one on, among those that its executable or the XML library makes,
// by itself or through the C library. Preloaded; FAILING_ALLOCATION is the number, with a "+" behind it: all from
// there, until the file FAILING_ALLOCATION_END exists. At the end of the process the file FAILING_ALLOCATION_COUNT
// tells how many there were.

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <execinfo.h>
#include <link.h>
#include <unistd.h>

namespace {

struct Range {
    uintptr_t begin = 0;
    uintptr_t end = 0;
    bool holds(const void* address) const {
        const auto number = reinterpret_cast<uintptr_t>(address);
        return number >= begin && number < end;
    }
};

Range executable;
Range xmlLibrary;
Range cLibrary;

std::atomic<uint64_t> allocations = 0;
uint64_t failing = 0; // 0: none
bool failsForEver = false;
char endFile[4096];
char countFile[4096];
std::atomic<bool> isReady = false;
[[gnu::tls_model("initial-exec")]] thread_local bool isLooking = false;

int noteRange(dl_phdr_info* info, size_t /*size*/, void* /*data*/) {
    Range range = {UINTPTR_MAX, 0};
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const auto& segment = info->dlpi_phdr[i];
        if (segment.p_type != PT_LOAD) continue;
        const uintptr_t begin = info->dlpi_addr + segment.p_vaddr;
        if (begin < range.begin) range.begin = begin;
        if (begin + segment.p_memsz > range.end) range.end = begin + segment.p_memsz;
    }
    if (info->dlpi_name[0] == '\0') executable = range;
    if (strstr(info->dlpi_name, "libXMLParser.") != nullptr) xmlLibrary = range;
    if (strstr(info->dlpi_name, "libc.so.") != nullptr) cLibrary = range;
    return 0;
}

bool isOurs(const void* address) {
    return executable.holds(address) || xmlLibrary.holds(address);
}

// For whom the C library allocates: the caller of its outermost function.
bool isForUs(const void* caller) {
    if (!cLibrary.holds(caller)) return isOurs(caller);
    void* frames[48];
    const int count = backtrace(frames, sizeof frames / sizeof frames[0]);
    int i = 0;
    while (i < count && frames[i] != caller) ++i;
    while (i < count && cLibrary.holds(frames[i])) ++i;
    return i < count && isOurs(frames[i]);
}

bool failsNow(const void* caller) {
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
    dl_iterate_phdr(noteRange, nullptr);
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
