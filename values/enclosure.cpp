#include "values/enclosure.h"

#include "values/enclosureAccess.h"
#include "values/sesPages.h"

namespace {

constexpr size_t LOGICAL_ID_OFFSET = 12; // of SES_PAGE_CONFIGURATION, big-endian

void putProduct(const Enclosure& enclosure, Answer& answer) {
    answer.number = getModel(*enclosure.info).code;
    if (answer.number != SL_ENCL_MODEL_UNKNOWN)
        put(answer, raid_GetEnclosureTypeString(answer.number));
    else
        put(answer, trimmed(enclosure.info->product));
}

void putLogicalId(const Enclosure& enclosure, Answer& answer) {
    uint8_t page[SES_PAGE_SIZE];
    if (!readDiagnosticPage(enclosure, SES_PAGE_CONFIGURATION, page)) return;
    uint64_t id = 0;
    raid_swapBytes(&id, page + LOGICAL_ID_OFFSET, sizeof id);
    if (id != 0) put(answer, HexNumber{id});
}

void putName(const Enclosure& enclosure, Answer& answer) {
    put(answer, trimmed(enclosure.info->vendor), " ");
    put(answer, raid_GetEnclosureTypeString(getModel(*enclosure.info).code));
    put(answer, " (", getEnclosureNumber(enclosure), ")");
}

// The state at this moment, not the cached one.
void putStatus(const Enclosure& enclosure, Answer& answer) {
    SL_ENCL_STATUS_T status{};
    const int result = raid_GetEnclosureStatusFunc(enclosure.controller->ctrlId, enclosure.deviceId, &status);
    put(answer, getEnclosureStatusText(result == 0 ? &status : nullptr));
}

using E = const Enclosure&;
using A = Answer&;

constexpr auto FORMS = tableOf<Enclosure, ENCL_PARAM_COUNT>({
    {ENCL_NUMBER, [](E e, A a) { a.number = getEnclosureNumber(e); }},
    {ENCL_VENDOR, [](E e, A a) { put(a, trimmed(e.info->vendor)); }},
    {ENCL_PRODUCT, putProduct},
    {ENCL_HARDWARE_VERSION, [](E e, A a) { put(a, trimmed(e.info->revision)); }},
    {ENCL_LOGICAL_ID, putLogicalId},
    {ENCL_NAME, putName},
    {ENCL_STATUS, putStatus},
    {ENCL_SUPPORT, [](E e, A a) { a.number = getModel(*e.info).code; }},
});

constexpr ValueKind<Enclosure> ENCLOSURE = {
    .forms = FORMS,
    .rules = {.traceWithoutObject = "oobMR_getEnclInfo(): END\n"},
};

} // namespace

int oobMR_getEnclInfo(int paramID, int ctrlIdx, int enclIdx, char* sval, int svalLen, int32_t* ival) {
    return answerValue<ENCLOSURE>(paramID, findEnclosure(ctrlIdx, enclIdx), sval, svalLen, ival);
}
