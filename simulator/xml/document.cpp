#include "simulator/xml/document.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace xmlParser {

namespace {

// Chunks grow with the document: few for a large one, and little is left over in the last one of a small one.
constexpr size_t LEAST_CHUNK_BYTES = 4096 - sizeof(Chunk);
constexpr size_t MOST_CHUNK_BYTES = 131072 - sizeof(Chunk);
constexpr size_t CHUNK_SHARE = 8;

Document* g_youngest = nullptr;

} // namespace

void* allocateChunk(Document& document, size_t size) {
    // What would waste much of a chunk gets its own, and the one in use stays in use.
    const size_t chunkBytes = std::clamp(document.totalBytes / CHUNK_SHARE, LEAST_CHUNK_BYTES, MOST_CHUNK_BYTES);
    const bool alone = size > chunkBytes / 4;
    const size_t bytes = alone ? size : chunkBytes;
    void* memory = size < PTRDIFF_MAX - sizeof(Chunk) ? malloc(sizeof(Chunk) + bytes) : nullptr;
    if (memory == nullptr) return nullptr;
    auto* chunk = new (memory) Chunk{document.chunks};
    char* start = reinterpret_cast<char*>(chunk + 1);
    document.chunks = chunk;
    document.totalBytes += bytes;
    if (alone) return start;
    document.free = start + size;
    document.freeBytes = bytes - size;
    return start;
}

Document* youngestDocument() {
    return g_youngest;
}

} // namespace xmlParser

using namespace xmlParser;

XMLDoc* createXMLDoc(void) {
    void* memory = malloc(sizeof(Document));
    if (memory == nullptr) return nullptr;
    auto* document = new (memory) Document{};
    // Differs from process to process, so that nobody can prepare names that share a slot.
    const auto ownAddress = uint64_t{reinterpret_cast<uintptr_t>(&g_youngest)};
    document->nameKey = ownAddress << 24 ^ reinterpret_cast<uintptr_t>(document);
    document->older = g_youngest;
    if (g_youngest != nullptr) g_youngest->younger = document;
    g_youngest = document;
    return &document->visible;
}

void freeXMLDoc(XMLDoc* document) {
    if (document == nullptr) return;
    auto* whole = reinterpret_cast<Document*>(document);
    if (whole->older != nullptr) whole->older->younger = whole->younger;
    (whole->younger != nullptr ? whole->younger->older : g_youngest) = whole->older;
    while (Chunk* chunk = whole->chunks) {
        whole->chunks = chunk->next;
        free(chunk);
    }
    free(whole);
}
