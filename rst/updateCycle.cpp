#include "rst/updateCycle.h"

#include "cache/cacheBuild.h"
#include "cache/cacheRelease.h"
#include "cache/oobCache.h"
#include "daemon/base/accounting.h"
#include "daemon/base/logs.h"
#include "daemon/base/safeFile.h"
#include "daemon/base/trace.h"
#include "platform/host.h"
#include "platform/lcm.h"
#include "rst/dqmiClient.h"
#include "rst/inBandSource.h"
#include "rst/treeComparison.h"
#include "rst/treeWriters.h"
#include "tree/treeBuilder.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

unsigned char readiBData = 0;

namespace {

constexpr char TRACE_FILE[] = "/tmp/TraceFile.RST";
constexpr size_t ERROR_TEXT_SIZE = 256;

bool fileExists(const char* path) {
    HostPathBuffer buffer;
    struct stat status;
    return stat(hostPath(path, buffer), &status) == 0;
}

bool isUpdateEnabled() {
    uint8_t enabled = 0;
    if (LCMconfigSpaceRead(ConfBmcRaidMIRAUpdateEnabled, 0, &enabled, sizeof enabled) == 0) {
        trace("%s:%d: coudn't read ConfBmcRaidMIRAUpdateEnabled\n", "updateRAIDStorageTree", 2261);
        return false;
    }
    if (enabled == 0) {
        trace("%s(): update disabled by ConfigSpace by ConfBmcRaidMIRAUpdateEnabled (%#x), skipping\n",
              "updateRAIDStorageTree", unsigned{ConfBmcRaidMIRAUpdateEnabled});
        return false;
    }
    return true;
}

void traceMemory() {
    if (g_traceEnabled == 0) return;
    getMemoryUsage(&g_vmRSS, &g_vmSize);
    trace("updateRAIDStorageTree(): vmrss=%6ld KB, VmSize = %6ld KB\n", g_vmRSS, g_vmSize);
}

void closeTrace() {
    if (g_traceFile != nullptr) fclose(g_traceFile);
    g_traceFile = nullptr;
}

void beginTrace() {
    g_traceEnabled = fileExists(TRACE_FILE) ? 1 : 0;
    // A stream that an update left open goes on being written, but not into a file that is gone.
    if (g_traceFile != nullptr && !isFileAt(TRACE_FILE, g_traceFile)) closeTrace();
    if (g_traceEnabled == 0) {
        logRST("updateRAIDStorageTree(): START:");
        return;
    }
    if (g_traceFile == nullptr) g_traceFile = openTmpFile(TRACE_FILE, "w");
    printf("START of updateRAIDStorageTree... =====>");
    fflush(stdout);
    if (g_allocCount > ALLOC_TABLE_RESET) g_allocCount = 0;
    trace("updateRAIDStorageTree(): START\n");
    traceMemory();
    logRST("updateRAIDStorageTree(): START:  VmRSS= %ld Kb, VmSize= %ld Kb", g_vmRSS, g_vmSize);
}

void endTrace(int code) {
    if (g_traceEnabled == 0) {
        logRST("updateRAIDStorageTree(): END - ret=%d\n", code);
        return;
    }
    traceMemory();
    trace("updateRAIDStorageTree(): END -> %d\n", code);
    closeTrace();
    logRST("updateRAIDStorageTree(): END - ret=%d (VmRSS= %ld Kb, VmSize= %ld Kb)\n", code, g_vmRSS, g_vmSize);
}

// Compares the new tree with the kept one and releases the old cache. True: nothing is to be written.
bool isTreeUnchanged(const OobMRCache* newCache, OobMRCache* oldCache) {
    logRST("updateRAIDStorageTree(): Before checking DOM trees");
    const bool unchanged =
        fileExists(RST_FILE) &&
        findXmlNodeWhichIsDifferent(newCache->rstDoc->documentElement, oldCache->rstDoc->documentElement) == nullptr;
    freeoobMRCache(oldCache);
    if (unchanged) {
        traceMemory();
        trace("updateRAIDStorageTree(): Old and new DOM trees are the same! - END with 1\n");
        logRST("updateRAIDStorageTree(): END - Old and new DOM trees are the same! (ret=1)\n");
    } else {
        logRST("updateRAIDStorageTree(): Old and new DOM trees are different!");
        trace("updateRAIDStorageTree(): Old and new DOM trees are different!\n");
    }
    return unchanged;
}

int writeTree(const XMLDoc* document) {
    const int result = writeRST2File(document, RST_FILE);
    if (result <= 0) return result;
    logRST("updateRAIDStorageTree(): Writing XML RST into '%s' failed! (ret=%d)", RST_FILE, result);
    return UPDATE_NOT_WRITTEN;
}

int updateFromControllers() {
    logRST("updateRAIDStorageTree(): Use Out-of-Band RAID data!");
    free(ibMRCache);
    ibMRCache = nullptr;
    OobMRCache* oldCache = oobMRCache;
    if (oldCache == nullptr) logRST("updateRAIDStorageTree(): First Call after start of ZEB_MIRA_Update demon!");

    char errorText[ERROR_TEXT_SIZE];
    OobMRCache* newCache = buildoobMRCache(errorText);
    if (newCache == nullptr) {
        oobMRCache = oldCache;
        traceMemory();
        trace("updateRAIDStorageTree():  ERROR: buildoobMRCache() failed! - END with 4\n");
        return UPDATE_NO_CACHE;
    }

    newCache->rstDoc = getRSTfromCache();
    if (newCache->rstDoc == nullptr || newCache->rstDoc->documentElement == nullptr) {
        freeoobMRCache(newCache);
        oobMRCache = oldCache;
        traceMemory();
        trace("updateRAIDStorageTree():  ERROR: XML DOM tree creation failed! - END with 2\n");
        logRST("updateRAIDStorageTree(): END with ERROR= 2 (XML DOM tree creation failed!)!");
        return UPDATE_NO_DOCUMENT;
    }

    if (oldCache != nullptr && isTreeUnchanged(newCache, oldCache)) return UPDATE_NOTHING_NEW;
    const int code = writeTree(newCache->rstDoc);
    endTrace(code);
    return code;
}

} // namespace

