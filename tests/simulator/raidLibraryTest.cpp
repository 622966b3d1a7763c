// The controller library's reads. What it says of codes, elements and descriptors stands in the golden documents.

#include "platform/storelib.h"

#include "tests/support/simulatedRoot.h"

#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

constexpr uint32_t CONTROLLER = 9;
constexpr uint8_t UNTOUCHED = 0xEE;

using Read = std::function<int(uint32_t ctrlId, void* buffer)>;

template <class Record>
Read ofController(int (*function)(uint32_t, Record*)) {
    return [=](uint32_t ctrlId, void* buffer) { return function(ctrlId, static_cast<Record*>(buffer)); };
}

template <class Id, class Record>
Read ofObject(int (*function)(uint32_t, Id, Record*)) {
    return [=](uint32_t ctrlId, void* buffer) { return function(ctrlId, 8, static_cast<Record*>(buffer)); };
}

Read operation(uint32_t opcode, uint32_t length) {
    return [=](uint32_t ctrlId, void* buffer) { return raid_ControllerGetOperation(ctrlId, opcode, buffer, length); };
}

Read direct(uint8_t command, uint32_t length) {
    return [=](uint32_t ctrlId, void* buffer) {
        SL_LIB_CMD_PARAM_T packet = {3, command, {}, ctrlId, 8, {}, length, buffer};
        return ZEBRAID_DirectLibCommand(ctrlId, &packet, buffer, length);
    };
}

const struct {
    const char* path; // in the controller's description
    size_t size;
    Read read;
} READS[] = {
    {"/records/MR_CTRL_INFO", 2048, ofController(raid_ReadControllerInfoRaw)},
    {"/records/MR_PR_STATUS", 16, operation(0x01070100, 16)},
    {"/records/0x01030100", 1, operation(0x01030100, 1)},
    {"/records/MR_PD_LIST", 6152, ofController(raid_GetControllerPDList)},
    {"/records/MR_SAS_CONNECTORS", 168, ofController(raid_GetSasConnectors)},
    {"/records/MR_ENCL_LIST", 4616, ofController(raid_GetEnclosureList)},
    {"/devices/8/records/MR_PD_INFO", 512, ofObject(raid_PhysicalDeviceGetInfo)},
    {"/devices/8/records/SATA_IDENTIFY", 512, ofObject(raid_FirePDSATAPassthru_Identify)},
    {"/devices/8/records/SL_ENCL_STATUS_T", 1024,
     ofObject<uint16_t, SL_ENCL_STATUS_T>([](uint32_t ctrlId, uint16_t id, SL_ENCL_STATUS_T* status) {
         return raid_GetEnclosureStatusFunc(ctrlId, id, status);
     })},
    {"/devices/8/records/LDS_OF_PD", 68, direct(16, 68)},
    {"/devices/8/pages/7", 600,
     [](uint32_t ctrlId, void* buffer) { return raid_ReceiveDiagnosticResults(ctrlId, 8, 7, buffer, 600); }},
    {"/logicalDrives/8/records/MR_LD_INFO", 384, ofObject(raid_LogicalDriveGetInfo)},
    {"/logicalDrives/8/records/MR_LD_PROGRESS", 36,
     ofObject<uint8_t, MR_LD_PROGRESS>([](uint32_t ctrlId, uint8_t id, MR_LD_PROGRESS* progress) {
         uint32_t secondWord = 0;
         return raid_LogicalDriveGetProgress(ctrlId, id, progress, &secondWord);
     })},
    {"/logicalDrives/8/records/SL_PD_IN_LD_T", 516, direct(11, 516)},
};

json machineWith(const char* path, const json& value) {
    json controller = {{"id", CONTROLLER},
                       {"devices", {{"8", {{"pages", json::object()}}}}},
                       {"logicalDrives", {{"8", json::object()}}}};
    if (!value.is_discarded()) controller[json::json_pointer(path)] = value;
    return {{"controllers", {controller}}};
}

