#include "sysinfo/driverMonitoring.h"

#include "daemon/base/pause.h"
#include "daemon/base/safeFile.h"
#include "platform/host.h"
#include "sysinfo/lcmParameters.h"
#include "sysinfo/paramTableLock.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <iterator>

namespace {

constexpr char DEBUG_FILE[] = "/tmp/LCMdbbug_mira.log";
constexpr uint32_t UNUSUAL_COUNT = 100;   // more are noted in the debug file
constexpr uint32_t MOST_INSTANCES = 4096; // of one row a pass: the host's count must not stall the daemon

constexpr int32_t READ_ONCE = -1;  // until the first success
constexpr int32_t WHOLE_LIST = -1; // instance of a parameter that has none

enum class Reads { componentCount, eventCount, once, eachComponent, eachEvent };

struct DriverMonitoringParam {
    const char* group;
    const char* name;
    Reads reads;
    int32_t countdown; // passes left until the next read
    int32_t period;    // passes from a read to the next
    int64_t lastRead;  // seconds since 1970, 0: never
};

constexpr char COMPONENTS[] = "Driver Monitoring";
constexpr char EVENTS[] = "Driver Monitoring Events";

DriverMonitoringParam drvMonParams_Table[] = {
    {COMPONENTS, "DrvMonNumberComponents", Reads::componentCount, READ_ONCE, READ_ONCE, 0},
    {COMPONENTS, "DrvMonComponentName", Reads::eachComponent, READ_ONCE, READ_ONCE, 0},
    {COMPONENTS, "DrvMonComponentLocation", Reads::eachComponent, READ_ONCE, READ_ONCE, 0},
    {COMPONENTS, "DrvMonComponentClass", Reads::eachComponent, READ_ONCE, READ_ONCE, 0},
    {COMPONENTS, "DrvMonComponentDriverName", Reads::eachComponent, READ_ONCE, READ_ONCE, 0},
    {COMPONENTS, "DrvMonComponentAddressKey", Reads::eachComponent, READ_ONCE, READ_ONCE, 0},
    {COMPONENTS, "DrvMonComponentStatus", Reads::eachComponent, 1, 1, 0},
    {COMPONENTS, "DrvMonSummaryStatus", Reads::once, 1, 1, 0},
    {COMPONENTS, "DrvMonSupportedLanguages", Reads::once, 1, 10, 0},
    {EVENTS, "DrvMonNumberEvents", Reads::eventCount, 1, 1, 0},
    {EVENTS, "DrvMonEventOrigText", Reads::eachEvent, 1, 1, 0},
    {EVENTS, "DrvMonEventOrigSeverity", Reads::eachEvent, 1, 1, 0},
    {EVENTS, "DrvMonEventOrigId", Reads::eachEvent, 1, 1, 0},
    {EVENTS, "DrvMonEventOrigSourceName", Reads::eachEvent, 1, 1, 0},
    {EVENTS, "DrvMonEventMessageText", Reads::eachEvent, 1, 1, 0},
    {EVENTS, "DrvMonEventSeverity", Reads::eachEvent, 1, 1, 0},
    {EVENTS, "DrvMonEventId", Reads::eachEvent, 1, 1, 0},
    {EVENTS, "DrvMonEventComponentIndex", Reads::eachEvent, 1, 1, 0},
    {EVENTS, "DrvMonEventErrorCode", Reads::eachEvent, 1, 1, 0},
    {EVENTS, "DrvMonEventTimestamp", Reads::eachEvent, 1, 1, 0},
};
static_assert(std::size(drvMonParams_Table) == 20);

uint32_t g_numComponents = 0;
uint32_t g_numEvents = 0;
bool g_noEvents = false; // the last count of events was 0

bool isCount(Reads reads) {
    return reads == Reads::componentCount || reads == Reads::eventCount;
}

// A countdown above 0 steps on; it is due at 1.
bool isDue(DriverMonitoringParam& row) {
    if (row.lastRead != 0 && row.countdown == READ_ONCE) return false;
    return row.countdown <= 0 || row.countdown-- == 1;
}

void noteUnusualCount(const char* what, uint32_t count, const LCMParamValue& last) {
    FILE* file = openTmpFile(DEBUG_FILE, "a");
    if (file == nullptr) return;
    const time_t now = hostTime().seconds;
    tm local{};
    tzset();
    localtime_r(&now, &local);
    char clock[8] = "";
    strftime(clock, sizeof clock, "%R", &local);
    fprintf(file, "%s, %s = %u (%x), output = %llx, length = %d\n", clock, what, count, count,
            static_cast<unsigned long long>(last.number), int(last.length));
    fclose(file);
}

// The last value of a count's list is the count.
void keepCount(Reads kind, const LCMParamValue* values, uint32_t valueCount) {
    if (values == nullptr || valueCount == 0 || values[valueCount - 1].type != LCM_VALUE_NUMBER) return;
    const LCMParamValue& last = values[valueCount - 1];
    // What is beyond 32 bits is as many as can be counted.
    const auto count = uint32_t(std::min<uint64_t>(last.number, UINT32_MAX));
    const bool isComponents = kind == Reads::componentCount;
    if (isComponents) {
        g_numComponents = count;
    } else {
        g_noEvents = count == 0;
        if (count != 0) g_numEvents = count;
    }
    if (count > UNUSUAL_COUNT) noteUnusualCount(isComponents ? "numComponents" : "numEvents", count, last);
}

void readParam(DriverMonitoringParam& row, int32_t instance, char* message) {
    deliverSignals(); // each asks the host's agents
    message[0] = '\0';
    uint32_t count = 0;
    LCMParamValue* values = getLCMParamValues(row.group, row.name, instance, count, message, true);
    if (values != nullptr && message[0] == '\0') row.lastRead = hostTime().seconds;
    if (row.countdown != READ_ONCE) row.countdown = row.period;
    if (isCount(row.reads)) keepCount(row.reads, values, count);
    freeLCMParamValues(values, -1, count);
}

void readRow(DriverMonitoringParam& row, char* message) {
    if (isCount(row.reads) || row.reads == Reads::once) {
        readParam(row, WHOLE_LIST, message);
        return;
    }
    if (row.reads == Reads::eachEvent && g_noEvents) return;
    const uint32_t instances = std::min(row.reads == Reads::eachEvent ? g_numEvents : g_numComponents, MOST_INSTANCES);
    for (uint32_t instance = 0; instance < instances; ++instance) readParam(row, int32_t(instance), message);
}

} // namespace

int updateDriverMonitoring(char* message) {
    const ParamTableLock lock(message);
    if (!lock.isTaken()) return STEP_NOT_LOCKED;
    for (DriverMonitoringParam& row : drvMonParams_Table)
        if (isDue(row)) readRow(row, message);
    return STEP_DONE;
}
