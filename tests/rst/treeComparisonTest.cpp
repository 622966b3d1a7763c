#include "rst/treeComparison.h"

#include "tests/daemon/base/outputs.h"

#include <gtest/gtest.h>
#include <memory>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using Document = std::unique_ptr<XMLDoc, decltype(&freeXMLDoc)>;

constexpr char NAME[] = "findXmlNodeWhichIsDifferent";

Document parse(const std::string& text) {
    Document document(parseText(nullptr, text.c_str()), freeXMLDoc);
    EXPECT_NE(document, nullptr) << text;
    return document;
}

// The first difference that it looks for is a text, which is unique in its trees.
TEST(TreeComparison, findsADifferenceAndTellsItsWay) {
    for (const json& row : casesOf(__FILE__)) {
        SCOPED_TRACE(row["what"]);
        const Document newTree = parse(row["new"]);
        const Document oldTree = parse(row["old"]);
        std::string expected;
        for (const std::string name : row["names"]) expected += NAME + ("(): node1->nodeName='" + name) + "'\n";
        for (const std::string line : row.value("verdict", json::array())) expected += NAME + line + "\n";
        const XMLNode* found = nullptr;
        const auto compare = [&] {
            found = findXmlNodeWhichIsDifferent(newTree->documentElement, oldTree->documentElement);
        };
        EXPECT_EQ(tracedBy(compare), expected);
        EXPECT_STREQ(found == nullptr ? "" : found->nodeValue, row.value("found", "").c_str());
        compare();
        EXPECT_STREQ(found == nullptr ? "" : found->nodeValue, row.value("found", "").c_str()) << "without a trace";
    }
}

TEST(TreeComparison, takesMissingRootsAndNames) {
    XMLNode root{};
    const auto compare = [](const XMLNode* newNode, const XMLNode* oldNode, const XMLNode* expected) {
        return tracedBy([=] { EXPECT_EQ(findXmlNodeWhichIsDifferent(newNode, oldNode), expected); });
    };
    const std::string different = NAME + std::string(": Found different node! (!=NULL)\n");
    EXPECT_EQ(compare(nullptr, nullptr, nullptr), "");
    EXPECT_EQ(compare(&root, nullptr, &root), different);
    EXPECT_EQ(compare(nullptr, &root, &root), different);

    const Document newTree = parse("<R><A><B><C>new</C></B></A></R>");
    const Document oldTree = parse("<R><A><B><C>old</C></B></A></R>");
    XMLNode* element = newTree->documentElement->firstChild;
    XMLNode* text = element->firstChild->firstChild->firstChild;
    element->nodeName = text->nodeName = nullptr;
    EXPECT_EQ(compare(newTree->documentElement, oldTree->documentElement, text),
              "findXmlNodeWhichIsDifferent(): node1->nodeName='B'\n"
              "findXmlNodeWhichIsDifferent:Found different node: valNode1->nodeValue = 'new'\n"
              "findXmlNodeWhichIsDifferent: Found different node (Typ=3)!\n");
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
