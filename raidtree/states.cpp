#include "raidtree/states.h"

#include "raidtree/cleanText.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

namespace raidtree {

namespace {

constexpr std::array<const char*, 4> SEVERITY_NAMES = {"ok", "info", "warning", "critical"};

constexpr const char* BUILT_IN = // states.json
#include "states.inc"
    ;

using Json = nlohmann::json;

[[noreturn]] void refuse(const std::string& at, const std::string& why) {
    throw InputError(at + ": " + why);
}

// Only members that are known: a word that is written wrong would go unnoticed.
void checkMembers(const Json& object, std::initializer_list<std::string_view> known, const std::string& at) {
    if (!object.is_object()) refuse(at, "an object is wanted");
    for (const auto& [key, value] : object.items())
        if (std::find(known.begin(), known.end(), key) == known.end())
            refuse(at, "unknown: \"" + cleanText(key) + "\"");
}

std::string textIn(const Json& object, const char* key, const std::string& at) {
    const auto entry = object.find(key);
    if (entry == object.end()) return {};
    if (!entry->is_string()) refuse(at, std::string("\"") + key + "\": a text is wanted");
    return cleanText(entry->get<std::string>());
}

Meaning readMeaning(const Json& object, const std::string& at) {
    checkMembers(object, {"severity", "says", "short", "state"}, at);
    const std::string name = textIn(object, "severity", at);
    const auto* const severity = std::find(SEVERITY_NAMES.begin(), SEVERITY_NAMES.end(), name);
    if (severity == SEVERITY_NAMES.end()) refuse(at, R"("severity" is ok, info, warning or critical)");
    const std::string state = textIn(object, "state", at);
    return {Severity(severity - SEVERITY_NAMES.begin()), textIn(object, "says", at), textIn(object, "short", at),
            state.empty() ? "Enabled" : state, true};
}

Number numberIn(const Json& object, const char* key, const std::string& at) {
    const auto entry = object.find(key);
    if (entry == object.end()) return std::nullopt;
    if (!entry->is_number_integer()) refuse(at, std::string("\"") + key + "\": a whole number is wanted");
    return entry->get<int64_t>();
}

// A field of another name is none of the tree's, which would go unnoticed; the built-in table brings the names.
void extend(States& states, const std::string& text, const std::string& name, bool bringsNames) {
    Json document;
    try {
        document = Json::parse(text);
    } catch (const Json::exception& error) {
        refuse(name, cleanText(error.what()));
    }
    checkMembers(document, {"states", "limits"}, name);
    const Json all = document.value("states", Json::object());
    const Json limits = document.value("limits", Json::object());
    if (!all.is_object() || !limits.is_object()) refuse(name, R"("states" and "limits" are objects)");
    for (const auto& [field, texts] : all.items()) {
        const std::string at = name + ": " + cleanText(field);
        if (!bringsNames && !states.texts.contains(field)) refuse(at, "no state has this name");
        if (!texts.is_object()) refuse(at, "an object is wanted");
        for (const auto& [state, meaning] : texts.items())
            states.texts[field][cleanText(state)] = readMeaning(meaning, at + ": " + cleanText(state));
    }
    for (const auto& [field, limit] : limits.items()) {
        const std::string at = name + ": " + cleanText(field);
        if (!bringsNames && !states.limits.contains(field)) refuse(at, "no number with a limit has this name");
        checkMembers(limit, {"warning", "critical"}, at);
        states.limits[field] = {numberIn(limit, "warning", at), numberIn(limit, "critical", at)};
    }
}

} // namespace

const char* severityName(Severity severity) {
    return SEVERITY_NAMES.at(static_cast<size_t>(severity));
}

Meaning States::meaningOf(std::string_view field, const std::string& text) const {
    Meaning meaning;
    if (const auto known = texts.find(field); known != texts.end())
        if (const auto entry = known->second.find(text); entry != known->second.end()) meaning = entry->second;
    const std::string what(field.substr(field.find('.') + 1));
    if (meaning.says.empty()) {
        if (meaning.isKnown)
            meaning.says = text;
        else
            meaning.says = text.empty() ? "not told" : "unknown: \"" + text + "\"";
    }
    if (meaning.shortForm.empty()) meaning.shortForm = text.empty() ? "?" : meaning.isKnown ? text : "?" + text;
    return meaning;
}

Severity States::severityOf(std::string_view field, int64_t value) const {
    const auto limit = limits.find(field);
    if (limit == limits.end()) return Severity::ok;
    if (limit->second.critical && value >= *limit->second.critical) return Severity::critical;
    return limit->second.warning && value >= *limit->second.warning ? Severity::warning : Severity::ok;
}

States builtInStates() {
    States states;
    extend(states, BUILT_IN, "states.json", true);
    return states;
}

void extendStates(States& states, const std::string& path) {
    std::string text;
    try {
        std::ifstream stream;
        stream.exceptions(std::ios::badbit | std::ios::failbit);
        stream.open(path, std::ios::binary);
        text.assign(std::istreambuf_iterator<char>(stream), {});
    } catch (const std::ios::failure&) { // its text says no more
        refuse(path, strerror(errno));
    }
    extend(states, text, path, false);
}

} // namespace raidtree
