#include "simulator/machine/answersReader.h"

#include "simulator/machine/answers.h"
#include "simulator/machine/faults.h"
#include "simulator/machine/jsonNode.h"
#include "simulator/machine/recordParser.h"

#include <cmath>

namespace sim {
namespace {

constexpr size_t MOST_ARGUMENTS = 128;

const LibraryCall& readCall(const Node& node) {
    const LibraryCall* call = findLibraryCall(readText(node));
    if (call == nullptr) node.fail("there is no library function \"" + readText(node) + "\"");
    return *call;
}

// In a record each byte of a text is the character of the same number.
std::string bytesOfText(const Node& node) {
    const std::string& text = readText(node);
    std::string bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        const auto first = static_cast<unsigned char>(text[i]);
        if (first < 0x80) {
            bytes += text[i];
        } else if (first < 0xC4 && i + 1 < text.size()) {
            bytes += char((first & 3) << 6 | (text[++i] & 0x3F));
        } else {
            node.fail("has a character beyond U+00FF, which stands for no byte");
        }
    }
    return bytes;
}

// An argument as a record writes it.
std::string argumentText(const Node& node) {
    if (node.json.is_string()) {
        const std::string text = bytesOfText(node);
        const CallValue value(text.c_str());
        return argumentsText({&value, 1});
    }
    if (!node.json.is_number_integer() && !node.json.is_null())
        node.fail("must be a whole number, a text or null, as a record has it");
    return node.json.dump();
}

void readResult(const Node& node, CallResult kind, AnswerRule& rule) {
    if (kind == CallResult::text) {
        rule.text = bytesOfText(node);
    } else if (!node.json.is_number() || std::fabs(node.json.get<double>()) > std::numeric_limits<uint32_t>::max()) {
        node.fail("must be a number of 32 bits");
    } else {
        rule.number = node.json.get<double>();
    }
}

// What comes as a session, a table or a block has places of its own in the file.
bool canBeAnswered(const LibraryCall& call) {
    return call.result != CallResult::session && call.result != CallResult::table;
}

void readAnswer(const Node& node, Machine& machine) {
    const LibraryCall* call = nullptr;
    std::string arguments;
    AnswerRule rule;
    // The others are understood by the function that is asked.
    if (node.json.is_object() && node.json.contains("call")) call = &readCall({node.json["call"], &node, "call"});
    if (call == nullptr) node.fail("has no call");
    if (!canBeAnswered(*call)) node.fail(std::string(call->name) + " hands out more than an answer can say");
    readMembers(node, {{"call", [](const Node&) {}},
                       {"args",
                        [&](const Node& n) {
                            forEachElement(n, MOST_ARGUMENTS, [&](const Node& argument) {
                                arguments += (argument.index > 0 ? ", " : "") + argumentText(argument);
                            });
                        }},
                       {"result", [&](const Node& n) { readResult(n, call->result, rule); }},
                       {"out", [&](const Node& n) { rule.output = parseHex(n); }}});
    const bool fresh = machine.answers[std::string(call->name)].try_emplace(arguments, rule).second;
    if (!fresh) node.fail("answers the same call as an earlier one");
}

} // namespace

void readAnswers(const Node& node, Machine& machine) {
    forEachElement(node, std::numeric_limits<uint32_t>::max(), [&](const Node& answer) {
        if (!answer.json.is_null()) readAnswer(answer, machine);
    });
}

} // namespace sim
