#pragma once

// Every element of the tree that holds a value: where it goes in the records, how it is read, what it is used for.
// Reading, JSON, comparison, states and metrics all go by these tables.

#include "raidtree/server.h"

#include <cstdint>
#include <span>
#include <variant>

namespace raidtree {

enum class Form : uint8_t {
    plain,
    zeroIsNone, // 0 stands for "not known"
    mebibytes,  // to bytes, as the next
    kibibytes,
    thousands,  // 10.5 to 10500
    volts,      // the digits behind the point are millivolts without leading zeros
    percent,    // a whole number to a ratio
    progress,   // "48.20%" to a ratio, "0" is nothing
    activity,   // without the progress in parentheses, which goes to progressRatio
    patrolTime, // month from 0, day, years since 1900
};

enum class Use : uint8_t {
    identity, // tells the object from others, or what it is
    setting,
    state,    // a text that states.json gives a meaning
    summary,  // the same, made of other elements
    measured, // a number that moves by itself; a gauge
    counted,  // a number that only grows; a counter
    moving,   // moves by itself, no metric
    size,     // a number that stands; a gauge
};

template <class Record>
struct Field {
    const char* element; // below the object's element; NULL: not in the tree, derived from another value
    const char* key;     // in JSON; the name of the member
    Use use;
    std::variant<std::string Record::*, Number Record::*, Real Record::*, Truth Record::*> member;
    Form form = Form::plain;
};

// "drive" and so on: the name of the kind in states.json, in metrics and in texts.
template <class Record>
const char* kindName();

template <class Record>
std::span<const Field<Record>> fieldsOf();

// "Failed", "1.6 TiB", "38 C", "48.2 %"; empty: absent.
template <class Record>
std::string fieldText(const Record& record, const Field<Record>& field);

// "sizeBytes" as "size", "mediaErrors" as "media errors".
std::string fieldTitle(const char* key);

std::string sizeText(int64_t bytes);
std::string decimalText(double value, int digits);

} // namespace raidtree
