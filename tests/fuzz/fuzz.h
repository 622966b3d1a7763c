#pragma once

// The fuzz targets, one source each, and what they share. main.cpp has their table.

#include "platform/xmlParser.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

void tryHostData(std::string_view bytes);
void tryInBand(std::string_view bytes);
void tryMachineFile(std::string_view text);
void tryParseText(std::string_view bytes);
void tryReadServer(std::string_view bytes);
void tryServe(std::string_view bytes);
void trySnmp(std::string_view bytes);
void tryTree(std::string_view bytes);

// Ends the process, which makes the input a finding.
inline void demand(bool holds, const char* what) {
    if (holds) return;
    fprintf(stderr, "does not hold: %s\n", what);
    abort();
}

// Removed at the end, but for what a finding leaves.
struct TemporaryDirectory {
    std::string path = (std::filesystem::temp_directory_path() / "fuzzXXXXXX").string();

    TemporaryDirectory() { demand(mkdtemp(path.data()) != nullptr, "a temporary directory can be made"); }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
};

struct FreeText {
    void operator()(char* text) const { free(text); }
};
using Text = std::unique_ptr<char, FreeText>;

// Takes an input apart; what is missing at its end reads as zeros or as nothing.
class Input {
  public:
    explicit Input(std::string_view bytes) : rest_(bytes) {}

    bool isEmpty() const { return rest_.empty(); }
    std::string_view take(size_t size) {
        const std::string_view taken = rest_.substr(0, size);
        rest_.remove_prefix(taken.size());
        return taken;
    }
    std::string_view takeAll() { return take(rest_.size()); }
    std::string_view takeText() { // with a NUL behind it, unless it is the last
        const std::string_view text = take(std::min(rest_.find('\0'), rest_.size()));
        take(1);
        return text;
    }
    template <class Number>
    Number number() {
        Number value{};
        const std::string_view bytes = take(sizeof value);
        if (!bytes.empty()) memcpy(&value, bytes.data(), bytes.size());
        return value;
    }
    uint8_t byte() { return number<uint8_t>(); }

  private:
    std::string_view rest_;
};

// The document as text, which reads back as a document that is written in the same way.
inline std::string writeAndReadBack(const XMLDoc* document) {
    XMLWorkArea area;
    const Text text(writeXMLEnhancedForBf(&area, document, "UTF-8", 0, 1));
    demand(text != nullptr, "a document can be written");
    XMLDoc* readBack = parseText(&area, text.get());
    demand(readBack != nullptr && readBack->documentElement != nullptr, "what was written is well-formed");
    const Text again(writeXMLEnhancedForBf(&area, readBack, "UTF-8", 0, 1));
    demand(again != nullptr && strcmp(text.get(), again.get()) == 0, "what was written reads back equal");
    freeXMLDoc(readBack);
    return text.get();
}
