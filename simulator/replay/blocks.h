#pragma once

// The blocks behind the hashes of a record: the daemon hands records back to the library that it has read before.

#include "simulator/replay/recordFile.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace sim {

class BlockIndex {
  public:
    explicit BlockIndex(const std::vector<ReplayedCall>& calls);

    // Nothing: no call has handed out these bytes.
    std::optional<Bytes> find(const std::string& hashed) const;

    static bool isHash(const Json& argument); // "#SIZE:HASH"
    static std::string hashOfBlock(const Bytes& block);

  private:
    std::map<std::string, Bytes, std::less<>> blocks_;
};

} // namespace sim
