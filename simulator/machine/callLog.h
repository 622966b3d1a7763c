#pragma once

// calls.jsonl: what was asked of the libraries, one JSON object a line.

#include "simulator/record/callRecorder.h"

#include <initializer_list>
#include <span>

namespace sim {

// What is recorded now: as simulator/trace says, else BMC_TRACE.
Recording recordingNow();

// Writes a call's line, where one is due: always that of a call that met a fault.
void logCall(Share share, const char* name, std::span<const CallValue> arguments, CallValue result,
             const CallOutput& output = {}, const char* fault = nullptr);

} // namespace sim
