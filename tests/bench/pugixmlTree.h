#pragma once

// The same document by way of pugixml: its names and texts laid out flat, so that only pugixml's work is measured.

#include "platform/xmlParser.h"

#include <pugixml.hpp>
#include <string>
#include <vector>

struct Step {
    const char* name; // NULL: the open element ends
    const char* text; // of a leaf; NULL: it stays open
    const char* attribute;
    std::string value; // of the attribute; empty: there is none
};

// The names and texts stay those of the document.
std::vector<Step> layOut(XMLDoc& document);

void build(pugi::xml_document& document, const std::vector<Step>& steps);

std::string save(const pugi::xml_document& document);
