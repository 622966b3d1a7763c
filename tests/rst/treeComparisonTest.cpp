#include "rst/treeComparison.h"

#include "tests/daemon/outputs.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <regex>

namespace {

using Document = std::unique_ptr<XMLDoc, decltype(&freeXMLDoc)>;

Document parse(const std::string& text) {
    Document document(parseText(nullptr, text.c_str()), freeXMLDoc);
    EXPECT_NE(document, nullptr) << text;
    return document;
}

// The node at the end of a path of child positions, as "0.2".
XMLNode* nodeAt(const Document& document, const std::string& path) {
    XMLNode* node = document->documentElement;
    for (const char step : path) {
        if (step == '.') continue;
        node = node->firstChild;
        for (int i = '0'; i < step; ++i) node = node->nextSibling;
    }
    return node;
}

struct Row {
    const char* what;
    std::string newTree;
    std::string oldTree;
    char side;         // of the answer: 'n', 'o'; '-': none
    std::string path;  // of the answer
    std::string trace; // FOUND stands for "findXmlNodeWhichIsDifferent"
};

const Row ROWS[] = {
    {"equal", "<R><A><V>1</V></A><B>x</B></R>", "<R><A><V>1</V></A><B>x</B></R>", '-', "",
     "FOUND(): node1->nodeName='A'\nFOUND(): node1->nodeName='B'\nFOUND(): node1->nodeName='V'\n"
     "FOUND(): node1->nodeName='#text'\nFOUND(): node1->nodeName='#text'\n"},
    {"a leaf two levels down", "<R><A><V>1</V><W>new</W></A></R>", "<R><A><V>1</V><W>old</W></A></R>", 'n', "0.1.0",
     "FOUND(): node1->nodeName='A'\nFOUND:Found different node: valNode1->nodeValue = 'new'\n"},
    {"a leaf one level down", "<R><A>new</A></R>", "<R><A>old</A></R>", 'n', "0.0",
     "FOUND(): node1->nodeName='A'\nFOUND:Found different value: child1: '#text' = 'new'\n"},
    {"deeper: told by every level that it passes", "<R><A><B><C>new</C></B></A></R>", "<R><A><B><C>old</C></B></A></R>",
     'n', "0.0.0.0",
     "FOUND(): node1->nodeName='A'\nFOUND(): node1->nodeName='B'\n"
     "FOUND:Found different node: valNode1->nodeValue = 'new'\n"
     "FOUND: Found different node (Typ=3, Name='#text')!\n"},
    {"a text that appears", "<R><A><V>1</V></A></R>", "<R><A><V/></A></R>", 'n', "0.0.0",
     "FOUND(): node1->nodeName='A'\n"},
    {"a text that disappears", "<R><A><V/></A></R>", "<R><A><V>1</V></A></R>", 'o', "0.0.0",
     "FOUND(): node1->nodeName='A'\n"},
    {"text against CDATA", "<R><A><V>1</V></A></R>", "<R><A><V><![CDATA[1]]></V></A></R>", 'n', "0.0.0",
     "FOUND(): node1->nodeName='A'\nFOUND:Found different node types!\n"},
    {"CDATA", "<R><A><V><![CDATA[1]]></V></A></R>", "<R><A><V><![CDATA[2]]></V></A></R>", 'n', "0.0.0",
     "FOUND(): node1->nodeName='A'\nFOUND:Found different node: valNode1->nodeValue = '1'\n"},
    {"one more at the end", "<R><A>1</A><D>2</D></R>", "<R><A>1</A></R>", '-', "",
     "FOUND(): node1->nodeName='A'\nFOUND(): node1->nodeName='#text'\n"},
    {"one less in the middle shifts the pairs", "<R><A>1</A><A>3</A></R>", "<R><A>1</A><A>2</A><A>3</A></R>", 'n',
     "1.0",
     "FOUND(): node1->nodeName='A'\nFOUND(): node1->nodeName='A'\nFOUND:Found different value: child1: '#text' = "
     "'3'\n"},
    {"another name hides a text", "<R><A>1</A></R>", "<R><B>2</B></R>", '-', "", "FOUND(): node1->nodeName='#text'\n"},
    {"another name below hides it too", "<R><A><V>1</V></A></R>", "<R><A><W>2</W></A></R>", '-', "",
     "FOUND(): node1->nodeName='A'\nFOUND(): node1->nodeName='#text'\n"},
    {"another name, but what is below differs", "<R><A><V>1</V></A></R>", "<R><B><V>2</V></B></R>", 'n', "0.0.0",
     "FOUND(): node1->nodeName='V'\nFOUND:Found different value: child1: '#text' = '1'\n"
     "FOUND: Found different node (Typ=3, Name='#text')!\n"},
    {"no child on one side", "<R/>", "<R><A>1</A></R>", '-', "", ""},
};

std::string traceText(const std::string& row) {
    return std::regex_replace(row, std::regex("FOUND"), "findXmlNodeWhichIsDifferent");
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
        EXPECT_EQ(traced, traceText(row.trace));
    }
}

TEST(TreeComparison, takesMissingRootsAndNames) {
    XMLNode root{};
    const auto compare = [](const XMLNode* newNode, const XMLNode* oldNode, const XMLNode* expected) {
        return tracedBy([=] { EXPECT_EQ(findXmlNodeWhichIsDifferent(newNode, oldNode), expected); });
    };
    EXPECT_EQ(compare(nullptr, nullptr, nullptr), "");
    EXPECT_EQ(compare(&root, nullptr, &root), traceText("FOUND: Found different node! (!=NULL)\n"));
    EXPECT_EQ(compare(nullptr, &root, &root), traceText("FOUND: Found different node! (!=NULL)\n"));

    const Document newTree = parse("<R><A><B><C>new</C></B></A></R>");
    const Document oldTree = parse("<R><A><B><C>old</C></B></A></R>");
    nodeAt(newTree, "0")->nodeName = nullptr;
    nodeAt(newTree, "0.0.0.0")->nodeName = nullptr;
    EXPECT_EQ(compare(newTree->documentElement, oldTree->documentElement, nodeAt(newTree, "0.0.0.0")),
              traceText("FOUND(): node1->nodeName='B'\nFOUND:Found different node: valNode1->nodeValue = 'new'\n"
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
