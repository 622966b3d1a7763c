#include "simulator/xml/workArea.h"

#include <cstring>

namespace xmlParser {

namespace {

constexpr char MARK[] = "xmlError"; // tells an area in use from the stack's leftovers
constexpr size_t CAPACITY = sizeof(XMLWorkArea::bytes) - sizeof MARK;

} // namespace

void setErrorText(XMLWorkArea* workArea, const char* text) {
    if (workArea == nullptr) return;
    memcpy(workArea->bytes, MARK, sizeof MARK);
    const size_t length = strnlen(text, CAPACITY - 1);
    memcpy(workArea->bytes + sizeof MARK, text, length);
    workArea->bytes[sizeof MARK + length] = '\0';
}

} // namespace xmlParser

using namespace xmlParser;

const char* getErrorText(const XMLWorkArea* workArea) {
    if (workArea == nullptr || memcmp(workArea->bytes, MARK, sizeof MARK) != 0) return "";
    const char* text = reinterpret_cast<const char*>(workArea->bytes) + sizeof MARK;
    return memchr(text, '\0', CAPACITY) != nullptr ? text : "";
}
