#include "platform/xmlParser.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

const std::string HEAD = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

struct FreeDocument {
    void operator()(XMLDoc* document) const { freeXMLDoc(document); }
};
using Document = std::unique_ptr<XMLDoc, FreeDocument>;

struct Tree {
    Document document{createXMLDoc()};
    XMLNode* root{createElement("Root")};
    Tree() { EXPECT_EQ(setDocumentElement(document.get(), root), XP_SUCCESS); }
};

XMLNode* append(XMLNode* parent, const char* name) {
    XMLNode* element = createElement(name);
    EXPECT_EQ(appendChild(parent, element), XP_SUCCESS);
    return element;
}

std::string write(const XMLDoc* document) {
    XMLWorkArea workArea;
    char* text = writeXMLEnhancedForBf(&workArea, document, "UTF-8", 0, 1);
    std::string result = text ? text : std::string("error: ") + getErrorText(&workArea);
    free(text);
    return result;
}

std::string parseError(const std::string& text) {
    XMLWorkArea workArea;
    const Document document{parseText(&workArea, text.c_str())};
    return document ? "none" : getErrorText(&workArea);
}

// Everything that a reader of the public nodes sees, white space between elements and empty texts left out.
std::string describe(const XMLNode* node) {
    if (node->nodeType != XML_ELEMENT_NODE) return std::to_string(node->nodeType) + node->nodeName + node->nodeValue;
    std::string text = "<" + std::string(node->nodeName);
    bool hasElement = false;
    for (const XMLNode* child = node->firstChild; child; child = child->nextSibling) {
        hasElement = hasElement || child->nodeType == XML_ELEMENT_NODE;
    }
    for (const XMLNode* child = node->firstChild; child; child = child->nextSibling) {
        const bool isBlank =
            child->nodeType == XML_TEXT_NODE && child->nodeValue[strspn(child->nodeValue, " \t\r\n")] == 0;
        if (!(isBlank && (hasElement || *child->nodeValue == 0))) text += "|" + describe(child);
    }
    return text + ">";
}

TEST(XmlParser, LeavesAreSmallAndGrowWhenAskedTo) {
    const Tree tree;
    for (const char* name : {"A", "B", "C", "C"}) EXPECT_EQ(appendTextChild(tree.root, name, "1234567"), XP_SUCCESS);
    XMLNode* a = tree.root->firstChild;
    XMLNode* b = a->nextSibling;
    XMLNode* c = b->nextSibling;
    EXPECT_EQ(reinterpret_cast<char*>(c->nextSibling) - reinterpret_cast<char*>(c),
              static_cast<ptrdiff_t>(2 * sizeof(XMLNode)));
    EXPECT_EQ(c->firstChild->nodeValue, c->nextSibling->firstChild->nodeValue); // the same text, kept once
    EXPECT_EQ(setAttribute(a, "Nr", "0"), XP_SUCCESS);
    EXPECT_EQ(appendTextChild(b, "Inner", "x"), XP_SUCCESS);
    EXPECT_EQ(appendIntegerChild(append(b, "Deep"), "Deeper", 1), XP_SUCCESS);
    EXPECT_EQ(write(tree.document.get()), HEAD + "<Root>\n"
                                                 "  <A Nr=\"0\">1234567</A>\n"
                                                 "  <B>1234567<Inner>x</Inner><Deep><Deeper>1</Deeper></Deep></B>\n"
                                                 "  <C>1234567</C>\n"
                                                 "  <C>1234567</C>\n"
                                                 "</Root>\n");
}

