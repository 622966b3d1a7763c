#include "simulator/replay/blocks.h"

#include "simulator/record/callRecorder.h"

#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <set>

namespace sim {
namespace {

constexpr size_t LARGEST_BLOCK = size_t{1} << 20;

std::optional<size_t> sizeOfHashed(const std::string& hashed) {
    size_t size = 0;
    const char* end = hashed.data() + hashed.size();
    const auto [stop, error] = std::from_chars(hashed.data() + 1, end, size);
    if (error != std::errc() || stop == end || *stop != ':' || size > LARGEST_BLOCK) return {};
    return size;
}

} // namespace

bool BlockIndex::isHash(const Json& argument) {
    return argument.is_string() && argument.get_ref<const std::string&>().starts_with('#') &&
           sizeOfHashed(argument.get<std::string>());
}

std::string BlockIndex::hashOfBlock(const Bytes& block) {
    char text[40];
    snprintf(text, sizeof text, "#%zu:%016" PRIx64, block.size(), hashOf(block.data(), block.size()));
    return text;
}

// Of each output those pieces from its start that some argument has the size of, with zeros where it is shorter.
BlockIndex::BlockIndex(const std::vector<ReplayedCall>& calls) {
    std::set<std::string, std::less<>> wanted;
    for (const ReplayedCall& call : calls)
        for (const Json& argument : call.arguments)
            if (isHash(argument)) {
                wanted.insert(argument.get<std::string>());
                sizes_.insert(*sizeOfHashed(argument.get<std::string>()));
            }
    for (const size_t size : sizes_) {
        Bytes zeros(size);
        if (const std::string hash = hashOfBlock(zeros); wanted.contains(hash)) blocks_.emplace(hash, zeros);
    }
    for (const ReplayedCall& call : calls) {
        if (!call.output) continue;
        for (const size_t size : sizes_) {
            Bytes block = *call.output;
            block.resize(size);
            std::string hash = hashOfBlock(block);
            if (wanted.contains(hash)) blocks_.emplace(std::move(hash), std::move(block));
        }
    }
}

std::optional<Bytes> BlockIndex::find(const std::string& hashed) const {
    const auto found = blocks_.find(hashed);
    return found != blocks_.end() ? std::optional(found->second) : std::nullopt;
}

} // namespace sim
