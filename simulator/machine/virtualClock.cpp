// The C library's fortified ppoll reads a time of 64 bits as one of 32, where it has both.
#undef _FORTIFY_SOURCE

#include "simulator/machine/virtualClock.h"

#include "simulator/machine/log.h"
#include "simulator/machine/now.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace sim {
namespace {

constexpr timespec STANDING_INTERVAL = {0, 2000000}; // how often a standing clock looks at its limit file
constexpr int64_t LAST_SECOND = 253402300799;        // of the year 9999

// Handlers must not run while the clock is locked: they may end the process or ask for the time.
class SignalsBlocked {
  public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        for (const int fault : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGTRAP, SIGABRT}) sigdelset(&all, fault);
        pthread_sigmask(SIG_BLOCK, &all, &previous_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
    const sigset_t* previous() const { return &previous_; }

  private:
    sigset_t previous_ = {};
};

// Gives a lock up for as long as it lives; a cancelled thread takes it again, too.
class Unlocked {
  public:
    explicit Unlocked(std::unique_lock<std::mutex>& lock) : lock_(lock) { lock_.unlock(); }
    ~Unlocked() { lock_.lock(); }
    Unlocked(const Unlocked&) = delete;
    Unlocked& operator=(const Unlocked&) = delete;

  private:
    std::unique_lock<std::mutex>& lock_;
};

// One thread belongs to one clock at a time.
thread_local void* threadSleeper = nullptr;
thread_local const void* threadClock = nullptr;

// The identity is that of the very file that the text is from: another may take its place at any time.
std::string readShortFile(const std::string& path, FileIdentity& identity) {
    char text[64];
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return {};
    if (struct stat status = {}; fstat(descriptor, &status) == 0) identity = identityOf(status);
    const ssize_t length = read(descriptor, text, sizeof text);
    close(descriptor);
    return {text, length > 0 ? size_t(length) : 0};
}

} // namespace

std::optional<int64_t> parseSeconds(std::string_view text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' ')) text.remove_suffix(1);
    int64_t seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size() || text.front() == '-') return {};
    if (seconds > LAST_SECOND) return {};
    return seconds;
}

VirtualClock::VirtualClock(int64_t start, std::optional<int64_t> limit, std::string statusFile, std::string limitFile)
    : start_(start), firstLimit_(limit), statusFile_(std::move(statusFile)), limitFile_(std::move(limitFile)),
      now_(start) {
    if (limit) limit_ = limitOf(*limit);
    unlink(statusFile_.c_str()); // of an earlier run
    running_ = &callingThread();
}

VirtualClock::Sleeper& VirtualClock::add(void* (*body)(void*)) {
    auto sleeper = std::make_unique<Sleeper>();
    sleeper->number = started_++;
    sleeper->wakeTime = now();
    sleeper->wakeUp = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (sleeper->wakeUp < 0) refuseToStart("no descriptor left for the virtual clock");
    sleeper->clock = this;
    sleeper->body = body;
    return *sleepers_.emplace_back(std::move(sleeper));
}

VirtualClock::Sleeper& VirtualClock::callingThread() {
    if (threadClock != this) {
        threadSleeper = &add(nullptr);
        threadClock = this;
    }
    return *static_cast<Sleeper*>(threadSleeper);
}

void VirtualClock::remove(Sleeper& sleeper) {
    const SignalsBlocked blocked;
    const std::lock_guard lock(mutex_);
    close(sleeper.wakeUp);
    if (running_ == &sleeper) running_ = nullptr;
    std::erase_if(sleepers_, [&](const auto& entry) { return entry.get() == &sleeper; });
    passTurn();
}

unsigned VirtualClock::sleep(unsigned seconds) {
    pthread_testcancel(); // it may not have to wait
    const SignalsBlocked blocked;
    std::unique_lock lock(mutex_);
    Sleeper& self = callingThread();
    const int64_t end = now() + seconds;
    self.wakeTime = end;
    self.asleep = true;
    if (running_ == &self) running_ = nullptr;
    passTurn();
    waitForTurn(lock, self, blocked.previous());
    self.asleep = false;
    return unsigned(std::max<int64_t>(0, end - now()));
}

