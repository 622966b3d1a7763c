// Stand-in for libzeb_appHelper.

#include "platform/appHelper.h"

#include "simulator/machine/callLog.h"
#include "simulator/machine/machine.h"

#include <cstring>
#include <ctime>

namespace {

bool localTime(int64_t seconds, tm& local) {
    const time_t time = seconds;
    return localtime_r(&time, &local) != nullptr;
}

int answer(const char* call, int64_t seconds, const char* text, size_t size, bool done) {
    return sim::traced(call, {seconds, size}, done ? 0 : 1, {done ? text : nullptr, done ? strlen(text) : 0});
}

} // namespace

int etcGetDate(int64_t seconds, char* text, size_t size) {
    tm local = {};
    const bool done = text != nullptr && localTime(seconds, local) && strftime(text, size, "%Y-%m-%d", &local) > 0;
    return answer("etcGetDate", seconds, text, size, done);
}

int etcGetDateAndTime(int64_t seconds, char* text, size_t size) {
    tm local = {};
    const bool done =
        text != nullptr && localTime(seconds, local) && strftime(text, size, "%Y-%m-%d %H:%M:%S", &local) > 0;
    return answer("etcGetDateAndTime", seconds, text, size, done);
}

int etcGetDefaultLanChannelNumber(void) {
    return sim::traced("etcGetDefaultLanChannelNumber", {}, sim::currentMachine()->ipmi.lanChannel);
}
