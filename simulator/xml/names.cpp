#include "simulator/xml/document.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "simulator/xml/text.h"

namespace xmlParser {

namespace {

constexpr size_t FIRST_SLOTS = 64;

uint32_t hashOf(const Document& document, const char* text, size_t length) {
    constexpr uint64_t FACTOR = 0x9E3779B97F4A7C15U;
    const uint64_t factor = (FACTOR ^ document.nameKey) | 1;
    uint64_t hash = document.nameKey ^ length;
    const auto mix = [&hash, factor](uint64_t word) {
        hash = (hash ^ word) * factor;
        hash = (hash ^ hash >> 32) * factor;
    };
    for (; length >= sizeof(uint64_t); text += sizeof(uint64_t), length -= sizeof(uint64_t)) {
        uint64_t word = 0;
        memcpy(&word, text, sizeof word);
        mix(word);
    }
    uint64_t rest = 0;
    for (; length > 0; ++text, --length) rest = rest << 8 | static_cast<unsigned char>(*text);
    mix(rest);
    return uint32_t(hash >> 32);
}

// Where the name is, or the empty slot where it belongs.
const char** slotOf(const Document& document, const char* text, size_t length, uint32_t hash) {
    size_t slot = hash & (document.nameSlots - 1);
    while (const char* name = document.names[slot]) {
        const NameHead& head = headOf(name);
        if (head.hash == hash && head.length == length && memcmp(name, text, length) == 0) break;
        slot = (slot + 1) & (document.nameSlots - 1);
    }
    return &document.names[slot];
}

bool growNames(Document& document) {
    const size_t slots = document.nameSlots > 0 ? 2 * document.nameSlots : FIRST_SLOTS;
    auto** grown = static_cast<const char**>(allocate(document, slots * sizeof(char*)));
    if (grown == nullptr) return false;
    memset(grown, 0, slots * sizeof(char*));
    for (size_t i = 0; i < document.nameSlots; ++i) {
        if (document.names[i] == nullptr) continue;
        size_t slot = headOf(document.names[i]).hash & (slots - 1);
        while (grown[slot] != nullptr) slot = (slot + 1) & (slots - 1);
        grown[slot] = document.names[i];
    }
    document.names = grown;
    document.nameSlots = slots;
    return true;
}

// Strict for ASCII; of the other characters whatever is UTF-8.
bool isName(const char* text, size_t length) {
    const auto isStart = [](unsigned char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == ':' || c >= 0x80;
    };
    const auto isInner = [isStart](unsigned char c) {
        return isStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
    };
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    return length <= UINT32_MAX && isStart(bytes[0]) && std::all_of(bytes, bytes + length, isInner) &&
           isCleanText(text);
}

// The document's own copy, made when there is none yet.
const char* findOrAdd(Document& document, const char* text) {
    if (2 * document.nameCount >= document.nameSlots && !growNames(document)) return nullptr;
    const size_t length = strlen(text);
    const uint32_t hash = hashOf(document, text, length);
    const char** slot = slotOf(document, text, length, hash);
    if (*slot != nullptr || !isName(text, length)) return *slot;
    void* memory = allocate(document, sizeof(NameHead) + length + 1);
    if (memory == nullptr) return nullptr;
    auto* head = new (memory) NameHead{hash, uint32_t(length), nullptr, nullptr};
    char* name = reinterpret_cast<char*>(head + 1);
    memcpy(name, text, length + 1);
    *slot = name;
    ++document.nameCount;
    return name;
}

} // namespace

const char* findName(const Document& document, const char* text) {
    if (document.nameCount == 0) return nullptr;
    const size_t length = strlen(text);
    return *slotOf(document, text, length, hashOf(document, text, length));
}

const char* searchName(Document& document, const char* text) {
    const char* name = text != nullptr ? findOrAdd(document, text) : nullptr;
    if (name == nullptr) return nullptr;
    if (document.lastName != nullptr) headOf(document.lastName).next = name;
    return document.lastName = name;
}

} // namespace xmlParser
