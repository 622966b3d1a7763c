#include "tree/batteryValues.h"

#include "cache/oobCache.h"
#include "daemon/base/trace.h"
#include "platform/appHelper.h"
#include "values/textValue.h"

#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

enum BatteryParam {
    BATTERY_NAME,
    BATTERY_VENDOR,
    BATTERY_MANUFACTURE_DATE,
    BATTERY_DESIGN_CAPACITY,
    BATTERY_DESIGN_VOLTAGE,
    BATTERY_TYPE,
    BATTERY_INTELLIGENT,
    BATTERY_SERIAL_NUMBER,
    BATTERY_STATUS,
    BATTERY_NEXT_LEARN_TIME,
    BATTERY_DEVICE_NAME,
    BATTERY_MODULE_VERSION,
    BATTERY_AUTO_LEARN_MODE,
    BATTERY_AUTO_LEARN_PERIOD,
    BATTERY_VOLTAGE,
    BATTERY_TEMPERATURE,
    BATTERY_CAPACITANCE,
    BATTERY_REMAINING_CAPACITY,
};

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

int32_t getNumber(int paramID, const MRCtrlInst& controller) {
    const MR_BBU_PROPERTIES* properties = controller.mrBBUProperties;
    switch (paramID) {
    case BATTERY_DESIGN_CAPACITY: return getDesignCapacity(controller);
    case BATTERY_SERIAL_NUMBER: return getSerialNumber(controller.mrBBUDesignInfo);
    case BATTERY_AUTO_LEARN_PERIOD:
        return properties == nullptr ? 0 : int32_t(properties->autoLearnPeriod / SECONDS_PER_DAY);
    case BATTERY_TEMPERATURE: return controller.mrBBUStatus == nullptr ? 0 : controller.mrBBUStatus->temperature;
    case BATTERY_CAPACITANCE: return getCapacitance(controller);
    case BATTERY_REMAINING_CAPACITY: return getRemainingCapacity(controller);
    default: return 0;
    }
}

const char* getStatusText(uint32_t fwStatus) {
    switch (raid_GetBatteryState(fwStatus)) {
    case 2: return "Error";
    case 1: return "Degraded";
    case 0: return "Normal";
    case -1: return "Unknown";
    default: return "";
    }
}

// Rows that stand in MR_BBU_STATUS.
int formStatusText(int paramID, const MR_BBU_STATUS* status, char* text, int size) {
    if (status == nullptr) return VALUE_OK;
    const uint8_t type = status->batteryType;
    if (paramID == BATTERY_TYPE)
        trace("oobMR_getCtrlBatteryInfo():CTRLBATTTYPE: "
              "oobMRCache->mrCtrlInst[instIdx]->mrBBUStatus->batteryType=%d\n",
              type);
    switch (paramID) {
    case BATTERY_INTELLIGENT: copyText(text, size, type == 2 || type == 3 ? "No" : "Yes"); break;
    case BATTERY_STATUS: copyText(text, size, getStatusText(status->fwStatus)); break;
    case BATTERY_VOLTAGE: snprintf(text, size_t(size), "%d.%1d", status->voltage / 1000, status->voltage % 1000); break;
    default: copyText(text, size, raid_GetBatteryType(type)); break;
    }
    return VALUE_OK;
}

// A name that fills its field without a NUL is none.
template <size_t width>
void copyEndedField(char* text, int size, const char (&field)[width]) {
    if (memchr(field, '\0', width) != nullptr) copyText(text, size, field, width);
}

