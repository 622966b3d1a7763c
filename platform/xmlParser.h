#pragma once

// The XML library (libXMLParser): documents of elements and texts. Nodes belong to a document and live
// until freeXMLDoc; an element made by createElement belongs to the youngest document not yet freed.
// Texts are copied, and cleaned as they enter: what XML forbids or what is not UTF-8 becomes U+FFFD.
// All calls come from one thread.

#include <cstddef>
#include <cstdint>

constexpr int XP_SUCCESS = 0;

constexpr int32_t XML_ELEMENT_NODE = 1;
constexpr int32_t XML_TEXT_NODE = 3;
constexpr int32_t XML_CDATA_SECTION_NODE = 4;

struct XMLNode {
    int32_t nodeType;      // XML_*_NODE
    uint32_t documentKey;  // the library's
    const char* nodeName;  // of an element its name, of a text "#text"; may be NULL
    const char* nodeValue; // of a text its characters, of an element NULL
    XMLNode* firstChild;   // NULL: none
    XMLNode* nextSibling;  // NULL: the last
};

struct XMLDoc {
    XMLNode* documentElement; // the root, NULL until it is set
};

// Room for the reader's and the writer's state and error text; the caller's, on its stack.
struct XMLWorkArea {
    alignas(8) unsigned char bytes[4096];
};

extern "C" {

[[nodiscard]] XMLDoc* createXMLDoc(void); // NULL: no memory
void freeXMLDoc(XMLDoc* document);        // with every node; NULL is accepted
[[nodiscard]] XMLNode*
createElement(const char* name); // without a parent; NULL: no memory, no document, no name in XML
[[nodiscard]] int setDocumentElement(XMLDoc* document,
                                     XMLNode* element); // 1: a NULL, another document's, or one with a parent

// XP_SUCCESS, or 1 and nothing changed: a node is NULL or no element, the name is none in XML, or memory is short.
// A NULL text or value counts as an empty one.
[[nodiscard]] int appendChild(XMLNode* parent,
                              XMLNode* child); // as the last; 1 also: other document, placed already, an ancestor
[[nodiscard]] int appendTextChild(XMLNode* parent, const char* name, const char* text);
[[nodiscard]] int appendIntegerChild(XMLNode* parent, const char* name, int32_t value);
[[nodiscard]] int setAttribute(XMLNode* element, const char* name, const char* value); // replaces one of the same name
// 1 also: no such attribute (the value is then empty), or longer than size - 1 (cut between characters).
int getAttribute(const XMLNode* element, const char* name, char* value, size_t size);

// Elements below `within` in document order, from behind `after` on; NULL: none (further).
XMLNode* findXmlNode(XMLNode* within, const char* name);
XMLNode* findNextXmlNode(XMLNode* within, XMLNode* after, const char* name);

// At most 16 MiB, 64 levels, no document type. NULL: getErrorText tells why. A NULL work area is accepted.
[[nodiscard]] XMLDoc* parseText(XMLWorkArea* workArea, const char* text);
const char* getErrorText(const XMLWorkArea* workArea); // of the last call with this area; "" after a success

// The whole document as one malloc'ed text, the caller's; NULL: no memory, no root, another encoding than "UTF-8",
// another form than (0, 1): each element on its own line, with the declaration before the first.
[[nodiscard]] char* writeXMLEnhancedForBf(XMLWorkArea* workArea, const XMLDoc* document, const char* encoding,
                                          int compact, int declaration);
}
