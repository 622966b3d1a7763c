#pragma once

// simulator/log: what people must know of the described machine, a line each: the machine's time (UTC), the text. Bytes
// that are no UTF-8, and control characters, become \xNN there.

#include <string>
#include <string_view>

namespace sim {

// What is no UTF-8 or a control character becomes \xNN.
std::string plainText(std::string_view text);

void reportFault(const std::string& text); // on standard error as well
void reportNews(const std::string& text);  // what went well

} // namespace sim
