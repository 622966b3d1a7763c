#include "tests/raidtree/command.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/wait.h>

namespace {

std::string outputOf(const std::string& command, int& status) {
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) throw std::runtime_error(command);
    std::string text;
    char part[65536];
    for (size_t length = 0; (length = fread(part, 1, sizeof part, pipe)) > 0;) text.append(part, length);
    const int ended = pclose(pipe);
    status = WIFEXITED(ended) ? WEXITSTATUS(ended) : -1;
    return text;
}

std::vector<std::pair<std::string, std::string>> readDocuments() {
    std::vector<std::pair<std::string, std::string>> all;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(GOLDEN)) {
        if (!entry.is_regular_file()) continue;
        const std::string text = textOfFile(entry.path());
        const std::string name = entry.path().stem();
        if (entry.path().extension() == ".xml") all.emplace_back(name, text);
        // Behind each "==== document" one that the daemon wrote.
        constexpr std::string_view MARK = "==== document\n";
        constexpr std::string_view LAST = "</QPRaidStorageDeviceTree>\n";
        for (size_t at = text.find(MARK); at != std::string::npos; at = text.find(MARK, at + 1)) {
            const size_t from = at + MARK.size();
            const size_t end = text.find(LAST, from);
            if (end != std::string::npos) all.emplace_back(name, text.substr(from, end + LAST.size() - from));
        }
    }
    return all;
}

} // namespace

std::string textOfFile(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::string goldenDocument(const std::string& name) {
    std::string text = textOfFile(std::string(GOLDEN) + "/" + name + ".xml");
    if (text.empty()) throw std::runtime_error("no document " + name);
    return text;
}

const std::vector<std::pair<std::string, std::string>>& allDocuments() {
    static const auto all = readDocuments();
    return all;
}

std::string changed(std::string document, const std::vector<std::pair<std::string, std::string>>& changes) {
    for (const auto& [from, to] : changes) {
        const size_t at = document.find(from);
        if (at == std::string::npos) throw std::runtime_error("not in the document: " + from);
        document.replace(at, from.size(), to);
    }
    return document;
}

bool hasLine(const std::string& text, const std::string& line) {
    return ("\n" + text).find("\n" + line + "\n") != std::string::npos;
}

Raidtree::Raidtree() : folder_((std::filesystem::temp_directory_path() / "raidtreeXXXXXX").string()) {
    if (mkdtemp(folder_.data()) == nullptr) throw std::runtime_error("no temporary directory");
}

Raidtree::~Raidtree() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::string Raidtree::write(const std::string& name, const std::string& text) const {
    std::ofstream(path(name), std::ios::binary) << text;
    return path(name);
}

Output Raidtree::run(const std::string& arguments, const std::string& input) const {
    Output output;
    output.text = outputOf("cd '" + folder_ + "' && TZ=UTC " RAIDTREE " " + arguments + " <" + input + " 2>.errors",
                           output.status);
    output.errors = textOfFile(path(".errors"));
    return output;
}

std::string Raidtree::jsonOf(const std::string& document) const {
    write("json.xml", document);
    return run("show --no-log --json json.xml").text;
}
