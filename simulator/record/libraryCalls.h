#pragma once

// The words of libraryCalls.inc.

#include "platform/appHelper.h"
#include "platform/csm.h"
#include "platform/dqmi.h"
#include "platform/ipmi.h"
#include "platform/lcm.h"
#include "platform/procmanager.h"
#include "platform/storelib.h"

#include <cstddef>
#include <cstdint>

namespace sim {

enum class CallKind : uint8_t {
    computes, // answers from its arguments alone
    reads,
    begins, // reads, and with it begins all that is read in one go
    acts,   // changes something outside, or asks for something that is there once
};

// What success is, and what a failure.
enum class CallResult : uint8_t {
    status,  // 0, else a failure: 1
    done,    // 1, a failure: 0
    handle,  // not negative, a failure: -1
    number,  // means something by itself
    text,    // a failure: NULL
    nothing, // cannot fail
    session, // recorded as 1, a failure: NULL, recorded as 0
    table,   // recorded as the count of its values, a failure: NULL, recorded as -1
};

// Roles of arguments. Sizes are those of an argument, by its position from 0.
namespace role {

struct In {}; // a number, a text, or a record in the size of its type
template <size_t SIZE>
struct Block {}; // a block that is read
template <size_t ARGUMENT>
struct BlockOf {}; // the same
template <size_t ARGUMENT>
struct Texts {}; // as many texts
struct Room {};  // the size of a buffer before, of the answer after
struct Skip {};  // left out
struct Out {};   // filled, in the size of its type
template <size_t SIZE>
struct OutBytes {}; // filled
template <size_t ARGUMENT>
struct OutOf {}; // filled
template <size_t ARGUMENT>
struct OutUpTo {}; // filled, as far as the Room says afterwards
template <size_t ARGUMENT>
struct OutText {}; // filled with a text and its NUL
template <size_t ARGUMENT>
struct OutTextAnd1 {}; // the same in a buffer of one byte more
struct OutBlock {};    // given a block in the size of its type
struct OutData {};     // given a block as long as the header before it says

} // namespace role

// A header of DQMI says how long the answer is.
constexpr size_t DQMI_HEADER_SIZE = 64;
constexpr size_t DQMI_LENGTH_OFFSET = 8;

} // namespace sim
