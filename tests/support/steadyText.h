#pragma once

// Logs and traces without what differs from run to run: times, figures of memory, and addresses. Blocks are numbered in
// the order of their allocation instead, so that a block that is released too early or in another order shows; one that
// is not known is "?".
// Bytes that are no printable ASCII become \xNN.

#include <cstdint>
#include <map>
#include <string>

class SteadyText {
  public:
    std::string of(const std::string& text);
    // For a trace with gaps: what has been released untraced may have given its address to another meanwhile.
    void forgetBlocks() { blocks_.clear(); }

  private:
    std::string cut(std::string line);

    std::map<std::string, uint32_t> blocks_; // by the digits of their addresses
    uint32_t count_ = 0;
};
