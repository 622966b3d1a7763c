#include "platform/storelibDriveRecords.h"
#include "simulator/words/adapter.h"

#include <algorithm>

namespace sim {
namespace {

constexpr uint64_t ENCLOSURE_TYPE = 2;
constexpr uint64_t LOWEST_ENCLOSURE_ID = 64;
constexpr uint64_t LOWEST_DRIVE_ID = 8;
constexpr uint64_t NO_SLOT = 255;
constexpr uint64_t FAN_SPEED_UNIT = 10; // revolutions per minute
constexpr int64_t TEMPERATURE_OFFSET = 20;
constexpr uint64_t USUAL_FAN_SPEED = 5000;
constexpr uint64_t USUAL_TEMPERATURE = 31;

// What an enclosure of each model consists of.
constexpr struct {
    const char* word;
    const char* product;
    uint64_t slots, supplies, fans, sensors;
} MODELS[] = {{"KP17", "DEPOT KP17-S12  ", 12, 2, 4, 4},
              {"KP17M2", "DEPOT KP17M2-S12", 12, 2, 4, 5},
              {"KP23", "DEPOT KP23-S24  ", 24, 2, 4, 6}};

constexpr char ENCLOSURE_RECORD[] = R"({"MR_PD_INFO": {
    "scsiDevType": 13, "vendor": "MIRADOR ", "revision": "0213", "connectedPortBitmap": 1, "deviceSpeed": 4,
    "ddfInterface": 32, "pathCount": 1, "sasAddr": [5774092813269483888], "slotNumber": 255, "partnerDeviceId": 65535}})";

Json element(uint64_t status, uint64_t second = 0, uint64_t third = 0) {
    return {{"status", status}, {"ses", {status, second, third, 0}}};
}

void removeEnclosure(const Adapter& adapter, size_t number) {
    adapter.enclosure(number); // it is there
    const uint64_t id = adapter.enclosures()[number - 1];
    std::vector<uint64_t> drives;
    for (const auto& [name, device] : adapter.devices()->items())
        if (adapter.isDrive(std::stoul(name)) && adapter.drive(std::stoul(name)).number("/enclDeviceId") == id)
            drives.push_back(std::stoul(name));
    for (const uint64_t drive : drives) pullDrive(adapter, drive);
    removeFromList(adapter, id);
    RecordEdit list = adapter.record("MR_ENCL_LIST");
    if (list.exists()) {
        if (list.hasRaw()) throw std::runtime_error("MR_ENCL_LIST is given as bytes: no entry can be taken out");
        list.json()["encl"].erase(number - 1);
        list.set("/count", list.number("/count") - 1);
    }
    adapter.devices()->erase(std::to_string(id));
    adapter.say("enclosure " + adapter.number + "/" + std::to_string(number) + " is no longer there, nor are its " +
                std::to_string(drives.size()) + " drives; those behind it move up");
    if (number > adapter.enclosures().size()) adapter.say(NO_NEWS);
}

