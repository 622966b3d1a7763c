// What the tree costs, beside the same document by way of pugixml. Without arguments it measures times; with "heap"
// it prints heap figures, with "update CONTROLLERS DRIVES" it makes one update for a profiler.

#include "bench/constants.h"
#include "cache/cacheBuild.h"
#include "cache/cacheRelease.h"
#include "rst/treeComparison.h"
#include "rst/treeWriters.h"
#include "rst/updateCycle.h"
#include "tree/treeBuilder.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <filesystem>
#include <malloc.h>
#include <memory>
#include <pugixml.hpp>
#include <stdexcept>
#include <vector>

// The C library's own, behind the names that are taken below.
extern "C" { // NOLINTBEGIN(bugprone-reserved-identifier)
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void __libc_free(void* block);
} // NOLINTEND(bugprone-reserved-identifier)

namespace {

size_t g_heapBytes; // handed out; one thread
size_t g_heapPeak;
size_t g_heapBlocks; // handed out and not got back, as the bytes

void* noted(void* block) {
    ++g_heapBlocks;
    g_heapBytes += malloc_usable_size(block);
    g_heapPeak = std::max(g_heapPeak, g_heapBytes);
    return block;
}

} // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the C library's names are reserved ones
void* malloc(size_t size) {
    return noted(__libc_malloc(size));
}
void* calloc(size_t count, size_t size) {
    return noted(__libc_calloc(count, size));
}
void* realloc(void* block, size_t size) {
    g_heapBytes -= malloc_usable_size(block);
    g_heapBlocks -= block != nullptr ? 1 : 0;
    return noted(__libc_realloc(block, size)); // memory is never short here
}
void free(void* block) {
    g_heapBytes -= malloc_usable_size(block);
    g_heapBlocks -= block != nullptr ? 1 : 0;
    __libc_free(block);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

// An update with nothing changed, and the text that it would have written; the profiler knows it by its name.
[[gnu::noinline]] void measuredUpdate() {
    updateRAIDStorageTree();
    free(writeXMLEnhancedForBf(nullptr, oobMRCache->rstDoc, "UTF-8", 0, 1));
}

namespace {

constexpr uint32_t CONTROLLERS = 8;
constexpr uint32_t DRIVES = 240;
constexpr int ALL_MEMORY = 1 << 30;

struct Free {
    void operator()(XMLDoc* document) const { freeXMLDoc(document); }
    void operator()(char* text) const { free(text); }
};
using Document = std::unique_ptr<XMLDoc, Free>;
using Text = std::unique_ptr<char, Free>;

void require(bool condition, const char* what) {
    if (!condition) throw std::runtime_error(what);
}

void makeCache(uint32_t controllers, uint32_t drives) {
    freeoobMRCache(oobMRCache);
    setMachine(controllers, drives);
    char errorText[256];
    require(buildoobMRCache(errorText) != nullptr, "no cache");
}

Document makeDocument() {
    return Document(getRSTfromCache());
}

Text serialise(const Document& document) {
    return Text(writeXMLEnhancedForBf(nullptr, document.get(), "UTF-8", 0, 1));
}

// What pugixml is told, laid out flat, so that only its own work is measured.
struct Step {
    const char* name; // NULL: the open element ends
    const char* text; // of a leaf; NULL: it stays open
    const char* attribute;
    std::string value; // of the attribute; empty: there is none
};

void layOut(const XMLNode& element, std::vector<Step>& steps) {
    const XMLNode* child = element.firstChild;
    const bool isLeaf = child != nullptr && child->nodeType == XML_TEXT_NODE;
    Step& step = steps.emplace_back(Step{element.nodeName, isLeaf ? child->nodeValue : nullptr, nullptr, ""});
    for (const char* attribute : {"Nr", "Version"}) {
        char value[32];
        if (getAttribute(&element, attribute, value, sizeof value) != XP_SUCCESS) continue;
        step.attribute = attribute;
        step.value = value;
    }
    if (isLeaf) return;
    for (; child != nullptr; child = child->nextSibling) layOut(*child, steps);
    steps.push_back({});
}

void build(pugi::xml_document& document, const std::vector<Step>& steps) {
    pugi::xml_node open = document;
    for (const Step& step : steps) {
        if (step.name == nullptr) {
            open = open.parent();
            continue;
        }
        pugi::xml_node element = open.append_child(step.name);
        if (!step.value.empty()) element.append_attribute(step.attribute).set_value(step.value.c_str());
        if (step.text != nullptr)
            element.append_child(pugi::node_pcdata).set_value(step.text);
        else
            open = element;
    }
}

struct StringWriter : pugi::xml_writer {
    void write(const void* data, size_t size) override { text.append(static_cast<const char*>(data), size); }
    std::string text;
};

std::string save(const pugi::xml_document& document, size_t size) {
    StringWriter writer;
    writer.text.reserve(size);
    document.save(writer, "  ", pugi::format_default, pugi::encoding_utf8);
    return std::move(writer.text);
}

// Both ways come to the same text, or the figures mean nothing. pugixml's declaration names no encoding.
std::vector<Step> stepsOf(const Document& document) {
    std::vector<Step> steps;
    layOut(*document->documentElement, steps);
    pugi::xml_document theirs;
    build(theirs, steps);
    const std::string ownText = serialise(document).get();
    const std::string theirText = save(theirs, ownText.size());
    require(ownText.substr(ownText.find('\n')) == theirText.substr(theirText.find('\n')), "pugixml's text is another");
    return steps;
}

void ownTree(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(serialise(makeDocument()));
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
    const std::vector<Step> steps = stepsOf(document);
    const size_t size = strlen(serialise(document).get());
    for (auto _ : state) {
        pugi::xml_document theirs;
        build(theirs, steps);
        benchmark::DoNotOptimize(save(theirs, size));
    }
}

BENCHMARK(ownTree)->Unit(benchmark::kMillisecond);
BENCHMARK(ownDocument)->Unit(benchmark::kMillisecond);
BENCHMARK(ownComparison)->Unit(benchmark::kMillisecond);
BENCHMARK(pugixmlTree)->Unit(benchmark::kMillisecond);

void printHeap() {
    makeCache(CONTROLLERS, DRIVES);
    size_t before = g_heapBytes;
    const size_t blocksBefore = g_heapBlocks;
    const Document document = makeDocument();
    printf("ownDocument %zu\nownBlocks %zu\n", g_heapBytes - before, g_heapBlocks - blocksBefore);
    const std::vector<Step> steps = stepsOf(document);
    before = g_heapBytes;
    pugi::xml_document theirs;
    build(theirs, steps);
    printf("pugixmlDocument %zu\n", g_heapBytes - before);

    freeoobMRCache(oobMRCache);
    oobMRCache = nullptr;
    setMachine(2, 24);
    before = g_heapPeak = g_heapBytes;
    for (int i = 0; i < 3; ++i) {
        require(updateRAIDStorageTree() == UPDATE_WRITTEN, "nothing written");
        changeMachine();
    }
    printf("updatePeak %zu\n", g_heapPeak - before);
}

// A root directory, there while this lives.
struct Root {
    Root() {
        char name[] = "/tmp/treeBench.XXXXXX";
        require(mkdtemp(name) != nullptr, "no directory");
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
        // Fresh pages cost what the kernel takes for them, and who has to ask for them is chance.
        require(mallopt(M_MMAP_MAX, 0) == 1 && mallopt(M_TRIM_THRESHOLD, ALL_MEMORY) == 1, "no mallopt");
        makeCache(CONTROLLERS, DRIVES);
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
