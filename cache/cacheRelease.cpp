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

void releaseController(Release release, MRCtrlInst* controller) {
    void* const records[] = {controller->mrInfo,          controller->mrCtrlProp,        controller->mrMfcDefaults,
                             controller->mrPRStatus,      controller->mrPRProperties,    controller->mrCCScheduleProps,
                             controller->mrBBUStatus,     controller->mrBBUCapacityInfo, controller->mrBBUProperties,
                             controller->mrBBUDesignInfo, controller->mrPdList,          controller->mrSASConn};
    for (void* record : records) releaseBlock(release, record);

    const uint32_t enclosures = getListCount(controller->mrEnclList);
    for (uint32_t e = 0; e < enclosures; ++e) {
        releaseEntry(release, controller->mrEnclInfo, e);
        releaseEntry(release, controller->mrEnclStatus, e);
    }
    releaseBlock(release, controller->mrEnclInfo);
    releaseBlock(release, controller->mrEnclStatus);
    releaseBlock(release, controller->mrEnclList);

    for (int k = 0; k < controller->numPd; ++k) {
        releaseBlock(release, controller->mrPdInfo[k]);
        releaseBlock(release, controller->mrPdSataInfo[k]);
    }
    releaseBlock(release, controller->mrPdInfo);
    releaseBlock(release, controller->mrPdSataInfo);

    const uint32_t logicalDrives = getLdCount(controller->mrCfgData);
    for (uint32_t i = 0; i < logicalDrives; ++i) {
        releaseEntry(release, controller->mrLdInfo, i);
        releaseEntry(release, controller->mrLdProgress, i);
        releaseEntry(release, controller->mrPdInLd, i);
    }
    releaseBlock(release, controller->mrLdProgress);
    releaseBlock(release, controller->mrLdInfo);
    releaseBlock(release, controller->mrCfgData);
    releaseBlock(release, controller->mrPdInLd);

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
