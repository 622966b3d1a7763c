#include "simulator/bmcsim/daemonNow.h"

#include "simulator/machine/duration.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

namespace sim {

std::optional<DaemonNow> readNow(const std::string& root) {
    using Json = nlohmann::json;
    const std::string path = root + "/simulator/now";
    std::error_code none;
    const auto written = std::filesystem::last_write_time(path, none);
    std::ifstream stream(path);
    const Json json = Json::parse(stream, nullptr, false);
    if (!json.is_object()) return {};
    try {
        DaemonNow now = {
            json.at("time"),     json.at("nextUpdate"), json.at("start"), json.at("speed"), json.at("file") == "taken",
            json.at("standing"), json.at("pid"),        written};
        if (now.pid <= 0 || (kill(now.pid, 0) != 0 && errno == ESRCH)) return {};
        const std::chrono::duration<double> age = std::filesystem::file_time_type::clock::now() - written;
        now.time += int64_t(std::max(age.count(), 0.0) * now.speed); // virtual time has the speed 0
        return now;
    } catch (const Json::exception&) { // not of this simulator
        return {};
    }
}

std::string nextUpdateText(const DaemonNow& now) {
    const int64_t left = std::max<int64_t>(now.nextUpdate - now.time, 0);
    if (now.isStanding) return "at " + clockText(now.nextUpdate) + ", but the clock stands: bmcsim step 5min";
    if (now.speed == 0) return "at " + clockText(now.nextUpdate);
    const std::string machineTime = now.speed == 1 ? "" : " (machine time " + lengthText(left) + ")";
    return "in " + lengthText(std::llround(double(left) / now.speed)) + machineTime;
}

void moveClock(const std::string& root, const DaemonNow& now, int64_t second) {
    const std::string path = root + "/simulator/until";
    std::ofstream file(path + ".new");
    file << now.start + second << '\n' << std::flush;
    if (!file || rename((path + ".new").c_str(), path.c_str()) != 0)
        throw std::runtime_error(path + ": " + strerror(errno));
}

// An update without a result of its own has ended before its tree; one may have begun in the log before.
std::vector<int> UpdateLog::added() {
    std::ifstream stream(path_, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    text.resize(text.rfind('\n') + 1);                                      // the last line may still be written
    std::istringstream lines(text.substr(text.size() < size_ ? 0 : size_)); // shorter than it was: begun anew
    size_ = text.size();
    std::vector<int> results;
    for (std::string line; std::getline(lines, line);) {
        if (line.find("updateRAIDStorageTree(): START:") != std::string::npos) results.push_back(-1);
        if (line.find("updateRAIDStorageTree(): END") == std::string::npos) continue;
        if (results.empty()) results.push_back(-1);
        for (const char* mark : {"ret=", "ERROR= "})
            if (const size_t at = line.find(mark); at != std::string::npos)
                results.back() = int(strtol(line.c_str() + at + strlen(mark), nullptr, 10));
    }
    return results;
}

const char* resultText(int result) {
    constexpr const char* texts[] = {"written", "nothing new", "no document", "not written"};
    return result >= 0 && size_t(result) < std::size(texts) ? texts[result] : "the controllers could not be read";
}

} // namespace sim
