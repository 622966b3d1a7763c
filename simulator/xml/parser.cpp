#include "simulator/xml/document.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <expat.h>

#include "simulator/xml/workArea.h"

namespace xmlParser {

namespace {

constexpr size_t MAX_TEXT_BYTES = size_t{16} << 20;
constexpr size_t MAX_DEPTH = 64;
constexpr size_t FIRST_CAPACITY = 1024;

// expat delivers a text in pieces; they are collected until something else follows.
struct Reader {
    XML_Parser parser;
    XMLWorkArea* workArea;
    Document* document;
    ElementPart* open; // the innermost open element; NULL outside the root
    size_t depth;
    char* text;
    size_t length;
    size_t capacity;
    bool failed;
};

#if XML_MAJOR_VERSION == 2 && XML_MINOR_VERSION < 9 // later ones want them called by these names
uint64_t XML_GetCurrentLineNumber64(XML_Parser parser) {
    return XML_GetCurrentLineNumber(parser);
}

uint64_t XML_GetCurrentColumnNumber64(XML_Parser parser) {
    return XML_GetCurrentColumnNumber(parser);
}
#endif

void fail(Reader& reader, const char* error) {
    reader.failed = true;
    const auto line = static_cast<unsigned long>(XML_GetCurrentLineNumber64(reader.parser));
    const auto column = static_cast<unsigned long>(XML_GetCurrentColumnNumber64(reader.parser)) + 1;
    char text[256];
    snprintf(text, sizeof text, "line %lu, column %lu: %s", line, column, error);
    setErrorText(reader.workArea, text);
}

// For handlers. The position is taken here, before expat moves on.
void giveUp(Reader& reader, const char* error) {
    fail(reader, error);
    XML_StopParser(reader.parser, XML_FALSE);
}

bool growText(Reader& reader, size_t length) {
    const size_t capacity = std::max({FIRST_CAPACITY, 2 * reader.capacity, length});
    char* text = static_cast<char*>(realloc(reader.text, capacity));
    if (text == nullptr) return false;
    reader.text = text;
    reader.capacity = capacity;
    return true;
}

void collectText(Reader& reader, const char* text, size_t length) {
    const size_t wanted = reader.length + length + 1;
    if (wanted > reader.capacity && !growText(reader, wanted)) return giveUp(reader, "out of memory");
    memcpy(reader.text + reader.length, text, length);
    reader.length += length;
    reader.text[reader.length] = '\0';
}

void flushText(Reader& reader, int32_t nodeType) {
    if (reader.length == 0 && nodeType == XML_TEXT_NODE) return;
    if (!appendText(*reader.open, nodeType, reader.length > 0 ? reader.text : "")) giveUp(reader, "out of memory");
    reader.length = 0;
}

bool addAttributes(ElementPart& part, const XML_Char** attributes) {
    for (Attribute** place = &part.attributes; *attributes != nullptr; attributes += 2) {
        *place = newAttribute(*part.document, attributes[0], attributes[1]);
        if (*place == nullptr) return false;
        place = &(*place)->next;
    }
    return true;
}

// After giveUp expat may still call a handler or two.
Reader* running(void* userData) {
    auto* reader = static_cast<Reader*>(userData);
    return reader->failed ? nullptr : reader;
}

void startElement(void* userData, const XML_Char* name, const XML_Char** attributes) {
    Reader* reader = running(userData);
    if (reader == nullptr) return;
    if (reader->depth == MAX_DEPTH) return giveUp(*reader, "elements are nested too deeply");
    if (reader->open != nullptr) flushText(*reader, XML_TEXT_NODE);
    Element* element = newElement(*reader->document, name);
    if (element == nullptr || !addAttributes(element->part, attributes)) return giveUp(*reader, "out of memory");
    if (reader->open != nullptr) {
        element->part.parent = reader->open->element;
        linkChild(*reader->open, &element->node);
    } else {
        reader->document->visible.documentElement = &element->node;
    }
    reader->open = &element->part;
    ++reader->depth;
}

void endElement(void* userData, const XML_Char* /*name*/) {
    Reader* reader = running(userData);
    if (reader == nullptr) return;
    flushText(*reader, XML_TEXT_NODE);
    reader->open = reader->open->parent != nullptr ? partOf(reader->open->parent) : nullptr;
    --reader->depth;
}

void characters(void* userData, const XML_Char* text, int length) {
    Reader* reader = running(userData);
    if (reader != nullptr) collectText(*reader, text, size_t(length));
}

void startSection(void* userData) {
    if (Reader* reader = running(userData)) flushText(*reader, XML_TEXT_NODE);
}

void endSection(void* userData) {
    if (Reader* reader = running(userData)) flushText(*reader, XML_CDATA_SECTION_NODE);
}

// Without a document type there are no entities to expand.
void startDoctype(void* userData, const XML_Char* /*name*/, const XML_Char* /*systemId*/, const XML_Char* /*publicId*/,
                  int /*hasInternalSubset*/) {
    if (Reader* reader = running(userData)) giveUp(*reader, "a document type declaration is not accepted");
}

void read(Reader& reader, const char* text, size_t length) {
    XML_SetUserData(reader.parser, &reader);
    XML_SetElementHandler(reader.parser, startElement, endElement);
    XML_SetCharacterDataHandler(reader.parser, characters);
    XML_SetCdataSectionHandler(reader.parser, startSection, endSection);
    XML_SetStartDoctypeDeclHandler(reader.parser, startDoctype);
    const XML_Status status = XML_Parse(reader.parser, text, int(length), 1);
    if (status != XML_STATUS_OK && !reader.failed) fail(reader, XML_ErrorString(XML_GetErrorCode(reader.parser)));
}

XMLDoc* parse(XMLWorkArea* workArea, const char* text, size_t length) {
    XMLDoc* document = createXMLDoc();
    XML_Parser parser = document != nullptr ? XML_ParserCreate(nullptr) : nullptr;
    if (parser == nullptr) {
        setErrorText(workArea, "out of memory");
        freeXMLDoc(document);
        return nullptr;
    }
    Reader reader{parser, workArea, reinterpret_cast<Document*>(document), nullptr, 0, nullptr, 0, 0, false};
    read(reader, text, length);
    free(reader.text);
    XML_ParserFree(parser);
    if (!reader.failed) return document;
    freeXMLDoc(document);
    return nullptr;
}

} // namespace

} // namespace xmlParser

using namespace xmlParser;

XMLDoc* parseText(XMLWorkArea* workArea, const char* text) {
    setErrorText(workArea, "");
    const size_t length = text != nullptr ? strnlen(text, MAX_TEXT_BYTES + 1) : 0;
    if (text != nullptr && length <= MAX_TEXT_BYTES) return parse(workArea, text, length);
    setErrorText(workArea, text != nullptr ? "the text is longer than 16 MiB" : "no text");
    return nullptr;
}
