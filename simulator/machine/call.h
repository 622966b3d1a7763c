#pragma once

// The way of every call through a stand-in: it is counted, meets its fault, is answered and recorded.

#include "simulator/machine/answers.h"
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
struct Real {
    float value;
};

// The way of each kind of result: spoilt by a fault, recorded, and taken from a described answer.
inline int spoiledResult(const Fault& /*a status stays*/, int status) {
    return status;
}
inline Number spoiledResult(const Fault& fault, Number number) {
    return {fault.spoiledNumber(number.value)};
}
inline Real spoiledResult(const Fault& fault, Real real) {
    const int whole = int(real.value);
    const int spoiled = fault.spoiledNumber(whole);
    return spoiled == whole ? real : Real{static_cast<float>(spoiled)};
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
inline CallValue recorded(Real real) {
    return real.value;
}
inline CallValue recorded(const char* text) {
    return text;
}

inline void takeResult(const DescribedAnswer& described, int& status) {
    status = int(described.number);
}
inline void takeResult(const DescribedAnswer& described, Number& number) {
    number.value = int(described.number);
}
inline void takeResult(const DescribedAnswer& described, Real& real) {
    real.value = static_cast<float>(described.number);
}
inline void takeResult(const DescribedAnswer& described, const char*& text) {
    text = described.text;
}

// The caller's buffer. What is recorded of a call that fills it is the whole of it, as the caller sees it; of a text,
// which has a NUL behind it, its characters.
struct Room {
    void* data = nullptr;
    size_t size = 0;
    bool isText = false;
};

// `failure` is the result of a call that fails, and then the body is not run; nor is it where the machine file has an
// answer of its own. A body that takes the fault lays it over its output itself.
template <class Result, class Body>
Result answerCall(Share share, const char* name, std::span<const CallValue> arguments, Result failure, Room room,
                  Body body) {
    const Fault fault = beginCall(name, arguments);
    Answer<Result> answer{failure, {}};
    if (!fault.fails()) {
        if (const std::optional<DescribedAnswer> described = findAnswer(name, arguments)) {
            takeResult(*described, answer.result);
            answer.output = described->handOut(room.data, room.size, room.isText);
            fault.spoil(answer.output.data, answer.output.size);
        } else if constexpr (std::is_invocable_v<Body, const Fault&>) {
            answer = body(fault);
        } else {
            answer = body();
            if (answer.output.data != nullptr)
                fault.spoil(answer.output.data, answer.output.size, answer.output.record);
        }
        answer.result = spoiledResult(fault, answer.result);
    }
    if (answer.output.data != nullptr && room.data != nullptr && !room.isText) {
        answer.output.data = room.data;
        answer.output.size = room.size;
    }
    logCall(share, name, arguments, recorded(answer.result), answer.output, fault.name());
    return answer.result;
}

// A call that is recorded only when asked for, and one that changes something outside or asks for something once.
template <class Result, class Body>
Result call(const char* name, std::initializer_list<CallValue> arguments, Result failure, Room room, Body body) {
    return answerCall(Share::whenChanged, name, {arguments.begin(), arguments.size()}, failure, room, body);
}
template <class Result, class Body>
Result call(const char* name, std::initializer_list<CallValue> arguments, Result failure, Body body) {
    return call(name, arguments, failure, Room{}, body);
}
template <class Result, class Body>
Result recordedCall(const char* name, std::initializer_list<CallValue> arguments, Result failure, Room room,
                    Body body) {
    return answerCall(Share::always, name, {arguments.begin(), arguments.size()}, failure, room, body);
}
template <class Result, class Body>
Result recordedCall(const char* name, std::initializer_list<CallValue> arguments, Result failure, Body body) {
    return recordedCall(name, arguments, failure, Room{}, body);
}

inline const char* textCall(const char* name, std::initializer_list<CallValue> arguments, const char* text) {
    return call<const char*>(name, arguments, nullptr, [&] { return Answer<const char*>{text}; });
}
inline int numberCall(const char* name, std::initializer_list<CallValue> arguments, int failure, int number) {
    return call(name, arguments, Number{failure}, [&] { return Answer<Number>{{number}}; }).value;
}

// A function without a result cannot fail: what it hands out is then as if it were empty.
template <class Body>
void outputCall(const char* name, std::initializer_list<CallValue> arguments, Room room, Body body) {
    const std::span<const CallValue> all(arguments.begin(), arguments.size());
    const Fault fault = beginCall(name, all);
    const std::optional<DescribedAnswer> described = findAnswer(name, all);
    const CallOutput output = described ? described->handOut(room.data, room.size, room.isText) : body();
    if (output.data != nullptr) fault.spoil(output.data, output.size);
    logCall(Share::whenChanged, name, all, 0, output, fault.name());
}

} // namespace sim