void addEnclosure(const Adapter& adapter, const std::string& model, uint64_t drives) {
    const auto& made = findWord(MODELS, model);
    if (drives > made.slots)
        throw WrongWord("a " + model + " has " + std::to_string(made.slots) + " slots, not " + std::to_string(drives));
    const uint64_t number = adapter.enclosures().size() + 1;
    if (number > std::size(MR_ENCL_LIST{}.encl)) throw std::runtime_error("the list of enclosures is full");
    const uint64_t id = freeDeviceId(adapter, LOWEST_ENCLOSURE_ID);
    Json device = {{"records", Json::parse(ENCLOSURE_RECORD)}, {"thresholds", Json::array()}};
    Json& info = device["records"]["MR_PD_INFO"];
    info.update({{"deviceId", id}, {"product", made.product}, {"enclDeviceId", id}});
    info["sasAddr"][0] = info["sasAddr"][0].get<uint64_t>() + (id << 16);
    Json elements = Json::array();
    for (uint64_t i = 0; i < made.slots; i++) elements.push_back(element(SL_ENCL_ELEM_STATUS_NOT_INSTALLED, i));
    for (uint64_t i = 0; i < made.supplies; i++) elements.push_back(element(SL_ENCL_ELEM_STATUS_OK));
    for (uint64_t i = 0; i < made.fans; i++)
        elements.push_back(element(SL_ENCL_ELEM_STATUS_OK, USUAL_FAN_SPEED / FAN_SPEED_UNIT >> 8,
                                   USUAL_FAN_SPEED / FAN_SPEED_UNIT & 0xFF));
    for (uint64_t i = 0; i < made.sensors; i++) {
        elements.push_back(element(SL_ENCL_ELEM_STATUS_OK, 0, USUAL_TEMPERATURE + TEMPERATURE_OFFSET));
        device["thresholds"].push_back({55, 50, 5, 0});
    }
    elements.push_back(element(SL_ENCL_ELEM_STATUS_OK)); // the alarm
    device["records"]["SL_ENCL_STATUS_T"] = {{"slotCount", made.slots}, {"psuCount", made.supplies},
                                             {"fanCount", made.fans},   {"sensorCount", made.sensors},
                                             {"alarmCount", 1},         {"element", elements}};
    addToList(adapter, id, id, NO_SLOT, SCSI_DEVICE_TYPE_ENCLOSURE);
    RecordEdit list = adapter.record("MR_ENCL_LIST");
    if (!list.exists() && number == 1)
        adapter.json["records"]["MR_ENCL_LIST"] = {{"count", 0}, {"encl", Json::array()}};
    list = adapter.record("MR_ENCL_LIST");
    if (list.exists()) {
        if (list.hasRaw()) throw std::runtime_error("MR_ENCL_LIST is given as bytes: no entry can be added");
        const uint64_t connectors = std::max<uint64_t>(adapter.record("MR_SAS_CONNECTORS").number("/count"), 1);
        list.json()["encl"].push_back(
            {{"deviceId", id}, {"type", ENCLOSURE_TYPE}, {"enclConnectorIndex", (number - 1) % connectors}});
        list.set("/count", number);
    }
    adapter.json["devices"][std::to_string(id)] = device;
    adapter.say("enclosure " + adapter.number + "/" + std::to_string(number) + " (" + model + ") is there");
    for (uint64_t slot = 0; slot < drives; slot++)
        insertDrive(adapter, freeDeviceId(adapter, LOWEST_DRIVE_ID), id, slot);
    adapter.say(NO_NEWS);
}

// A fan, power supply or sensor of an enclosure.
struct Part {
    Adapter adapter;
    Json& enclosure;
    RecordEdit status;
    std::string path; // of the element
    std::string title;
    size_t index;
};

constexpr const char* COUNTS[] = {"/slotCount", "/psuCount", "/fanCount",
                                  "/sensorCount"}; // in their order in the block

Part findPart(Json& machine, Words words, size_t kind, Lines& lines) {
    if (words.size() != 3)
        throw WrongWord(words[0] + " ADAPTER/ENCLOSURE/NUMBER WORD, such as: " + words[0] + " 0/1/0 fail");
    const Named named = findObject(machine, words[1], 2, lines);
    Json& enclosure = named.adapter.enclosure(named.numbers[0]);
    RecordEdit status(enclosure, RecordOwner::device, "SL_ENCL_STATUS_T");
    const uint64_t index = named.numbers[1];
    uint64_t place = index;
    for (size_t i = 0; i < kind; i++) place += status.number(COUNTS[i]);
    if (!status.exists() || index >= status.number(COUNTS[kind]) || place >= std::size(SL_ENCL_STATUS_T{}.element))
        throw WrongWord("there is no " + words[0] + " " + words[1]);
    return {named.adapter, enclosure, status, "/element/" + std::to_string(place), words[0] + " " + words[1],
            size_t(index)};
}

void setPart(Part& part, uint64_t code, const std::string& more = "") {
    const uint64_t before = part.status.number(part.path + "/status");
    part.status.set(part.path + "/status", code);
    part.status.set(part.path + "/ses/0", (part.status.number(part.path + "/ses/0") & 0xF0) | code);
    part.adapter.say(part.title + ": " + stateName(codes::ELEMENT_STATES, before) + " -> " +
                     stateName(codes::ELEMENT_STATES, code) + more);
}

void setSpeed(Part& part, uint64_t speed) {
    const uint64_t units = speed / FAN_SPEED_UNIT;
    const uint64_t high = part.status.number(part.path + "/ses/1") & ~uint64_t{7};
    part.status.set(part.path + "/ses/1", high | units >> 8);
    part.status.set(part.path + "/ses/2", units & 0xFF);
}

uint64_t speedOf(const Part& part) {
    return ((part.status.number(part.path + "/ses/1") & 7) << 8 | part.status.number(part.path + "/ses/2")) *
           FAN_SPEED_UNIT;
}

