// Whatever the machine file holds: it is read whole, or it is refused in one line and the last good machine stays.

#include "simulator/machine/log.h"
#include "simulator/machine/machineReader.h"
#include "simulator/machine/machineStore.h"
#include "simulator/machine/recordLayout.h"
#include "tests/fuzz/fuzz.h"

#include <fstream>
#include <set>

namespace {

std::string g_fault; // as reported last

const std::string& machineFile() {
    static const TemporaryDirectory directory;
    static const std::string file = directory.path + "/machine.json";
    return file;
}

void place(std::string_view text) {
    const std::string fresh = machineFile() + ".new";
    std::ofstream(fresh, std::ios::binary) << text;
    std::filesystem::rename(fresh, machineFile());
}

void checkController(const sim::Controller& controller) {
    for (const auto& [name, bytes] : controller.records) {
        demand(sim::findRecordLayout(sim::RecordOwner::controller, name) != nullptr, "only known records are kept");
        demand(bytes.size() <= 1 << 20, "records are bounded");
    }
    for (const auto& [id, device] : controller.devices)
        for (const auto& [code, content] : device.pages)
            demand(!content || content->size() <= 2 << 20, "pages are bounded");
}

void checkMachine(const sim::Machine& machine) {
    if (machine.controllers == nullptr) return;
    std::set<uint32_t> ids;
    for (const sim::Controller& controller : *machine.controllers) {
        demand(ids.insert(controller.id).second, "ids name one controller");
        checkController(controller);
    }
}

} // namespace

namespace sim {

// Comes before that of the library, since it stands in the executable.
void reportFault(const std::string& text) {
    g_fault = text;
}

} // namespace sim

void tryMachineFile(std::string_view text) {
    const sim::MachineReading reading = sim::readMachine(text);
    demand((reading.machine == nullptr) == !reading.mistakes.empty(), "a machine or a fault");

    place(R"({"configSpace": {"513": "good"}})");
    sim::MachineStore store(machineFile());
    const std::shared_ptr<const sim::Machine> good = store.current();
    demand(good->configSpace.contains(513), "a good machine is taken");
    place(text);
    g_fault.clear();
    const std::shared_ptr<const sim::Machine> machine = store.current();
    demand((machine == good) == !reading.mistakes.empty(),
           "a faulty machine file leaves the last good machine in force");
    demand(g_fault.empty() == reading.mistakes.empty(), "a fault is reported");
    demand(g_fault.find_first_of("\n\r\x1b") == std::string::npos && g_fault.size() < 4096, "a fault is one line");
    checkMachine(*machine);
}
