#include "values/enclosureProcessor.h"

#include "daemon/base/trace.h"
#include "values/enclosureAccess.h"
#include "values/sesPages.h"

#include <cstdio>

namespace {

constexpr uint16_t PARTNER_MAX = 254;
constexpr uint16_t PARTNER_NONE = 65535;
constexpr size_t FIRMWARE_VERSION_OFFSET = 9; // of SES_PAGE_FIRMWARE, four characters

uint16_t getPartnerDeviceId(const Enclosure& enclosure) {
    const uint16_t partner = enclosure.info->partnerDeviceId;
    const uint8_t operations = enclosure.controller->mrInfo->adapterOperations3;
    return (operations & MR_ADAPTER_OPERATION3_PARTNER_DEVICE) != 0 && partner <= PARTNER_MAX ? partner : PARTNER_NONE;
}

void putName(const Enclosure& enclosure, Answer& answer) {
    put(answer, trimmed(enclosure.info->vendor), " ", trimmed(enclosure.info->product));
    // An enclosure has one processor here, whatever it is made of.
    put(answer, " (", getEnclosureNumber(enclosure), ":1)");
}

void putDescribedText(const Enclosure& enclosure, const char* marker, Answer& answer) {
    uint8_t page[SES_PAGE_SIZE];
    if (readDiagnosticPage(enclosure, SES_PAGE_ELEMENT_DESCRIPTORS, page))
        putMarkedText(findDescriptor(page, enclosure.status, ElementKind::processor, 0), marker, answer);
}

void putFruText(const Enclosure& enclosure, bool isRevision, Answer& answer) {
    trace("oobMR_getEnclProcInfo(): in else of KP17: enclDevid= %d\n", enclosure.deviceId);
    uint8_t page[SES_PAGE_SIZE];
    if (!readDiagnosticPage(enclosure, SES_PAGE_FRU, page)) return;
    const SesFruRecord unit = getFruPage(page).processor;
    if (!isRevision) return put(answer, trimmed(getPrintableText(unit.serialNumber).text));
    trace("oobMR_getEnclProcInfo():in KP17: revision='%s', sizeof (pFRU->Revision)=%d\n", endField(unit.revision).text,
          int{sizeof unit.revision});
    const auto revision = getPrintableText(unit.revision);
    trace("oobMR_getEnclProcInfo():in KP17: revision='%s', k=%d\n", revision.text, int(strlen(revision.text)));
    put(answer, trimmed(revision.text));
}

// Serial number and hardware version: where they stand depends on the model.
void putUnitText(const Enclosure& enclosure, bool isRevision, Answer& answer) {
    trace("oobMR_getEnclProcInfo():ENCLPROCSERIALNO: hlp='%s', m_PartnerDeviceID=%d\n",
          trimField(enclosure.info->product).text, getPartnerDeviceId(enclosure));
    switch (getModel(*enclosure.info).code) {
    case SL_ENCL_MODEL_KP23:
    case SL_ENCL_MODEL_KP17M2:
        return putDescribedText(enclosure, isRevision ? SES_MARKER_REVISION : SES_MARKER_SERIAL_NUMBER, answer);
    case SL_ENCL_MODEL_KP17: return putFruText(enclosure, isRevision, answer);
    }
}

void putFirmwareVersion(const Enclosure& enclosure, Answer& answer) {
    const auto inquiry = trimField(enclosure.info->revision);
    const char* revision = inquiry.text;
    const auto size = size_t(answer.size);
    uint8_t page[SES_PAGE_SIZE];
    switch (getModel(*enclosure.info).code) {
    case SL_ENCL_MODEL_KP23:
    case SL_ENCL_MODEL_KP17M2:
        if (readDiagnosticPage(enclosure, SES_PAGE_FIRMWARE, page))
            snprintf(answer.text, size, "V%c%c.%c%c", page[FIRMWARE_VERSION_OFFSET], page[FIRMWARE_VERSION_OFFSET + 1],
                     page[FIRMWARE_VERSION_OFFSET + 2], page[FIRMWARE_VERSION_OFFSET + 3]);
        return;
    case SL_ENCL_MODEL_KP17:
        snprintf(answer.text, size, "V%c%cL%c%c", revision[0], revision[1], revision[2], revision[3]);
        return;
    default: return put(answer, revision);
    }
}

using E = const Enclosure&;
using A = Answer&;

// clang-format off
constexpr auto FORMS = tableOf<Enclosure, PROC_PARAM_COUNT>({
    {PROC_PORT_NUMBER, [](E e, A a) { a.number = raid_PhysicalDeviceGetPortNumber(e.info, e.controller->mrInfo); }},
    {PROC_DEVICE_NUMBER, [](E e, A a) { a.number = e.deviceId; }},
    {PROC_ENCLOSURE_NUMBER, [](E e, A a) { a.number = getEnclosureNumber(e); }},
    {PROC_NAME, putName},
    {PROC_TYPE, [](E, A a) { put(a, "SES"); }},
    {PROC_VENDOR, [](E e, A a) { put(a, trimmed(e.info->vendor)); }},
    {PROC_PRODUCT, [](E e, A a) { put(a, getModel(*e.info).name); }},
    {PROC_SERIAL_NUMBER, [](E e, A a) { putUnitText(e, false, a); }},
    {PROC_HARDWARE_VERSION, [](E e, A a) { putUnitText(e, true, a); }},
    {PROC_FIRMWARE_VERSION, putFirmwareVersion},
    {PROC_STATUS, [](E e, A a) { put(a, getEnclosureStatusText(e.status)); }},
});
// clang-format on

constexpr ValueKind<Enclosure> PROCESSOR = {
    .forms = FORMS,
    .rules = {.traceWithoutObject = "oobMR_getEnclProcInfo(): END\n"},
};

} // namespace

int oobMR_getEnclProcInfo(int paramID, int ctrlIdx, int enclIdx, char* sval, int svalLen, int32_t* ival) {
    return answerValue<PROCESSOR>(paramID, findEnclosure(ctrlIdx, enclIdx), sval, svalLen, ival);
}
