#pragma once

// The lock of the parameter database's file list, shared by the system-information cycle and the agents' thread, which
// clears the written markers.

// 1: taken; 0: not within half a minute, skip the work.
[[nodiscard]] int lockParamTable();
void unlockParamTable();

// What a step of the cycle answers.
constexpr int STEP_DONE = 0;
constexpr int STEP_NOT_LOCKED = 1; // `message` tells so

// Holds the lock while it lives. Where it could not be had, `message` (LCM_MESSAGE_SIZE bytes) says "lock database
// filelist failed".
class ParamTableLock {
  public:
    explicit ParamTableLock(char* message);
    ~ParamTableLock();
    ParamTableLock(const ParamTableLock&) = delete;
    ParamTableLock& operator=(const ParamTableLock&) = delete;

    [[nodiscard]] bool isTaken() const { return taken_; }

  private:
    const bool taken_;
};
