// torture [--every N] [--offset K] [NAME | NAME:POINT]...: all points of all tortures, of those named, or single ones;
// of each torture's points every N-th from the K-th. What a failing point needs to be tried alone is printed with it.

#include "tests/torture/torture.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr size_t WORKERS = 2;
// Most points take a fraction of a second; sanitizers and a busy machine stretch some.
constexpr unsigned POINT_SECONDS = 900;

std::vector<Torture>& tortures() {
    static std::vector<Torture> all;
    return all;
}

struct Tally {
    std::string program = "torture";
    size_t passed = 0;
    size_t failed = 0;
    std::map<pid_t, std::string> running; // points by their processes
};

// What went wrong is printed there; the status alone tells of a crash or a leak that a sanitizer found.
[[noreturn]] void become(const Torture& torture, const std::string& point) {
    alarm(POINT_SECONDS);
    std::string wrong;
    try {
        wrong = torture.runPoint(point);
    } catch (const std::exception& exception) {
        wrong = exception.what();
    }
    if (!wrong.empty()) fprintf(stderr, "%s:%s: %s\n", torture.name, point.c_str(), wrong.c_str());
    exit(wrong.empty() ? EXIT_SUCCESS : EXIT_FAILURE);
}

// The daemon of a point that was killed comes to this process.
void killOrphans(const Tally& tally) {
    std::ifstream children("/proc/self/task/" + std::to_string(getpid()) + "/children");
    for (pid_t child = 0; children >> child;)
        if (!tally.running.contains(child)) kill(child, SIGKILL);
}

void waitForOne(Tally& tally) {
    int status = 0;
    const pid_t ended = wait(&status);
    const auto point = tally.running.find(ended);
    if (point == tally.running.end()) return;
    if (WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS)
        ++tally.passed;
    else {
        ++tally.failed;
        if (WIFSIGNALED(status)) fprintf(stderr, "%s: %s\n", point->second.c_str(), strsignal(WTERMSIG(status)));
        fprintf(stderr, "again: %s '%s'\n", tally.program.c_str(), point->second.c_str());
    }
    tally.running.erase(point);
    if (WIFSIGNALED(status)) killOrphans(tally);
}

void start(const Torture& torture, const std::string& point, Tally& tally) {
    while (tally.running.size() >= (torture.sideBySide ? WORKERS : 1)) waitForOne(tally);
    fflush(nullptr);
    const pid_t started = fork();
    if (started == 0) become(torture, point);
    if (started == -1)
        ++tally.failed, perror("fork");
    else
        tally.running[started] = std::string(torture.name) + ":" + point;
}

void runPoints(const Torture& torture, size_t every, size_t offset, Tally& tally) {
    std::vector<std::string> points;
    try {
        points = torture.points();
    } catch (const std::exception& exception) { // what is undisturbed is to work
        ++tally.failed;
        fprintf(stderr, "%s: %s\nagain: %s %s\n", torture.name, exception.what(), tally.program.c_str(), torture.name);
    }
    for (size_t i = offset % every; i < points.size(); i += every) start(torture, points[i], tally);
    while (!tally.running.empty()) waitForOne(tally);
    printf("%s: %zu points\n", torture.name, points.size());
}

// NAME or NAME:POINT; false: there is none of that name.
bool runNamed(const std::string& wanted, size_t every, size_t offset, Tally& tally) {
    const size_t colon = wanted.find(':');
    for (const Torture& torture : tortures()) {
        if (wanted.substr(0, colon) != torture.name) continue;
        if (colon == std::string::npos)
            runPoints(torture, every, offset, tally);
        else
            start(torture, wanted.substr(colon + 1), tally);
        while (!tally.running.empty()) waitForOne(tally);
        return true;
    }
    fprintf(stderr, "There is no torture \"%s\".\n", wanted.c_str());
    return false;
}

} // namespace

bool addTorture(const Torture& torture) {
    tortures().push_back(torture);
    return true;
}

int main(int argc, char** argv) {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    Tally tally;
    tally.program = argv[0];
    size_t every = 1;
    size_t offset = 0;
    std::vector<std::string> wanted;
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--every") == 0 && i + 1 < argc)
            every = std::max(1UL, strtoul(argv[++i], nullptr, 10));
        else if (strcmp(argv[i], "--offset") == 0 && i + 1 < argc)
            offset = strtoul(argv[++i], nullptr, 10);
        else
            wanted.emplace_back(argv[i]);
    }
    if (wanted.empty())
        for (const Torture& torture : tortures()) wanted.emplace_back(torture.name);
    for (const std::string& name : wanted)
        if (!runNamed(name, every, offset, tally)) return 2;
    printf("%zu passed, %zu failed\n", tally.passed, tally.failed);
    return tally.failed == 0 && tally.passed > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
