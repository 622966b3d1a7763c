#include "daemon/base/trace.h"

#include <cstdarg>

int g_traceEnabled = 0;
FILE* g_traceFile = nullptr;

void trace(const char* format, ...) {
    if (!isTracing()) return;
    va_list arguments;
    va_start(arguments, format);
    vfprintf(g_traceFile, format, arguments);
    va_end(arguments);
    fflush(g_traceFile);
}
