#include "simulator/machine/answersReader.h"

#include "simulator/machine/answers.h"
#include "simulator/machine/faults.h"
#include "simulator/machine/faultsReader.h"
#include "simulator/machine/recordParser.h"

#include <cmath>

namespace sim {
namespace {

constexpr size_t MOST_ARGUMENTS = 128;

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

struct AnswerRead {
    const LibraryCall* call;
    std::string arguments;
    AnswerRule rule;
};

const MemberTable<AnswerRead>& answerMembers() {
    static const MemberTable<AnswerRead> table = {
        {"call", "The library function.", [](const Node&, AnswerRead&) {}, textForm().schema},
        {"args", "Its arguments, as a record of calls has them.",
         [](const Node& node, AnswerRead& answer) {
             forEachElement(node, MOST_ARGUMENTS, [&](const Node& argument) {
                 answer.arguments += (argument.index > 0 ? ", " : "") + argumentText(argument);
             });
         },
         [] {
             const Json argument = {{"type", Json::array({"integer", "string", "null"})}};
             return Json{{"type", "array"}, {"maxItems", MOST_ARGUMENTS}, {"items", argument}};
         }},
        {"result", "What it returns: a text, or a number of 32 bits.",
         [](const Node& node, AnswerRead& answer) { readResult(node, answer.call->result, answer.rule); },
         [] {
             return Json{{"type", Json::array({"number", "string"})}};
         }},
        {"out", "Bytes for the caller's buffer.",
         [](const Node& node, AnswerRead& answer) { answer.rule.output = parseHex(node); }, hexSchema},
    };
    return table;
}

void readAnswer(const Node& node, std::map<std::string, AnswerRules, std::less<>>& answers) {
    AnswerRead answer{nullptr, {}, {}};
    // The others are understood by the function that is asked.
    if (node.json.is_object() && node.json.contains("call"))
        answer.call = &readLibraryCall({node.json["call"], &node, "call"});
    if (answer.call == nullptr) node.fail("has no call");
    if (!canBeAnswered(*answer.call))
        node.fail(std::string(answer.call->name) + " hands out more than an answer can say");
    const size_t mistakes = node.allMistakes().size();
    readMembers(node, answer, answerMembers());
    if (node.allMistakes().size() > mistakes) return;
    const bool fresh = answers[std::string(answer.call->name)].try_emplace(answer.arguments, answer.rule).second;
    if (!fresh) node.fail("answers the same call as an earlier one");
}

} // namespace

Form<std::map<std::string, AnswerRules, std::less<>>> answersForm() {
    return {[](const Node& node, std::map<std::string, AnswerRules, std::less<>>& answers) {
                forEachElement(node, ANY_COUNT, [&](const Node& answer) {
                    if (!answer.json.is_null()) readAnswer(answer, answers);
                });
            },
            [] {
                Json answer = withRequired(schemaOf(answerMembers()), "call");
                return Json{{"type", "array"}, {"items", orNull(answer)}};
            }};
}

} // namespace sim
