#include "values/enclosureAccess.h"

#include "values/textValue.h"

namespace {

// "KP17" is part of "KP17M2" too: the longer name comes first.
constexpr EnclosureModel models[] = {
    {"KP17M2", SL_ENCL_MODEL_KP17M2},
    {"KP17", SL_ENCL_MODEL_KP17},
    {"KP23", SL_ENCL_MODEL_KP23},
};

} // namespace

std::optional<Enclosure> findEnclosure(int ctrlIdx, int enclIdx) {
    const MRCtrlInst* controller = getController(ctrlIdx);
    if (controller == nullptr || controller->mrEnclInfo == nullptr) return std::nullopt;
    if (enclIdx < 0 || uint32_t(enclIdx) >= getListCount(controller->mrEnclList)) return std::nullopt;
    const MR_PD_INFO* info = controller->mrEnclInfo[enclIdx];
    if (info == nullptr) return std::nullopt;
    const SL_ENCL_STATUS_T* status = controller->mrEnclStatus == nullptr ? nullptr : controller->mrEnclStatus[enclIdx];
    return Enclosure{controller, info, status, controller->mrEnclList->encl[enclIdx].deviceId};
}

std::optional<EnclosureElement> findElement(int ctrlIdx, int enclIdx, ElementKind kind, int index) {
    const std::optional<Enclosure> enclosure = findEnclosure(ctrlIdx, enclIdx);
    if (!enclosure || index < 0 || uint32_t(index) >= getElementCount(enclosure->status, kind)) return std::nullopt;
    return EnclosureElement{*enclosure, uint32_t(index)};
}

EnclosureModel getModel(const MR_PD_INFO& info) {
    const auto product = trimField(info.product);
    for (const EnclosureModel& model : models)
        if (strstr(product.text, model.name) != nullptr) return model;
    return {"", SL_ENCL_MODEL_UNKNOWN};
}

int32_t getEnclosureNumber(const Enclosure& enclosure) {
    const MRCtrlInst& controller = *enclosure.controller;
    return raid_EnclosureGetEnclosureNumber(enclosure.info, controller.mrInfo, controller.mrSASConn,
                                            controller.mrEnclList);
}

const char* getEnclosureStatusText(const SL_ENCL_STATUS_T* status) {
    switch (raid_GetEnclosureStatus(status)) {
    case SL_STATUS_GOOD: return "OK";
    case SL_STATUS_DEGRADED: return "Degraded";
    case SL_STATUS_FAILED: return "Error";
    default: return "Unknown";
    }
}
