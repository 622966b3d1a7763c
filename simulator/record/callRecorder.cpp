#include "simulator/record/callRecorder.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace sim {
namespace {

constexpr uint64_t HASH_PRIME = 0x100000001b3;
constexpr size_t FEWEST_ZEROS = 16; // at an output's end that are counted in place of being written
constexpr size_t FIRST_PLACES = 1 << 12;
constexpr size_t MOST_PLACES = 1 << 18; // 4 MiB: more calls than 4000 drives make

// Set while this thread writes: a signal handler may come in between, and call a library too.
thread_local bool isWriting = false;

void put(const TextSink& sink, const char* text) {
    sink.put(sink.context, text, strlen(text));
}

void putNumber(const TextSink& sink, int64_t number) {
    char text[24];
    snprintf(text, sizeof text, "%" PRId64, number);
    put(sink, text);
}

void putHex(const TextSink& sink, const void* data, size_t size) {
    static constexpr char DIGITS[] = "0123456789abcdef";
    const auto* bytes = static_cast<const unsigned char*>(data);
    char text[256];
    size_t used = 0;
    for (size_t i = 0; i < size; ++i) {
        text[used++] = DIGITS[bytes[i] >> 4];
        text[used++] = DIGITS[bytes[i] & 15];
        if (used < sizeof text && i + 1 < size) continue;
        sink.put(sink.context, text, used);
        used = 0;
    }
}

// Bytes outside ASCII are written as the characters of the same number, so that any text gives a valid line.
void putText(const TextSink& sink, const char* text) {
    put(sink, "\"");
    for (; *text != 0; ++text) {
        const auto byte = static_cast<unsigned char>(*text);
        char piece[8] = {'\\', *text};
        if (byte < 0x20 || byte >= 0x7F)
            snprintf(piece, sizeof piece, "\\u%04x", byte);
        else if (byte != '"' && byte != '\\')
            piece[0] = *text, piece[1] = 0;
        put(sink, piece);
    }
    put(sink, "\"");
}

// As far as the daemon reads a value of this type; 0: it does not.
size_t readableLength(const LCMParamEntry& entry) {
    constexpr int32_t raw = 0;
    constexpr int32_t text = 1;
    constexpr int32_t number = 2;
    if (entry.value == nullptr) return 0;
    if (entry.type == raw) return entry.length <= LONGEST_RECORDED_VALUE ? entry.length : 0;
    if (entry.type == number) return entry.length <= sizeof(uint64_t) ? entry.length : 0;
    if (entry.type != text) return 0;
    const size_t room = entry.length < LONGEST_RECORDED_VALUE ? entry.length : LONGEST_RECORDED_VALUE;
    return strnlen(static_cast<const char*>(entry.value), room);
}

uint64_t hashOfNumber(uint64_t number, uint64_t start) {
    return hashOf(&number, sizeof number, start);
}

uint64_t hashOfAnswer(const RecordedCall& call) {
    const CallOutput& output = call.output;
    uint64_t hash = call.result.hash(HASH_START);
    if (output.data != nullptr) hash = hashOf(output.data, output.size, hashOfNumber(output.size, hash));
    if (output.more != nullptr) hash = hashOf(output.more, output.moreSize, hash);
    for (uint32_t i = 0; output.values != nullptr && i < output.valueCount; ++i) {
        const LCMParamEntry& entry = output.values[i];
        hash = hashOfNumber(uint32_t(entry.state), hash);
        hash = hashOfNumber(uint32_t(entry.type), hash);
        hash = hashOfNumber(entry.length, hash);
        hash = hashOf(entry.value, readableLength(entry), hash);
    }
    return hash;
}

void putValues(const TextSink& sink, const CallOutput& output) {
    put(sink, ", \"values\": [");
    for (uint32_t i = 0; i < output.valueCount; ++i) {
        const LCMParamEntry& entry = output.values[i];
        char text[64];
        snprintf(text, sizeof text, "%s[%" PRId32 ", %" PRId32 ", %" PRIu32 ", ", i > 0 ? ", " : "", entry.state,
                 entry.type, entry.length);
        put(sink, text);
        if (entry.value != nullptr) {
            put(sink, "\"");
            putHex(sink, entry.value, readableLength(entry));
            put(sink, "\"]");
        } else {
            put(sink, "null]");
        }
    }
    put(sink, "]");
}

// Many records and pages end in zeros: their number says as much.
void putOutput(const TextSink& sink, const CallOutput& output) {
    const auto* bytes = static_cast<const unsigned char*>(output.data);
    size_t size = output.size;
    while (output.more == nullptr && size > 0 && bytes[size - 1] == 0) --size;
    if (output.size - size < FEWEST_ZEROS) size = output.size;
    put(sink, R"(, "out": ")");
    putHex(sink, bytes, size);
    if (output.more != nullptr) putHex(sink, output.more, output.moreSize);
    put(sink, "\"");
    if (size == output.size) return;
    put(sink, ", \"zeros\": ");
    putNumber(sink, int64_t(output.size - size));
}

void putCall(const TextSink& sink, const RecordedCall& call, Blocks blocks) {
    put(sink, "{\"time\": ");
    putNumber(sink, call.time);
    put(sink, ", \"call\": ");
    putText(sink, call.name);
    put(sink, ", \"args\": [");
    writeArguments(sink, call.arguments, call.argumentCount, blocks);
    put(sink, "], \"result\": ");
    call.result.writeTo(sink, Blocks::plain);
    if (call.output.data != nullptr) putOutput(sink, call.output);
    if (call.output.values != nullptr) putValues(sink, call.output);
    if (call.fault != nullptr) {
        put(sink, ", \"fault\": ");
        putText(sink, call.fault);
    }
    put(sink, "}\n");
}

} // namespace

