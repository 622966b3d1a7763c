#pragma once

// The record of calls, one JSON object a line: docs/replay.md has its form. The stand-ins and librecord.so share this
// source, so both write the same. It needs the C library alone, keeps errno, allocates with mmap only, and may be used
// by any thread and in signal handlers: a call that comes while its own thread writes goes unrecorded.

#include "platform/lcm.h"

#include <climits>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <pthread.h>
#include <string_view>

namespace sim {

constexpr size_t LONGEST_PLAIN_BLOCK = 64;         // of an argument; a longer one is written as its size and hash
constexpr size_t LONGEST_RECORDED_VALUE = 1 << 20; // bytes of a parameter's value, and of a DQMI answer

// FNV-1a of 64 bits.
constexpr uint64_t HASH_START = 0xcbf29ce484222325;
uint64_t hashOf(const void* data, size_t size, uint64_t start = HASH_START);

// Takes pieces of a text.
struct TextSink {
    void (*put)(void* context, const char* text, size_t size);
    void* context;
};

enum class Blocks : uint8_t { plain, hashed };

// An argument or a result: a number, a text (NULL: null), or bytes that are written as hex.
class CallValue {
  public:
    constexpr CallValue() : number_(0) {}
    template <std::integral T>
    CallValue(T number) : number_(int64_t(number)) {}
    CallValue(float number) : kind_(Kind::real), real_(number) {}
    CallValue(const char* text) : kind_(text != nullptr ? Kind::text : Kind::null), data_(text) {}
    CallValue(const void* bytes, size_t size)
        : kind_(bytes != nullptr ? Kind::block : Kind::null), data_(bytes), size_(size) {}

    void writeTo(const TextSink& sink, Blocks blocks) const;
    int64_t number() const { return kind_ == Kind::number ? number_ : 0; } // 0: none
    uint64_t hash(uint64_t start) const;

  private:
    enum class Kind : uint8_t { null, number, real, text, block };
    Kind kind_ = Kind::number;
    union {
        int64_t number_;
        float real_;
        const void* data_;
    };
    size_t size_ = 0;
};

// The elements of "args", without the brackets.
void writeArguments(const TextSink& sink, const CallValue* arguments, size_t count, Blocks blocks);

// What a call handed out.
struct CallOutput {
    void* data = nullptr; // NULL: the call gave none
    size_t size = 0;
    std::string_view record = {}; // its name in the machine file, when it is one
    const void* more = nullptr;   // further bytes behind it
    size_t moreSize = 0;
    const LCMParamEntry* values = nullptr;
    uint32_t valueCount = 0;
};

struct RecordedCall {
    int64_t time; // seconds since 1970
    const char* name;
    const CallValue* arguments;
    size_t argumentCount;
    CallValue result;
    CallOutput output;
    const char* fault = nullptr; // the described one that the call met
};

enum class Recording : uint8_t { none, changes, all };

// How a call takes part: only where all are recorded, in each form, or always.
enum class Share : uint8_t { whenChanged, eachTime, always };

// 0: nothing, changes, 1: all. NULL or anything else: `otherwise`.
Recording recordingWord(const char* word, Recording otherwise);

// A number of bytes, K, M or G behind it; 0: none that can be used.
uint64_t byteCount(const char* text);

// Zero-initialised as a static object.
class CallRecorder {
  public:
    // A file that grows beyond `limit` bytes (0: none) becomes FILE.old, which it replaces.
    void begin(const char* file, uint64_t limit);
    void record(const RecordedCall& call, Recording recording, Share share);

  private:
    struct Seen {
        uint64_t call; // 0: a free place
        uint64_t answer;
    };

    bool isNews(const RecordedCall& call, Share share);
    Seen* placeOf(uint64_t call) const;
    bool makeRoom();
    void forget();
    void write(const RecordedCall& call, Blocks blocks);
    int openFile(int64_t& size);
    void put(const char* text, size_t size);
    void flush();

    pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
    char file_[PATH_MAX] = {};
    uint64_t limit_ = 0;
    Seen* seen_ = nullptr; // a table of 2^n places; a call without place counts as news
    size_t places_ = 0;
    size_t taken_ = 0;
    int descriptor_ = -1;
    bool failed_ = false;
    size_t used_ = 0;
    char buffer_[16384] = {};
};

} // namespace sim
