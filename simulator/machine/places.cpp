#include "simulator/machine/places.h"

#include <algorithm>
#include <tuple>

namespace sim {

Json PlacesInFile::parse() {
    const CountedText begin(text_.data(), &read_);
    const CountedText end(text_.data() + text_.size(), &read_);
    return Json::parse(begin, end,
                       [this](int, Json::parse_event_t event, const Json& parsed) { return note(event, parsed); });
}

size_t PlacesInFile::nextToken() const {
    return std::min(text_.find_first_not_of(" \t\r\n,:", lastEnd_), text_.size());
}

bool PlacesInFile::note(Json::parse_event_t event, const Json& parsed) {
    using Event = Json::parse_event_t;
    switch (event) {
    case Event::key: noteName(parsed.get_ref<const std::string&>()); break;
    case Event::value: beginValue(false); break;
    case Event::object_start:
    case Event::array_start:
        beginValue(true);
        pointer_ = current_;
        levels_.push_back({event == Event::array_start, pointer_.size()});
        break;
    case Event::object_end:
    case Event::array_end:
        levels_.pop_back();
        pointer_.resize(levels_.empty() ? 0 : levels_.back().pointerLength);
        break;
    }
    lastEnd_ = read_;
    return true;
}

void PlacesInFile::noteName(const std::string& name) {
    Level& level = levels_.back();
    level.name = name;
    level.nameStart = nextToken();
    const auto [earlier, fresh] = level.names.emplace(name, level.nameStart);
    if (fresh || doubles_.size() >= MOST_MISTAKES) return;
    Mistake mistake{pointer_ + "/" + escaped(name), "given twice", true};
    placeAt(mistake, text_, level.nameStart);
    tellEarlier(mistake, earlier->second);
    doubles_.push_back(std::move(mistake));
}

void PlacesInFile::beginValue(bool isContainer) {
    const bool isElement = !levels_.empty() && levels_.back().isArray;
    const size_t index = isElement ? levels_.back().index++ : 0;
    if (wanted_.empty() && !isContainer) return;
    current_ = pointer_;
    if (!levels_.empty()) current_ += "/" + (isElement ? std::to_string(index) : escaped(levels_.back().name));
    if (!wanted_.contains(current_)) return;
    const size_t value = nextToken();
    places_[current_] = {levels_.empty() || isElement ? value : levels_.back().nameStart, value};
}

void PlacesInFile::tellEarlier(Mistake& mistake, size_t offset) const {
    Mistake earlier;
    placeAt(earlier, text_, offset);
    mistake.text +=
        " (the first: line " + std::to_string(earlier.line) + ", column " + std::to_string(earlier.column) + ")";
}

void PlacesInFile::place(Mistake& mistake) const {
    if (const auto found = places_.find(mistake.pointer); found != places_.end())
        placeAt(mistake, text_, mistake.atName ? found->second.name : found->second.value);
    if (const auto earlier = places_.find(mistake.earlier); earlier != places_.end() && !mistake.earlier.empty())
        tellEarlier(mistake, mistake.atName ? earlier->second.name : earlier->second.value);
}

void placeMistakes(std::string_view text, std::vector<Mistake>& mistakes) {
    std::set<std::string> pointers;
    for (const Mistake& mistake : mistakes)
        if (mistake.line == 0) pointers.insert({mistake.pointer, mistake.earlier});
    if (!pointers.empty()) {
        PlacesInFile places(text, std::move(pointers));
        places.parse();
        for (Mistake& mistake : mistakes)
            if (mistake.line == 0) places.place(mistake);
    }
    std::stable_sort(mistakes.begin(), mistakes.end(), [](const Mistake& a, const Mistake& b) {
        return std::tie(a.line, a.column) < std::tie(b.line, b.column);
    });
}

} // namespace sim
