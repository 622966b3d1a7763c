#include "simulator/machine/callLog.h"

#include "simulator/machine/clock.h"
#include "simulator/machine/faults.h"
#include "simulator/machine/root.h"

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace sim {
namespace {

constexpr char FORM_FILE[] = "trace";

Recording settingOfForm() {
    static const Recording setting = recordingWord(getenv("BMC_TRACE"), Recording::none);
    return setting;
}

uint64_t settingOfLimit() {
    const char* text = getenv("BMC_CALLS_LIMIT");
    if (text == nullptr) return 0;
    const uint64_t limit = byteCount(text);
    if (limit == 0) refuseToStart(std::string("BMC_CALLS_LIMIT=") + text + ": not a number of bytes, as 8M");
    return limit;
}

CallRecorder& theRecorder() {
    static CallRecorder& recorder = *[] {
        auto* made = new CallRecorder; // outlives exit handlers
        made->begin(simulatorFile("calls.jsonl").c_str(), settingOfLimit());
        return made;
    }();
    return recorder;
}

// The first word of the file; a form without file is the setting's.
Recording readForm() {
    static const std::string& path = *new std::string(simulatorFile(FORM_FILE)); // outlives exit handlers
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return settingOfForm();
    char text[16] = {};
    const ssize_t length = read(descriptor, text, sizeof text - 1);
    close(descriptor);
    for (char& character : text)
        if (character == '\n' || character == ' ') character = 0;
    return recordingWord(length > 0 ? text : nullptr, settingOfForm());
}

} // namespace

// The file is looked for once in a tick of the coarse clock, which costs no system call to read.
Recording recordingNow() {
    static std::atomic<int64_t> lookedAt{-1};
    static std::atomic<Recording> form{Recording::none};
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    const int64_t tick = int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
    if (lookedAt.exchange(tick) == tick) return form;
    const NotCancelled guard;
    form = readForm();
    return form;
}

void logCall(Share share, const char* name, std::span<const CallValue> arguments, CallValue result,
             const CallOutput& output, const char* fault) {
    if (!hasMachine()) return;
    if (fault != nullptr) share = Share::always;
    const Recording recording = recordingNow();
    if (recording == Recording::none && share != Share::always) return;
    try {
        const NotCancelled guard;
        theRecorder().record({clockTime().seconds, name, arguments.data(), arguments.size(), result, output, fault},
                             recording, share);
    } catch (const std::exception&) { // no memory: the call goes unrecorded, the caller goes on
        return;
    }
}

} // namespace sim
