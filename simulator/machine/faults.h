#pragma once

// Faults of the libraries, as a machine file tells them: which call goes wrong, and how.

#include "simulator/machine/callLog.h"
#include "simulator/machine/machine.h"
#include "simulator/record/libraryCalls.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace sim {

// A function of the libraries, as simulator/record/libraryCalls.inc has it; how many of its first arguments say whom
// it asks: the controller's id, then the device's or the logical drive's.
struct LibraryCall {
    std::string_view name;
    CallKind kind;
    CallResult result;
    size_t identifiers;
};
std::span<const LibraryCall> libraryCalls();
const LibraryCall* findLibraryCall(std::string_view name); // NULL: there is none of this name

// The kinds as machine files and records name them.
struct FaultWord {
    const char* word;
    FaultKind kind;
};
std::span<const FaultWord> faultWords();

// The rules that name a controller or a device which is not described, a line each.
std::vector<std::string> idleFaults(const Machine& machine);

// False: BMC_ROOT is not set, or this thread does without; a function then answers from its arguments alone, and no
// call is counted or recorded.
bool hasMachine();

class WithoutMachine {
  public:
    WithoutMachine();
    ~WithoutMachine();
    WithoutMachine(const WithoutMachine&) = delete;
    WithoutMachine& operator=(const WithoutMachine&) = delete;
};

// A text that stays as long as the process, one for equal texts.
const char* keepText(std::string text);

// The fault of one call; of most there is none, and nothing below then changes anything.
class Fault {
  public:
    Fault() = default;
    Fault(FaultKind kind, uint64_t callNumber) : kind_(kind), callNumber_(callNumber) {}

    const char* name() const; // of its kind; NULL: none

    void wait() const; // a slow call returns from here late, one that hangs never

    // The call does nothing and says that it failed.
    bool fails() const { return kind_ == FaultKind::error; }
    bool hangs() const { return kind_ == FaultKind::hang; }
    bool empties() const { return kind_ == FaultKind::empty; }

    // Bytes that are handed out; `record` says where counts lie in them.
    void spoil(void* data, size_t size, std::string_view record = {}) const;
    // The length that goes with such bytes.
    uint32_t spoiledLength(uint32_t length) const;

    // Results: a number that means something, a text; a status stays as it is.
    int spoiledNumber(int number) const;
    const char* spoiledText(const char* text) const; // lives as long as the process

  private:
    FaultKind kind_ = FaultKind::none;
    uint64_t callNumber_ = 0; // of all calls, the seed of garbage
};

// Counts the call and the fault that it meets, in the files simulator/count and simulator/faults as well, and waits as
// the fault says. A call that never comes back is recorded before.
Fault beginCall(const char* name, std::span<const CallValue> arguments);

} // namespace sim