int formManufactureDate(uint32_t packed, char* text, int size) {
    const int day = int(packed & 0x1F);
    const int month = int(packed >> 5 & 0xF);
    const int year = int(packed >> 9 & 0xFFFF);
    if (month < 1 || month > 12 || day == 0 || year == 0) return VALUE_OK;
    tm calendar{};
    calendar.tm_year = year - 1900;
    calendar.tm_mon = month - 1;
    calendar.tm_mday = day; // an impossible one runs into the next month
    calendar.tm_hour = 12;
    calendar.tm_isdst = -1;
    const time_t seconds = mktime(&calendar);
    if (seconds == 0) return VALUE_OK;
    // Noon is never a second before midnight: -1 is a date that the calendar cannot express.
    return seconds != -1 && etcGetDate(seconds, text, size_t(size)) == 0 ? VALUE_OK : VALUE_NO_OBJECT;
}

// Rows that stand in MR_BBU_DESIGN_INFO.
int formDesignText(int paramID, const MR_BBU_DESIGN_INFO* design, char* text, int size) {
    if (design == nullptr)
        return paramID == BATTERY_VENDOR || paramID == BATTERY_DEVICE_NAME ? VALUE_NO_OBJECT : VALUE_OK;
    switch (paramID) {
    case BATTERY_VENDOR: copyEndedField(text, size, design->mfgName); return VALUE_OK;
    case BATTERY_DEVICE_NAME: copyEndedField(text, size, design->deviceName); return VALUE_OK;
    case BATTERY_MANUFACTURE_DATE: return formManufactureDate(design->mfgDate, text, size);
    default:
        snprintf(text, size_t(size), "%d.%.1d", design->designVoltage / 1000, design->designVoltage % 1000);
        return VALUE_OK;
    }
}

int formLearnMode(const MRCtrlInst& controller, char* text, int size) {
    if (controller.mrBBUDesignInfo == nullptr) return VALUE_NO_OBJECT;
    if (controller.mrBBUDesignInfo->transparentLearn != 0) {
        copyText(text, size, "Transparent");
        return VALUE_OK;
    }
    if (controller.mrBBUProperties == nullptr) return VALUE_NO_OBJECT;
    copyText(text, size, raid_GetBatteryAutoLearnMode(controller.mrBBUProperties->autoLearnMode));
    return VALUE_OK;
}

int formNextLearnTime(const MR_BBU_PROPERTIES* properties, char* text, int size) {
    if (properties == nullptr || properties->nextLearnTime == 0) return VALUE_OK;
    const int64_t seconds = int64_t{properties->nextLearnTime} + MR_TIME_EPOCH;
    return etcGetDateAndTime(seconds, text, size_t(size)) == 0 ? VALUE_OK : VALUE_NO_OBJECT;
}

int formText(int paramID, const MRCtrlInst& controller, char* text, int size) {
    switch (paramID) {
    case BATTERY_NAME:
    case BATTERY_TYPE:
    case BATTERY_INTELLIGENT:
    case BATTERY_STATUS:
    case BATTERY_VOLTAGE: return formStatusText(paramID, controller.mrBBUStatus, text, size);
    case BATTERY_VENDOR:
    case BATTERY_MANUFACTURE_DATE:
    case BATTERY_DESIGN_VOLTAGE:
    case BATTERY_DEVICE_NAME: return formDesignText(paramID, controller.mrBBUDesignInfo, text, size);
    case BATTERY_AUTO_LEARN_MODE: return formLearnMode(controller, text, size);
    case BATTERY_NEXT_LEARN_TIME: return formNextLearnTime(controller.mrBBUProperties, text, size);
    default: return VALUE_OK; // BATTERY_MODULE_VERSION is known to no record: an empty text
    }
}

} // namespace

int oobMR_getCtrlBatteryInfo(int paramID, int ctrlIndex, char* text, int size, int32_t* value) {
    *value = 0;
    if (text == nullptr || size <= 0) return VALUE_BAD_BUFFER;
    clearText(text, size);
    const MRCtrlInst* controller = getController(ctrlIndex);
    if (controller == nullptr) {
        trace("oobMR_getCtrlInfo(): END\n"); // the controller function's own words, as readers of traces know them
        return VALUE_NO_OBJECT;
    }
    *value = getNumber(paramID, *controller);
    return formText(paramID, *controller, text, size);
}
