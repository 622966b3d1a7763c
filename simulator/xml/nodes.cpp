#include "simulator/xml/document.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <new>

#include "simulator/xml/text.h"

namespace xmlParser {

namespace {

ElementPart makePart(Document& document, XMLNode* element) {
    return {{'#', 't', 'e', 'x', 't', '\0'}, false, false, element, nullptr, nullptr, nullptr, &document};
}

// Gives a leaf its part. The text's nodeName, until now the parent's, turns to the leaf's own.
[[gnu::noinline]] ElementPart* growLeaf(XMLNode* element) {
    XMLNode* text = element->firstChild;
    Document& document = *documentOf(element);
    void* memory = allocate(document, sizeof(ElementPart));
    if (memory == nullptr) return nullptr;
    auto* part = new (memory) ElementPart(makePart(document, element));
    part->hasContent = !isWhiteSpace(text->nodeValue);
    part->parent = parentOf(element);
    part->lastChild = text;
    text->nodeName = part->textName;
    element->documentKey = KEY_GROWN_LEAF;
    return part;
}

// Of an element that is to hold something; NULL: no memory.
ElementPart* needPart(XMLNode* element) {
    ElementPart* part = partOf(element);
    return part != nullptr ? part : growLeaf(element);
}

bool isElement(const XMLNode* node) {
    return node != nullptr && node->nodeType == XML_ELEMENT_NODE;
}

bool isAttached(const XMLNode* element) {
    return parentOf(element) != nullptr || documentOf(element)->visible.documentElement == element;
}

bool isWithin(const XMLNode* ancestor, const XMLNode* node) {
    while (node != nullptr && node != ancestor) node = parentOf(node);
    return node != nullptr;
}

const Attribute* findAttribute(const XMLNode* element, const char* name) {
    const ElementPart* part = partOf(element);
    const Attribute* attribute = part != nullptr ? part->attributes : nullptr;
    while (attribute != nullptr && strcmp(attribute->name, name) != 0) attribute = attribute->next;
    return attribute;
}

// The next node in document order that is not a leaf's text; NULL: `within` ends.
XMLNode* nextNode(const XMLNode* within, XMLNode* node) {
    if (partOf(node) != nullptr && node->firstChild != nullptr) return node->firstChild;
    while (node != within) {
        if (node->nextSibling != nullptr) return node->nextSibling;
        node = parentOf(node);
    }
    return nullptr;
}

} // namespace

Element* newElement(Document& document, const char* name) {
    const char* interned = internName(document, name);
    void* memory = interned != nullptr ? allocate(document, sizeof(Element)) : nullptr;
    if (memory == nullptr) return nullptr;
    auto* element = new (memory) Element{};
    element->node = {XML_ELEMENT_NODE, KEY_ELEMENT, interned, nullptr, nullptr, nullptr};
    element->part = makePart(document, &element->node);
    return element;
}

void linkChild(ElementPart& parent, XMLNode* child) {
    (parent.lastChild != nullptr ? parent.lastChild->nextSibling : parent.element->firstChild) = child;
    parent.lastChild = child;
    if (child->nodeType == XML_ELEMENT_NODE) parent.hasElements = true;
}

Attribute* newAttribute(Document& document, const char* name, const char* value) {
    const char* interned = internName(document, name);
    const TextSize size = measureText(value);
    void* memory = interned != nullptr ? allocate(document, sizeof(Attribute) + size.bytes + 1) : nullptr;
    if (memory == nullptr) return nullptr;
    auto* attribute = new (memory) Attribute{};
    char* copy = reinterpret_cast<char*>(attribute + 1);
    copyText(copy, value, size);
    *attribute = {interned, copy, nullptr};
    return attribute;
}

bool appendText(ElementPart& parent, int32_t nodeType, const char* text) {
    const TextSize size = measureText(text);
    void* memory = allocate(*parent.document, sizeof(XMLNode) + size.bytes + 1);
    if (memory == nullptr) return false;
    auto* node = new (memory) XMLNode{};
    char* copy = reinterpret_cast<char*>(node + 1);
    copyText(copy, text, size);
    *node = {nodeType, KEY_TEXT, parent.textName, copy, nullptr, nullptr};
    linkChild(parent, node);
    if (nodeType == XML_CDATA_SECTION_NODE || !isWhiteSpace(copy)) parent.hasContent = true;
    return true;
}

} // namespace xmlParser

using namespace xmlParser;

