#include "rst/treeWriters.h"

#include "daemon/logs.h"
#include "tests/daemon/outputs.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <regex>
#include <sys/resource.h>

namespace {

using Document = std::unique_ptr<XMLDoc, decltype(&freeXMLDoc)>;

constexpr char FULL[] = "/var/full.xml"; // a device that takes nothing
constexpr char NO_DIRECTORY[] = "/var/none/tree.xml";
constexpr char TREE_WRITTEN[] = "writeRST2File(): Have successfully written RST XML file for out-of-band data!\n";
constexpr char TEXT_WRITTEN[] = "STRING(): Have successfully written RAID XML RST file with Inband data!\n";

Document makeDocument(const std::string& value) {
    Document document(createXMLDoc(), freeXMLDoc);
    XMLNode* root = createElement("R");
    setDocumentElement(document.get(), root);
    appendTextChild(root, "A", value.c_str());
    return document;
}

// Addresses and the one function's name made short; "A" is any but NULL.
std::string shortened(const std::string& text) {
    return std::regex_replace(std::regex_replace(text, std::regex("0x[1-9a-f][0-9a-f]*"), "A"),
                              std::regex("writeRSTString2File"), "STRING");
}

TEST(TreeWriters, tellWhatBecameOfTheTree) {
    const Document tree = makeDocument("1");
    const Document empty(createXMLDoc(), freeXMLDoc);
    const std::string start = "writeRST2File(): START - xmlDocument= A\n";
    const std::string serialised = start + "writeRST2File(): after writeXMLEnhancedForBf(): xmlStr= A\n";
    const std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<R>\n  <A>1</A>\n</R>\n";
    const struct {
        const char* what;
        std::function<int()> write;
        int result;
        std::string logged;
        std::string traced;
        std::string content;
    } rows[] = {
        {"a tree", [&] { return writeRST2File(tree.get(), RST_FILE); }, 0, TREE_WRITTEN,
         serialised + "writeRST2File(): fwrite() returns len= 59, strlen(xmlStr)=59\nwriteRST2File(): END - ret=0\n",
         text},
        {"none", [&] { return writeRST2File(nullptr, RST_FILE); }, 1, "", "writeRST2File(): START - xmlDocument= 0x0\n",
         "old"},
        {"no path", [&] { return writeRST2File(tree.get(), nullptr); }, 1, "", start, "old"},
        {"no root", [&] { return writeRST2File(empty.get(), RST_FILE); }, 2, "",
         start + "writeRST2File(): after writeXMLEnhancedForBf(): xmlStr= 0x0\n", "old"},
        {"cannot be opened", [&] { return writeRST2File(tree.get(), NO_DIRECTORY); }, 0, "", serialised, "old"},
        {"device full", [&] { return writeRST2File(tree.get(), FULL); }, 3,
         "writeRST2File(): ERROR writing RST XML file '/var/full.xml' (ret=3)!\n",
         serialised + "writeRST2File(): fwrite() returns len= 0, strlen(xmlStr)=59\nwriteRST2File(): END - ret=3\n",
         "old"},
        {"a text", [] { return writeRSTString2File("<R/>", RST_FILE); }, 0, TEXT_WRITTEN,
         "STRING(): START\nSTRING(): fwrite returns len= 4\nSTRING(): END - ret=0\n", "<R/>"},
        {"an empty text", [] { return writeRSTString2File("", RST_FILE); }, 0, TEXT_WRITTEN,
         "STRING(): START\nSTRING(): fwrite returns len= 0\nSTRING(): END - ret=0\n", ""},
        {"no text", [] { return writeRSTString2File(nullptr, RST_FILE); }, 0, "", "STRING(): START\n", "old"},
        {"a text without a place", [] { return writeRSTString2File("<R/>", NO_DIRECTORY); }, ENOENT, "",
         "STRING(): START\nSTRING(): END - ret=2\n", "old"},
        {"a text on a full device", [] { return writeRSTString2File("<R/>", FULL); }, ENOSPC, TEXT_WRITTEN,
         "STRING(): START\nSTRING(): fwrite returns len= 0\nSTRING(): END - ret=28\n", "old"},
    };
    std::filesystem::create_symlink("/dev/full", below(FULL));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        std::filesystem::remove(below(RST_LOG_FILE));
        std::ofstream(below(RST_FILE)) << "old";
        EXPECT_EQ(shortened(tracedBy([&] { EXPECT_EQ(row.write(), row.result); })), row.traced);
        EXPECT_EQ(shortened(std::regex_replace(textOf(below(RST_LOG_FILE)), std::regex("[^\n]*\t"), "")), row.logged);
        EXPECT_EQ(textOf(below(RST_FILE)), row.content);
    }
    std::filesystem::remove(below(FULL));
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
