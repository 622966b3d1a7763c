// Stand-in for libzeb_appHelper.

#include "platform/appHelper.h"

#include "simulator/machine/call.h"
#include "simulator/machine/machine.h"

#include <ctime>

namespace {

bool localTime(int64_t seconds, tm& local) {
    const time_t time = seconds;
    return localtime_r(&time, &local) != nullptr;
}

constexpr int DONE = 0;
constexpr int NOT_DONE = 1;

sim::Answer<int> formatted(char* text, size_t length) {
    return length > 0 ? sim::Answer<int>{DONE, {text, length}} : sim::Answer<int>{NOT_DONE};
}

} // namespace

int etcGetDate(int64_t seconds, char* text, size_t size) {
    return sim::call("etcGetDate", {seconds, size}, NOT_DONE, {text, size, true}, [&] {
        tm local = {};
        const bool known = text != nullptr && localTime(seconds, local);
        return formatted(text, known ? strftime(text, size, "%Y-%m-%d", &local) : 0);
    });
}

int etcGetDateAndTime(int64_t seconds, char* text, size_t size) {
    return sim::call("etcGetDateAndTime", {seconds, size}, NOT_DONE, {text, size, true}, [&] {
        tm local = {};
        const bool known = text != nullptr && localTime(seconds, local);
        return formatted(text, known ? strftime(text, size, "%Y-%m-%d %H:%M:%S", &local) : 0);
    });
}

int etcGetDefaultLanChannelNumber(void) {
    return sim::numberCall("etcGetDefaultLanChannelNumber", {}, -1, sim::currentMachine()->ipmi.lanChannel);
}