namespace {

// The characters of a leaf's text. Leaves of one name often hold the same text as the one before: they share it.
const char* makeLeafText(Document& document, const char* name, const char* text) {
    NameHead& head = headOf(name);
    if (head.text != nullptr && strcmp(head.text, text) == 0) return head.text;
    const TextSize size = measureText(text);
    char* copy = static_cast<char*>(allocate(document, size.bytes + 1));
    if (copy != nullptr) copyText(copy, text, size);
    return head.text = copy;
}

} // namespace

XMLNode* createElement(const char* name) {
    Document* document = youngestDocument();
    Element* element = document != nullptr ? newElement(*document, name) : nullptr;
    return element != nullptr ? &element->node : nullptr;
}

int setDocumentElement(XMLDoc* document, XMLNode* element) {
    if (document == nullptr || !isElement(element) || &documentOf(element)->visible != document) return 1;
    if (parentOf(element) != nullptr) return 1;
    document->documentElement = element;
    return XP_SUCCESS;
}

int appendChild(XMLNode* parent, XMLNode* child) {
    if (!isElement(parent) || !isElement(child) || documentOf(parent) != documentOf(child)) return 1;
    if (isAttached(child) || child == parent) return 1;
    if (child->firstChild != nullptr && isWithin(child, parent)) return 1; // would close a ring
    ElementPart* part = needPart(parent);
    if (part == nullptr) return 1;
    partOf(child)->parent = parent;
    linkChild(*part, child);
    return XP_SUCCESS;
}

int appendTextChild(XMLNode* parent, const char* name, const char* text) {
    ElementPart* part = isElement(parent) ? needPart(parent) : nullptr;
    const char* interned = part != nullptr ? internName(*part->document, name) : nullptr;
    const char* value =
        interned != nullptr ? makeLeafText(*part->document, interned, text != nullptr ? text : "") : nullptr;
    void* memory = value != nullptr ? allocate(*part->document, sizeof(Leaf)) : nullptr;
    if (memory == nullptr) return 1;
    auto* leaf = static_cast<Leaf*>(memory);
    new (leaf) Leaf{{XML_ELEMENT_NODE, KEY_LEAF, interned, nullptr, &leaf->text, nullptr},
                    {XML_TEXT_NODE, KEY_LEAF_TEXT, part->textName, value, nullptr, nullptr}};
    linkChild(*part, &leaf->element);
    return XP_SUCCESS;
}

int appendIntegerChild(XMLNode* parent, const char* name, int32_t value) {
    char digits[12]; // "-2147483648"
    *std::to_chars(digits, digits + sizeof digits - 1, value).ptr = '\0';
    return appendTextChild(parent, name, digits);
}

int setAttribute(XMLNode* element, const char* name, const char* value) {
    ElementPart* part = isElement(element) ? needPart(element) : nullptr;
    Attribute* attribute =
        part != nullptr ? newAttribute(*part->document, name, value != nullptr ? value : "") : nullptr;
    if (attribute == nullptr) return 1;
    Attribute** place = &part->attributes;
    while (*place != nullptr && (*place)->name != attribute->name) place = &(*place)->next;
    if (*place != nullptr) attribute->next = (*place)->next;
    *place = attribute;
    return XP_SUCCESS;
}

int getAttribute(const XMLNode* element, const char* name, char* value, size_t size) {
    if (value == nullptr || size == 0) return 1;
    *value = '\0';
    const Attribute* attribute = isElement(element) && name != nullptr ? findAttribute(element, name) : nullptr;
    if (attribute == nullptr) return 1;
    const size_t length = strlen(attribute->value);
    size_t copied = std::min(length, size - 1);
    while (copied > 0 && (attribute->value[copied] & 0xC0) == 0x80) --copied; // not within a character
    memcpy(value, attribute->value, copied);
    value[copied] = '\0';
    return copied == length ? XP_SUCCESS : 1;
}

XMLNode* findXmlNode(XMLNode* within, const char* name) {
    return findNextXmlNode(within, within, name);
}

XMLNode* findNextXmlNode(XMLNode* within, XMLNode* after, const char* name) {
    if (!isElement(within) || after == nullptr || name == nullptr || !isWithin(within, after)) return nullptr;
    const char* interned = findName(*documentOf(within), name);
    if (interned == nullptr) return nullptr;
    XMLNode* node = nextNode(within, after);
    while (node != nullptr && node->nodeName != interned) {
        // Mostly from leaf to leaf; below `within`, so that a sibling is too.
        const bool hasNextLeaf = node->documentKey == KEY_LEAF && node->nextSibling != nullptr;
        node = hasNextLeaf ? node->nextSibling : nextNode(within, node);
    }
    return node;
}
