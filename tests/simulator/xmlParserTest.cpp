// What a parsed text becomes; that a document of any names and texts is well-formed is what a fuzz target looks for.

#include "platform/xmlParser.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>

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

std::string write(const XMLDoc* document) {
    XMLWorkArea workArea;
    char* text = writeXMLEnhancedForBf(&workArea, document, "UTF-8", 0, 1);
    std::string result = text ? text : std::string("error: ") + getErrorText(&workArea);
    free(text);
    return result;
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
    }
}

TEST(XmlParser, ParseErrorsSayWhere) {
    const auto nested = [](int depth) {
        std::string text;
        for (int i = 0; i < depth; ++i) text += "<a>";
        for (int i = 0; i < depth; ++i) text += "</a>";
        return text;
    };
    const std::string most = "<a>" + std::string((size_t{16} << 20) - 7, 'x') + "</a>";
    const std::pair<std::string, const char*> cases[] = {
        {nested(64), ""},
        {"<a>" + nested(63) + nested(63) + "</a>", ""},
        {nested(65), "line 1, column 193: elements are nested too deeply"},
        {"<a>\n\n  <b></c></a>", "line 3, column 8: mismatched tag"},
        {"", "line 1, column 1: no element found"},
        {"<a>&x;</a>", "line 1, column 4: undefined entity"},
        {"<a b='1' b='2'/>", "line 1, column 10: duplicate attribute"},
        {"<a>\x01</a>", "line 1, column 4: not well-formed (invalid token)"},
        {"<!DOCTYPE a [<!ENTITY x 'y'>]><a>&x;</a>", "line 1, column 13: a document type declaration is not accepted"},
        {most, ""},
        {most + "\n", "the text is longer than 16 MiB"},
    };
    for (const auto& [text, error] : cases) {
        XMLWorkArea workArea;
        const Document document{parseText(&workArea, text.c_str())};
        EXPECT_STREQ(getErrorText(&workArea), error) << text.substr(0, 80);
        EXPECT_EQ(document == nullptr, *error != '\0') << text.substr(0, 80);
    }
    EXPECT_EQ(createElement("a"), nullptr); // a failed document leaves nothing behind
}

} // namespace
