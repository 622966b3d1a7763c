#pragma once

#include "platform/xmlParser.h"

#include <cstddef>

// The first node found to differ between a new and an old tree, of either side; NULL: none. The comparison is
// partial on purpose: children are paired by position, and what one side has beyond the other's last child is
// not noticed.
const XMLNode* findXmlNodeWhichIsDifferent(const XMLNode* newNode, const XMLNode* oldNode);

// 1: different (also when just one is NULL), 0: equal.
int differentContent(const void* a, const void* b, size_t length);
