#pragma once

// The way of every call through a stand-in: it is counted, meets its fault, is answered and recorded.

#include "simulator/machine/callLog.h"
#include "simulator/machine/faults.h"

#include <initializer_list>
#include <type_traits>

namespace sim {

// What a function answers: its result, and the bytes that it hands out.
template <class Result>
struct Answer {
    Result result;
    CallOutput output = {};
};

// A result that is a value, not a status.
struct Number {
    int value;
};

inline int spoiledResult(const Fault& /*a status stays*/, int status) {
    return status;
}
inline Number spoiledResult(const Fault& fault, Number number) {
    return {fault.spoiledNumber(number.value)};
}
inline const char* spoiledResult(const Fault& fault, const char* text) {
    return fault.spoiledText(text);
}

inline CallValue recorded(int status) {
    return status;
}
inline CallValue recorded(Number number) {
    return number.value;
}
inline CallValue recorded(const char* text) {
    return text;
}

enum class Recording : uint8_t { WhenTracing, Always };

// `failure` is the result of a call that fails, and then the body is not run. A body that takes the fault lays it over
// its output itself.
template <class Result, class Body>
Result answerCall(Recording recording, const char* name, std::span<const CallValue> arguments, Result failure,
                  Body body) {
    const Fault fault = beginCall(name, arguments);
    Answer<Result> answer{failure, {}};
    if (!fault.fails()) {
        if constexpr (std::is_invocable_v<Body, const Fault&>) {
            answer = body(fault);
        } else {
            answer = body();
            if (answer.output.data != nullptr)
                fault.spoil(answer.output.data, answer.output.size, answer.output.record);
        }
        answer.result = spoiledResult(fault, answer.result);
    }
    if (recording == Recording::Always || tracing())
        logCall(name, arguments.data(), arguments.size(), recorded(answer.result), answer.output);
    return answer.result;
}

// A call that is recorded only with BMC_TRACE=1, and one that changes something outside or asks for something once.
template <class Result, class Body>
Result call(const char* name, std::initializer_list<CallValue> arguments, Result failure, Body body) {
    return answerCall(Recording::WhenTracing, name, {arguments.begin(), arguments.size()}, failure, body);
}
template <class Result, class Body>
Result recordedCall(const char* name, std::initializer_list<CallValue> arguments, Result failure, Body body) {
    return answerCall(Recording::Always, name, {arguments.begin(), arguments.size()}, failure, body);
}

inline const char* textCall(const char* name, std::initializer_list<CallValue> arguments, const char* text) {
    return call<const char*>(name, arguments, nullptr, [&] { return Answer<const char*>{text}; });
}
inline int numberCall(const char* name, std::initializer_list<CallValue> arguments, int failure, int number) {
    return call(name, arguments, Number{failure}, [&] { return Answer<Number>{{number}}; }).value;
}

// A function without a result cannot fail: what it hands out is then as if it were empty.
template <class Body>
void outputCall(const char* name, std::initializer_list<CallValue> arguments, Body body) {
    const Fault fault = beginCall(name, {arguments.begin(), arguments.size()});
    const CallOutput output = body();
    if (output.data != nullptr) fault.spoil(output.data, output.size);
    if (tracing()) logCall(name, arguments, 0, output);
}

} // namespace sim
