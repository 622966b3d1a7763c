#pragma once

// What all value functions share. A value function forms one value of one object from the cache: as text,
// as integer, or both. Its table row says which of the two is wanted.

#include <cstdint>

constexpr int VALUE_OK = 0;         // text or integer written
constexpr int VALUE_BAD_BUFFER = 1; // no text buffer, or a value that cannot be used: the row is left out
constexpr int VALUE_NO_OBJECT = 2;  // the controller or object is not in the cache: the row is left out

constexpr int VALUE_TEXT_SIZE = 256; // of the tree's text buffer
