#pragma once

// Where a machine file has what.

#include "simulator/machine/jsonNode.h"

#include <iterator>
#include <set>

namespace sim {

// Counts what a parser has read.
class CountedText {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountedText(const char* position, size_t* count) : position_(position), count_(count) {}
    reference operator*() const { return *position_; }
    CountedText& operator++() {
        ++position_;
        ++*count_;
        return *this;
    }
    bool operator==(const CountedText& other) const { return position_ == other.position_; }
    bool operator!=(const CountedText& other) const { return position_ != other.position_; }

  private:
    const char* position_;
    size_t* count_;
};

// Parses a text and notes on the way which members are given twice, which the JSON library would not mind, and where
// the places are that the pointers name.
class PlacesInFile {
  public:
    explicit PlacesInFile(std::string_view text, std::set<std::string> pointers = {})
        : text_(text), wanted_(std::move(pointers)) {}

    Json parse();
    size_t bytesRead() const { return read_; }
    size_t nextToken() const; // where what comes after the last value or name begins

    const std::vector<Mistake>& doubles() const { return doubles_; }
    void place(Mistake& mistake) const; // its line, its column, and in its text the earlier line

  private:
    struct Level {
        bool isArray;
        size_t pointerLength;
        size_t index = 0;
        std::string name = {};
        size_t nameStart = 0;
        std::map<std::string, size_t> names = {};
    };
    struct Place {
        size_t name = 0;
        size_t value = 0;
    };

    bool note(Json::parse_event_t event, const Json& parsed);
    void noteName(const std::string& name);
    void beginValue(bool isContainer);
    void tellEarlier(Mistake& mistake, size_t offset) const;

    std::string_view text_;
    std::set<std::string> wanted_;
    size_t read_ = 0;
    size_t lastEnd_ = 0;
    std::string pointer_; // of the container that is being read
    std::string current_; // of the value
    std::vector<Level> levels_;
    std::map<std::string, Place> places_;
    std::vector<Mistake> doubles_;
};

// Finds the places of those mistakes that have none, and puts all in the order of the file.
void placeMistakes(std::string_view text, std::vector<Mistake>& mistakes);

} // namespace sim
