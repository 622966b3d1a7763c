#pragma once

// What all value functions share. A value function forms one value of one object from the cache: as text, as integer,
// or both; the row of the parameter table says which of the two is wanted. Each kind of object has its ids as an enum,
// ended by their count, and one table of functions by id.
//
// All set the integer first. An id beyond the table is VALUE_OK with nothing.

#include "values/textValue.h"

#include <array>
#include <optional>
#include <span>
#include <utility>

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
using FormValue = void (*)(const Object& object, Answer& answer); // NULL: nothing is known

template <class Object>
struct ValueRow {
    int paramID;
    FormValue<Object> form;
};

void valueTableIsIncompleteOrOutOfOrder(); // nowhere defined: the compiler names it when a table is

// The functions of a kind by id.
template <class Object, int count>
consteval std::array<FormValue<Object>, count> tableOf(const ValueRow<Object> (&rows)[count]) {
    std::array<FormValue<Object>, count> forms{};
    for (int id = 0; id < count; ++id) {
        if (rows[id].paramID != id) valueTableIsIncompleteOrOutOfOrder();
        forms[size_t(id)] = rows[id].form;
    }
    return forms;
}

// What a kind's value function does otherwise than others, before the value is formed.
struct ValueRules {
    const char* traceWithoutObject = "";
    int32_t startNumber = 0;
    bool needsRoom = true;            // else a size of 0 or less is no fault, and takes no text
    bool clearsWithoutObject = false; // else the buffer stays as it is
};

// A code, VALUE_OK: the value can be formed. Sets the integer and clears the buffer.
[[nodiscard]] int beginValue(const ValueRules& rules, bool hasObject, char* text, int size, int32_t* number);

template <class Object>
struct ValueKind {
    std::span<const FormValue<Object>> forms;
    ValueRules rules = {};
    void (*begin)(int paramID, const Object& object) = nullptr; // traces the question
};

// Copies that are constants of the compiler's: what becomes of the table is a switch over the ids, smaller than the
// table itself with its relocations.
template <const auto& kind, class Object, size_t... ids>
void formValue(int paramID, const Object& object, Answer& answer, std::index_sequence<ids...>) {
    const auto form = [&]<size_t id>() {
        constexpr FormValue<Object> formOf = kind.forms[id];
        if constexpr (formOf != nullptr) formOf(object, answer);
    };
    ((paramID == int(ids) ? form.template operator()<ids>() : void()), ...);
}

// The answer to one question; object NULL: VALUE_NO_OBJECT.
template <const auto& kind, class Object>
[[nodiscard]] int answerValue(int paramID, const Object* object, char* text, int size, int32_t* number) {
    static constexpr ValueRules rules = kind.rules;
    const int status = beginValue(rules, object != nullptr, text, size, number);
    if (status != VALUE_OK || object == nullptr) return status;
    constexpr auto begin = kind.begin;
    if constexpr (begin != nullptr) begin(paramID, *object);
    Answer answer{{text, size}, *number};
    formValue<kind>(paramID, *object, answer, std::make_index_sequence<kind.forms.size()>{});
    *number = answer.number;
    return answer.status;
}
template <const auto& kind, class Object>
[[nodiscard]] int answerValue(int paramID, const std::optional<Object>& object, char* text, int size, int32_t* number) {
    return answerValue<kind>(paramID, object ? &*object : nullptr, text, size, number);
}