int updateFromAgents() {
    logRST("updateRAIDStorageTree(): Inband RAID data from QP agents is available!");
    freeoobMRCache(oobMRCache);
    oobMRCache = nullptr;

    int changed = 1;
    char errorText[DQMI_ERROR_SIZE];
    ibMRCache = buildibMRCache(&changed, errorText);
    if (ibMRCache == nullptr) return UPDATE_FROM_CONTROLLERS;
    trace("updateRAIDStorageTree(): after buildibMRCache: ibMRCache=0x%x, len=%d, ibChangedFlag=%d\n",
          traceAddress(ibMRCache), int(strlen(ibMRCache)), changed);
    if (changed == 0 && fileExists(RST_FILE)) {
        logRST("updateRAIDStorageTree(): END with '1' - ibMRCache=0x%x, ibChangedFlag=%d - No writing of XML RST file "
               "will be done!\n",
               traceAddress(ibMRCache), changed);
        traceMemory();
        trace("updateRAIDStorageTree(): END - No change of ib cache => do nothing!\n");
        return UPDATE_NOTHING_NEW;
    }

    int code = UPDATE_WRITTEN;
    if (writeRSTString2File(ibMRCache, RST_FILE) > 0) {
        logRST("updateRAIDStorageTree(): Writing XML RST string into '%s' failed! (ret=%d)", RST_FILE, 1);
        code = UPDATE_NOT_WRITTEN;
    }
    endTrace(code);
    return code;
}

int updateRAIDStorageTree() {
    if (!isUpdateEnabled()) return UPDATE_DISABLED;
    beginTrace();
    readiBData = 0;
    if (g_traceEnabled != 0) { // only a traced update looks at the setting
        trace("updateRAIDStorageTree(): readiBData is here fixed set to FALSE!\n");
        if (readiBData != 0) {
            if (const int code = updateFromAgents(); code != UPDATE_FROM_CONTROLLERS) return code;
            readiBData = 0;
        }
    }
    return updateFromControllers();
}
