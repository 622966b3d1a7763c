#include "tree/enclosureTree.h"

#include "cache/oobCache.h"
#include "daemon/base/trace.h"
#include "tree/tableWalk.h"
#include "tree/treeNodes.h"
#include "values/sesPages.h"

namespace {

constexpr TableWalk PROCESSOR_WALK = {
    .table = enclProcParams_Table,
    .getValue =
        [](int paramID, const TreeObject& object, char* text, int size, int32_t* value) {
            return oobMR_getEnclProcInfo(paramID, object.ctrlIndex, object.index, text, size, value);
        },
    .writesNegative = true,
    .endsOnFailedAppend = false,
};

constexpr TableWalk FAN_WALK = {
    .table = enclFanParams_Table,
    .getValue =
        [](int paramID, const TreeObject& object, char* text, int size, int32_t* value) {
            return oobMR_getEnclFanInfo(paramID, object.ctrlIndex, object.index, object.element, text, size, value);
        },
    .writesNegative = true,
    .endsOnFailedAppend = false,
};

const SL_ENCL_STATUS_T* getStatusBlock(int ctrlIndex, int enclIndex) {
    const MRCtrlInst* controller = getController(ctrlIndex);
    if (controller == nullptr || uint32_t(enclIndex) >= getListCount(controller->mrEnclList)) return nullptr;
    return controller->mrEnclStatus == nullptr ? nullptr : controller->mrEnclStatus[enclIndex];
}

constexpr TableWalk POWER_SUPPLY_WALK = {
    .table = enclPsParams_Table,
    .getValue =
        [](int paramID, const TreeObject& object, char* text, int size, int32_t* value) {
            return oobMR_getEnclPsInfo(paramID, object.modelCode, getStatusBlock(object.ctrlIndex, object.index),
                                       object.page, object.element, text, size, value);
        },
    .writesNegative = true,
    .endsOnFailedAppend = false,
};

constexpr TableWalk SENSOR_WALK = {
    .table = enclTempSensorParams_Table,
    .getValue =
        [](int paramID, const TreeObject& object, char* text, int size, int32_t* value) {
            return oobMR_getEnclTempSensorInfo(paramID, object.ctrlIndex, object.index, object.element, text, size,
                                               value);
        },
    .writesNegative = false,
    .endsOnFailedAppend = false,
};

bool isUnsupported(const SL_ENCL_STATUS_T* status, ElementKind kind, uint32_t index) {
    return getElement(status, kind, index).status == SL_ENCL_ELEM_STATUS_UNSUPPORTED;
}

void addPart(XMLNode* processor, const char* name, const TableWalk& walk, const TreeObject& object) {
    appendTable(addElement(processor, name), walk, object);
}

} // namespace

void addEnclProcessorInfo2XML(XMLNode* enclosure, int ctrlIndex, int enclIndex) {
    XMLNode* processor = addElement(enclosure, "Processor");
    appendTable(processor, PROCESSOR_WALK, {.ctrlIndex = ctrlIndex, .index = enclIndex});
    addEnclFanInfo2XML(processor, ctrlIndex, enclIndex);
    addEnclPsInfo2XML(processor, ctrlIndex, enclIndex);
    addEnclTempSensorInfo2XML(processor, ctrlIndex, enclIndex);
}

void addEnclFanInfo2XML(XMLNode* processor, int ctrlIndex, int enclIndex) {
    const SL_ENCL_STATUS_T* status = getStatusBlock(ctrlIndex, enclIndex);
    if (status == nullptr) return;
    trace("\taddEnclFanInfo2XML():fanCount=%d, pSts= 0x%x\n", int(status->fanCount), traceAddress(status));
    for (uint32_t f = 0; f < getElementCount(status, ElementKind::fan); ++f) {
        if (isUnsupported(status, ElementKind::fan, f)) {
            trace("\taddEnclFanInfo2XML(): =%d -> SL_ENCL_ELEM_STATUS_UNSUPPORTED!\n", int(f));
            continue;
        }
        addPart(processor, "Fan", FAN_WALK, {.ctrlIndex = ctrlIndex, .index = enclIndex, .element = int(f)});
    }
}

void addEnclPsInfo2XML(XMLNode* processor, int ctrlIndex, int enclIndex) {
    const SL_ENCL_STATUS_T* status = getStatusBlock(ctrlIndex, enclIndex);
    if (status == nullptr) return;
    TreeObject object = {.ctrlIndex = ctrlIndex, .index = enclIndex};
    char product[VALUE_TEXT_SIZE];
    (void)oobMR_getEnclInfo(ENCL_PRODUCT, ctrlIndex, enclIndex, product, sizeof product, &object.modelCode);
    uint8_t page[SES_PAGE_SIZE];
    const uint8_t pageCode = object.modelCode == SL_ENCL_MODEL_KP17 ? SES_PAGE_FRU : SES_PAGE_ELEMENT_DESCRIPTORS;
    if (const std::optional<Enclosure> enclosure = findEnclosure(ctrlIndex, enclIndex))
        if (readDiagnosticPage(*enclosure, pageCode, page)) object.page = page;

    trace("\taddEnclPsInfo2XML(): number of powersupplies= %d\n", int(status->psuCount));
    for (uint32_t i = 0; i < getElementCount(status, ElementKind::powerSupply); ++i) {
        if (isUnsupported(status, ElementKind::powerSupply, i)) {
            trace("\taddEnclPsInfo2XML(): i=%d  => SL_ENCL_ELEM_STATUS_UNSUPPORTED\n", int(i));
            continue;
        }
        object.element = int(i);
        addPart(processor, "PowerSupply", POWER_SUPPLY_WALK, object);
    }
}

void addEnclTempSensorInfo2XML(XMLNode* processor, int ctrlIndex, int enclIndex) {
    const SL_ENCL_STATUS_T* status = getStatusBlock(ctrlIndex, enclIndex);
    for (uint32_t i = 0; i < getElementCount(status, ElementKind::sensor); ++i)
        if (!isUnsupported(status, ElementKind::sensor, i))
            addPart(processor, "TemperatureSensor", SENSOR_WALK,
                    {.ctrlIndex = ctrlIndex, .index = enclIndex, .element = int(i)});
}
