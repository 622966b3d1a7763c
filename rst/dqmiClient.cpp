#include "rst/dqmiClient.h"

#include "platform/dqmi.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

// What the library sends; its own format, little-endian.
struct [[gnu::packed]] DqmiRequest {
    uint8_t signature[4];
    uint32_t version;
    uint32_t reserved8;
    uint32_t command;
    uint32_t object;
    uint32_t pid;
    uint32_t selector;
    uint8_t reserved28[20];
};
static_assert(sizeof(DqmiRequest) == 48);
static_assert(offsetof(DqmiRequest, signature) == 0);
static_assert(offsetof(DqmiRequest, version) == 4);
static_assert(offsetof(DqmiRequest, command) == 12);
static_assert(offsetof(DqmiRequest, object) == 16);
static_assert(offsetof(DqmiRequest, pid) == 20);
static_assert(offsetof(DqmiRequest, selector) == 24);

struct [[gnu::packed]] DqmiAnswer {
    uint8_t reserved0[8];
    uint32_t length; // of the data
    uint8_t reserved12[16];
    int32_t status; // 0: success
    uint8_t reserved32[32];
};
static_assert(sizeof(DqmiAnswer) == 64);
static_assert(offsetof(DqmiAnswer, length) == 8);
static_assert(offsetof(DqmiAnswer, status) == 28);

constexpr uint32_t REQUEST_VERSION = 2;
constexpr int TRANSACTION_FOR_TEXT = 6;
constexpr int TRANSACTION_FOR_VALUE = 4;
constexpr uint32_t VALUE_SIZE = 4;
constexpr uint32_t LONGEST_TEXT = 16U * 1024 * 1024; // what the XML library takes; more is no tree

struct FreeBlock {
    void operator()(void* block) const { free(block); }
};
using Block = std::unique_ptr<void, FreeBlock>;

int openTransaction(int kind, const DqmiRequest& request) {
    return OpenDQMItransaction(kind, 2, 0, 5, &request, 0);
}

DqmiRequest makeRequest(uint32_t selector, uint32_t command, uint32_t object, uint32_t pid) {
    DqmiRequest request{};
    request.version = REQUEST_VERSION;
    request.command = command;
    request.object = object;
    request.pid = pid;
    request.selector = selector;
    return request;
}

bool readAnswer(int transaction, DqmiAnswer& answer, Block& data) {
    void* block = nullptr;
    const int result = ReadReceivedDQMImessage(transaction, &answer, &block);
    data.reset(block);
    return result != -1;
}

} // namespace

char* dqmiRequestString(uint32_t selector, uint32_t command, uint32_t object, uint32_t pid, char* errText) {
    const DqmiRequest request = makeRequest(selector, command, object, pid);
    int transaction = openTransaction(TRANSACTION_FOR_TEXT, request);
    if (transaction == -1) transaction = openTransaction(TRANSACTION_FOR_TEXT, request);
    if (transaction == -1) return nullptr;

    DqmiAnswer answer{};
    Block data;
    if (!readAnswer(transaction, answer, data)) return nullptr;
    if (answer.status != 0) {
        if (errText != nullptr)
            snprintf(errText, DQMI_ERROR_SIZE, "DQMI command '%ld' failed (pid = %lu, status = %d)!\n", long(command),
                     static_cast<unsigned long>(pid), answer.status);
        return nullptr;
    }
    if (data != nullptr && answer.length > LONGEST_TEXT) return nullptr;
    const size_t length = data == nullptr ? 0 : answer.length;
    auto* text = static_cast<char*>(malloc(length + 1));
    if (text == nullptr) return nullptr;
    if (length != 0) memcpy(text, data.get(), length);
    text[length] = '\0';
    return text;
}

int dqmiRequestValue(uint32_t selector, uint32_t command, uint32_t object, uint32_t pid, char* errText) {
    const DqmiRequest request = makeRequest(selector, command, object, pid);
    const int transaction = openTransaction(TRANSACTION_FOR_VALUE, request);
    if (transaction == -1) {
        snprintf(errText, DQMI_ERROR_SIZE, "DQMI open failed");
        return -1;
    }
    DqmiAnswer answer{};
    Block data;
    if (!readAnswer(transaction, answer, data)) {
        snprintf(errText, DQMI_ERROR_SIZE, "DQMI read failed");
        return -1;
    }
    if (answer.status != 0) {
        snprintf(errText, DQMI_ERROR_SIZE, "Command failed (pid = %lu, status = %d\n", static_cast<unsigned long>(pid),
                 answer.status);
        return -1;
    }
    if (answer.length > VALUE_SIZE) {
        snprintf(errText, DQMI_ERROR_SIZE, "DQMI no data");
        return -1;
    }
    uint32_t value = 0;
    if (data != nullptr) memcpy(&value, data.get(), answer.length);
    return int(value);
}
