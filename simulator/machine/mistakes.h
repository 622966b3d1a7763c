#pragma once

// What is wrong with a machine file, and where.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

struct Mistake {
    std::string pointer; // a JSON pointer; empty: the whole file
    std::string text;
    bool atName = false;      // it is the member's name that is wrong, not its value
    std::string earlier = {}; // a JSON pointer to what the text speaks of
    size_t line = 0;          // both from 1, the column in characters; 0: not known yet
    size_t column = 0;
};

constexpr size_t MOST_MISTAKES = 200; // reading ends with so many

// "machine.json:12:7: /controllers/0/id: must be ...", in the order of the file. Whatever the file holds, a mistake is
// one line of valid UTF-8. Behind the first `most` stands how many there are besides.
std::vector<std::string> describeMistakes(const std::string& file, const std::vector<Mistake>& mistakes, size_t most);

// The line and column of a byte of the text.
void placeAt(Mistake& mistake, std::string_view text, size_t offset);

// " (did you mean "fwState"?)", or nothing where no name is near.
std::string suggestName(std::string_view word, const std::vector<std::string_view>& names);

} // namespace sim
