// The document into records, by the tables of fields.

#include "raidtree/cleanText.h"
#include "raidtree/fields.h"
#include "raidtree/server.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <pugixml.hpp>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace raidtree {

namespace {

constexpr int64_t MEBIBYTE = int64_t{1} << 20;
constexpr int64_t LARGEST_NUMBER = int64_t{1} << 40; // more than any element holds, small enough for every unit

// What was passed over: one line a kind of finding, with the first one.
struct Notes {
    void add(const char* what, const std::string& first) {
        auto [entry, isNew] = counts.try_emplace(what, 0, first);
        ++entry->second.first;
    }
    std::vector<std::string> lines() const {
        std::vector<std::string> all;
        for (const auto& [what, finding] : counts)
            all.push_back(what + (finding.first == 1 ? ": " : ": " + std::to_string(finding.first) + ", first ") +
                          finding.second);
        return all;
    }
    std::map<std::string, std::pair<int, std::string>> counts;
};

std::string where(const pugi::xml_node& element) {
    return "<" + cutText(cleanText(element.name()), 40) + "> in <" + cutText(cleanText(element.parent().name()), 40) +
           ">";
}

struct Value {
    const char* text;
    const pugi::xml_node& element;
    Form form;
    Notes& notes;

    template <class T>
    std::optional<T> none() const {
        if (*text != 0) notes.add("not a number, or out of range", where(element) + " " + cutText(cleanText(text), 40));
        return std::nullopt;
    }
};

Number wholeNumber(const Value& value, std::string_view digits) {
    int64_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc() || end != digits.data() + digits.size() || number > LARGEST_NUMBER || number < -1)
        return value.none<int64_t>();
    if (number == -1) return std::nullopt; // what some elements hold for "not known"
    return number;
}

Real realNumber(const Value& value, std::string_view digits) {
    double number = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), number, std::chars_format::fixed);
    if (error != std::errc() || end != digits.data() + digits.size() || !(number >= 0 && number <= 1e6))
        return value.none<double>();
    return number;
}

// "9.50" is 9050 mV.
Real volts(const Value& value) {
    const char* point = strchr(value.text, '.');
    if (point == nullptr) return value.none<double>();
    const Number whole = wholeNumber(value, {value.text, static_cast<size_t>(point - value.text)});
    const Number millivolts = wholeNumber(value, point + 1);
    if (!whole || !millivolts || *millivolts > 999) return std::nullopt;
    return static_cast<double>(*whole * 1000 + *millivolts) / 1000;
}

Real progress(const Value& value) {
    std::string_view text = value.text;
    if (text == "0") return std::nullopt; // nothing runs
    if (!text.ends_with('%')) return value.none<double>();
    text.remove_suffix(1);
    const Real percent = realNumber(value, text);
    if (!percent) return percent;
    return *percent > 100 ? value.none<double>() : Real(*percent / 100);
}

// Month from 0, day of the month, years since 1900.
std::string patrolTime(const char* text) {
    int month = 0;
    int day = 0;
    int year = 0;
    std::array<char, 9> time{};
    std::array<char, 64> readable{};
    // NOLINTNEXTLINE(cert-err34-c): what is not a date does not have its shape
    if (sscanf(text, "%2d/%2d/%4d %8[0-9:]", &month, &day, &year, time.data()) != 4) return cleanText(text);
    snprintf(readable.data(), readable.size(), "%04d-%02d-%02d %s", year + 1900, month + 1, day, time.data());
    return readable.data();
}

void setValue(std::string& to, const Value& value) {
    to = value.form == Form::patrolTime ? patrolTime(value.text) : cleanText(value.text);
}

void setValue(Truth& to, const Value& value) {
    const std::string_view text = value.text;
    to.reset();
    if (text == "true" || text == "false")
        to = text == "true";
    else if (!text.empty())
        value.notes.add("neither true nor false", where(value.element));
}

void setValue(Number& to, const Value& value) {
    if (value.form == Form::thousands) {
        const Real thousands = *value.text == 0 ? Real() : realNumber(value, value.text);
        to = thousands ? Number(int64_t{llround(*thousands * 1000)}) : Number();
        return;
    }
    to = wholeNumber(value, value.text);
    if (!to) return;
    if (value.form == Form::zeroIsNone && *to == 0) to.reset();
    if (value.form == Form::mebibytes) *to *= MEBIBYTE;
    if (value.form == Form::kibibytes) *to *= 1024;
}

void setValue(Real& to, const Value& value) {
    to.reset();
    if (*value.text == 0) return;
    if (value.form == Form::volts) to = volts(value);
    if (value.form == Form::progress) to = progress(value);
    if (value.form != Form::percent) return;
    if (const Number percent = wholeNumber(value, value.text)) to = static_cast<double>(*percent) / 100;
}

// Of the objects of one list.
struct Numbers {
    std::unordered_set<int64_t> taken;
    int64_t free = 0; // none below it is
};

// An adapter that is being read.
struct AdapterInWork {
    Adapter adapter;
    Numbers volumes, enclosures, drives;
    std::unordered_map<int64_t, size_t> driveIndex;
};