uint64_t hashOf(const void* data, size_t size, uint64_t start) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    uint64_t hash = start;
    for (size_t i = 0; i < size; ++i) hash = (hash ^ bytes[i]) * HASH_PRIME;
    return hash;
}

void CallValue::writeTo(const TextSink& sink, Blocks blocks) const {
    char text[40];
    switch (kind_) {
    case Kind::null: put(sink, "null"); break;
    case Kind::number: putNumber(sink, number_); break;
    case Kind::real: // a whole number without its fraction
        snprintf(text, sizeof text, "%.9g", double(real_));
        put(sink, real_ - real_ == 0 ? text : "null");
        break;
    case Kind::text: putText(sink, static_cast<const char*>(data_)); break;
    case Kind::block:
        put(sink, "\"");
        if (blocks == Blocks::hashed && size_ > LONGEST_PLAIN_BLOCK) {
            snprintf(text, sizeof text, "#%zu:%016" PRIx64, size_, hashOf(data_, size_));
            put(sink, text);
        } else {
            putHex(sink, data_, size_);
        }
        put(sink, "\"");
        break;
    }
}

uint64_t CallValue::hash(uint64_t start) const {
    const uint64_t kind = hashOfNumber(uint64_t(kind_), start);
    switch (kind_) {
    case Kind::null: return kind;
    case Kind::number: return hashOfNumber(uint64_t(number_), kind);
    case Kind::real: return hashOf(&real_, sizeof real_, kind);
    case Kind::text: return hashOf(data_, strlen(static_cast<const char*>(data_)), kind);
    case Kind::block: break;
    }
    return hashOf(data_, size_, kind);
}

void writeArguments(const TextSink& sink, const CallValue* arguments, size_t count, Blocks blocks) {
    for (size_t i = 0; i < count; ++i) {
        if (i > 0) put(sink, ", ");
        arguments[i].writeTo(sink, blocks);
    }
}

Recording recordingWord(const char* word, Recording otherwise) {
    if (word == nullptr) return otherwise;
    if (strcmp(word, "1") == 0) return Recording::all;
    if (strcmp(word, "changes") == 0) return Recording::changes;
    return strcmp(word, "0") == 0 ? Recording::none : otherwise;
}

uint64_t byteCount(const char* text) {
    if (*text < '0' || *text > '9') return 0;
    char* end = nullptr;
    errno = 0;
    const uint64_t number = strtoull(text, &end, 10);
    const char* unit = strchr("KMG", *end);
    const unsigned shift = *end == 0 || unit == nullptr ? 0 : 10 * unsigned(unit - strchr("KMG", 'K') + 1);
    const bool isWhole = *end == 0 || (unit != nullptr && end[1] == 0);
    return errno == 0 && isWhole && number <= UINT64_MAX >> 1 >> shift ? number << shift : 0;
}

void CallRecorder::begin(const char* file, uint64_t limit) {
    constexpr size_t suffix = sizeof ".old";
    if (strlen(file) + suffix <= sizeof file_) strcpy(file_, file); // NOLINT(clang-analyzer-security.*): it fits
    limit_ = limit;
}