TEST(XmlParser, TextsAreCleanedAsTheyEnter) {
    const struct {
        const char* text;
        const char* clean;
    } cases[] = {
        {"tab\t line\n return\r del\x7F", "tab\t line\n return\r del\x7F"},
        {"\x01 12345678\x1F", "\uFFFD 12345678\uFFFD"},
        {"\u0085 \u00E9 \u20AC \uD7FF \uE000 \uFFFD \U0001F600 \U0001FFFE \U0010FFFF",
         "\u0085 \u00E9 \u20AC \uD7FF \uE000 \uFFFD \U0001F600 \U0001FFFE \U0010FFFF"},
        {"\xEF\xBF\xBE|\xEF\xBF\xBF", "\uFFFD|\uFFFD"},               // not characters: one each
        {"\x80|\xFF|\xC1\xBF", "\uFFFD|\uFFFD|\uFFFD\uFFFD"},         // no lead bytes: one for each byte
        {"\xC2|\xE2\x82|\xF0\x9F\x98|", "\uFFFD|\uFFFD|\uFFFD|"},     // cut short: one for the whole
        {"\xE0\x9F\x80", "\uFFFD\uFFFD\uFFFD"},                       // longer than needed
        {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},                       // a surrogate
        {"\xF4\x90\x80\x80|\xF5", "\uFFFD\uFFFD\uFFFD\uFFFD|\uFFFD"}, // beyond the last
        {"\xE2\x82", "\uFFFD"},                                       // nothing is read behind the end
    };
    for (const auto& c : cases) {
        const Tree tree;
        EXPECT_EQ(appendTextChild(tree.root, "T", c.text), XP_SUCCESS);
        EXPECT_STREQ(tree.root->firstChild->firstChild->nodeValue, c.clean);
    }
}

TEST(XmlParser, ElementsBelongToTheYoungestDocument) {
    Document old{createXMLDoc()};
    Document young{createXMLDoc()};
    XMLNode* ofYoung = createElement("A");
    EXPECT_EQ(setDocumentElement(old.get(), ofYoung), 1);
    EXPECT_EQ(setDocumentElement(young.get(), ofYoung), XP_SUCCESS);
    Document youngest{createXMLDoc()};
    young.reset();
    EXPECT_EQ(setDocumentElement(youngest.get(), createElement("B")), XP_SUCCESS);
    youngest.reset();
    EXPECT_EQ(setDocumentElement(old.get(), createElement("C")), XP_SUCCESS);
    EXPECT_EQ(write(old.get()), HEAD + "<C></C>\n");
    old.reset();
    EXPECT_EQ(createElement("D"), nullptr);
    freeXMLDoc(nullptr);
}

TEST(XmlParser, RefusesWhatIsNoTree) {
    const Document other{createXMLDoc()};
    XMLNode* foreign = createElement("Foreign");
    const Tree tree;
    XMLNode* child = append(tree.root, "Child");
    EXPECT_EQ(appendTextChild(child, "Leaf", "x"), XP_SUCCESS);
    XMLNode* top = createElement("Top");
    XMLNode* inner = append(top, "Inner");
    XMLNode* leaf = child->firstChild;
    const std::string before = write(tree.document.get());
    const std::pair<XMLNode*, XMLNode*> pairs[] = {
        {nullptr, child}, {child, nullptr},          {tree.root, child}, {child, tree.root},   {child, child},
        {child, leaf},    {leaf->firstChild, inner}, {inner, top},       {tree.root, foreign}, {top, top}};
    for (const auto& [parent, node] : pairs) EXPECT_EQ(appendChild(parent, node), 1) << (&parent - &pairs[0].first) / 2;
    for (const char* name : {"", "1a", "-a", "a b", "a>", "a\xFF", static_cast<const char*>(nullptr)})
        EXPECT_EQ(appendTextChild(child, name, "x"), 1);
    EXPECT_EQ(write(tree.document.get()), before);
    EXPECT_EQ(tree.document->allocationFailed, 0); // a mistake is no lack of memory
}

TEST(XmlParser, ParsedTextsAreWrittenAgain) {
    const struct {
        const char* text;
        const char* written;
    } cases[] = {
        {"<a><b/>\n\t<c>  </c></a>", "<a>\n  <b></b>\n  <c>  </c>\n</a>\n"},
        {"<a>x<b> <c/> </b>\n<d/></a>", "<a>x<b> <c></c> </b>\n<d></d></a>\n"},
        {"<a><![CDATA[ ]]><b/></a>", "<a><![CDATA[ ]]><b></b></a>\n"},
        {"<a>1<![CDATA[<&]]>2<![CDATA[]]></a>", "<a>1<![CDATA[<&]]>2<![CDATA[]]></a>\n"},
        {"<a>x<!-- y -->&#13;<?z?>&#x26;\r\nw</a>", "<a>x&#13;&amp;\nw</a>\n"},
        {"<a b='&lt;&amp;&gt;&quot;&#39;&#13;&#10;'>&quot;</a>",
         "<a b=\"&lt;&amp;&gt;&quot;&apos;&#13;&#10;\">&quot;</a>\n"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><a b='\xE9' c='&#9;'/>", "<a b=\"\u00E9\" c=\"&#9;\"></a>\n"},
    };
    for (const auto& c : cases) {
        const Document document{parseText(nullptr, c.text)};
        ASSERT_TRUE(document) << c.text;
        EXPECT_EQ(write(document.get()), HEAD + c.written);
        const Document again{parseText(nullptr, write(document.get()).c_str())};
        ASSERT_TRUE(again) << c.text;
        EXPECT_EQ(write(again.get()), HEAD + c.written);
        EXPECT_EQ(describe(again->documentElement), describe(document->documentElement));
    }
}