class Reader {
  public:
    explicit Reader(Notes& notes) : notes_(notes) {}

    Server readSystem(const pugi::xml_node& system);

  private:
    // Elements stand in the order of their table, so that each is found where the one before it was, or soon after.
    // `other` is told of those that the table does not have, and whether it knows them it returns.
    template <class Record, class Other>
    void readFields(const pugi::xml_node& parent, Record& record, Other other) {
        const std::span<const Field<Record>> fields = fieldsOf<Record>();
        size_t next = 0;
        for (const pugi::xml_node& child : parent.children()) {
            if (child.type() != pugi::node_element) continue;
            size_t steps = 0;
            const auto isIt = [&](const Field<Record>& field) {
                return field.element != nullptr && strcmp(field.element, child.name()) == 0;
            };
            while (steps < fields.size() && !isIt(fields[(next + steps) % fields.size()])) ++steps;
            if (steps == fields.size()) {
                if (!other(child)) notes_.add("elements that are not known", where(child));
                continue;
            }
            const Field<Record>& field = fields[(next + steps) % fields.size()];
            if (next + steps >= fields.size()) notes_.add("elements out of their order", where(child));
            next = (next + steps) % fields.size() + 1;
            const Value value = {child.child_value(), child, field.form, notes_};
            std::visit([&](auto member) { setValue(record.*member, value); }, field.member);
        }
    }
    template <class Record>
    void readFields(const pugi::xml_node& parent, Record& record) {
        readFields(parent, record, [](const pugi::xml_node&) { return false; });
    }

    Adapter readAdapter(const pugi::xml_node& element);
    void readPort(const pugi::xml_node& element, AdapterInWork& work);
    void readEnclosure(const pugi::xml_node& element, const std::string& port, AdapterInWork& work);
    void readProcessor(const pugi::xml_node& element, Enclosure& enclosure);
    void readDrive(const pugi::xml_node& element, const std::string& port, Number enclosure, AdapterInWork& work);
    Volume readVolume(const pugi::xml_node& element);

    template <class Record>
    void addElement(const pugi::xml_node& element, std::vector<Record>& all) {
        Record& record = all.emplace_back();
        record.number = static_cast<int64_t>(all.size()) - 1;
        readFields(element, record);
    }

    // A number that says nothing, or says what another one has said, would make two objects one.
    int64_t ownNumber(Numbers& numbers, const char* text, const pugi::xml_node& element) {
        const Number told = wholeNumber({text, element, Form::plain, notes_}, text);
        if (told && numbers.taken.insert(*told).second) return *told;
        notes_.add("objects without a number of their own", where(element));
        while (!numbers.taken.insert(numbers.free).second) ++numbers.free;
        return numbers.free;
    }

    Notes& notes_;
};

Volume Reader::readVolume(const pugi::xml_node& element) {
    Volume volume;
    readFields(element, volume,
               [](const pugi::xml_node& child) { return strcmp(child.name(), "LogDriveNumber") == 0; });
    // "MDC in progress (12.50%)"
    const size_t open = volume.activity.rfind(" (");
    if (open != std::string::npos && volume.activity.ends_with("%)")) {
        const std::string percent = volume.activity.substr(open + 2, volume.activity.size() - open - 3);
        const Value value = {percent.c_str(), element, Form::progress, notes_};
        setValue(volume.progressRatio, value);
        volume.activity.resize(open);
    }
    return volume;
}

void Reader::readDrive(const pugi::xml_node& element, const std::string& port, Number enclosure, AdapterInWork& work) {
    std::vector<Drive>& drives = work.adapter.drives;
    Drive drive;
    readFields(element, drive);
    drive.port = port;
    if (enclosure) drive.enclosure = enclosure;
    const char* told = element.attribute("Nr").value();
    const Number number = wholeNumber({told, element, Form::plain, notes_}, told);
    const auto entry = number ? work.driveIndex.find(*number) : work.driveIndex.end();
    if (entry == work.driveIndex.end()) {
        drive.number = ownNumber(work.drives, told, element);
        work.driveIndex.emplace(drive.number, drives.size());
        drives.push_back(std::move(drive));
        return;
    }
    Drive* same = &drives[entry->second];
    // Once below its enclosure, once below its port. Both are told by the same record; should they ever differ in
    // state, neither is believed alone.
    if (same->status != drive.status) same->status += " / " + drive.status;
    if (!same->enclosure && enclosure) {
        same->enclosure = enclosure;
        same->port = port;
    }
}

void Reader::readProcessor(const pugi::xml_node& element, Enclosure& enclosure) {
    readFields(element, enclosure.processor, [&](const pugi::xml_node& child) {
        const std::string_view name = child.name();
        if (name == "Fan") {
            addElement(child, enclosure.fans);
            Fan& fan = enclosure.fans.back();
            if (fan.speed.ends_with(" rpm")) {
                const std::string digits = fan.speed.substr(0, fan.speed.size() - 4);
                fan.speedRpm = wholeNumber({digits.c_str(), child, Form::plain, notes_}, digits);
            }
            return true;
        }
        if (name == "PowerSupply") addElement(child, enclosure.powerSupplies);
        if (name == "TemperatureSensor") addElement(child, enclosure.sensors);
        return name == "PowerSupply" || name == "TemperatureSensor";
    });
}

