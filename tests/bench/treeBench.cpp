// What the tree costs, beside the same document by way of pugixml. Run without arguments it measures times; with
// "heap" it prints heap figures, with "update CONTROLLERS DRIVES" it makes one update for a profiler.

#include "cache/cacheBuild.h"
#include "cache/cacheRelease.h"
#include "rst/treeComparison.h"
#include "rst/treeWriters.h"
#include "rst/updateCycle.h"
#include "tests/bench/constants.h"
#include "tests/bench/heapCount.h"
#include "tests/bench/pugixmlTree.h"
#include "tree/treeBuilder.h"

#include <benchmark/benchmark.h>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>

namespace {

constexpr uint32_t CONTROLLERS = 8;
constexpr uint32_t DRIVES = 240;

struct Free {
    void operator()(XMLDoc* document) const { freeXMLDoc(document); }
    void operator()(char* text) const { free(text); }
};
using Document = std::unique_ptr<XMLDoc, Free>;
using Text = std::unique_ptr<char, Free>;

Document makeDocument() {
    return Document(getRSTfromCache());
}

Text serialise(const Document& document) {
    XMLWorkArea workArea;
    return Text(writeXMLEnhancedForBf(&workArea, document.get(), "UTF-8", 0, 1));
}

void makeCache(uint32_t controllers, uint32_t drives) {
    freeoobMRCache(oobMRCache);
    setMachine(controllers, drives);
    char errorText[256];
    if (buildoobMRCache(errorText) == nullptr) throw std::runtime_error("no cache");
}

// Both ways come to the same text, or the figures mean nothing. pugixml's declaration names no encoding.
void requireSameText() {
    const Document document = makeDocument();
    const std::vector<Step> steps = layOut(*document);
    pugi::xml_document theirs;
    build(theirs, steps);
    const std::string ownText = serialise(document).get();
    const std::string theirText = save(theirs);
    if (ownText.substr(ownText.find('\n')) != theirText.substr(theirText.find('\n')))
        throw std::runtime_error("pugixml makes another document");
}

void ownTree(benchmark::State& state) {
    for (auto _ : state) {
        const Document document = makeDocument();
        benchmark::DoNotOptimize(serialise(document));
    }
}

void ownDocument(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(makeDocument());
}

void ownComparison(benchmark::State& state) {
    const Document one = makeDocument();
    const Document other = makeDocument();
    for (auto _ : state)
        benchmark::DoNotOptimize(findXmlNodeWhichIsDifferent(one->documentElement, other->documentElement));
}

void pugixmlTree(benchmark::State& state) {
    const Document document = makeDocument();
    const std::vector<Step> steps = layOut(*document);
    for (auto _ : state) {
        pugi::xml_document theirs;
        build(theirs, steps);
        benchmark::DoNotOptimize(save(theirs));
    }
}

BENCHMARK(ownTree)->Unit(benchmark::kMillisecond);
BENCHMARK(ownDocument)->Unit(benchmark::kMillisecond);
BENCHMARK(ownComparison)->Unit(benchmark::kMillisecond);
BENCHMARK(pugixmlTree)->Unit(benchmark::kMillisecond);

void printHeap() {
    makeCache(CONTROLLERS, DRIVES);
    size_t before = heapCount().bytes;
    const Document document = makeDocument();
    const size_t own = heapCount().bytes - before;
    const std::vector<Step> steps = layOut(*document);
    before = heapCount().bytes;
    pugi::xml_document theirs;
    build(theirs, steps);
    std::cout << "ownDocument " << own << "\npugixmlDocument " << heapCount().bytes - before << '\n';

    freeoobMRCache(oobMRCache);
    oobMRCache = nullptr;
    setMachine(2, 24);
    updateRAIDStorageTree(); // what the C library allocates once is not the update's
    freeoobMRCache(oobMRCache);
    oobMRCache = nullptr;
    before = heapCount().bytes;
    resetHeapPeak();
    for (int i = 0; i < 3; ++i) {
        if (updateRAIDStorageTree() != UPDATE_WRITTEN) throw std::runtime_error("nothing written");
        changeMachine();
    }
    std::cout << "updatePeak " << heapCount().peak - before << '\n';
}

} // namespace

// Named for the profiler: an update with nothing changed, and the text it would have written.
[[gnu::noinline]] void measuredUpdate() {
    updateRAIDStorageTree();
    XMLWorkArea workArea;
    free(writeXMLEnhancedForBf(&workArea, oobMRCache->rstDoc, "UTF-8", 0, 1));
}

namespace {

// A root directory, there while this lives.
struct Root {
    Root() {
        char name[] = "/tmp/treeBench.XXXXXX";
        if (mkdtemp(name) == nullptr) throw std::runtime_error("no directory");
        path = name;
        for (const char* folder : {"/var", "/tmp"}) std::filesystem::create_directory(path + folder);
        setRoot(path);
    }
    ~Root() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    Root(const Root&) = delete;
    Root& operator=(const Root&) = delete;

    std::string path;
};

void run(int argc, char* argv[]) {
    const Root root;
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "heap") {
        printHeap();
    } else if (mode == "update" && argc == 4) {
        setMachine(uint32_t(std::stoul(argv[2])), uint32_t(std::stoul(argv[3])));
        updateRAIDStorageTree();
        measuredUpdate();
    } else {
        benchmark::Initialize(&argc, argv);
        makeCache(CONTROLLERS, DRIVES);
        requireSameText();
        benchmark::RunSpecifiedBenchmarks();
    }
}

} // namespace

int main(int argc, char* argv[]) {
    try {
        run(argc, argv);
    } catch (const std::exception& error) {
        fprintf(stderr, "treeBench: %s\n", error.what());
        return 1;
    }
    return 0;
}
