#pragma once

// A torture breaks the daemon at one point after another, each in a process of its own, and names those that it did
// not stand.

#include <string>
#include <vector>

struct Torture {
    const char* name;
    bool sideBySide;                                   // two points may run at a time
    std::vector<std::string> (*points)();              // the names of all, in their order
    std::string (*runPoint)(const std::string& point); // what went wrong, empty: nothing
};

// Each registers itself where it is defined: const bool REGISTERED = addTorture({...});
bool addTorture(const Torture& torture);

// Between the daemon's objects and a function that the link wraps (--wrap), where failsNow() tells what becomes of it.
#define FAILING(result, failure, name, parameters, arguments)                                                          \
    result __real_##name parameters;                                                                                   \
    result __wrap_##name parameters {                                                                                  \
        return failsNow() ? (failure) : __real_##name arguments;                                                       \
    }
