#include "cache/cacheRelease.h"

#include "daemon/base/accounting.h"
#include "daemon/base/logs.h"
#include "daemon/base/trace.h"

namespace {

using Release = void (*)(void* block);

// Takes only blocks that exist.
void releaseBlock(Release release, void* block) {
    if (block != nullptr) release(block);
}

template <class Element>
void releaseEntry(Release release, Element** array, uint32_t index) {
    if (array != nullptr) releaseBlock(release, array[index]);
}

// The names of all members, one for one: a member that is added to the record has to be released or passed over here.
void releaseController(Release release, MRCtrlInst* controller) {
    const auto& [ctrlId, info, prop, mfcDefaults, prStatus, prProperties, ccSchedule, bbuStatus, bbuCapacity,
                 bbuProperties, bbuDesign, numPd, pdList, sasConn, enclList, enclInfo, enclStatus, pdInfo, pdSataInfo,
                 cfgData, ldInfo, ldProgress, pdInLd, listBySlot, infoBySlot] = *controller;

    void* const records[] = {info,      prop,        mfcDefaults,   prStatus,  prProperties, ccSchedule,
                             bbuStatus, bbuCapacity, bbuProperties, bbuDesign, pdList,       sasConn};
    for (void* record : records) releaseBlock(release, record);

    for (uint32_t e = 0; e < getListCount(enclList); ++e) {
        releaseEntry(release, enclInfo, e);
        releaseEntry(release, enclStatus, e);
    }
    releaseBlock(release, enclInfo);
    releaseBlock(release, enclStatus);
    releaseBlock(release, enclList);

    for (uint32_t k = 0; k < uint32_t(numPd); ++k) {
        releaseEntry(release, pdInfo, k);
        releaseEntry(release, pdSataInfo, k);
    }
    releaseBlock(release, pdInfo);
    releaseBlock(release, pdSataInfo);

    for (uint32_t i = 0; i < getLdCount(cfgData); ++i) {
        releaseEntry(release, ldInfo, i);
        releaseEntry(release, ldProgress, i);
        releaseEntry(release, pdInLd, i);
    }
    releaseBlock(release, ldProgress);
    releaseBlock(release, ldInfo);
    releaseBlock(release, cfgData);
    releaseBlock(release, pdInLd);

    release(controller);
}

void releaseControllers(Release release, OobMRCache& root) {
    if (root.mrCtrlInst == nullptr) return;
    for (int c = 0; c < getControllerCount(root); ++c)
        if (root.mrCtrlInst[c] != nullptr) releaseController(release, root.mrCtrlInst[c]);
    release(root.mrCtrlInst);
}

} // namespace

void freeoobMRCache(OobMRCache* root) {
    if (root == nullptr) return;
    trace("freeoobMRCache(): START\n");
    logRST("freeoobMRCache() called.");
    releaseControllers(freeAccounted, *root);
    if (root->rstDoc != nullptr) freeXMLDoc(root->rstDoc);
    freeAccounted(root);
    trace("freeoobMRCache(): END\n");
}

void releaseCacheContents(OobMRCache& root) {
    releaseControllers(freeUnnoted, root);
}
