// Whatever the text: the reader gives a document that is written and read back equal, or one line about the fault; and
// a document built with any names and texts is well-formed.

#include "rst/treeComparison.h"
#include "tests/fuzz/fuzz.h"

namespace {

constexpr int MOST_LEVELS = 64;

void checkNode(const XMLNode* node, int levels) {
    demand(levels > 0, "nesting is bounded");
    const bool isElement = node->nodeType == XML_ELEMENT_NODE;
    demand(isElement == (node->nodeValue == nullptr) && node->nodeName != nullptr, "texts and elements are told apart");
    demand(isElement || node->firstChild == nullptr, "a text has no children");
    for (const XMLNode* child = node->firstChild; child != nullptr; child = child->nextSibling)
        checkNode(child, child->nodeType == XML_ELEMENT_NODE ? levels - 1 : levels);
}

void read(const std::string& text) {
    XMLWorkArea area;
    XMLDoc* document = parseText(&area, text.c_str());
    const std::string_view error = getErrorText(&area);
    demand((document == nullptr) == !error.empty(), "a document or an error");
    demand(error.find('\n') == std::string_view::npos, "an error is one line");
    if (document == nullptr) return;
    checkNode(document->documentElement, MOST_LEVELS);
    demand(findXmlNodeWhichIsDifferent(document->documentElement, document->documentElement) == nullptr,
           "a tree equals itself");
    writeAndReadBack(document);
    freeXMLDoc(document);
}

// Of the characters beyond ASCII the library takes any as part of a name, which is for its callers to doubt.
bool isAscii(const std::string& name) {
    return std::all_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// Puts together a document in steps: what to do, a name and a text.
void build(Input& input) {
    XMLDoc* document = createXMLDoc();
    XMLNode* at = createElement("root");
    demand(setDocumentElement(document, at) == XP_SUCCESS, "an element becomes the root");
    for (int levels = 1; !input.isEmpty();) {
        const uint8_t step = input.byte();
        const std::string name(input.takeText());
        const std::string text(input.takeText());
        if (!isAscii(name)) continue;
        XMLNode* child = step % 4 == 0 && levels < MOST_LEVELS - 1 ? createElement(name.c_str()) : nullptr;
        if (appendChild(at, child) == XP_SUCCESS) {
            at = child;
            ++levels;
        } else if (step % 4 == 1) {
            char value[16];
            const bool isSet = setAttribute(at, name.c_str(), text.c_str()) == XP_SUCCESS;
            const int result = getAttribute(at, name.c_str(), value, sizeof value);
            demand(isSet ? result == XP_SUCCESS || strlen(value) > sizeof value - 5 : result != XP_SUCCESS,
                   "an attribute that was set can be had, cut between characters");
        } else if (step % 4 == 2) {
            demand(appendIntegerChild(at, name.c_str(), step) != XP_SUCCESS ||
                       findXmlNode(document->documentElement, name.c_str()) != nullptr,
                   "what was appended is found");
        } else {
            (void)appendTextChild(at, name.c_str(), text.c_str());
        }
    }
    writeAndReadBack(document);
    freeXMLDoc(document);
}

} // namespace

void tryParseText(std::string_view bytes) {
    Input input(bytes);
    if (bytes.starts_with('\0'))
        build(input);
    else
        read(std::string(bytes));
}
