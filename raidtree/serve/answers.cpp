#include "raidtree/serve/answers.h"

#include "raidtree/cleanText.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <string_view>

namespace raidtree {

namespace {

constexpr const char* SCRIPT = // live.js
#include "live.inc"
    ;

constexpr const char *HTML = "text/html; charset=utf-8", *JSON = "application/json; charset=utf-8",
                     *XML = "application/xml; charset=utf-8", *METRICS = "text/plain; version=0.0.4; charset=utf-8",
                     *JAVASCRIPT = "text/javascript; charset=utf-8", *PLAIN = "text/plain; charset=utf-8";

// By content alone, so that a restart changes none.
std::string etagOf(const std::string& body) {
    uint64_t sum = 0xcbf29ce484222325; // FNV-1a
    for (const char c : body) sum = (sum ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    std::array<char, 24> text{};
    snprintf(text.data(), text.size(), "\"%016" PRIx64 "\"", sum);
    return text.data();
}

// A list of tags, weak ones among them, or "*".
bool isAmong(std::string_view list, const std::string& etag) {
    return list == "*" || list.find(etag) != std::string_view::npos;
}

Answer answerWith(const Question& question, const char* type, const std::string& body) {
    Answer answer = {200, type, "", etagOf(body), ""};
    if (isAmong(question.ifNoneMatch, answer.etag))
        answer.status = 304;
    else
        answer.body = body;
    return answer;
}

Answer answerRedfish(const Question& question, const std::string& path, const Publication& publication) {
    if (const std::string* resource = findResource(publication.redfish, path))
        return answerWith(question, resource->starts_with('<') ? XML : JSON, *resource);
    const int status = publication.hasTree ? 404 : 503;
    return {status, JSON, redfishError(status, cutText(cleanText(path), 200)), "", ""};
}

} // namespace

Publication publishServer(std::string tree, const Report& report, const States& states) {
    return {true,
            std::move(tree),
            renderPage(report, states, true),
            renderJson(report, states),
            renderMetrics(&report, states),
            redfishResources(report, states)};
}

Publication publishTrouble(const std::string& why) {
    return {false, "", renderTroublePage(why), "{\"error\": " + jsonText(why) + "}\n", renderMetrics(nullptr, {}), {}};
}

Answer answerTo(const Question& question, const Publication& publication) {
    const std::string path = question.path.substr(0, question.path.find('?'));
    const bool isRedfish = path == "/redfish" || path.starts_with("/redfish/");
    if (question.method != "GET" && question.method != "HEAD") {
        const std::string body = isRedfish ? redfishError(405, path) : "Nothing can be changed here.\n";
        return {405, isRedfish ? JSON : PLAIN, body, "", "GET, HEAD"};
    }
    if (isRedfish) return answerRedfish(question, path, publication);
    if (path == "/live.js") return answerWith(question, JAVASCRIPT, SCRIPT);
    const struct {
        const char *path, *type;
        const std::string& body;
    } documents[] = {{"/", HTML, publication.page},
                     {"/server.json", JSON, publication.json},
                     {"/metrics", METRICS, publication.metrics},
                     {"/tree.xml", XML, publication.tree}};
    for (const auto& document : documents) {
        if (path != document.path) continue;
        if (publication.hasTree) return answerWith(question, document.type, document.body);
        if (document.body.empty()) return {503, PLAIN, "There is no tree that can be read.\n", "", ""};
        return {503, document.type, document.body, "", ""};
    }
    return {404, PLAIN, "Nothing is here. There are /, /server.json, /tree.xml, /metrics and /redfish/v1/.\n", "", ""};
}

} // namespace raidtree
