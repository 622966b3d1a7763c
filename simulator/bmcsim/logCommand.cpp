// bmcsim log: the recorded calls, with the members of records by their names.

#include "simulator/bmcsim/commands.h"
#include "simulator/replay/recordWriter.h"
#include "simulator/replay/sources.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace sim {
namespace {

struct Wanted {
    std::string call; // empty: all
    bool follow = false;
};

std::string timeText(int64_t seconds) {
    const time_t time = seconds;
    tm utc{};
    gmtime_r(&time, &utc);
    char text[32];
    strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &utc);
    return text;
}

std::string answerText(const ReplayedCall& call) {
    std::string text;
    if (call.output) {
        const RecordLayout* layout = recordReadBy(call);
        const std::string name = layout != nullptr ? std::string(layout->name) + " " : std::string();
        text +=
            "  " + name + (layout != nullptr ? recordToJson(*call.output, layout) : itemToJson(*call.output)).dump();
    }
    if (!call.values.is_null()) text += "  " + call.values.dump();
    return text;
}

void printCall(const ReplayedCall& call) {
    std::string arguments = call.arguments.dump();
    arguments = arguments.size() >= 2 ? arguments.substr(1, arguments.size() - 2) : "";
    printf("%s  %s(%s) = %s%s\n", timeText(call.time).c_str(), call.name.c_str(), arguments.c_str(),
           call.result.dump().c_str(), answerText(call).c_str());
}

// What lies behind `offset`, whole lines only; one that is shorter was begun anew.
std::string linesFrom(std::ifstream& stream, std::streamoff& offset) {
    stream.clear();
    stream.seekg(0, std::ios::end);
    if (stream.tellg() < offset) offset = 0;
    stream.seekg(offset);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    text.resize(text.rfind('\n') + 1);
    offset += std::streamoff(text.size());
    return text;
}

[[noreturn]] void cannotRead(const std::string& path) {
    throw std::runtime_error(path + ": " + strerror(errno) + "; BMC_TRACE=1 ./run records calls there");
}

void show(const Places& places, const Wanted& wanted) {
    const std::string path = places.file.empty() ? places.directory() + "/simulator/calls.jsonl" : places.file;
    std::streamoff offset = 0;
    do {
        std::ifstream stream(path, std::ios::binary); // each time: a full one is renamed
        if (!stream) cannotRead(path);
        std::istringstream lines(linesFrom(stream, offset));
        for (const ReplayedCall& call : readRecordFile(lines))
            if (wanted.call.empty() || call.name == wanted.call) printCall(call);
        fflush(stdout);
        if (wanted.follow) std::this_thread::sleep_for(std::chrono::milliseconds(200));
    } while (wanted.follow);
}

} // namespace

void addLogCommand(CLI::App& app, const Places& places) {
    static Wanted wanted;
    CLI::App* log = app.add_subcommand("log", "the recorded calls: bmcsim log --call raid_PhysicalDeviceGetInfo");
    log->add_option("--call", wanted.call, "of this function only");
    log->add_flag("-f,--follow", wanted.follow, "go on with the calls that come");
    log->callback([&places] { show(places, wanted); });
}

} // namespace sim
