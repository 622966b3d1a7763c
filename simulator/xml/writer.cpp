#include "simulator/xml/document.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "simulator/xml/workArea.h"

namespace xmlParser {

namespace {

constexpr char HEAD[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
constexpr size_t FIRST_CAPACITY = 4096;
constexpr size_t INDENT = 2;

struct Writer {
    char* text;
    size_t length;
    size_t capacity;
    bool noMemory; // from then on nothing is written
    size_t depth;
    const XMLNode* inlined; // the outermost element whose content stands on its line; NULL: none is open
};

[[gnu::noinline]] bool grow(Writer& writer, size_t length) {
    if (writer.noMemory) return false;
    const size_t wanted = writer.length + length;
    const size_t capacity = std::max(wanted, writer.capacity + writer.capacity / 2);
    char* text = wanted < PTRDIFF_MAX ? static_cast<char*>(realloc(writer.text, capacity)) : nullptr;
    if (text != nullptr) {
        writer.text = text;
        writer.capacity = capacity;
        return true;
    }
    free(writer.text);
    writer = {nullptr, 0, 0, true, writer.depth, writer.inlined};
    return false;
}

inline char* extend(Writer& writer, size_t length) {
    if (length > writer.capacity - writer.length && !grow(writer, length)) return nullptr;
    char* end = writer.text + writer.length;
    writer.length += length;
    return end;
}

void put(Writer& writer, const char* text, size_t length) {
    if (char* out = extend(writer, length)) memcpy(out, text, length);
}

template <size_t SIZE>
void put(Writer& writer, const char (&literal)[SIZE]) {
    put(writer, literal, SIZE - 1);
}

void putName(Writer& writer, const char* name) {
    put(writer, name, lengthOfName(name));
}

void putIndent(Writer& writer) {
    if (char* out = extend(writer, INDENT * writer.depth)) memset(out, ' ', INDENT * writer.depth);
}

// Characters that stop a run of plain ones: everywhere, or in attribute values only.
constexpr unsigned char STOPS = 1;
constexpr unsigned char STOPS_IN_ATTRIBUTE = 2;

constexpr std::array<unsigned char, 256> stops = [] {
    std::array<unsigned char, 256> table{};
    for (const char c : {'\0', '&', '<', '>', '"', '\'', '\r'}) table[static_cast<unsigned char>(c)] = STOPS;
    for (const char c : {'\t', '\n'}) table[static_cast<unsigned char>(c)] = STOPS_IN_ATTRIBUTE;
    return table;
}();

void putReference(Writer& writer, char character) {
    switch (character) {
    case '&': return put(writer, "&amp;");
    case '<': return put(writer, "&lt;");
    case '>': return put(writer, "&gt;");
    case '"': return put(writer, "&quot;");
    case '\'': return put(writer, "&apos;");
    case '\r': return put(writer, "&#13;");
    case '\t': return put(writer, "&#9;");
    default: return put(writer, "&#10;");
    }
}

// How many characters stand as they are before the text ends or one of them needs a reference.
size_t plainLength(const char* text, unsigned char mask) {
    size_t length = 0;
    while ((stops[static_cast<unsigned char>(text[length])] & mask) == 0) ++length;
    return length;
}

void putEscaped(Writer& writer, const char* text, unsigned char mask) {
    for (;; ++text) {
        const size_t length = plainLength(text, mask);
        put(writer, text, length);
        text += length;
        if (*text == '\0') return;
        putReference(writer, *text);
    }
}

void putStartTag(Writer& writer, const XMLNode* element) {
    put(writer, "<");
    putName(writer, element->nodeName);
    const ElementPart* part = partOf(element);
    for (const Attribute* attribute = part != nullptr ? part->attributes : nullptr; attribute != nullptr;
         attribute = attribute->next) {
        put(writer, " ");
        putName(writer, attribute->name);
        put(writer, "=\"");
        putEscaped(writer, attribute->value, STOPS | STOPS_IN_ATTRIBUTE);
        put(writer, "\"");
    }
    put(writer, ">");
}

void putText(Writer& writer, const XMLNode* text) {
    if (text->nodeType == XML_TEXT_NODE) return putEscaped(writer, text->nodeValue, STOPS);
    // Sections come from the reader only: none can hold its own end, or a carriage return.
    put(writer, "<![CDATA[");
    put(writer, text->nodeValue, strlen(text->nodeValue));
    put(writer, "]]>");
}

// Child elements on lines of their own. White space between them is layout, not content, and is made anew.
bool isBlock(const XMLNode* element) {
    const ElementPart* part = partOf(element);
    return part != nullptr && part->hasElements && !part->hasContent;
}

void beginNode(Writer& writer, const XMLNode* node) {
    if (node->nodeType != XML_ELEMENT_NODE) {
        if (writer.inlined != nullptr) putText(writer, node);
        return;
    }
    if (writer.inlined == nullptr) putIndent(writer);
    putStartTag(writer, node);
    if (writer.inlined == nullptr) {
        if (isBlock(node)) {
            put(writer, "\n");
        } else {
            writer.inlined = node;
        }
    }
}

void endNode(Writer& writer, const XMLNode* node) {
    if (node->nodeType != XML_ELEMENT_NODE) return;
    if (writer.inlined == nullptr) putIndent(writer);
    put(writer, "</");
    putName(writer, node->nodeName);
    put(writer, ">");
    if (writer.inlined == node) writer.inlined = nullptr;
    if (writer.inlined == nullptr) put(writer, "\n");
}

// What most of a tree is: an element on a line of its own with a text that needs no reference. One look at the text,
// one claim for the line. False: it is something else, nothing is written.
bool putLeafLine(Writer& writer, const XMLNode* node) {
    if (node->documentKey != KEY_LEAF || writer.inlined != nullptr) return false;
    const char* text = node->firstChild->nodeValue;
    const size_t textLength = plainLength(text, STOPS);
    if (text[textLength] != '\0') return false;
    const size_t nameLength = lengthOfName(node->nodeName);
    const size_t indent = INDENT * writer.depth;
    char* out = extend(writer, indent + 2 * nameLength + textLength + strlen("<></>\n"));
    if (out == nullptr) return true;
    const auto append = [&out](const char* characters, size_t length) {
        memcpy(out, characters, length);
        out += length;
    };
    memset(out, ' ', indent);
    out += indent;
    *out++ = '<';
    append(node->nodeName, nameLength);
    *out++ = '>';
    append(text, textLength);
    append("</", 2);
    append(node->nodeName, nameLength);
    append(">\n", 2);
    return true;
}

// Without recursion: a document may be deeper than the stack.
void putTree(Writer& writer, const XMLNode* root) {
    for (const XMLNode* node = root;;) {
        if (!putLeafLine(writer, node)) {
            beginNode(writer, node);
            if (node->firstChild != nullptr) {
                ++writer.depth;
                node = node->firstChild;
                continue;
            }
            endNode(writer, node);
        }
        while (node != root && node->nextSibling == nullptr) {
            node = parentOf(node);
            --writer.depth;
            endNode(writer, node);
        }
        if (node == root) return;
        node = node->nextSibling;
    }
}

const char* refusal(const XMLDoc* document, const char* encoding, int compact, int declaration) {
    if (document == nullptr || document->documentElement == nullptr) return "no document, or one without a root";
    if (encoding == nullptr || strcmp(encoding, "UTF-8") != 0) return "the encoding is not UTF-8";
    if (compact != 0 || declaration != 1) return "unknown output form";
    return nullptr;
}

} // namespace

} // namespace xmlParser

using namespace xmlParser;

char* writeXMLEnhancedForBf(XMLWorkArea* workArea, const XMLDoc* document, const char* encoding, int compact,
                            int declaration) {
    if (const char* error = refusal(document, encoding, compact, declaration)) {
        setErrorText(workArea, error);
        return nullptr;
    }
    setErrorText(workArea, "");
    Writer writer{};
    // Marked up, a tree takes about half of the memory that its nodes do.
    grow(writer, std::max(FIRST_CAPACITY, reinterpret_cast<const Document*>(document)->totalBytes / 2));
    put(writer, HEAD);
    putTree(writer, document->documentElement);
    put(writer, "", 1);
    if (writer.noMemory) {
        setErrorText(workArea, "out of memory");
        return nullptr;
    }
    char* exact = static_cast<char*>(realloc(writer.text, writer.length));
    return exact != nullptr ? exact : writer.text;
}
