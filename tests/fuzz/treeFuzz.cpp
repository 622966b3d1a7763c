// Whatever the records hold and whichever reads fail: from the cache comes a document that is well-formed, bounded and
// equal to itself, or none.

#include "cache/cacheBuild.h"
#include "cache/cacheRelease.h"
#include "daemon/base/accounting.h"
#include "daemon/base/trace.h"
#include "rst/treeComparison.h"
#include "simulator/machine/recordLayout.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/memoryMachine.h"
#include "tree/treeBuilder.h"

#include <iterator>
#include <map>
#include <utility>

namespace {

constexpr size_t MOST_DESCRIBED = 4; // controllers; more are listed, but cannot be read

// A step of an input says what its bytes are about. The steps from STEPS on lay them over a record.
enum Step : uint8_t { page, scalars, thresholds, controller, missing, otherSize, name, others, next, STEPS };

struct Patch {
    unsigned step;
    uint8_t controller;
    uint8_t unit; // device, logical drive
    uint16_t offset;
    std::string_view bytes;
};

Patch takePatch(Input& input) {
    Patch patch{};
    patch.step = input.byte() % unsigned(sim::recordLayouts().size() + STEPS);
    patch.controller = input.byte();
    patch.unit = input.byte();
    patch.offset = input.number<uint16_t>();
    patch.bytes = input.take(input.byte());
    return patch;
}

void lay(sim::Bytes& over, size_t offset, std::string_view bytes) {
    if (over.empty()) return;
    offset %= over.size();
    std::copy_n(bytes.begin(), std::min(bytes.size(), over.size() - offset), over.begin() + ptrdiff_t(offset));
}

sim::Records& recordsOf(sim::Controller& controller, sim::RecordOwner owner, uint8_t unit) {
    if (owner == sim::RecordOwner::device) return controller.devices[unit].records;
    return owner == sim::RecordOwner::logicalDrive ? controller.logicalDrives[unit] : controller.records;
}

void describeDevice(sim::Device& device, const Patch& patch) {
    Input bytes(patch.bytes);
    if (patch.step == page) {
        std::optional<sim::Bytes>& content = device.pages[bytes.byte()];
        if (!content && !bytes.isEmpty()) content.emplace(8192);
        if (content) lay(*content, patch.offset, bytes.takeAll());
    } else if (patch.step == scalars) {
        device.sasRpm = bytes.number<uint32_t>();
        device.ataRpm = bytes.number<uint32_t>();
        device.temperature = bytes.number<int32_t>();
    } else {
        device.thresholds.resize(patch.offset % 128 + 1);
        if (!bytes.isEmpty()) device.thresholds.back() = bytes.number<std::array<float, 4>>();
    }
}

void describe(sim::Controller& described, const Patch& patch, const sim::RecordLayout& layout) {
    sim::Records& records = recordsOf(described, layout.owner, patch.unit);
    Input bytes(patch.bytes);
    if (patch.step == controller) {
        described.number = bytes.number<int32_t>();
        described.batteryStatus = bytes.number<int32_t>();
        described.virtualDiskStatus = bytes.number<int32_t>();
    } else if (patch.step == missing) {
        records.erase(std::string(layout.name));
    } else if (patch.step == otherSize) {
        records[std::string(layout.name)].resize(bytes.number<uint16_t>());
    } else {
        lay(records.try_emplace(std::string(layout.name), layout.size).first->second, patch.offset, patch.bytes);
    }
}

void listControllers(size_t count) {
    for (size_t i = g_machine.controllers.size(); i < count; ++i)
        g_machine.controllers.emplace_back().id = uint32_t(i + 7);
}

// Up to the end of one machine.
void describeMachine(Input& input) {
    const auto layouts = sim::recordLayouts();
    while (!input.isEmpty()) {
        Patch patch = takePatch(input);
        const bool isRecord = patch.step >= STEPS;
        const size_t layout = isRecord ? patch.step - STEPS : patch.offset % layouts.size();
        if (patch.step == next) return;
        if (patch.step == others) {
            listControllers(patch.unit);
        } else if (patch.step == name) {
            g_machine.machine.configSpace[513].assign(patch.bytes.begin(), patch.bytes.end());
        } else {
            listControllers(patch.controller % MOST_DESCRIBED + 1);
            sim::Controller& described = g_machine.controllers[patch.controller % MOST_DESCRIBED];
            if (patch.step <= thresholds)
                describeDevice(described.devices[patch.unit], patch);
            else
                describe(described, patch, layouts[layout]);
        }
    }
}

// How many children of one name an element may have; of every other name one.
size_t mostOf(std::string_view parent, std::string_view child) {
    static const std::map<std::pair<std::string_view, std::string_view>, size_t> most = {
        {{"System", "Adapter"}, CTRL_CAPACITY},
        {{"Adapter", "LogicalDrive"}, LD_CONFIG_CAPACITY},
        {{"Adapter", "Port"}, CONNECTOR_CAPACITY + 1},
        {{"Port", "Enclosure"}, ENCLOSURE_CAPACITY},
        {{"Port", "PhysicalDrive"}, PD_CAPACITY},
        {{"Enclosure", "PhysicalDrive"}, PD_CAPACITY},
        {{"Processor", "Fan"}, ELEMENT_CAPACITY},
        {{"Processor", "PowerSupply"}, ELEMENT_CAPACITY},
        {{"Processor", "TemperatureSensor"}, ELEMENT_CAPACITY},
        {{"TemperatureSensor", "CriticalTemperatureL"}, 2},
        {{"TemperatureSensor", "WarningTemperatureH"}, 2},
    };
    const auto found = most.find({parent, child});
    return found != most.end() ? found->second : 1;
}

void checkCounts(const XMLNode* element) {
    std::map<std::string_view, size_t> counts;
    for (const XMLNode* child = element->firstChild; child != nullptr; child = child->nextSibling) {
        demand(++counts[child->nodeName] <= mostOf(element->nodeName, child->nodeName), "lists are bounded");
        checkCounts(child);
    }
}

// The document's text; empty: the cache could not be built.
std::string build(OobMRCache*& cache) {
    char errorText[256];
    cache = buildoobMRCache(errorText);
    demand(cache == oobMRCache && strcmp(errorText, cache != nullptr ? "" : "Can") == 0, "a failed build says so");
    if (cache == nullptr) return {};
    cache->rstDoc = getRSTfromCache();
    demand(cache->rstDoc != nullptr, "a cache gives a document");
    checkCounts(cache->rstDoc->documentElement);
    const XMLNode* root = cache->rstDoc->documentElement;
    demand(findXmlNodeWhichIsDifferent(root, root) == nullptr, "a tree equals itself");
    return writeAndReadBack(cache->rstDoc);
}

void compare(const OobMRCache* newCache, const OobMRCache* oldCache, bool haveSameText) {
    const XMLNode* newRoot = newCache->rstDoc->documentElement;
    const XMLNode* oldRoot = oldCache->rstDoc->documentElement;
    const bool isDifferent = findXmlNodeWhichIsDifferent(newRoot, oldRoot) != nullptr;
    demand(isDifferent == (findXmlNodeWhichIsDifferent(oldRoot, newRoot) != nullptr), "either order finds the same");
    demand(!isDifferent || !haveSameText, "trees of one text are equal");
}

} // namespace

void tryTree(std::string_view bytes) {
    static FILE* const discarded = fopen((fuzzRoot() + "/tmp/trace").c_str(), "w");
    const MachineOfOneInput scope;
    Input input(bytes);
    g_traceEnabled = input.byte() & 1;
    g_traceFile = discarded;
    g_allocCount = 0;
    takeFaults(input);

    describeMachine(input);
    OobMRCache* first = nullptr;
    OobMRCache* second = nullptr;
    const std::string firstText = build(first);
    describeMachine(input);
    const std::string secondText = build(second);
    if (first != nullptr && second != nullptr) compare(second, first, firstText == secondText);
    freeoobMRCache(first);
    freeoobMRCache(second);
    oobMRCache = nullptr;
    rewind(discarded);
}
