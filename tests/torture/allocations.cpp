// Every allocation of the daemon and of its documents fails in turn. The link puts the functions below between the
// daemon's objects, the XML library's among them, and the C library; what the simulator allocates passes by. A function
// of the C library that allocates for the daemon fails as a whole, as it does when its own allocation fails.

#include "rst/updateCycle.h"
#include "tests/torture/duties.h"
#include "tests/torture/torture.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <regex>

namespace {

uint64_t allocations = 0;
uint64_t failing = 0; // 0: none
bool failsForEver = false;
bool counts = false; // while the duty runs

bool failsNow() {
    if (!counts) return false;
    ++allocations;
    const bool fails = failing != 0 && (failsForEver ? allocations >= failing : allocations == failing);
    if (fails) errno = ENOMEM;
    return fails;
}

Blow blowAt(const Duty& duty, int healthyBefore, uint64_t number) {
    return {healthyBefore,
            [number] {
                allocations = 0;
                failing = number;
                counts = true;
                return nlohmann::json::array();
            },
            [&duty, number](int code) -> std::string {
                counts = false;
                if (allocations < number) return "there is no such allocation";
                const bool isUpdate = duty.run == updateRAIDStorageTree;
                return isUpdate && (code == UPDATE_NOTHING_NEW || code == UPDATE_DISABLED) ? "a wrong code" : "";
            }};
}

std::vector<std::string> points() {
    std::vector<std::string> all;
    for (const Duty& duty : duties())
        for (int cycle = 0; cycle < 2; ++cycle) {
            const std::vector<std::string> count = linesFromChild([&] {
                const std::string wrong = endure(duty, blowAt(duty, cycle, 0));
                if (!wrong.empty()) throw std::runtime_error(wrong);
                return std::to_string(allocations) + "\n";
            });
            for (uint64_t number = 1; number <= std::stoull(count.at(0)); ++number)
                for (const char* how : {"once", "ever"})
                    all.push_back(std::string(duty.name) + "-" + CYCLES[cycle] + "-" + std::to_string(number) + "-" +
                                  how);
        }
    return all;
}

std::string runPoint(const std::string& point) {
    const std::regex form(R"((\w+)-(first|second)-(\d+)-(once|ever))");
    std::smatch parts;
    if (!std::regex_match(point, parts, form)) return "there is no such point";
    failsForEver = parts[4] == "ever";
    const std::string name = parts[1];
    const Duty& duty = dutyNamed(name);
    return endure(duty, blowAt(duty, parts[2] == CYCLES[0] ? 0 : 1, std::stoull(parts[3])));
}

const bool REGISTERED = addTorture({"allocations", true, points, runPoint});

} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker's names
extern "C" {
FAILING(void*, nullptr, malloc, (size_t size), (size))
FAILING(void*, nullptr, calloc, (size_t count, size_t size), (count, size))
FAILING(void*, nullptr, realloc, (void* block, size_t size), (block, size))
FAILING(char*, nullptr, strdup, (const char* text), (text))
FAILING(FILE*, nullptr, fopen, (const char* path, const char* mode), (path, mode))
FAILING(FILE*, nullptr, fopen64, (const char* path, const char* mode), (path, mode))
FAILING(FILE*, nullptr, fdopen, (int fd, const char* mode), (fd, mode))
FAILING(FILE*, nullptr, popen, (const char* command, const char* mode), (command, mode))
FAILING(DIR*, nullptr, opendir, (const char* path), (path))
FAILING(ssize_t, -1, getline, (char** line, size_t* size, FILE* file), (line, size, file))
FAILING(ssize_t, -1, __getdelim, (char** line, size_t* size, int end, FILE* file), (line, size, end, file))
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
