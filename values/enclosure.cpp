#include "values/enclosure.h"

#include "daemon/base/trace.h"
#include "values/enclosureAccess.h"

#include <cstring>

namespace {

enum EnclParam {
    ENCL_NUMBER,
    ENCL_VENDOR,
    ENCL_PRODUCT,
    ENCL_HARDWARE_VERSION,
    ENCL_LOGICAL_ID,
    ENCL_NAME,
    ENCL_STATUS,
    ENCL_SUPPORT,
};
static_assert(ENCL_PRODUCT == ENCL_PARAM_PRODUCT && ENCL_SUPPORT == ENCL_PARAM_SUPPORT);

constexpr size_t LOGICAL_ID_OFFSET = 12; // of page 1, big-endian

// "KP17" is part of "KP17M2" too: the longer name comes first.
constexpr EnclosureModel models[] = {
    {"KP17M2", ENCL_MODEL_KP17M2},
    {"KP17", ENCL_MODEL_KP17},
    {"KP23", ENCL_MODEL_KP23},
};

void setProduct(const Enclosure& enclosure, char* sval, int svalLen) {
    const int code = getModel(*enclosure.info).code;
    if (code != ENCL_MODEL_UNKNOWN)
        copyText(sval, svalLen, raid_GetEnclosureTypeString(code));
    else
        copyText(sval, svalLen, trimField(enclosure.info->product).text);
}

void setLogicalId(const Enclosure& enclosure, char* sval, int svalLen) {
    uint8_t page[SES_PAGE_SIZE];
    if (!readDiagnosticPage(enclosure.controller->ctrlId, enclosure.deviceId, SES_PAGE_CONFIGURATION, page)) return;
    uint64_t id = 0;
    raid_swapBytes(&id, page + LOGICAL_ID_OFFSET, sizeof id);
    if (id != 0) TextComposer(sval, svalLen).addHex(id);
}

void setName(const Enclosure& enclosure, char* sval, int svalLen) {
    // One after the other: the order in which arguments are evaluated is each processor's own.
    const auto vendor = trimField(enclosure.info->vendor);
    const char* type = raid_GetEnclosureTypeString(getModel(*enclosure.info).code);
    const int number = getEnclosureNumber(enclosure);
    TextComposer(sval, svalLen).add(vendor.text).add(" ").add(type).add(" (").add(number).add(")");
}

// The state at this moment, not the cached one.
const char* readStatusText(const Enclosure& enclosure) {
    SL_ENCL_STATUS_T status{};
    const int result = raid_GetEnclosureStatusFunc(enclosure.controller->ctrlId, enclosure.deviceId, &status);
    return getEnclosureStatusText(result == 0 ? &status : nullptr);
}

} // namespace

bool readDiagnosticPage(uint32_t ctrlId, uint16_t deviceId, uint8_t pageCode, uint8_t* page) {
    memset(page, 0, SES_PAGE_SIZE);
    return raid_IsDiagnosticPageValid(ctrlId, deviceId, pageCode) != 0 &&
           raid_ReceiveDiagnosticResults(ctrlId, deviceId, pageCode, page, SES_PAGE_SIZE) == 0;
}

bool findEnclosure(int ctrlIdx, int enclIdx, Enclosure& enclosure) {
    const MRCtrlInst* controller = getController(ctrlIdx);
    if (controller == nullptr || controller->mrEnclInfo == nullptr) return false;
    if (enclIdx < 0 || uint32_t(enclIdx) >= getListCount(controller->mrEnclList)) return false;
    if (controller->mrEnclInfo[enclIdx] == nullptr) return false;
    enclosure.controller = controller;
    enclosure.info = controller->mrEnclInfo[enclIdx];
    enclosure.status = controller->mrEnclStatus == nullptr ? nullptr : controller->mrEnclStatus[enclIdx];
    enclosure.deviceId = controller->mrEnclList->encl[enclIdx].deviceId;
    return true;
}

bool findElement(int ctrlIdx, int enclIdx, EnclosureElement kind, int index, Enclosure& enclosure) {
    return findEnclosure(ctrlIdx, enclIdx, enclosure) && index >= 0 &&
           uint32_t(index) < getElementCount(enclosure.status, kind);
}

EnclosureModel getModel(const MR_PD_INFO& info) {
    const auto product = trimField(info.product);
    for (const EnclosureModel& model : models)
        if (strstr(product.text, model.name) != nullptr) return model;
    return {"", ENCL_MODEL_UNKNOWN};
}

int32_t getEnclosureNumber(const Enclosure& enclosure) {
    const MRCtrlInst& controller = *enclosure.controller;
    return raid_EnclosureGetEnclosureNumber(enclosure.info, controller.mrInfo, controller.mrSASConn,
                                            controller.mrEnclList);
}

const char* getEnclosureStatusText(const SL_ENCL_STATUS_T* status) {
    switch (raid_GetEnclosureStatus(status)) {
    case 0: return "OK";
    case 1: return "Degraded";
    case 2: return "Error";
    default: return "Unknown";
    }
}

int oobMR_getEnclInfo(int paramID, int ctrlIdx, int enclIdx, char* sval, int svalLen, int32_t* ival) {
    *ival = 0;
    if (sval == nullptr || svalLen <= 0) return VALUE_BAD_BUFFER;
    Enclosure enclosure{};
    if (!findEnclosure(ctrlIdx, enclIdx, enclosure)) {
        trace("oobMR_getEnclInfo(): END\n");
        return VALUE_NO_OBJECT;
    }
    clearText(sval, svalLen);
    switch (paramID) {
    case ENCL_NUMBER: *ival = getEnclosureNumber(enclosure); break;
    case ENCL_VENDOR: copyText(sval, svalLen, trimField(enclosure.info->vendor).text); break;
    case ENCL_PRODUCT:
        *ival = getModel(*enclosure.info).code;
        setProduct(enclosure, sval, svalLen);
        break;
    case ENCL_HARDWARE_VERSION: copyText(sval, svalLen, trimField(enclosure.info->revision).text); break;
    case ENCL_LOGICAL_ID: setLogicalId(enclosure, sval, svalLen); break;
    case ENCL_NAME: setName(enclosure, sval, svalLen); break;
    case ENCL_STATUS: copyText(sval, svalLen, readStatusText(enclosure)); break;
    case ENCL_SUPPORT: *ival = getModel(*enclosure.info).code; break;
    default: break;
    }
    return VALUE_OK;
}