void CallRecorder::record(const RecordedCall& call, Recording recording, Share share) {
    if (isWriting || file_[0] == 0) return;
    const int error = errno;
    int cancelState = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState);
    isWriting = true;
    pthread_mutex_lock(&mutex_);
    const bool compact = recording == Recording::changes;
    if (!compact && places_ != 0) forget(); // what was seen before is old when changes are asked for again
    if (!compact || share == Share::always || isNews(call, share))
        write(call, share == Share::always ? Blocks::plain : Blocks::hashed);
    pthread_mutex_unlock(&mutex_);
    isWriting = false;
    pthread_setcancelstate(cancelState, nullptr);
    errno = error;
}

// Whether the answer is the first of this call with these arguments, or another than before.
bool CallRecorder::isNews(const RecordedCall& call, Share share) {
    if (share == Share::eachTime) return true;
    uint64_t key = hashOf(call.name, strlen(call.name));
    for (size_t i = 0; i < call.argumentCount; ++i) key = call.arguments[i].hash(key);
    if (key == 0) key = 1;
    if (taken_ * 4 >= places_ * 3 && !makeRoom()) return true;
    Seen* place = placeOf(key);
    const uint64_t answer = hashOfAnswer(call);
    if (place->call == key && place->answer == answer) return false;
    if (place->call == 0) ++taken_;
    *place = {key, answer};
    return true;
}

// Of the call, or a free one for it.
CallRecorder::Seen* CallRecorder::placeOf(uint64_t call) const {
    auto at = size_t(call & (places_ - 1));
    while (seen_[at].call != 0 && seen_[at].call != call) at = (at + 1) & (places_ - 1);
    return &seen_[at];
}

bool CallRecorder::makeRoom() {
    const size_t places = places_ == 0 ? FIRST_PLACES : places_ * 2;
    if (places > MOST_PLACES) return false;
    void* memory = mmap(nullptr, places * sizeof(Seen), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) return false;
    Seen* before = seen_;
    const size_t placesBefore = places_;
    seen_ = static_cast<Seen*>(memory);
    places_ = places;
    for (size_t i = 0; i < placesBefore; ++i)
        if (before[i].call != 0) *placeOf(before[i].call) = before[i];
    if (before != nullptr) munmap(before, placesBefore * sizeof(Seen));
    return true;
}

void CallRecorder::forget() {
    if (seen_ != nullptr) munmap(seen_, places_ * sizeof(Seen));
    seen_ = nullptr;
    places_ = taken_ = 0;
}

// The file may have been removed, and the daemon closes descriptors that it does not know.
int CallRecorder::openFile(int64_t& size) {
    const int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    const int descriptor = open(file_, flags, 0600);
    struct stat status = {};
    if (descriptor < 0) return -1;
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        close(descriptor);
        return -1;
    }
    size = status.st_size;
    return descriptor;
}

// A line that cannot be written whole is taken back, and its answer counts as never seen.
void CallRecorder::write(const RecordedCall& call, Blocks blocks) {
    int64_t size = 0;
    descriptor_ = openFile(size);
    if (descriptor_ >= 0 && limit_ != 0 && uint64_t(size) >= limit_) {
        char old[sizeof file_ + 4];
        snprintf(old, sizeof old, "%s.old", file_);
        close(descriptor_);
        descriptor_ = rename(file_, old) == 0 ? openFile(size) : -1;
        forget(); // the new file tells all anew
    }
    if (descriptor_ < 0) return forget();
    failed_ = false;
    used_ = 0;
    const TextSink sink = {[](void* recorder, const char* text, size_t length) {
                               static_cast<CallRecorder*>(recorder)->put(text, length);
                           },
                           this};
    putCall(sink, call, blocks);
    flush();
    if (failed_) {
        if (ftruncate(descriptor_, size) != 0) file_[0] = 0; // half a line stays the last one
        forget();
    }
    close(descriptor_);
    descriptor_ = -1;
}

void CallRecorder::put(const char* text, size_t size) {
    while (size > 0) {
        const size_t room = sizeof buffer_ - used_;
        const size_t piece = size < room ? size : room;
        memcpy(buffer_ + used_, text, piece);
        used_ += piece;
        text += piece;
        size -= piece;
        if (used_ == sizeof buffer_) flush();
    }
}

void CallRecorder::flush() {
    for (size_t done = 0; done < used_ && !failed_;) {
        const ssize_t written = ::write(descriptor_, buffer_ + done, used_ - done);
        if (written > 0)
            done += size_t(written);
        else if (written == 0 || errno != EINTR)
            failed_ = true;
    }
    used_ = 0;
}

} // namespace sim
