#pragma once

// The building calls of the XML library as the tree makes them. A call that fails is remembered: short memory is known
// from the results alone. Main thread only.

#include "platform/xmlParser.h"

void beginTree();                   // nothing has failed
[[nodiscard]] bool hasTreeFailed(); // since beginTree

XMLNode* addRoot(XMLDoc* document, const char* name);
XMLNode* makeElement(const char* name); // NULL: failed
int addElement(XMLNode* parent, XMLNode* child);
XMLNode* addElement(XMLNode* parent, const char* name);
int addText(XMLNode* parent, const char* name, const char* text);
int addInteger(XMLNode* parent, const char* name, int32_t value);
void setText(XMLNode* element, const char* name, const char* text); // an attribute
void setNumber(XMLNode* element, int number);                       // the attribute "Nr"