void Reader::readEnclosure(const pugi::xml_node& element, const std::string& port, AdapterInWork& work) {
    Enclosure enclosure;
    enclosure.number = ownNumber(work.enclosures, element.child_value("EnclosureNumber"), element);
    enclosure.port = port;
    readFields(element, enclosure, [&](const pugi::xml_node& child) {
        const std::string_view name = child.name();
        if (name == "Processor") readProcessor(child, enclosure);
        if (name == "PhysicalDrive") readDrive(child, port, enclosure.number, work);
        return name == "Processor" || name == "PhysicalDrive" || name == "EnclosureNumber";
    });
    work.adapter.enclosures.push_back(std::move(enclosure));
}

void Reader::readPort(const pugi::xml_node& element, AdapterInWork& work) {
    const std::string port = cleanText(element.child_value("Name"));
    for (const pugi::xml_node& child : element.children()) {
        const std::string_view name = child.name();
        if (name == "Enclosure")
            readEnclosure(child, port, work);
        else if (name == "PhysicalDrive")
            readDrive(child, port, std::nullopt, work);
        else if (child.type() == pugi::node_element && name != "Name" && name != "Type")
            notes_.add("elements that are not known", where(child));
    }
}

Adapter Reader::readAdapter(const pugi::xml_node& element) {
    AdapterInWork work;
    Adapter& adapter = work.adapter;
    readFields(element, adapter, [&](const pugi::xml_node& child) {
        const std::string_view name = child.name();
        if (name == "LogicalDrive") {
            Volume volume = readVolume(child);
            volume.number = ownNumber(work.volumes, child.attribute("Nr").value(), child);
            adapter.volumes.push_back(std::move(volume));
        } else if (name == "Battery") {
            readFields(child, adapter.battery.emplace(),
                       [](const pugi::xml_node& c) { return strcmp(c.name(), "ModuleVersion") == 0; }); // always empty
        } else if (name == "Port") {
            readPort(child, work);
        } else {
            return false;
        }
        return true;
    });
    return std::move(work.adapter);
}

Server Reader::readSystem(const pugi::xml_node& system) {
    Server server;
    Numbers adapters;
    for (const pugi::xml_node& child : system.children()) {
        const std::string_view name = child.name();
        if (name == "Name") {
            server.name = cleanText(child.child_value());
        } else if (name == "Adapter") {
            Adapter adapter = readAdapter(child);
            adapter.number = ownNumber(adapters, child.attribute("Nr").value(), child);
            server.adapters.push_back(std::move(adapter));
        } else if (name == "Multiplexer") {
            readFields(child, server.summary);
        } else if (child.type() == pugi::node_element) {
            notes_.add("elements that are not known", where(child));
        }
    }
    return server;
}

// Reading in place moves characters within a text, never a line's end across a tag.
std::string lineOf(const std::string& text, ptrdiff_t offset) {
    const auto end = text.begin() + std::clamp<ptrdiff_t>(offset, 0, static_cast<ptrdiff_t>(text.size()));
    return "line " + std::to_string(std::count(text.begin(), end, '\n') + 1);
}

} // namespace

Server parseServer(std::string text, const std::string& name) {
    const auto refuse = [&](const std::string& why) {
        throw InputError((name == "-" ? "standard input" : name) + ": " + why);
    };
    constexpr unsigned OPTIONS = pugi::parse_default | pugi::parse_trim_pcdata;
    pugi::xml_document document;
    const pugi::xml_parse_result result =
        document.load_buffer_inplace(text.data(), text.size(), OPTIONS, pugi::encoding_utf8);
    if (!result && document.document_element().empty()) refuse("not XML");
    if (!result) refuse("not well-formed XML: " + lineOf(text, result.offset) + ", " + result.description());

    const pugi::xml_node root = document.document_element();
    if (strcmp(root.name(), "QPRaidStorageDeviceTree") != 0)
        refuse("another document: its root is <" + cutText(cleanText(root.name()), 40) +
               ">, not <QPRaidStorageDeviceTree>");
    const pugi::xml_node system = root.child("System");
    if (system.empty()) refuse("no <System> in it");

    Notes notes;
    if (const std::string version = cleanText(root.attribute("Version").value()); version != "2")
        notes.add("version of the format", "\"" + cutText(version, 20) + "\", read as 2");
    for (const pugi::xml_node& other : {root.next_sibling(), system.next_sibling(), system.previous_sibling()})
        if (other.type() == pugi::node_element) notes.add("elements that are not known", where(other));
    Server server = Reader(notes).readSystem(system);
    server.notes = notes.lines();
    return server;
}

Server readServer(const std::string& path) {
    return parseServer(readTreeText(path), path);
}

} // namespace raidtree
