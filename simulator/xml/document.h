#pragma once

// A document's memory, its names, and the records behind its public nodes. Main thread only.
//
// A tree is mostly leaves, elements that hold one text and nothing else. They have no record beyond the public one;
// what an element needs to take children and attributes (ElementPart) follows the public record of an element made
// on its own, and is added to a leaf only when something is appended to it.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/xmlParser.h"

#pragma GCC visibility push(hidden) // the process that loads the library has names of its own

namespace xmlParser {

struct Document;

struct Attribute {
    const char* name; // interned
    const char* value;
    Attribute* next;
};

struct ElementPart {
    char textName[6]; // "#text", first: the nodeName of the texts directly below, which leads from them back to here
    bool hasElements;
    bool hasContent; // a text that is more than white space, or a CDATA section
    XMLNode* element;
    XMLNode* parent; // NULL: the root, or not yet appended
    XMLNode* lastChild;
    Attribute* attributes;
    Document* document;
};

struct Element {
    XMLNode node;
    ElementPart part;
};

// An element and its text, whose characters follow. Until the leaf grows, the text's nodeName is that of its parent.
struct Leaf {
    XMLNode element;
    XMLNode text;
};

// documentKey: what the node is part of, which says where its ElementPart and its parent are found.
constexpr uint32_t KEY_TEXT = 0; // or a CDATA section
constexpr uint32_t KEY_ELEMENT = 1;
constexpr uint32_t KEY_LEAF = 2;
constexpr uint32_t KEY_LEAF_TEXT = 3;
constexpr uint32_t KEY_GROWN_LEAF = 4; // its first child stays the text

struct Chunk {
    Chunk* next;
};

// In front of a name's characters.
struct NameHead {
    uint32_t hash;
    uint32_t length;
    const char* next; // the name that was asked for after this one, the last time; NULL: none
    const char* text; // of the last leaf of this name; NULL: there was none
};

inline NameHead& headOf(const char* name) {
    return reinterpret_cast<NameHead*>(const_cast<char*>(name))[-1];
}
inline size_t lengthOfName(const char* name) {
    return headOf(name).length;
}

struct Document {
    XMLDoc visible;
    Document* older;
    Document* younger;
    Chunk* chunks;
    char* free; // of the chunk in use
    size_t freeBytes;
    size_t totalBytes;  // of all chunks
    const char** names; // open addressing, a power of two of slots
    size_t nameSlots;
    size_t nameCount;
    uint64_t nameKey;
    const char* lastName; // that was asked for
};

inline ElementPart* partAbove(const XMLNode* text) {
    return reinterpret_cast<ElementPart*>(const_cast<char*>(text->nodeName));
}

// NULL: a text, or a leaf that has not grown.
inline ElementPart* partOf(const XMLNode* node) {
    if (node->documentKey == KEY_ELEMENT) return &reinterpret_cast<Element*>(const_cast<XMLNode*>(node))->part;
    return node->documentKey == KEY_GROWN_LEAF ? partAbove(node->firstChild) : nullptr;
}

// NULL: the root, or not yet appended.
inline XMLNode* parentOf(const XMLNode* node) {
    if (const ElementPart* part = partOf(node)) return part->parent;
    if (node->documentKey == KEY_LEAF_TEXT) return &reinterpret_cast<Leaf*>(const_cast<XMLNode*>(node) - 1)->element;
    return partAbove(node->documentKey == KEY_LEAF ? node->firstChild : node)->element;
}

inline Document* documentOf(const XMLNode* node) {
    const ElementPart* part = partOf(node);
    return (part ? part : partAbove(node->documentKey == KEY_LEAF ? node->firstChild : node))->document;
}

// Aligned for the records above; NULL: no memory. allocateChunk: the chunk is used up.
void* allocateChunk(Document& document, size_t size);
inline void* allocate(Document& document, size_t size) {
    size = (size + alignof(void*) - 1) & ~(alignof(void*) - 1);
    if (size > document.freeBytes) return allocateChunk(document, size);
    void* start = document.free;
    document.free += size;
    document.freeBytes -= size;
    return start;
}

Document* youngestDocument();

// The document's own copy of a name, one for equal names. findName: NULL when the document has none;
// internName: NULL when memory is short or when this cannot be a name in XML; searchName is its long way.
const char* findName(const Document& document, const char* text);
const char* searchName(Document& document, const char* text);
inline const char* internName(Document& document, const char* text) {
    // Trees repeat themselves: what followed this name the last time mostly follows it again.
    const char* expected = document.lastName ? headOf(document.lastName).next : nullptr;
    if (!text || !expected || strcmp(expected, text) != 0) return searchName(document, text);
    return document.lastName = expected;
}

// The building steps that the interface and the reader share. NULL or false: no memory (or no name).
Element* newElement(Document& document, const char* name);
void linkChild(ElementPart& parent, XMLNode* child);
Attribute* newAttribute(Document& document, const char* name, const char* value);
bool appendText(ElementPart& parent, int32_t nodeType, const char* text);

} // namespace xmlParser

#pragma GCC visibility pop
