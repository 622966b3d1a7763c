#pragma once

#include "platform/xmlParser.h"
#include "values/valueFunction.h"

// The texts of the multiplexer, by paramID of its table.
struct StatusSummary {
    char text[5][VALUE_TEXT_SIZE];
};

// Derives the summary from the Status texts of the adapters below `root`, their logical and physical drives.
// The last element that matches decides each text.
void computeSummaryStatus(XMLNode* root, StatusSummary& summary);
