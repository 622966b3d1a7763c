#pragma once

// What the RAID storage tree says of a server, as plain records. Numbers are in the units that their names tell. What
// the tree does not say is absent: a text is empty, anything else has no value. Texts are UTF-8 without control
// characters, whatever stood in the file.

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace raidtree {

using Number = std::optional<int64_t>;
using Real = std::optional<double>;
using Truth = std::optional<bool>;

struct Volume { // a logical drive
    int64_t number = 0;
    Number sizeBytes, drivesSizeBytes;
    std::string name, displayName, raidLevel, stripeSize, initState, status, activity;
    std::string writeMode, readMode, cacheMode, accessMode, driveCacheMode, emulation512e;
    std::string defaultWriteMode, defaultReadMode, defaultCacheMode, defaultAccessMode;
    Real progressRatio; // of the activity
    Real initProgressRatio, reconstructionProgressRatio, checkProgressRatio;
};

struct Battery {
    std::string name, vendor, type, deviceName, status, manufactureDate, nextLearnTime, autoLearnMode, intelligent;
    Number serialNumber, designCapacityMah, remainingCapacityMah, autoLearnPeriodDays, temperatureCelsius;
    Real designVolts, volts, chargeRatio;
};

struct Fan {
    int64_t number = 0; // position in its enclosure, from 0, as of the other elements
    std::string name, location, speed, status;
    Number speedRpm; // where the speed's text tells one
};

struct PowerSupply {
    int64_t number = 0;
    std::string name, serialNumber, hardwareVersion, status;
};

struct Sensor {
    int64_t number = 0;
    std::string name, location, status;
    Number temperatureCelsius;
    // The tree gives limits of one direction the same name. Of one that stands alone it does not say whether it is the
    // critical one: it is taken for the first in the order of the document.
    Number criticalLowCelsius, warningHighCelsius, warningLowCelsius, criticalHighCelsius;
};

struct Processor {
    std::string name, type, vendor, product, serialNumber, hardwareVersion, firmwareVersion, status;
    Number port, deviceId, enclosure;
};

struct Enclosure {
    int64_t number = 0;
    std::string port; // name of the connector
    std::string name, vendor, product, hardwareVersion, status;
    Processor processor;
    std::vector<Fan> fans;
    std::vector<PowerSupply> powerSupplies;
    std::vector<Sensor> sensors;
};

struct Drive {
    int64_t number =
        0; // device id; with the adapter's number it is the key of a drive, which may stand in the tree twice
    std::string port; // name of the connector, or of the backplane
    std::string name, vendor, product, interface, mediaType, firmwareVersion, serialNumber, sasAddress;
    std::string status, activity, smartStatus, powerStatus;
    Truth foreignConfig;
    Number portNumber, deviceId, slot, enclosure; // no enclosure: on a backplane
    Number sizeBytes, usableBytes, speedRpm, linkMegabytesPerSecond, linkWidth, temperatureCelsius;
    Number mediaErrors, otherErrors, predictedFailures;
};

struct Adapter {
    int64_t number = 0; // the controller library's
    Number position;    // in the document, adapters that could not be read counted
    std::string name, type, vendor, product, serialNumber, sasAddress, protocol, status, activity;
    std::string firmwarePackageVersion, firmwareVersion, firmwareBuildTime, biosVersion, biosBuildTime;
    std::string driverName, driverVersion, uefiDriverVersion;
    Number ports, highestPortInUse, memoryBytes, flashBytes, nvramBytes;
    Number correctedMemoryErrors, uncorrectedMemoryErrors, temperatureCelsius;
    Truth alarmPresent;
    std::string alarm, inconsistencyPolicy, smartSupport, patrolReadMode, nextPatrolRead, continuousPatrolling;
    std::string autoRebuild, coercionMode, abortCheckOnError, initMode, copyback, copybackOnSmartError;
    std::string copybackSsdOnSmartError, patrolReadCorrects, patrolReadOnSsd, spindownUnconfigured, spindownHotSpares;
    std::string checkSchedule, commandQueueing;
    Number smartPollSeconds, patrolReadDrives, patrolReadDelayHours, patrolReads, patrolReadRatePercent;
    Number rebuildRatePercent, backgroundInitRatePercent, checkRatePercent, reconstructionRatePercent;
    Number flushSeconds, spinUpDelaySeconds, spinUpDrives, bootVolume, spindownMinutes;
    std::vector<Volume> volumes;
    std::optional<Battery> battery;
    std::vector<Enclosure> enclosures;
    std::vector<Drive> drives; // each once, in the order of enclosures and slots
};

// The tree's own summary. It has no ranking, the last element decides: it may say OK while drives have failed.
struct Summary {
    std::string status, overall, adapters, volumes, drives;
};

struct Server {
    std::string name;
    std::vector<Adapter> adapters;
    Summary summary;
    std::vector<std::string> notes; // what was passed over, a line each; not part of the server
};

// One line for people, with the path.
struct InputError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Reads the tree as its writer wants it read: the lock on the first byte is taken, the file read once, the lock let go.
// An empty or torn file, or one that another process keeps locked, is tried again for half a second. "-" is standard
// input. Throws InputError.
Server readServer(const std::string& path);

// The same for a text that has been read already; `name` stands for the path in messages.
Server parseServer(std::string text, const std::string& name);

// The text of the file, whole to its last line, not looked into any further. Throws InputError.
std::string readTreeText(const std::string& path);

} // namespace raidtree
