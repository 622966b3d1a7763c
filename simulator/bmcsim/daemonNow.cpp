#include "simulator/bmcsim/daemonNow.h"

#include <cerrno>
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
    std::ifstream stream(root + "/simulator/now");
    const Json json = Json::parse(stream, nullptr, false);
    if (!json.is_object()) return {};
    try {
        const DaemonNow now = {json.at("time"),  json.at("nextUpdate"),      json.at("start"),
                               json.at("speed"), json.at("file") == "taken", json.at("standing"),
                               json.at("pid")};
        if (now.pid <= 0 || (kill(now.pid, 0) != 0 && errno == ESRCH)) return {};
        return now;
    } catch (const Json::exception&) { // not of this simulator
        return {};
    }
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
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
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