TEST(RaidLibrary, readsCopyAsFarAsRecordAndBufferGoAndFailWithoutARecord) {
    const json absent(json::value_t::discarded);
    for (const auto& [path, size, read] : READS) {
        SCOPED_TRACE(path);
        std::vector<uint8_t> buffer(8200, UNTOUCHED);
        const auto isUntouchedFrom = [&](size_t at) {
            return std::all_of(buffer.begin() + ptrdiff_t(at), buffer.end(), [](auto b) { return b == UNTOUCHED; });
        };
        for (const json& none : {absent, json(nullptr)}) {
            describeMachine(machineWith(path, none));
            EXPECT_EQ(read(CONTROLLER, buffer.data()), 1);
            EXPECT_NE(read(CONTROLLER, nullptr), 0);
            EXPECT_TRUE(isUntouchedFrom(0));
        }
        describeMachine(machineWith(path, {{"raw", {{"0", "a1"}}}, {"size", 1}}));
        EXPECT_EQ(read(CONTROLLER, buffer.data()), 0);
        EXPECT_EQ(buffer[0], 0xA1);
        EXPECT_TRUE(isUntouchedFrom(1) || (size == sizeof(SL_ENCL_STATUS_T) && isUntouchedFrom(size))); // a whole block
        describeMachine(machineWith(path, {{"raw", {{std::to_string(size - 1), "a2a3"}}}, {"size", size + 1}}));
        EXPECT_EQ(read(CONTROLLER + 1, buffer.data()), 1);
        EXPECT_EQ(read(CONTROLLER, buffer.data()), 0);
        EXPECT_EQ(buffer[size - 1], 0xA2);
        EXPECT_TRUE(isUntouchedFrom(size));
    }
    uint8_t byte = 0;
    EXPECT_EQ(direct(12, 1)(CONTROLLER, &byte), 3) << "no such command";
    EXPECT_EQ(operation(0, 1)(CONTROLLER, &byte), 1) << "MR_CTRL_INFO has no number";
}

TEST(RaidLibrary, numbersAreThereOrNot) {
    int32_t number = 0;
    uint32_t rpm = 0;
    describeMachine(machineWith("/number", -4));
    EXPECT_EQ(raid_GetControllerNumber(CONTROLLER), -4);
    EXPECT_EQ(raid_ControllerGetBatteryStatus(CONTROLLER, &number), 1);
    describeMachine(machineWith("/virtualDiskStatus", 2));
    EXPECT_EQ(raid_GetControllerNumber(CONTROLLER), -1);
    EXPECT_EQ(raid_ControllerGetVirtualDiskStatus(CONTROLLER, &number), 0);
    EXPECT_EQ(number, 2);
    describeMachine(machineWith("/devices/8", {{"sasRpm", 15000}, {"temperature", 33}, {"pages", {{"226", nullptr}}}}));
    EXPECT_EQ(raid_PhysicalDriveGetSasRotationalSpeed(CONTROLLER, 8, &rpm), 0);
    EXPECT_EQ(rpm, 15000U);
    EXPECT_EQ(raid_PhysicalDriveGetAtaRotationalSpeed(CONTROLLER, 8, &rpm), 1);
    EXPECT_EQ(raid_PhysicalGetDriveTemperature(CONTROLLER, 8), 33);
    EXPECT_EQ(raid_PhysicalGetDriveTemperature(CONTROLLER, 7), 0);
    EXPECT_NE(raid_IsDiagnosticPageValid(CONTROLLER, 8, 226), 0) << "valid, but cannot be read";
    EXPECT_EQ(raid_IsDiagnosticPageValid(CONTROLLER, 8, 1), 0);
}

TEST(RaidLibrary, theListNamesAllButHoldsAsManyAsItCan) {
    json controllers = json::array();
    for (int id = 100; id < 170; ++id) controllers.push_back({{"id", id}});
    describeMachine({{"controllers", controllers}});
    SL_CTRL_LIST_T list = {};
    EXPECT_EQ(raid_GetControllerList(&list), 0);
    EXPECT_EQ(list.count, 70U);
    EXPECT_EQ(list.ctrlId[63], 163U);
}

} // namespace
