#pragma once

// Texts from the tree reach terminals, pages and other programs: doubted once, where they enter.

#include <string>
#include <string_view>

namespace raidtree {

// As valid UTF-8 without control characters and without those that change the direction of the text: U+FFFD stands in
// the place of each, a blank in that of a tab or a line's end. Blanks at both ends are left out.
std::string cleanText(std::string_view text);

// In columns of a terminal, as far as one column a character goes; what is longer ends in "~".
size_t textWidth(std::string_view text);
std::string cutText(std::string_view text, size_t width);
std::string padText(std::string_view text, size_t width); // cut as well

} // namespace raidtree
