#include "simulator/machine/answers.h"

#include "simulator/machine/faults.h"

#include <algorithm>
#include <cstring>
#include <exception>

namespace sim {

CallOutput DescribedAnswer::handOut(void* buffer, size_t size, bool isText) const {
    if (!output || buffer == nullptr || size == 0) return {};
    const size_t copied = copyRecord(*output, buffer, isText ? size - 1 : size);
    if (isText) static_cast<char*>(buffer)[copied] = 0;
    return {buffer, copied};
}

std::string argumentsText(std::span<const CallValue> arguments) {
    std::string text;
    const TextSink sink = {
        [](void* whole, const char* piece, size_t size) { static_cast<std::string*>(whole)->append(piece, size); },
        &text};
    writeArguments(sink, arguments.data(), arguments.size(), Blocks::hashed);
    return text;
}

std::optional<DescribedAnswer> findAnswer(std::string_view name, std::span<const CallValue> arguments) {
    if (!hasMachine()) return {};
    const std::shared_ptr<const Machine> machine = currentMachine();
    const auto ofCall = machine->answers.find(name);
    if (ofCall == machine->answers.end()) return {};
    try {
        const auto found = ofCall->second.find(argumentsText(arguments));
        if (found == ofCall->second.end()) return {};
        const AnswerRule& rule = found->second;
        return DescribedAnswer{rule.number, rule.text ? keepText(*rule.text) : nullptr, rule.output};
    } catch (const std::exception&) { // no memory
        return {};
    }
}

} // namespace sim
