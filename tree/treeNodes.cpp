#include "tree/treeNodes.h"

#include "values/textValue.h"

namespace {

bool g_treeFailed = false;

int note(int result) {
    if (result != XP_SUCCESS) g_treeFailed = true;
    return result;
}

} // namespace

void beginTree() {
    g_treeFailed = false;
}

bool hasTreeFailed() {
    return g_treeFailed;
}

XMLNode* addRoot(XMLDoc* document, const char* name) {
    XMLNode* root = makeElement(name);
    note(setDocumentElement(document, root));
    return root;
}

XMLNode* makeElement(const char* name) {
    XMLNode* element = createElement(name);
    if (element == nullptr) g_treeFailed = true;
    return element;
}

int addElement(XMLNode* parent, XMLNode* child) {
    return note(appendChild(parent, child));
}

XMLNode* addElement(XMLNode* parent, const char* name) {
    XMLNode* element = makeElement(name);
    note(appendChild(parent, element));
    return element;
}

int addText(XMLNode* parent, const char* name, const char* text) {
    return note(appendTextChild(parent, name, text));
}

int addInteger(XMLNode* parent, const char* name, int32_t value) {
    return note(appendIntegerChild(parent, name, value));
}

void setText(XMLNode* element, const char* name, const char* text) {
    note(setAttribute(element, name, text));
}

void setNumber(XMLNode* element, int number) {
    char text[16];
    TextBuffer buffer{text, sizeof text};
    put(buffer, number);
    setText(element, "Nr", text);
}
