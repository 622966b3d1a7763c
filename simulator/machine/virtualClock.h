#pragma once

// Time that moves only when every thread sleeps, and then at once to the earliest wake-up. One thread runs
// at a time: it has the turn until it sleeps or ends. Among equal wake-up times the thread started last goes
// first. At the limit the clock stands, says so in `statusFile`, and watches `limitFile` for a new limit.

#include "simulator/machine/root.h"

#include <atomic>
#include <csignal>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <pthread.h>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

class VirtualClock {
  public:
    // The calling thread has the turn. A limit below `start` counts from the start.
    VirtualClock(int64_t start, std::optional<int64_t> limit, std::string statusFile, std::string limitFile);
    VirtualClock(const VirtualClock&) = delete;
    VirtualClock& operator=(const VirtualClock&) = delete;

    int64_t now() const { return now_.load(); }

    // As clockSleep and clockStartThread. A running thread that waits for another by other means than
    // sleeping keeps the turn, so that both stand still.
    unsigned sleep(unsigned seconds);
    int startThread(pthread_t* thread, void* (*body)(void*));

  private:
    struct Sleeper {
        uint64_t number = 0; // in order of starting
        int64_t wakeTime = 0;
        bool asleep = false; // not due yet: a signal ends the sleep
        int wakeUp = -1;     // eventfd
        VirtualClock* clock = nullptr;
        void* (*body)(void*) = nullptr;
    };

    static void* threadMain(void* argument);
    Sleeper& add(void* (*body)(void*));
    Sleeper& callingThread();
    void remove(Sleeper& sleeper);
    void waitForTurn(std::unique_lock<std::mutex>& lock, Sleeper& sleeper, const sigset_t* mask);
    void passTurn();
    void stand();
    void goOn();
    void readLimitFile();
    int64_t limitOf(int64_t setting) const { return setting < start_ ? start_ + setting : setting; }

    const int64_t start_;
    const std::optional<int64_t> firstLimit_;
    const std::string statusFile_;
    const std::string limitFile_;
    std::atomic<int64_t> now_;

    std::mutex mutex_; // guards all below; held with signals blocked, never while waiting
    std::vector<std::unique_ptr<Sleeper>> sleepers_;
    uint64_t started_ = 0;
    Sleeper* running_ = nullptr;
    std::optional<int64_t> limit_;
    FileIdentity limitIdentity_;
    std::string limitText_;
    bool standing_ = false;
};

// A number of seconds in decimal digits; nothing for any other text. White space may follow.
std::optional<int64_t> parseSeconds(std::string_view text);

} // namespace sim
