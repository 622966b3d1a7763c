#include "tree/batteryValues.h"

#include "cache/oobCache.h"
#include "daemon/base/trace.h"
#include "platform/appHelper.h"

#include <ctime>

namespace {

constexpr uint32_t SECONDS_PER_DAY = 86400;
constexpr uint16_t SERIAL_NUMBER_NONE = 0xFFFF;

bool isCapacitor(const MR_BBU_STATUS* status) {
    return status != nullptr && status->batteryType == MR_BBU_TYPE_CAPACITOR;
}

uint32_t getCharge(const MR_BBU_STATUS& status) {
    return status.chargeLow + 256U * status.chargeHigh;
}

int32_t getDesignCapacity(const MRCtrlInst& controller) {
    if (controller.mrBBUStatus != nullptr && !isCapacitor(controller.mrBBUStatus))
        return controller.mrBBUCapacityInfo == nullptr ? 0 : controller.mrBBUCapacityInfo->fullChargeCapacity;
    return controller.mrBBUDesignInfo == nullptr ? 0 : controller.mrBBUDesignInfo->designCapacity;
}

// Percent.
int32_t getCapacitance(const MRCtrlInst& controller) {
    if (controller.mrBBUStatus == nullptr) return 0;
    if (!isCapacitor(controller.mrBBUStatus))
        return controller.mrBBUCapacityInfo == nullptr ? 0 : controller.mrBBUCapacityInfo->relativeStateOfCharge;
    if (controller.mrBBUDesignInfo == nullptr) return 0;
    const uint32_t charge = getCharge(*controller.mrBBUStatus);
    const uint32_t capacity = controller.mrBBUDesignInfo->designCapacity;
    if (charge > capacity) return 100;
    return capacity == 0 ? 0 : int32_t(charge * 100 / capacity);
}

int32_t getRemainingCapacity(const MRCtrlInst& controller) {
    if (isCapacitor(controller.mrBBUStatus)) return int32_t(getCharge(*controller.mrBBUStatus));
    return controller.mrBBUCapacityInfo == nullptr ? -1 : controller.mrBBUCapacityInfo->remainingCapacity;
}

int32_t getSerialNumber(const MR_BBU_DESIGN_INFO* design) {
    return design == nullptr || design->serialNumber == SERIAL_NUMBER_NONE ? 0 : design->serialNumber;
}

int32_t getAutoLearnPeriod(const MR_BBU_PROPERTIES* properties) {
    return properties == nullptr ? 0 : int32_t(properties->autoLearnPeriod / SECONDS_PER_DAY);
}

const char* getStatusText(uint32_t fwStatus) {
    switch (raid_GetBatteryState(fwStatus)) {
    case SL_STATUS_FAILED: return "Error";
    case SL_STATUS_DEGRADED: return "Degraded";
    case SL_STATUS_GOOD: return "Normal";
    case -1: return "Unknown";
    default: return "";
    }
}

using B = const MRCtrlInst&;
using A = Answer&;

void putType(B b, A a) {
    if (b.mrBBUStatus != nullptr) put(a, raid_GetBatteryType(b.mrBBUStatus->batteryType));
}

void putTracedType(B b, A a) {
    if (b.mrBBUStatus != nullptr)
        trace("oobMR_getCtrlBatteryInfo():CTRLBATTTYPE: "
              "oobMRCache->mrCtrlInst[instIdx]->mrBBUStatus->batteryType=%d\n",
              b.mrBBUStatus->batteryType);
    putType(b, a);
}

void putIntelligent(B b, A a) {
    if (b.mrBBUStatus == nullptr) return;
    const uint8_t type = b.mrBBUStatus->batteryType;
    put(a, type == 2 || type == 3 ? "No" : "Yes");
}

// Volts and, behind the point, the millivolts without leading zeros.
void putVoltage(A a, uint16_t millivolts) {
    put(a, millivolts / 1000, ".", millivolts % 1000);
}

// A name that fills its field without a NUL is none. Without the record the row is left out.
template <size_t width>
void putDesignName(B b, A a, char (MR_BBU_DESIGN_INFO::*name)[width]) {
    const MR_BBU_DESIGN_INFO* design = b.mrBBUDesignInfo;
    if (design == nullptr)
        a.status = VALUE_NO_OBJECT;
    else if (memchr(design->*name, '\0', width) != nullptr)
        put(a, viewField(design->*name));
}

void putManufactureDate(B b, A a) {
    const uint32_t packed = b.mrBBUDesignInfo == nullptr ? 0 : b.mrBBUDesignInfo->mfgDate;
    const int day = int(packed & 0x1F);
    const int month = int(packed >> 5 & 0xF);
    const int year = int(packed >> 9 & 0xFFFF);
    if (month < 1 || month > 12 || day == 0 || year == 0) return;
    tm calendar{};
    calendar.tm_year = year - 1900;
    calendar.tm_mon = month - 1;
    calendar.tm_mday = day; // an impossible one runs into the next month
    calendar.tm_hour = 12;
    calendar.tm_isdst = -1;
    const time_t seconds = mktime(&calendar);
    if (seconds == 0) return;
    // Noon is never a second before midnight: -1 is a date that the calendar cannot express.
    if (seconds == -1 || etcGetDate(seconds, a.text, size_t(a.size)) != 0) a.status = VALUE_NO_OBJECT;
}

void putNextLearnTime(B b, A a) {
    if (b.mrBBUProperties == nullptr || b.mrBBUProperties->nextLearnTime == 0) return;
    const int64_t seconds = int64_t{b.mrBBUProperties->nextLearnTime} + MR_TIME_EPOCH;
    if (etcGetDateAndTime(seconds, a.text, size_t(a.size)) != 0) a.status = VALUE_NO_OBJECT;
}

void putAutoLearnMode(B b, A a) {
    if (b.mrBBUDesignInfo != nullptr && b.mrBBUDesignInfo->transparentLearn != 0)
        put(a, "Transparent");
    else if (b.mrBBUDesignInfo != nullptr && b.mrBBUProperties != nullptr)
        put(a, raid_GetBatteryAutoLearnMode(b.mrBBUProperties->autoLearnMode));
    else
        a.status = VALUE_NO_OBJECT;
}

// clang-format off
constexpr auto FORMS = tableOf<MRCtrlInst, BATTERY_PARAM_COUNT>({
    {BATTERY_NAME, putType},
    {BATTERY_VENDOR, [](B b, A a) { putDesignName(b, a, &MR_BBU_DESIGN_INFO::mfgName); }},
    {BATTERY_MANUFACTURE_DATE, putManufactureDate},
    {BATTERY_DESIGN_CAPACITY, [](B b, A a) { a.number = getDesignCapacity(b); }},
    {BATTERY_DESIGN_VOLTAGE, [](B b, A a) { if (b.mrBBUDesignInfo != nullptr) putVoltage(a, b.mrBBUDesignInfo->designVoltage); }},
    {BATTERY_TYPE, putTracedType},
    {BATTERY_INTELLIGENT, putIntelligent},
    {BATTERY_SERIAL_NUMBER, [](B b, A a) { a.number = getSerialNumber(b.mrBBUDesignInfo); }},
    {BATTERY_STATUS, [](B b, A a) { if (b.mrBBUStatus != nullptr) put(a, getStatusText(b.mrBBUStatus->fwStatus)); }},
    {BATTERY_NEXT_LEARN_TIME, putNextLearnTime},
    {BATTERY_DEVICE_NAME, [](B b, A a) { putDesignName(b, a, &MR_BBU_DESIGN_INFO::deviceName); }},
    {BATTERY_MODULE_VERSION, nullptr}, // no record tells it: an empty text
    {BATTERY_AUTO_LEARN_MODE, putAutoLearnMode},
    {BATTERY_AUTO_LEARN_PERIOD, [](B b, A a) { a.number = getAutoLearnPeriod(b.mrBBUProperties); }},
    {BATTERY_VOLTAGE, [](B b, A a) { if (b.mrBBUStatus != nullptr) putVoltage(a, b.mrBBUStatus->voltage); }},
    {BATTERY_TEMPERATURE, [](B b, A a) { if (b.mrBBUStatus != nullptr) a.number = b.mrBBUStatus->temperature; }},
    {BATTERY_CAPACITANCE, [](B b, A a) { a.number = getCapacitance(b); }},
    {BATTERY_REMAINING_CAPACITY, [](B b, A a) { a.number = getRemainingCapacity(b); }},
});
// clang-format on

// Without the controller it says the controller function's own words, as readers of traces know them.
constexpr ValueKind<MRCtrlInst> BATTERY = {
    .forms = FORMS,
    .rules = {.traceWithoutObject = "oobMR_getCtrlInfo(): END\n", .clearsWithoutObject = true},
};

} // namespace

int oobMR_getCtrlBatteryInfo(int paramID, int ctrlIndex, char* text, int size, int32_t* value) {
    return answerValue<BATTERY>(paramID, getController(ctrlIndex), text, size, value);
}
