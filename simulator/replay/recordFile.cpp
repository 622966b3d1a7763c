#include "simulator/replay/recordFile.h"

#include <charconv>

namespace sim {
namespace {

constexpr size_t MOST_ZEROS = size_t{1} << 24;

ReplayedCall readLine(const std::string& line) {
    const Json json = Json::parse(line);
    ReplayedCall call{json.at("time"),
                      json.at("call"),
                      json.at("args"),
                      json.at("result"),
                      {},
                      {},
                      json.value("fault", "") == "hang"};
    if (!call.arguments.is_array()) throw BadRecord("\"args\" is no array");
    if (json.contains("out")) {
        call.output = bytesOfHex(json.at("out"));
        const uint64_t zeros = json.value("zeros", uint64_t{0});
        if (zeros > MOST_ZEROS) throw BadRecord("\"zeros\" is more than any record has");
        call.output->resize(call.output->size() + size_t(zeros));
    }
    if (json.contains("values")) call.values = json.at("values");
    return call;
}

} // namespace

Bytes bytesOfHex(const std::string& hex) {
    Bytes bytes(hex.size() / 2);
    for (size_t i = 0; i < bytes.size(); ++i) {
        const char* pair = hex.data() + 2 * i;
        if (std::from_chars(pair, pair + 2, bytes[i], 16).ptr != pair + 2) throw BadRecord("no hexadecimal digits");
    }
    if (hex.size() % 2 != 0) throw BadRecord("an odd number of hexadecimal digits");
    return bytes;
}

std::string hexOf(const uint8_t* bytes, size_t size) {
    static constexpr char DIGITS[] = "0123456789abcdef";
    std::string hex;
    for (size_t i = 0; i < size; ++i) hex.append(1, DIGITS[bytes[i] >> 4]).append(1, DIGITS[bytes[i] & 15]);
    return hex;
}

std::vector<ReplayedCall> readRecordFile(std::istream& record) {
    std::vector<ReplayedCall> calls;
    size_t number = 0;
    for (std::string line; std::getline(record, line);) {
        ++number;
        if (record.eof()) break;
        try {
            ReplayedCall call = readLine(line);
            if (!call.hangs) calls.push_back(std::move(call));
        } catch (const std::exception& error) {
            throw BadRecord("line " + std::to_string(number) +
                            ": not a call as docs/replay.md has it: " + error.what());
        }
    }
    return calls;
}

} // namespace sim
