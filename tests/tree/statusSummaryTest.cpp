#include "tree/statusSummary.h"

#include "platform/storelib.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

struct Element {
    const char* name;
    const char* status; // NULL: has none
    std::vector<Element> children;
};

void append(XMLNode* parent, const Element& element) {
    XMLNode* node = createElement(element.name);
    appendChild(parent, node);
    if (element.status != nullptr) {
        appendTextChild(node, "Name", "x");
        appendTextChild(node, "Status", element.status);
    }
    for (const Element& child : element.children) append(node, child);
}

using Texts = std::vector<std::string>; // overall, adapters, logical drives, disks

Texts summarise(const std::vector<Element>& elements) {
    const std::unique_ptr<XMLDoc, void (*)(XMLDoc*)> document(createXMLDoc(), freeXMLDoc);
    XMLNode* root = createElement("System");
    for (const Element& element : elements) append(root, element);
    StatusSummary summary;
    computeSummaryStatus(root, summary);
    EXPECT_STREQ(summary.text[0], "Operational");
    return {summary.text + 1, summary.text + 5};
}

Element adapter(const char* status, std::vector<Element> children = {}) {
    return {"Adapter", status, std::move(children)};
}

Element ld(uint8_t state) {
    return {"LogicalDrive", raid_GetLogicalDriveState(state), {}};
}

// A drive lies below ports and enclosures, whose own states do not count.
Element pd(uint16_t state) {
    return {"Port", nullptr, {{"Enclosure", "Error", {{"PhysicalDrive", raid_GetHddFirmwareState(state), {}}}}}};
}

TEST(StatusSummary, takesTheLastWordOfEachKind) {
    const struct {
        std::vector<Element> elements;
        Texts expected;
    } rows[] = {
        {{}, {"OK", "Unknown", "Unknown", "Unknown"}},
        {{adapter("OK")}, {"OK", "OK", "Unknown", "Unknown"}},
        {{adapter("error")}, {"Failed", "Failed", "Unknown", "Unknown"}},
        {{adapter("DEGRADED")}, {"Warning", "Warning", "Unknown", "Unknown"}},
        {{adapter("Error"), adapter("OK")}, {"Failed", "OK", "Unknown", "Unknown"}},
        {{adapter("Error"), adapter("Error?"), adapter(""), adapter(nullptr, {{"Status", nullptr, {}}})},
         {"Failed", "Failed", "Unknown", "Unknown"}},
        {{adapter("Error", {ld(2)}), adapter("OK", {ld(3)})}, {"Warning", "OK", "OK", "Unknown"}},
        {{adapter(nullptr, {ld(0)})}, {"Failed", "Unknown", "Failed", "Unknown"}},
        {{adapter(nullptr, {ld(0), ld(1)})}, {"Warning", "Unknown", "Warning", "Unknown"}},
        {{adapter(nullptr, {ld(1), ld(3), ld(99), {"LogicalDrive", "optimal", {}}, {"LogicalDrive", nullptr, {}}})},
         {"Warning", "Unknown", "OK", "Unknown"}},
        {{adapter(nullptr, {pd(0x11)})}, {"OK", "Unknown", "Unknown", "Failed"}},
        {{adapter(nullptr, {pd(0x18), pd(0x01)})}, {"OK", "Unknown", "Unknown", "Failed"}},
        {{adapter(nullptr, {pd(0x14)})}, {"Warning", "Unknown", "Unknown", "Warning"}},
        {{adapter(nullptr, {pd(0x11), pd(0x20)})}, {"Warning", "Unknown", "Unknown", "Warning"}},
        {{adapter(nullptr, {pd(0x14), pd(0x18)})}, {"Warning", "Unknown", "Unknown", "OK"}},
        {{adapter(nullptr, {pd(0x11), pd(0x02)})}, {"OK", "Unknown", "Unknown", "OK"}},
        {{adapter(nullptr, {pd(0x11), pd(0x00)})}, {"OK", "Unknown", "Unknown", "OK"}},
        {{adapter(nullptr, {pd(0x11), pd(0x40)})}, {"OK", "Unknown", "Unknown", "Failed"}},
        {{adapter(nullptr, {pd(0x14), ld(0)}), adapter("OK", {pd(0x18)})}, {"Warning", "OK", "Failed", "OK"}},
        {{pd(0x11), ld(0)}, {"OK", "Unknown", "Unknown", "Unknown"}}, // below no adapter
    };
    for (const auto& row : rows) EXPECT_EQ(summarise(row.elements), row.expected) << "row " << &row - rows;
}

} // namespace
