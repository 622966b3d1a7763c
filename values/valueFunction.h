#pragma once

// What all value functions share. A value function forms one value of one object from the cache: as text, as integer,
// or both; the row of the parameter table says which of the two is wanted. Each kind of object has its ids as an enum,
// ended by their count, and one table of functions by id.
//
// All set the integer first. An id beyond the table is VALUE_OK with nothing.

#include "daemon/base/trace.h"
#include "values/textValue.h"

#include <optional>

constexpr int VALUE_OK = 0;         // text or integer written
constexpr int VALUE_BAD_BUFFER = 1; // no text buffer, or a value that cannot be used: the row is left out
constexpr int VALUE_NO_OBJECT = 2;  // the controller or object is not in the cache: the row is left out

constexpr int VALUE_TEXT_SIZE = 256; // of the tree's text buffer

// One answer as it is formed: the buffer is zeroed, the integer has the kind's start value.
struct Answer : TextBuffer {
    int32_t number;
    int status = VALUE_OK;
};

template <class Object>
struct ValueRow {
    int paramID;
    void (*form)(const Object& object, Answer& answer); // NULL: nothing is known
};

// A kind of object, and what its value function does otherwise than those of other kinds.
template <class Object>
struct ValueKind {
    const ValueRow<Object>* rows; // by id
    int count;
    const char* traceWithoutObject = "";
    int32_t startNumber = 0;
    bool needsRoom = true;            // else a size of 0 or less is no fault, and takes no text
    bool clearsWithoutObject = false; // else the buffer stays as it is
    void (*begin)(int paramID, const Object& object) = nullptr; // traces the question
};

// Whether a kind's rows are complete and stand in the order of their ids.
template <class Object, int count>
consteval bool isComplete(const ValueRow<Object> (&rows)[count], int paramCount) {
    for (int i = 0; i < count; ++i)
        if (rows[i].paramID != i) return false;
    return count == paramCount;
}

// The answer to one question; object NULL: VALUE_NO_OBJECT.
template <class Object>
[[nodiscard]] int answerValue(const ValueKind<Object>& kind, int paramID, const Object* object, char* text, int size,
                              int32_t* number) {
    *number = kind.startNumber;
    if (text == nullptr || (kind.needsRoom && size <= 0)) return VALUE_BAD_BUFFER;
    if (size > 0 && (object != nullptr || kind.clearsWithoutObject)) memset(text, 0, size_t(size));
    if (object == nullptr) {
        trace("%s", kind.traceWithoutObject);
        return VALUE_NO_OBJECT;
    }
    if (kind.begin != nullptr) kind.begin(paramID, *object);
    if (paramID < 0 || paramID >= kind.count || kind.rows[paramID].form == nullptr) return VALUE_OK;
    Answer answer{{text, size}, kind.startNumber};
    kind.rows[paramID].form(*object, answer);
    *number = answer.number;
    return answer.status;
}
template <class Object>
[[nodiscard]] int answerValue(const ValueKind<Object>& kind, int paramID, const std::optional<Object>& object,
                              char* text, int size, int32_t* number) {
    return answerValue(kind, paramID, object ? &*object : nullptr, text, size, number);
}
