#pragma once

// What the daemon does again and again, in the process of a torture's point: on machines/rich.json, which here also
// has a host's data, users and an snmpd. The machine passes through numbered states that show in what is published.

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

struct Duty {
    const char* name;
    int (*run)(); // its code
    // What others see of it, and what that has to be in a state of the machine.
    std::string (*published)();
    std::string (*expected)(int state);
    // What a code says about what is published (`before`, `after`); empty: nothing is wrong.
    std::string (*judge)(int code, const std::string& before, const std::string& after);
};
const std::vector<Duty>& duties();
const Duty& dutyNamed(const std::string& name);

// What that machine has beside its controllers.
nlohmann::json describedHost(const char* snmpdPid);

// Lays out the root, and the machine in a state.
void describeState(int state, const nlohmann::json& faults = nlohmann::json::array());

// In which run something fails: the first of a process, one that has something to keep.
inline constexpr const char* CYCLES[] = {"first", "second"};

// Runs the duty while something fails, between `begin`, which tells the faults of the machine, and `end`, which judges
// the code; before that, `healthyBefore` times undisturbed. Then nothing must be lost, and a healthy run has to
// publish. What went wrong, empty: nothing.
struct Blow {
    int healthyBefore;
    std::function<nlohmann::json()> begin;
    std::function<std::string(int code)> end;
};
std::string endure(const Duty& duty, const Blow& blow);

// What the process forked off for `work` returns, each by a line.
std::vector<std::string> linesFromChild(const std::function<std::string()>& work);
