#pragma once

// The error text that a work area holds after each call that was given one; "" after a success.

#include "platform/xmlParser.h"

#pragma GCC visibility push(hidden) // the process that loads the library has names of its own

namespace xmlParser {

// A NULL work area is accepted; a text is cut to its size.
void setErrorText(XMLWorkArea* workArea, const char* text);

} // namespace xmlParser

#pragma GCC visibility pop
