#include "rst/inBandSource.h"

#include "daemon/base/logs.h"
#include "daemon/base/safeFile.h"
#include "daemon/base/trace.h"
#include "platform/host.h"
#include "platform/xmlParser.h"
#include "rst/dqmiClient.h"
#include "sysinfo/agentStatus.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

char* ibMRCache = nullptr;

namespace {

constexpr size_t SHORTEST_TREE = 1025;           // characters; less is no tree
constexpr long LONGEST_FILE = 16L * 1024 * 1024; // of a file to be parsed
constexpr char COPY_FILE[] = "/tmp/ibRAID.xml";

void traceEnd(int changed) {
    trace("buildibMRCache(): END - ibMRCache=0x%x, changedDataFlag=%d\n", traceAddress(ibMRCache), changed);
}

// The whole file with a NUL behind it, malloc'ed; NULL: it cannot be read or is too long.
char* readWholeFile(const char* path, long& size) {
    HostPathBuffer buffer;
    FILE* file = fopen(hostPath(path, buffer), "rbe");
    if (file == nullptr) return nullptr;
    char* text = nullptr;
    if (fseek(file, 0, SEEK_END) == 0 && (size = ftell(file)) >= 0 && size <= LONGEST_FILE) {
        rewind(file);
        text = static_cast<char*>(malloc(size_t(size) + 1));
        if (text != nullptr) text[fread(text, 1, size_t(size), file)] = '\0';
    }
    fclose(file);
    return text;
}

void writeCopy(const char* text) {
    FILE* file = openTmpFile(COPY_FILE, "w");
    if (file == nullptr) return;
    fputs(text, file);
    fclose(file);
}

} // namespace

char* getRSTStringfromOS() {
    trace("getRSTStringfromOS(): START\n");
    char errText[DQMI_ERROR_SIZE] = "";
    char* text = dqmiRequestString(0, DQMI_CMD_GET_RST, 0, 0, errText);
    if (text != nullptr)
        trace("getRSTStringfromOS(): DQMI returned string has length = %d\n", int(strlen(text)));
    else
        trace("getRSTStringfromOS(): DQMI returned NULL, errMsg='%s'\n", errText);
    trace("getRSTStringfromOS(): END\n");
    return text;
}

char* buildibMRCache(int* changedDataFlag, char* errText) {
    *changedDataFlag = 0;
    errText[0] = '\0';
    trace("buildibMRCache(): START\n");
    logRST("buildibMRCache(): Read RAID Storage Device Tree via DQMI...");
    char* previous = ibMRCache;
    ibMRCache = getRSTStringfromOS();
    if (ibMRCache == nullptr) {
        trace("buildibMRCache(): No inband cache created! Error: getRSTStringfromOS() returns NULL!\n");
        logRST("buildibMRCache(): No inband cache created! Error: getRSTStringfromOS() returns NULL!");
    } else if (strlen(ibMRCache) >= SHORTEST_TREE) {
        logRST("buildibMRCache(): Inband cache has been created! (ibMRCache-addr= 0x%x)", traceAddress(ibMRCache));
        *changedDataFlag = ibMRCacheChanged(previous);
    } else {
        *changedDataFlag = 1;
        free(ibMRCache);
        ibMRCache = nullptr;
    }
    free(previous);
    traceEnd(*changedDataFlag);
    return ibMRCache;
}

int ibMRCacheChanged(const char* previous) {
    const int changed = ibMRCache != nullptr && (previous == nullptr || strcmp(previous, ibMRCache) != 0) ? 1 : 0;
    if (changed != 0) logRST("ibMRCacheChanged(): Inband RAID data has changed!");
    trace("ibMRCacheChanged() returns '%d' ('0' means no cache difference found)\n", changed);
    return changed;
}

int iBDataAvailable() {
    char errText[AGENT_TEXT_SIZE];
    const int state = pollAgentStatus(errText);
    if (state == AGENT_STATE_CONNECTED || state == AGENT_STATE_CONNECTED_LIMITED) {
        trace("iBDataAvailable(): QP Agent is connected! - return TRUE\n");
        logRST("iBDataAvailable(): QP Agent is connected!");
        return 1;
    }
    logRST("iBDataAvailable(): retFlag = %d (errMsg='%s')", 0, errText);
    return 0;
}

int readXMLFile(const char* path) {
    trace("readXMLFile():Before read xmlfile '%s'\n", path);
    long size = 0;
    char* source = readWholeFile(path, size);
    if (source == nullptr) return 1;
    trace("readXMLFile()After read xmlfile: size of XML string=%ld\n", size);
    trace("readXMLFile():Before parse xml string:\n");
    XMLWorkArea workArea;
    XMLDoc* document = parseText(&workArea, source);
    trace("readXMLFile():After parse xml string:(xmlDocument=0x%x)\n", traceAddress(document));
    free(source);
    if (document == nullptr || document->documentElement == nullptr) {
        trace("XML parser creation failed (%s)\n", getErrorText(&workArea));
        freeXMLDoc(document);
        return 1;
    }

    logRST("readXMLFile(): before Serializer");
    char* text = writeXMLEnhancedForBf(&workArea, document, "UTF-8", 0, 1);
    if (text == nullptr) {
        freeXMLDoc(document);
        return 1;
    }
    trace("readXMLFile(): after writeXMLEnhancedForBf: xmlStr='%s'\n", text);
    logRST("readXMLFile(): after Serializer: len = %d", int(strlen(text)));
    writeCopy(text);
    free(text);
    logRST("readXMLFile(): after writing file");
    freeXMLDoc(document);
    trace("readXMLFile(): END\n");
    return 0;
}
