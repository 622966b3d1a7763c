#include "tree/statusSummary.h"

#include "platform/storelib.h"
#include "values/textValue.h"

#include <cstring>
#include <span>

namespace {

constexpr uint8_t LD_STATE_OFFLINE = 0;
constexpr uint8_t LD_STATE_PARTIALLY_DEGRADED = 1;
constexpr uint8_t LD_STATE_DEGRADED = 2;
constexpr uint8_t LD_STATE_OPTIMAL = 3;

constexpr uint16_t PD_STATE_UNCONFIGURED_GOOD = 0x00;
constexpr uint16_t PD_STATE_UNCONFIGURED_BAD = 0x01;
constexpr uint16_t PD_STATE_HOT_SPARE = 0x02;
constexpr uint16_t PD_STATE_FAILED = 0x11;
constexpr uint16_t PD_STATE_REBUILD = 0x14;
constexpr uint16_t PD_STATE_ONLINE = 0x18;
constexpr uint16_t PD_STATE_COPYBACK = 0x20;

// What an element's status text means for its kind and for the whole.
struct Verdict {
    const char* status; // NULL: the library had no text
    const char* ofKind;
    const char* overall; // NULL: unchanged
};

struct ElementKind {
    const char* name;
    std::span<const Verdict> verdicts; // the first that matches counts
    int (*compare)(const char*, const char*);
};

// The text of the element's Status, NULL when there is none.
const char* getStatusText(const XMLNode* element) {
    for (const XMLNode* child = element->firstChild; child != nullptr; child = child->nextSibling) {
        if (child->nodeType != XML_ELEMENT_NODE || child->nodeName == nullptr || strcmp(child->nodeName, "Status") != 0)
            continue;
        const XMLNode* text = child->firstChild;
        return text == nullptr || text->nodeType != XML_TEXT_NODE ? nullptr : text->nodeValue;
    }
    return nullptr;
}

void judge(const XMLNode* element, const ElementKind& kind, const char*& ofKind, const char*& overall) {
    const char* status = getStatusText(element);
    if (status == nullptr || *status == '\0') return;
    for (const Verdict& verdict : kind.verdicts) {
        if (verdict.status == nullptr || kind.compare(status, verdict.status) != 0) continue;
        ofKind = verdict.ofKind;
        if (verdict.overall != nullptr) overall = verdict.overall;
        return;
    }
}

void judgeAll(XMLNode* within, const ElementKind& kind, const char*& ofKind, const char*& overall) {
    for (XMLNode* element = findXmlNode(within, kind.name); element != nullptr;
         element = findNextXmlNode(within, element, kind.name))
        judge(element, kind, ofKind, overall);
}

} // namespace

void computeSummaryStatus(XMLNode* root, StatusSummary& summary) {
    constexpr Verdict adapterVerdicts[] = {
        {"Error", "Failed", "Failed"}, {"Degraded", "Warning", "Warning"}, {"OK", "OK", nullptr}};
    const Verdict ldVerdicts[] = {
        {raid_GetLogicalDriveState(LD_STATE_OFFLINE), "Failed", "Failed"},
        {raid_GetLogicalDriveState(LD_STATE_DEGRADED), "Warning", "Warning"},
        {raid_GetLogicalDriveState(LD_STATE_PARTIALLY_DEGRADED), "Warning", "Warning"},
        {raid_GetLogicalDriveState(LD_STATE_OPTIMAL), "OK", nullptr},
    };
    // A failed drive alone does not make the whole fail: its logical drive tells whether it does.
    const Verdict pdVerdicts[] = {
        {raid_GetHddFirmwareState(PD_STATE_UNCONFIGURED_BAD), "Failed", nullptr},
        {raid_GetHddFirmwareState(PD_STATE_FAILED), "Failed", nullptr},
        {raid_GetHddFirmwareState(PD_STATE_REBUILD), "Warning", "Warning"},
        {raid_GetHddFirmwareState(PD_STATE_COPYBACK), "Warning", "Warning"},
        {raid_GetHddFirmwareState(PD_STATE_ONLINE), "OK", nullptr},
        {raid_GetHddFirmwareState(PD_STATE_HOT_SPARE), "OK", nullptr},
        {raid_GetHddFirmwareState(PD_STATE_UNCONFIGURED_GOOD), "OK", nullptr},
    };
    const ElementKind adapterKind = {"Adapter", adapterVerdicts, strcasecmp};
    const ElementKind ldKind = {"LogicalDrive", ldVerdicts, strcmp};
    const ElementKind pdKind = {"PhysicalDrive", pdVerdicts, strcmp};

    const char* overall = "OK";
    const char* adapters = "Unknown";
    const char* logicalDrives = "Unknown";
    const char* disks = "Unknown";
    for (XMLNode* adapter = findXmlNode(root, adapterKind.name); adapter != nullptr;
         adapter = findNextXmlNode(root, adapter, adapterKind.name)) {
        judge(adapter, adapterKind, adapters, overall);
        judgeAll(adapter, ldKind, logicalDrives, overall);
        judgeAll(adapter, pdKind, disks, overall);
    }
    const char* texts[] = {"Operational", overall, adapters, logicalDrives, disks};
    for (size_t i = 0; i < std::size(texts); ++i) copyText(summary.text[i], VALUE_TEXT_SIZE, texts[i]);
}
