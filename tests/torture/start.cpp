// The start of the executable itself and its first pass: the libraries' calls before it fail, and so does every
// allocation of its own, those that the C library makes for it among them. It has to live on, and to publish when
// nothing fails any more. An allocator that is preloaded and a sanitizer's do not go together: there only calls fail.

#include "tests/torture/scene.h"
#include "tests/torture/torture.h"

#include <csignal>
#include <regex>

namespace {

using nlohmann::json;

constexpr int CALLS = 3; // the monitor's registration, the agents' connection, CSM_Init
constexpr const char* KINDS[] = {"error", "empty", "short", "garbage", "counts"};
constexpr char END_FILE[] = "end";
constexpr char COUNT_FILE[] = "count";
#ifdef __SANITIZE_ADDRESS__
constexpr bool PRELOADS = false;
#else
constexpr bool PRELOADS = true;
#endif

void failAllocation(const Scene& scene, const std::string& which) {
    setenv("LD_PRELOAD", FAILING_ALLOCATOR, 1);
    setenv("FAILING_ALLOCATION", which.c_str(), 1);
    setenv("FAILING_ALLOCATION_END", scene.path(END_FILE).c_str(), 1);
    setenv("FAILING_ALLOCATION_COUNT", scene.path(COUNT_FILE).c_str(), 1);
}

// From the start to the end of the first pass.
uint64_t countAllocations() {
    Scene scene;
    scene.layFiles();
    scene.change(1);
    failAllocation(scene, "0");
    scene.runToPass(1);
    unsetenv("LD_PRELOAD");
    demand(scene.end(SIGTERM) == 0, "an undisturbed daemon breaks down");
    return std::stoull(scene.read(COUNT_FILE));
}

std::vector<std::string> points() {
    std::vector<std::string> all;
    for (int number = 1; number <= CALLS; ++number)
        for (const char* kind : KINDS)
            for (const char* how : {"once", "ever"})
                all.push_back("call-" + std::to_string(number) + "-" + kind + "-" + how);
    const uint64_t allocations = PRELOADS ? countAllocations() : 0;
    for (uint64_t number = 1; number <= allocations; ++number)
        for (const char* how : {"once", "ever"})
            all.push_back("allocation-" + std::to_string(number) + "-error-" + how);
    return all;
}

std::string runPoint(const std::string& point) {
    const std::regex form(R"((call|allocation)-(\d+)-(\w+)-(once|ever))");
    std::smatch parts;
    if (!std::regex_match(point, parts, form)) return "there is no such point";
    const bool forEver = parts[4] == "ever";
    Scene scene;
    scene.layFiles();
    scene.change(1);
    scene.describe({{"agents", {{"state", 2}}}});
    if (parts[1] == "call") {
        json fault = {{"nth", std::stoull(parts[2])}, {"kind", parts[3].str()}};
        if (!forEver) fault["times"] = 1;
        scene.describe({{"faults", {fault}}});
    } else {
        failAllocation(scene, parts[2].str() + (forEver ? "+" : ""));
    }
    scene.runToPass(1);
    unsetenv("LD_PRELOAD");
    // Whole; of answers that failed or were spoiled it says what they said.
    const std::string configuration = scene.read(CONF);
    demand(configuration.starts_with("rocommunity ") &&
               configuration.find("# a person's comment, number 199\n") != std::string::npos,
           "the configuration is torn: " + configuration);
    scene.write(END_FILE, "");
    scene.describe({{"faults", json::array()}});
    scene.change(2);
    scene.runToPass(6);
    scene.demandPublished(2);
    demand(scene.end(SIGTERM) == 0, "it does not end with status 0");
    scene.demandNoFaults();
    return "";
}

const bool REGISTERED = addTorture({"start", true, points, runPoint});

} // namespace
