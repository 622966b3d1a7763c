#pragma once

// The blocks behind the hashes of a record: the daemon hands records back to the library that it has read before.

#include "simulator/replay/recordFile.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace sim {

class BlockIndex {
  public:
    explicit BlockIndex(const std::vector<ReplayedCall>& calls);

    // Nothing: no call has handed out these bytes.
    std::optional<Bytes> find(const std::string& hashed) const;

    const std::set<size_t>& sizes() const { return sizes_; } // of the blocks

    static bool isHash(const Json& argument); // "#SIZE:HASH"
    static std::string hashOfBlock(const Bytes& block);

  private:
    std::set<size_t> sizes_;
    std::map<std::string, Bytes, std::less<>> blocks_;
};

} // namespace sim
