#include "rst/treeComparison.h"

#include "daemon/base/trace.h"

#include <cstring>

namespace {

bool haveSameName(const XMLNode* a, const XMLNode* b) {
    return a->nodeName != nullptr && b->nodeName != nullptr && strcmp(a->nodeName, b->nodeName) == 0;
}

bool haveDifferentValues(const XMLNode* a, const XMLNode* b) {
    return a->nodeValue != nullptr && b->nodeValue != nullptr && strcmp(a->nodeValue, b->nodeValue) != 0;
}

bool isText(const XMLNode* node) {
    return node->nodeType == XML_TEXT_NODE || node->nodeType == XML_CDATA_SECTION_NODE;
}

// One text and nothing else.
bool isLeaf(const XMLNode* node) {
    const XMLNode* child = node->firstChild;
    return node->nodeValue == nullptr && child != nullptr && isText(child) && child->firstChild == nullptr &&
           child->nextSibling == nullptr;
}

bool areLeaves(const XMLNode* a, const XMLNode* b) {
    return isLeaf(a) && isLeaf(b);
}

// The texts of two elements, side by side.
const XMLNode* compareTexts(const XMLNode* newText, const XMLNode* oldText) {
    if (newText == nullptr) return oldText;
    if (oldText == nullptr) return newText;
    for (; newText != nullptr && oldText != nullptr; newText = newText->nextSibling, oldText = oldText->nextSibling) {
        if (newText->nodeType != oldText->nodeType) {
            trace("findXmlNodeWhichIsDifferent:Found different node types!\n");
            return newText;
        }
        if (isText(newText) && haveDifferentValues(newText, oldText)) {
            trace("findXmlNodeWhichIsDifferent:Found different node: valNode1->nodeValue = '%s'\n", newText->nodeValue);
            return newText;
        }
    }
    return nullptr;
}

// The children of two elements of the same name; pairs of different names are passed over.
const XMLNode* compareChildren(const XMLNode* newChild, const XMLNode* oldChild) {
    for (; newChild != nullptr && oldChild != nullptr;
         newChild = newChild->nextSibling, oldChild = oldChild->nextSibling) {
        if (!haveSameName(newChild, oldChild)) continue;
        if (newChild->nodeValue != nullptr && oldChild->nodeValue != nullptr) {
            if (!haveDifferentValues(newChild, oldChild)) continue;
            trace("findXmlNodeWhichIsDifferent:Found different value: child1: '%s' = '%s'\n", newChild->nodeName,
                  newChild->nodeValue);
            return newChild;
        }
        if (const XMLNode* different = compareTexts(newChild->firstChild, oldChild->firstChild)) return different;
    }
    return nullptr;
}

void traceFound(const XMLNode* node) {
    if (node->nodeName != nullptr)
        trace("findXmlNodeWhichIsDifferent: Found different node (Typ=%d, Name='%s')!\n", node->nodeType,
              node->nodeName);
    else
        trace("findXmlNodeWhichIsDifferent: Found different node (Typ=%d)!\n", node->nodeType);
}

// textsEqual: the texts directly below the children of both have been compared by the level above.
const XMLNode* findDifference(const XMLNode* newNode, const XMLNode* oldNode, bool textsEqual) {
    const XMLNode* newChild = newNode->firstChild;
    const XMLNode* oldChild = oldNode->firstChild;
    for (; newChild != nullptr && oldChild != nullptr;
         newChild = newChild->nextSibling, oldChild = oldChild->nextSibling) {
        if (textsEqual && areLeaves(newChild, oldChild) && !isTracing()) continue;
        if (!haveSameName(newChild, oldChild)) continue;
        trace("findXmlNodeWhichIsDifferent(): node1->nodeName='%s'\n", newChild->nodeName);
        if (const XMLNode* different = compareChildren(newChild->firstChild, oldChild->firstChild)) return different;
    }

    newChild = newNode->firstChild;
    oldChild = oldNode->firstChild;
    for (; newChild != nullptr && oldChild != nullptr;
         newChild = newChild->nextSibling, oldChild = oldChild->nextSibling) {
        if (newChild->firstChild == nullptr || oldChild->firstChild == nullptr) continue; // nothing to be paired
        if (areLeaves(newChild, oldChild) && !isTracing()) continue; // only the trace would tell of it
        if (const XMLNode* different = findDifference(newChild, oldChild, haveSameName(newChild, oldChild))) {
            traceFound(different);
            return different;
        }
    }
    return nullptr;
}

} // namespace

const XMLNode* findXmlNodeWhichIsDifferent(const XMLNode* newNode, const XMLNode* oldNode) {
    if (newNode == nullptr && oldNode == nullptr) return nullptr;
    if (newNode == nullptr || oldNode == nullptr) {
        trace("findXmlNodeWhichIsDifferent: Found different node! (!=NULL)\n");
        return newNode != nullptr ? newNode : oldNode;
    }
    return findDifference(newNode, oldNode, false);
}

int differentContent(const void* a, const void* b, size_t length) {
    if (a == nullptr && b == nullptr) return 0;
    if (a == nullptr || b == nullptr) return 1;
    if (memcmp(a, b, length) == 0) return 0;
    trace("differentContent(): memcmp() says: Different content ! => return TRUE!\n");
    return 1;
}
