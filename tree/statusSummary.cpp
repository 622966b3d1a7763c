#include "tree/statusSummary.h"

#include "platform/storelib.h"

#include <cstring>
#include <span>

namespace {

// What an element's status text means for its kind and for the whole.
struct Verdict {
    const char* status; // NULL: the library had no text
    const char* ofKind;
    const char* overall; // NULL: unchanged
};

struct JudgedKind {
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

void judge(const XMLNode* element, const JudgedKind& kind, const char*& ofKind, const char*& overall) {
    const char* status = getStatusText(element);
    if (status == nullptr || *status == '\0') return;
    for (const Verdict& verdict : kind.verdicts) {
        if (verdict.status == nullptr || kind.compare(status, verdict.status) != 0) continue;
        ofKind = verdict.ofKind;
        if (verdict.overall != nullptr) overall = verdict.overall;
        return;
    }
}

void judgeAll(XMLNode* within, const JudgedKind& kind, const char*& ofKind, const char*& overall) {
    for (XMLNode* element = findXmlNode(within, kind.name); element != nullptr;
         element = findNextXmlNode(within, element, kind.name))
        judge(element, kind, ofKind, overall);
}

} // namespace

StatusSummary computeSummaryStatus(XMLNode* root) {
    constexpr Verdict adapterVerdicts[] = {
        {"Error", "Failed", "Failed"}, {"Degraded", "Warning", "Warning"}, {"OK", "OK", nullptr}};
    const Verdict ldVerdicts[] = {
        {raid_GetLogicalDriveState(MR_LD_STATE_OFFLINE), "Failed", "Failed"},
        {raid_GetLogicalDriveState(MR_LD_STATE_DEGRADED), "Warning", "Warning"},
        {raid_GetLogicalDriveState(MR_LD_STATE_PARTIALLY_DEGRADED), "Warning", "Warning"},
        {raid_GetLogicalDriveState(MR_LD_STATE_OPTIMAL), "OK", nullptr},
    };
    // A failed drive alone does not make the whole fail: its logical drive tells whether it does.
    const Verdict pdVerdicts[] = {
        {raid_GetHddFirmwareState(MR_PD_STATE_UNCONFIGURED_BAD), "Failed", nullptr},
        {raid_GetHddFirmwareState(MR_PD_STATE_FAILED), "Failed", nullptr},
        {raid_GetHddFirmwareState(MR_PD_STATE_REBUILD), "Warning", "Warning"},
        {raid_GetHddFirmwareState(MR_PD_STATE_COPYBACK), "Warning", "Warning"},
        {raid_GetHddFirmwareState(MR_PD_STATE_ONLINE), "OK", nullptr},
        {raid_GetHddFirmwareState(MR_PD_STATE_HOT_SPARE), "OK", nullptr},
        {raid_GetHddFirmwareState(MR_PD_STATE_UNCONFIGURED_GOOD), "OK", nullptr},
    };
    const JudgedKind adapterKind = {"Adapter", adapterVerdicts, strcasecmp};
    const JudgedKind ldKind = {"LogicalDrive", ldVerdicts, strcmp};
    const JudgedKind pdKind = {"PhysicalDrive", pdVerdicts, strcmp};

    StatusSummary summary = {{"Operational", "OK", "Unknown", "Unknown", "Unknown"}};
    const char*& overall = summary.text[MX_STATUS_OVERALL];
    for (XMLNode* adapter = findXmlNode(root, adapterKind.name); adapter != nullptr;
         adapter = findNextXmlNode(root, adapter, adapterKind.name)) {
        judge(adapter, adapterKind, summary.text[MX_STATUS_ADAPTERS], overall);
        judgeAll(adapter, ldKind, summary.text[MX_STATUS_LOGICAL_DRIVES], overall);
        judgeAll(adapter, pdKind, summary.text[MX_STATUS_DISKS], overall);
    }
    return summary;
}
