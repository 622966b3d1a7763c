#include "raidtree/render.h"
#include "raidtree/walk.h"

#include <array>
#include <charconv>

namespace raidtree {

namespace {

// Members and elements in the order in which they are added, an object a line.
class Writer {
  public:
    void open(const char* key, char bracket) {
        begin(key);
        text_ += bracket;
        isFirst_ = true;
        ++depth_;
    }
    void close(char bracket) {
        --depth_;
        if (!isFirst_) newLine();
        text_ += bracket;
        isFirst_ = false;
    }
    void add(const char* key, const std::string& value) { addRaw(key, jsonText(value)); }
    void add(const char* key, int64_t value) { addRaw(key, std::to_string(value)); }
    void add(const char* key, const Number& value) {
        if (value) add(key, *value);
    }
    void add(const char* key, const Truth& value) {
        if (value) addRaw(key, *value ? "true" : "false");
    }
    void add(const char* key, const Real& value) {
        if (!value) return;
        std::array<char, 32> digits{};
        const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), *value).ptr;
        addRaw(key, std::string_view(digits.data(), static_cast<size_t>(end - digits.data())));
    }
    std::string take() { return std::move(text_) + "\n"; }

  private:
    void addRaw(const char* key, std::string_view value) {
        begin(key);
        text_ += value;
        isFirst_ = false;
    }
    void begin(const char* key) {
        if (!isFirst_) text_ += ',';
        if (depth_ > 0) newLine();
        if (key != nullptr) text_ += '"' + std::string(key) + "\": ";
    }
    void newLine() { text_.append("\n").append(depth_, ' '); }

    std::string text_;
    size_t depth_ = 0;
    bool isFirst_ = true;
};

class RecordWriter {
  public:
    RecordWriter(Writer& writer, const States& states) : writer_(writer), states_(states) {}

    template <class Record>
    void fields(const Record& record) {
        if constexpr (requires { record.number; }) writer_.add("number", record.number);
        for (const Field<Record>& field : fieldsOf<Record>())
            std::visit([&](auto member) { addTold(field.key, record.*member); }, field.member);
        if constexpr (!std::is_same_v<Record, Summary> && !std::is_same_v<Record, Processor>) // of others
            writer_.add("severity", std::string(severityName(severityOf(record, states_))));
    }
    template <class Record>
    void list(const char* key, const std::vector<Record>& records) {
        writer_.open(key, '[');
        for (const Record& record : records) object(nullptr, record);
        writer_.close(']');
    }
    template <class Record>
    void object(const char* key, const Record& record) {
        writer_.open(key, '{');
        fields(record);
        writer_.close('}');
    }
    void object(const char* key, const Enclosure& enclosure) {
        writer_.open(key, '{');
        fields(enclosure);
        object("processor", enclosure.processor);
        list("fans", enclosure.fans);
        list("powerSupplies", enclosure.powerSupplies);
        list("sensors", enclosure.sensors);
        writer_.close('}');
    }
    void object(const char* key, const Adapter& adapter) {
        writer_.open(key, '{');
        fields(adapter);
        list("volumes", adapter.volumes);
        if (adapter.battery) object("battery", *adapter.battery);
        list("enclosures", adapter.enclosures);
        list("drives", adapter.drives);
        writer_.close('}');
    }

  private:
    void addTold(const char* key, const std::string& text) {
        if (!text.empty()) writer_.add(key, text);
    }
    template <class Value>
    void addTold(const char* key, const std::optional<Value>& value) {
        writer_.add(key, value);
    }

    Writer& writer_;
    const States& states_;
};

void writeProblems(Writer& writer, const std::vector<Problem>& problems) {
    writer.open("problems", '[');
    for (const Problem& problem : problems) {
        writer.open(nullptr, '{');
        writer.add("severity", std::string(severityName(problem.severity)));
        writer.add("object", problem.label);
        writer.add("title", problem.title);
        writer.add("says", problem.says);
        writer.close('}');
    }
    writer.close(']');
}

void writeUpdate(Writer& writer, const Update& update) {
    writer.open("update", '{');
    if (update.result) writer.add("result", int64_t{*update.result});
    writer.add("resultText", resultText(update.result));
    writer.add("time", update.seconds);
    writer.close('}');
}

} // namespace

std::string jsonText(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) { // clean texts have no control characters
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + "\"";
}

std::string renderJson(const Report& report, const States& states) {
    Writer writer;
    RecordWriter records(writer, states);
    writer.open(nullptr, '{');
    writer.add("format", int64_t{1});
    if (!report.server.name.empty()) writer.add("name", report.server.name);
    if (report.update) writeUpdate(writer, *report.update);
    writeProblems(writer, report.problems);
    records.object("summary", report.server.summary);
    records.list("adapters", report.server.adapters);
    writer.open("notes", '[');
    for (const std::string& note : report.server.notes) writer.add(nullptr, note);
    writer.close(']');
    writer.close('}');
    return writer.take();
}

std::string renderJson(const std::vector<Change>& changes) {
    constexpr const char* KINDS[] = {"gone", "new", "changed"};
    Writer writer;
    writer.open(nullptr, '{');
    writer.add("format", int64_t{1});
    writer.open("changes", '[');
    for (const Change& change : changes) {
        writer.open(nullptr, '{');
        writer.add("kind", std::string(KINDS[static_cast<size_t>(change.kind)]));
        writer.add("object", change.label);
        writer.add("title", change.title);
        if (change.kind == Change::Kind::changed) {
            writer.add("field", change.field);
            writer.add("from", change.from);
            writer.add("to", change.to);
        }
        writer.close('}');
    }
    writer.close(']');
    writer.close('}');
    return writer.take();
}

} // namespace raidtree
