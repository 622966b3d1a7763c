#include "sysinfo/lcmParameters.h"

#include "platform/lcm.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr uint32_t LONGEST_VALUE = 16U * 1024 * 1024; // bytes; what a value has beyond it is not believed

void setMessage(char* message, const char* text) {
    snprintf(message, LCM_MESSAGE_SIZE, "%s", text);
}

// A heap copy of the value with a NUL behind it.
void* copyBytes(const LCMParamEntry& entry, uint32_t length) {
    auto* copy = static_cast<char*>(malloc(size_t{length} + 1));
    if (copy == nullptr) return nullptr;
    memcpy(copy, entry.value, length);
    copy[length] = '\0';
    return copy;
}

LCMParamValue copyValue(const LCMParamEntry& entry, char* message) {
    LCMParamValue value{};
    value.type = entry.type;
    value.length = entry.length;
    switch (entry.type) {
    case LCM_VALUE_RAW:
    case LCM_VALUE_TEXT: {
        // A text without terminator ends at its length.
        const auto* text = static_cast<const char*>(entry.value);
        const uint32_t length =
            entry.type == LCM_VALUE_RAW ? entry.length : uint32_t(strnlen(text, std::min(entry.length, LONGEST_VALUE)));
        if (length <= LONGEST_VALUE) value.data = copyBytes(entry, length);
        if (value.data != nullptr) break;
        setMessage(message, "invalid data");
        value.type = LCM_VALUE_INVALID;
        break;
    }
    case LCM_VALUE_NUMBER:
        if (entry.length == 1 || entry.length == 2 || entry.length == 4 || entry.length == 8)
            memcpy(&value.number, entry.value, entry.length); // little-endian, the rest is zero
        else
            value.type = LCM_VALUE_INVALID;
        break;
    default: break;
    }
    return value;
}

// The values of one parameter, freed at the end of the scope.
class ParamValues {
  public:
    ParamValues(const char* group, const char* name, int32_t instance, char* message)
        : list_(getLCMParamValues(group, name, instance, count_, message, false)) {}
    ~ParamValues() { freeLCMParamValues(list_, -1, count_); }
    ParamValues(const ParamValues&) = delete;
    ParamValues& operator=(const ParamValues&) = delete;

    uint32_t count() const { return count_; }
    const LCMParamValue& operator[](uint32_t index) const { return list_[index]; }
    bool isOne(int32_t type) const { return count_ == 1 && list_[0].type == type; }

  private:
    uint32_t count_ = 0;
    LCMParamValue* list_;
};

} // namespace

LCMParamValue* getLCMParamValues(const char* group, const char* name, int32_t instance, uint32_t& count, char* message,
                                 bool refresh) {
    count = 0;
    uint32_t entries = 0;
    LCMParamEntry* table = LCMParam_update(refresh ? 1 : 0, group, name, instance, &entries);
    if (table == nullptr) return nullptr;
    auto* values = static_cast<LCMParamValue*>(calloc(entries == 0 ? 1 : entries, sizeof(LCMParamValue)));
    if (values == nullptr) {
        setMessage(message, "no space");
        LCMParamDb_destroyParameterTable(table, entries);
        return nullptr;
    }
    for (uint32_t i = 0; i < entries; ++i) {
        if (table[i].state == LCM_STATE_NOT_AVAILABLE || table[i].value == nullptr) {
            values[i].type = LCM_VALUE_NOT_AVAILABLE;
            setMessage(message, "not available");
        } else {
            values[i] = copyValue(table[i], message);
        }
    }
    LCMParamDb_destroyParameterTable(table, entries);
    count = entries;
    return values;
}

void freeLCMParamValues(LCMParamValue* values, int skipIndex, uint32_t count) {
    if (values == nullptr) return;
    for (uint32_t i = 0; i < count; ++i) {
        const bool isHeap = values[i].type == LCM_VALUE_RAW || values[i].type == LCM_VALUE_TEXT;
        if (isHeap && (skipIndex < 0 || i != uint32_t(skipIndex))) free(values[i].data);
    }
    free(values);
}

char* getLCMParamString(const char* group, const char* name, int32_t instance, char* message) {
    const ParamValues values(group, name, instance, message);
    if (message[0] == '\0' && values.isOne(LCM_VALUE_TEXT)) return strdup(static_cast<const char*>(values[0].data));
    return strdup(message);
}

LCMRawValue getLCMParamRaw(const char* group, const char* name, int32_t instance, int32_t valueIndex, char* message) {
    LCMRawValue result = {{}, 4};
    const ParamValues values(group, name, instance, message);
    if (message[0] != '\0' || uint32_t(valueIndex) >= values.count()) return result;
    if (!values.isOne(LCM_VALUE_RAW) || values[0].length > LCM_RAW_CAPACITY) return result;
    memcpy(result.bytes, values[0].data, values[0].length);
    result.length = values[0].length;
    return result;
}

LCMRawValue getLCMParamNumber(const char* group, const char* name, int32_t instance, char* message) {
    LCMRawValue result{};
    const ParamValues values(group, name, instance, message);
    if (values.isOne(LCM_VALUE_NUMBER)) {
        memcpy(result.bytes, &values[0].number, values[0].length);
        result.length = values[0].length;
    } else if (message[0] == '\0') {
        setMessage(message, values.count() == 0 ? "not available" : "type error");
    }
    return result;
}

uint32_t getLCMParamIpList(const char* group, const char* name, LCMAddress* list, uint32_t capacity, char* message) {
    constexpr uint32_t ipv4Size = 4;
    constexpr uint32_t ipv6Size = 16;
    const ParamValues values(group, name, -1, message);
    uint32_t kept = 0;
    for (uint32_t i = 0; i < values.count() && kept < capacity; ++i) {
        const LCMParamValue& value = values[i];
        if (value.type != LCM_VALUE_RAW || value.length < ipv4Size) continue;
        char text[INET6_ADDRSTRLEN];
        if (inet_ntop(value.length == ipv6Size ? AF_INET6 : AF_INET, value.data, text, sizeof text) == nullptr)
            continue;
        void* bytes = malloc(value.length);
        if (bytes == nullptr) continue;
        memcpy(bytes, value.data, value.length);
        list[kept++] = {bytes, value.length};
    }
    return kept;
}
