// Whatever is asked of the server: an answer, which says nothing but what the tree or the server itself has.

#include "raidtree/serve/answers.h"
#include "tests/fuzz/fuzz.h"

#include <nlohmann/json.hpp>

namespace {

using namespace raidtree;

Publication publicationOf(const std::string& tree) {
    const States states = builtInStates();
    try {
        Report report;
        report.server = parseServer(tree, "tree");
        report.problems = findProblems(report.server, states);
        return publishServer(tree, report, states);
    } catch (const InputError& error) {
        return publishTrouble(error.what());
    }
}

} // namespace

void tryServe(std::string_view bytes) {
    Input input(bytes);
    const Question question = {std::string(input.takeText()), std::string(input.takeText()),
                               std::string(input.takeText())};
    const Publication publication = publicationOf(std::string(input.takeAll()));
    const Answer answer = answerTo(question, publication);
    demand(answer.status == 304 ? answer.body.empty() : !answer.body.empty(), "an answer has a body");
    demand((answer.status == 200 || answer.status == 304) == !answer.etag.empty(), "what can be kept has a tag");
    demand((answer.status == 405) == !answer.allow.empty(), "what is refused tells what is not");
    if (answer.type.starts_with("application/json") && !answer.body.empty())
        demand(!nlohmann::json::parse(answer.body).is_discarded(), "JSON is JSON"); // it throws
    if (answer.status != 200) return;
    const Answer again = answerTo({question.method, question.path, answer.etag}, publication);
    demand(again.status == 304, "what is known is not sent again");
}