TEST(XmlParser, ParseErrorsSayWhere) {
    const auto nested = [](int depth) {
        std::string text;
        for (int i = 0; i < depth; ++i) text += "<a>";
        for (int i = 0; i < depth; ++i) text += "</a>";
        return text;
    };
    EXPECT_EQ(parseError(nested(64)), "none");
    EXPECT_EQ(parseError("<a>" + nested(63) + nested(63) + "</a>"), "none");
    EXPECT_EQ(parseError(nested(65)), "line 1, column 193: elements are nested too deeply");
    EXPECT_EQ(parseError("<a>\n\n  <b></c></a>"), "line 3, column 8: mismatched tag");
    EXPECT_EQ(parseError(""), "line 1, column 1: no element found");
    EXPECT_EQ(parseError("<a>&x;</a>"), "line 1, column 4: undefined entity");
    EXPECT_NE(parseError("<a b='1' b='2'/>").find("duplicate attribute"), std::string::npos);
    EXPECT_NE(parseError("<a>\x01</a>").find("not well-formed"), std::string::npos);
    EXPECT_NE(parseError("<!DOCTYPE a [<!ENTITY x 'y'>]><a>&x;</a>").find("document type"), std::string::npos);
    const std::string most = "<a>" + std::string((size_t{16} << 20) - 7, 'x') + "</a>";
    EXPECT_EQ(parseError(most), "none");
    EXPECT_EQ(parseError(most + "\n"), "the text is longer than 16 MiB");
    EXPECT_EQ(createElement("a"), nullptr); // a failed document leaves nothing behind
}

TEST(XmlParser, RandomTreesSurviveTheRoundTrip) {
    const std::vector<std::string> pieces = {"&", "<", "]]>",  "\"",           "'",        "\r",    "\n", "\t",
                                             " ", "a", "\x01", "\xED\xA0\x80", "\xE2\x82", "\u00E9"};
    const std::vector<std::string> names = {"A", "b-1", "_c", "\u00E9lan"};
    for (unsigned seed = 1; seed <= 300; ++seed) {
        std::mt19937 random(seed);
        const auto below = [&random](size_t count) { return random() % count; };
        const Tree tree;
        std::vector<XMLNode*> elements = {tree.root};
        for (size_t step = below(60); step > 0; --step) {
            XMLNode* parent = elements[below(elements.size())];
            const char* name = names[below(names.size())].c_str();
            std::string text;
            for (size_t i = below(below(9) != 0 ? 6 : 3000); i > 0; --i) text += pieces[below(pieces.size())];
            switch (below(4)) {
            case 0: elements.push_back(append(parent, name)); break;
            case 1: EXPECT_EQ(setAttribute(parent, name, text.c_str()), XP_SUCCESS); break;
            default: EXPECT_EQ(appendTextChild(parent, name, text.c_str()), XP_SUCCESS);
            }
            if (parent->firstChild && below(5) == 0 && parent->firstChild->nodeType == XML_ELEMENT_NODE)
                elements.push_back(parent->firstChild);
        }
        const std::string text = write(tree.document.get());
        XMLWorkArea workArea;
        const Document again{parseText(&workArea, text.c_str())};
        ASSERT_TRUE(again) << "seed " << seed << ": " << getErrorText(&workArea);
        EXPECT_EQ(describe(again->documentElement), describe(tree.root)) << "seed " << seed;
        EXPECT_EQ(write(again.get()), text) << "seed " << seed;
    }
}

} // namespace
