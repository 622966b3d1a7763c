#pragma once

// What the daemon's code writes, for tests in its process.

#include "daemon/base/trace.h"
#include "platform/host.h"
#include "tests/support/simulatedRoot.h"

#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <utility>

inline std::string below(const char* fixedPath) {
    simulatedRoot();
    HostPathBuffer buffer;
    return hostPath(fixedPath, buffer);
}

inline std::string textOf(const std::string& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

// What is traced meanwhile.
inline std::string tracedBy(const std::function<void()>& act) {
    char* text = nullptr;
    size_t size = 0;
    g_traceFile = open_memstream(&text, &size);
    g_traceEnabled = 1;
    act();
    g_traceEnabled = 0;
    fclose(std::exchange(g_traceFile, nullptr));
    std::string traced(text, size);
    free(text);
    return traced;
}