// By the sensor's limits, which are high critical, high warning, low warning, low critical; null and -100: none.
uint64_t judgeTemperature(const Part& part, double degrees) {
    const Json limits = part.enclosure.value("thresholds", Json::array());
    if (part.index >= limits.size() || !limits[part.index].is_array() || limits[part.index].size() != 4)
        return SL_ENCL_ELEM_STATUS_OK;
    const auto passes = [&](size_t which) {
        const Json& limit = limits[part.index][which];
        if (!limit.is_number() || limit == -100) return false;
        return which < 2 ? degrees >= limit.get<double>() : degrees <= limit.get<double>();
    };
    if (passes(0) || passes(3)) return SL_ENCL_ELEM_STATUS_CRITICAL;
    return passes(1) || passes(2) ? SL_ENCL_ELEM_STATUS_NONCRITICAL : SL_ENCL_ELEM_STATUS_OK;
}

struct StateWord {
    const char* word;
    uint64_t code;
};
constexpr StateWord STATE_WORDS[] = {{"fail", SL_ENCL_ELEM_STATUS_CRITICAL}, {"ok", SL_ENCL_ELEM_STATUS_OK}};

bool isNumber(const std::string& word) {
    return word.find_first_not_of("+-0123456789") == std::string::npos;
}

} // namespace

void applyEnclosure(Json& machine, Words words, Lines& lines) {
    constexpr struct { const char* word; } both[] = {{"remove"}, {"add"}};
    if (words.size() < 3) throw WrongWord("enclosure ADAPTER/NUMBER remove, or enclosure ADAPTER add MODEL --drives N");
    findWord(both, words[2]);
    if (words[2] == "remove") {
        const Named named = findObject(machine, words[1], 1, lines);
        return removeEnclosure(named.adapter, size_t(named.numbers[0]));
    }
    if (words.size() != 4 && (words.size() != 6 || words[4] != "--drives"))
        throw WrongWord("enclosure ADAPTER add MODEL --drives N, such as: enclosure 0 add KP23 --drives 12");
    const Adapter adapter = findAdapter(machine, words[1], lines);
    addEnclosure(adapter, words[3], words.size() == 6 ? readNumber(words[5], UINT8_MAX, "number of drives") : 0);
}

void applyFan(Json& machine, Words words, Lines& lines) {
    Part fan = findPart(machine, words, 2, lines);
    if (isNumber(words[2])) {
        const int64_t speed = readChange(words[2], int64_t(speedOf(fan)), 0, 20470, "speed");
        setSpeed(fan, uint64_t(speed));
        return fan.adapter.say(fan.title + ": " + std::to_string(speedOf(fan)) + " rpm");
    }
    const uint64_t code = findWord(STATE_WORDS, words[2]).code;
    if (code != SL_ENCL_ELEM_STATUS_OK) setSpeed(fan, 0);
    if (code == SL_ENCL_ELEM_STATUS_OK && speedOf(fan) == 0) setSpeed(fan, USUAL_FAN_SPEED);
    setPart(fan, code, ", " + std::to_string(speedOf(fan)) + " rpm");
}

void applySupply(Json& machine, Words words, Lines& lines) {
    Part supply = findPart(machine, words, 1, lines);
    setPart(supply, findWord(STATE_WORDS, words[2]).code);
}

void applySensor(Json& machine, Words words, Lines& lines) {
    Part sensor = findPart(machine, words, 3, lines);
    const std::string reading = sensor.path + "/ses/2";
    int64_t degrees = int64_t(sensor.status.number(reading)) - TEMPERATURE_OFFSET;
    if (!isNumber(words[2])) {
        if (words[2] == "ok" && judgeTemperature(sensor, double(degrees)) != SL_ENCL_ELEM_STATUS_OK)
            degrees = int64_t(USUAL_TEMPERATURE);
        sensor.status.set(reading, uint64_t(degrees + TEMPERATURE_OFFSET));
        return setPart(sensor, findWord(STATE_WORDS, words[2]).code, ", " + std::to_string(degrees) + " degrees");
    }
    degrees = readChange(words[2], degrees, 1 - TEMPERATURE_OFFSET, 255 - TEMPERATURE_OFFSET, "temperature");
    sensor.status.set(reading, uint64_t(degrees + TEMPERATURE_OFFSET));
    setPart(sensor, judgeTemperature(sensor, double(degrees)), ", " + std::to_string(degrees) + " degrees");
}

} // namespace sim
