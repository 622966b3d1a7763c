#include "rst/treeComparison.h"

#include "tests/daemon/outputs.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <regex>
#include <sstream>

namespace {

using Document = std::unique_ptr<XMLDoc, decltype(&freeXMLDoc)>;

Document parse(const char* text) {
    Document document(parseText(nullptr, text), freeXMLDoc);
    EXPECT_NE(document, nullptr) << text;
    return document;
}

// The node at the end of a path of child positions.
XMLNode* nodeAt(const Document& document, const char* path) {
    XMLNode* node = document->documentElement;
    for (; *path != '\0'; ++path) {
        node = node->firstChild;
        for (char i = '0'; i < *path; ++i) node = node->nextSibling;
    }
    return node;
}

struct Row {
    const char* what;
    const char* newTree;
    const char* oldTree;
    char side;           // of the answer: 'n', 'o'; '-': there is none
    const char* path;    // of the answer
    const char* names;   // that are traced
    const char* verdict; // behind them
};

const Row ROWS[] = {
    {"equal", "<R><A><V>1</V></A><B>x</B></R>", "<R><A><V>1</V></A><B>x</B></R>", '-', "", "A B V #text #text", ""},
    {"a leaf two levels down", "<R><A><V>1</V><W>new</W></A></R>", "<R><A><V>1</V><W>old</W></A></R>", 'n', "010", "A",
     "FOUND:Found different node: valNode1->nodeValue = 'new'\n"},
    {"a leaf one level down", "<R><A>new</A></R>", "<R><A>old</A></R>", 'n', "00", "A",
     "FOUND:Found different value: child1: '#text' = 'new'\n"},
    {"deeper: told by every level that it passes", "<R><A><B><C>new</C></B></A></R>", "<R><A><B><C>old</C></B></A></R>",
     'n', "0000", "A B",
     "FOUND:Found different node: valNode1->nodeValue = 'new'\nFOUND: Found different node (Typ=3, Name='#text')!\n"},
    {"a text that appears", "<R><A><V>1</V></A></R>", "<R><A><V/></A></R>", 'n', "000", "A", ""},
    {"a text that disappears", "<R><A><V/></A></R>", "<R><A><V>1</V></A></R>", 'o', "000", "A", ""},
    {"text against CDATA", "<R><A><V>1</V></A></R>", "<R><A><V><![CDATA[1]]></V></A></R>", 'n', "000", "A",
     "FOUND:Found different node types!\n"},
    {"CDATA", "<R><A><V><![CDATA[1]]></V></A></R>", "<R><A><V><![CDATA[2]]></V></A></R>", 'n', "000", "A",
     "FOUND:Found different node: valNode1->nodeValue = '1'\n"},
    {"one more at the end", "<R><A>1</A><D>2</D></R>", "<R><A>1</A></R>", '-', "", "A #text", ""},
    {"one less in the middle shifts the pairs", "<R><A>1</A><A>3</A></R>", "<R><A>1</A><A>2</A><A>3</A></R>", 'n', "10",
     "A A", "FOUND:Found different value: child1: '#text' = '3'\n"},
    {"another name hides a text", "<R><A>1</A></R>", "<R><B>2</B></R>", '-', "", "#text", ""},
    {"another name below hides it too", "<R><A><V>1</V></A></R>", "<R><A><W>2</W></A></R>", '-', "", "A #text", ""},
    {"another name, but what is below differs", "<R><A><V>1</V></A></R>", "<R><B><V>2</V></B></R>", 'n', "000", "V",
     "FOUND:Found different value: child1: '#text' = '1'\nFOUND: Found different node (Typ=3, Name='#text')!\n"},
    {"no child on one side", "<R/>", "<R><A>1</A></R>", '-', "", "", ""},
};

std::string traceText(const std::string& names, const std::string& verdict) {
    std::string text;
    std::istringstream stream(names);
    for (std::string name; stream >> name;) text += "FOUND(): node1->nodeName='" + name + "'\n";
    return std::regex_replace(text + verdict, std::regex("FOUND"), "findXmlNodeWhichIsDifferent");
}

TEST(TreeComparison, findsTheFirstDifferenceThatItLooksFor) {
    for (const Row& row : ROWS) {
        SCOPED_TRACE(row.what);
        const Document newTree = parse(row.newTree);
        const Document oldTree = parse(row.oldTree);
        const XMLNode* found = nullptr;
        const std::string traced =
            tracedBy([&] { found = findXmlNodeWhichIsDifferent(newTree->documentElement, oldTree->documentElement); });
        const XMLNode* expected = nullptr;
        if (row.side != '-') expected = nodeAt(row.side == 'n' ? newTree : oldTree, row.path);
        EXPECT_EQ(found, expected);
        EXPECT_EQ(traced, traceText(row.names, row.verdict));
    }
}

TEST(TreeComparison, takesMissingRootsAndNames) {
    XMLNode root{};
    const auto compare = [](const XMLNode* newNode, const XMLNode* oldNode, const XMLNode* expected) {
        return tracedBy([=] { EXPECT_EQ(findXmlNodeWhichIsDifferent(newNode, oldNode), expected); });
    };
    EXPECT_EQ(compare(nullptr, nullptr, nullptr), "");
    EXPECT_EQ(compare(&root, nullptr, &root), traceText("", "FOUND: Found different node! (!=NULL)\n"));
    EXPECT_EQ(compare(nullptr, &root, &root), traceText("", "FOUND: Found different node! (!=NULL)\n"));

    const Document newTree = parse("<R><A><B><C>new</C></B></A></R>");
    const Document oldTree = parse("<R><A><B><C>old</C></B></A></R>");
    nodeAt(newTree, "0")->nodeName = nullptr;
    nodeAt(newTree, "0000")->nodeName = nullptr;
    EXPECT_EQ(compare(newTree->documentElement, oldTree->documentElement, nodeAt(newTree, "0000")),
              traceText("B", "FOUND:Found different node: valNode1->nodeValue = 'new'\n"
                             "FOUND: Found different node (Typ=3)!\n"));
}

TEST(TreeComparison, comparesBytes) {
    const char* message = "differentContent(): memcmp() says: Different content ! => return TRUE!\n";
    const struct {
        const char* a;
        const char* b;
        size_t length;
        int expected;
        const char* trace;
    } rows[] = {{nullptr, nullptr, 3, 0, ""}, {"abc", nullptr, 3, 1, ""},    {nullptr, "abc", 3, 1, ""},
                {"abc", "abd", 2, 0, ""},     {"abc", "abd", 3, 1, message}, {"a\0b", "a\0c", 3, 1, message}};
    for (const auto& row : rows)
        EXPECT_EQ(tracedBy([&] { EXPECT_EQ(differentContent(row.a, row.b, row.length), row.expected); }), row.trace);
}

} // namespace
