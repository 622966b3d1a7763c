#pragma once

// Keeps the description of a machine file up to date; thread-safe.

#include "simulator/machine/clock.h"
#include "simulator/machine/machine.h"
#include "simulator/machine/mistakes.h"
#include "simulator/machine/root.h"
#include "simulator/machine/timeline.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace sim {

class MachineStore {
  public:
    // `onChange` is told of each new description before anybody sees it. Timelines go by `seconds`.
    explicit MachineStore(
        std::string path, std::function<void(const Machine&)> onChange = [](const Machine&) {},
        int64_t (*seconds)() = secondsSinceStart);

    std::shared_ptr<const Machine> current();
    std::shared_ptr<const Controllers> take();
    std::shared_ptr<const Controllers> taken(); // from the first description if nothing was taken yet

  private:
    void refresh();
    void readFile();
    void reportMistakes(const std::vector<Mistake>& mistakes) const;
    void put(std::unique_ptr<Machine> machine);

    const std::string path_;
    const std::function<void(const Machine&)> onChange_;
    int64_t (*const seconds_)();
    std::mutex mutex_;
    bool looked_ = false;
    FileIdentity identity_;
    std::string text_; // of the file as it was last read
    bool settled_ = false;
    bool isRefused_ = false;
    uint64_t reading_ = 0;
    std::shared_ptr<const Machine> machine_;
    std::unique_ptr<Timeline> timeline_; // NULL: the machine does not change by itself
    bool handedOver_ = false;
    std::shared_ptr<const Controllers> controllers_;
};

} // namespace sim