int VirtualClock::startThread(pthread_t* thread, void* (*body)(void*)) {
    Sleeper* sleeper = nullptr;
    {
        const SignalsBlocked blocked;
        const std::lock_guard lock(mutex_);
        callingThread(); // is the older one
        sleeper = &add(body);
    }
    const int error = pthread_create(thread, nullptr, threadMain, sleeper);
    if (error != 0) remove(*sleeper);
    return error;
}

void* VirtualClock::threadMain(void* argument) {
    auto& self = *static_cast<Sleeper*>(argument);
    threadSleeper = &self;
    threadClock = self.clock;
    struct Leave { // also when the thread is cancelled
        Sleeper& sleeper;
        ~Leave() { sleeper.clock->remove(sleeper); }
    } const leave{self};
    {
        const SignalsBlocked blocked;
        std::unique_lock lock(self.clock->mutex_);
        self.clock->waitForTurn(lock, self, nullptr); // its signals wait for the body
    }
    return self.body(nullptr);
}

// Returns with the lock held and the turn taken. No lock is held while signals can arrive: a handler may
// call exit().
void VirtualClock::waitForTurn(std::unique_lock<std::mutex>& lock, Sleeper& sleeper, const sigset_t* mask) {
    while (running_ != &sleeper) {
        const timespec* interval = standing_ ? &STANDING_INTERVAL : nullptr;
        bool interrupted = false;
        {
            const Unlocked unlocked(lock);
            pollfd wakeUp = {sleeper.wakeUp, POLLIN, 0};
            interrupted = ppoll(&wakeUp, 1, interval, mask) < 0 && errno == EINTR;
        }
        eventfd_t count = 0;
        eventfd_read(sleeper.wakeUp, &count);
        if (interrupted && sleeper.asleep) {
            sleeper.asleep = false; // a second signal does not cut the wait for the turn short
            sleeper.wakeTime = std::min(sleeper.wakeTime, now());
        }
        passTurn();
    }
}

// Gives a free turn to the next thread, if need be by moving the time.
void VirtualClock::passTurn() {
    if (running_ != nullptr || sleepers_.empty()) return;
    const auto next = std::min_element(sleepers_.begin(), sleepers_.end(), [](const auto& a, const auto& b) {
        return a->wakeTime != b->wakeTime ? a->wakeTime < b->wakeTime : a->number > b->number;
    });
    Sleeper& sleeper = **next;
    if (sleeper.wakeTime > now()) {
        readLimitFile();
        if (limit_ && sleeper.wakeTime > *limit_) {
            stand();
            return;
        }
        now_ = sleeper.wakeTime;
        publishTime();
    }
    goOn();
    running_ = &sleeper;
    eventfd_write(sleeper.wakeUp, 1);
}

void VirtualClock::stand() {
    now_ = std::max(now(), *limit_);
    if (standing_) return;
    standing_ = true;
    publishStanding(true); // it is told before the other file says so
    if (!replaceFile(statusFile_, "standing")) reportFault("cannot write " + statusFile_);
    for (const auto& sleeper : sleepers_) eventfd_write(sleeper->wakeUp, 1); // they now watch the limit file
}

void VirtualClock::goOn() {
    if (!standing_) return;
    standing_ = false;
    unlink(statusFile_.c_str());
    publishStanding(false);
}

void VirtualClock::readLimitFile() {
    // By its text as well: a second writing within one tick of the file system's clock leaves no other trace.
    FileIdentity identity;
    std::string text = readShortFile(limitFile_, identity);
    if (identity == limitIdentity_ && text == limitText_) return;
    limitIdentity_ = identity;
    limitText_ = std::move(text);
    std::optional<int64_t> setting = firstLimit_;
    if (identity != FileIdentity{}) {
        setting = parseSeconds(limitText_);
        if (!setting) {
            reportFault(limitFile_ + " holds no number of seconds; the limit stays as it was");
            return;
        }
    }
    limit_ = setting ? std::optional(limitOf(*setting)) : std::nullopt;
    goOn(); // it may stand again at once, and then says so anew
}

} // namespace sim
