#include "rst/treeWriters.h"

#include "daemon/base/logs.h"
#include "tests/daemon/base/outputs.h"
#include "tests/support/steadyText.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using nlohmann::json;
using Document = std::unique_ptr<XMLDoc, decltype(&freeXMLDoc)>;

constexpr char FULL[] = "/var/full.xml"; // a device that takes nothing
constexpr char NO_DIRECTORY[] = "/var/none/tree.xml";
constexpr char NO_LOCK[] = "/var/pipe.xml";

Document makeDocument(const std::string& value) {
    Document document(createXMLDoc(), freeXMLDoc);
    XMLNode* root = createElement("R");
    (void)setDocumentElement(document.get(), root);
    (void)appendTextChild(root, "A", value.c_str());
    return document;
}

std::vector<std::string> steadyLines(const std::string& text) {
    std::istringstream stream(SteadyText().of(text));
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

TEST(TreeWriters, tellWhatBecameOfTheTree) {
    const Document tree = makeDocument("1");
    const Document empty(createXMLDoc(), freeXMLDoc);
    const struct {
        const char* what;
        std::function<int()> write;
    } rows[] = {
        {"a tree", [&] { return writeRST2File(tree.get(), RST_FILE); }},
        {"no tree", [&] { return writeRST2File(nullptr, RST_FILE); }},
        {"no path", [&] { return writeRST2File(tree.get(), nullptr); }},
        {"no root", [&] { return writeRST2File(empty.get(), RST_FILE); }},
        {"no place", [&] { return writeRST2File(tree.get(), NO_DIRECTORY); }},
        {"device full", [&] { return writeRST2File(tree.get(), FULL); }},
        {"no lock", [&] { return writeRST2File(tree.get(), NO_LOCK); }},
        {"a text", [] { return writeRSTString2File("<R/>", RST_FILE); }},
        {"an empty text", [] { return writeRSTString2File("", RST_FILE); }},
        {"no text", [] { return writeRSTString2File(nullptr, RST_FILE); }},
        {"a text, no place", [] { return writeRSTString2File("<R/>", NO_DIRECTORY); }},
        {"a text, device full", [] { return writeRSTString2File("<R/>", FULL); }},
        {"a text, no lock", [] { return writeRSTString2File("<R/>", NO_LOCK); }},
    };
    const json expected = casesOf(__FILE__);
    std::filesystem::create_symlink("/dev/full", below(FULL));
    ASSERT_EQ(mkfifo(below(NO_LOCK).c_str(), 0600), 0);
    const int reader = open(below(NO_LOCK).c_str(), O_RDWR); // without one the writer would wait
    for (const auto& row : rows) {
        std::filesystem::remove(below(RST_LOG_FILE));
        std::ofstream(below(RST_FILE)) << "old";
        json found;
        const std::string traced = tracedBy([&] { found["result"] = row.write(); });
        found["trace"] = steadyLines(traced);
        found["log"] = steadyLines(textOf(below(RST_LOG_FILE)));
        found["file"] = textOf(below(RST_FILE));
        EXPECT_EQ(found, expected[row.what]) << row.what;
    }
    close(reader);
    for (const char* path : {FULL, NO_LOCK}) std::filesystem::remove(below(path));
}

TEST(TreeWriters, noticeTextsCutShort) {
    const std::string text(10000, 'x');
    const Document tree = makeDocument(text);
    std::filesystem::remove(below(RST_LOG_FILE));
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit limit = {8192, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &limit);
    const int ofTree = writeRST2File(tree.get(), RST_FILE);
    const int ofText = writeRSTString2File(text.c_str(), RST_FILE);
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(ofTree, WRITE_INCOMPLETE);
    EXPECT_EQ(ofText, EFBIG);
    EXPECT_EQ(textOf(below(RST_FILE)).size(), 8192U);
}

} // namespace
