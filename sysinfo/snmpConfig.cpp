#include "sysinfo/snmpConfig.h"

#include "platform/host.h"
#include "sysinfo/lcmParameters.h"
#include "sysinfo/snmpRewrite.h"
#include "sysinfo/snmpdSupervision.h"

#include <cctype>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <linux/close_range.h>
#include <memory>
#include <unistd.h>

namespace {

constexpr size_t VALUE_SIZE = 256;
constexpr size_t LINE_SIZE = 512;        // of the command, without its path, and of grep's first line
constexpr size_t MOST_CONTINUATIONS = 3; // bytes of a character behind its first
constexpr char EMPTY_VALUE[] = "- unknown -";

// What the configuration is known to say; in the order in which the file is read and written.
struct SnmpValue {
    const char* key;
    const char* parameter;   // of the parameter database
    char cached[VALUE_SIZE]; // EMPTY_VALUE for an empty one; "": not known
    char failed[VALUE_SIZE]; // that could not be written, "": none; snmpd was told
};
SnmpValue g_snmpValues[] = {{"sysContact", "SystemContact", "", ""},
                            {"sysLocation", "CabinetLocation", "", ""},
                            {"sysName", "SystemName", "", ""}};

struct FreeText {
    void operator()(char* text) const { free(text); }
};

SnmpValue* findValue(const char* key) {
    for (SnmpValue& value : g_snmpValues)
        if (strcmp(value.key, key) == 0) return &value;
    return nullptr;
}

bool isUtf8Continuation(char character) {
    return (static_cast<unsigned char>(character) & 0xC0) == 0x80;
}

bool isPlainPath(const char* path) {
    for (; *path != '\0'; ++path)
        if (isalnum(static_cast<unsigned char>(*path)) == 0 && strchr("/._-", *path) == nullptr) return false;
    return true;
}

// The path as a word of the shell's.
void quotePath(const char* path, char* word, size_t size) {
    size_t length = 0;
    word[length++] = '\'';
    for (; *path != '\0' && length + sizeof "'\\''" + 1 < size; ++path) {
        if (*path == '\'') {
            memcpy(word + length, "'\\''", 4);
            length += 4;
        } else {
            word[length++] = *path;
        }
    }
    word[length++] = '\'';
    word[length] = '\0';
}

// With a clean signal mask and no descriptor of ours. The command holds a key of ours and a quoted path.
FILE* openCommand(const char* command) {
    close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    sigset_t none;
    sigset_t before;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, &before);
    FILE* pipe = popen(command, "re"); // NOLINT(cert-env33-c)
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return pipe;
}

// A line "key value" gives the value; the tab-separated lines that this daemon writes give the key alone, which
// leaves the known value as it is.
void refreshFromFile(SnmpValue& value) {
    char* field = readSnmpConfValue(value.key);
    if (field == nullptr) {
        memset(value.cached, 0, sizeof value.cached);
        return;
    }
    char* rest = nullptr;
    if (strtok_r(field, " ", &rest) != nullptr)
        if (const char* text = strtok_r(nullptr, "\n", &rest); text != nullptr)
            snprintf(value.cached, sizeof value.cached, "%s", text);
    free(field);
}

// malloc'ed, the caller's; NULL: the read failed.
char* readParameter(const char* name) {
    char message[LCM_MESSAGE_SIZE] = "";
    char* text = getLCMParamString(LCM_SYSTEM_INFORMATION, name, 0, message);
    if (message[0] == '\0') return text;
    free(text);
    return nullptr;
}

} // namespace

void cleanSnmpValue(char* text) {
    size_t length = strlen(text);
    if (length >= VALUE_SIZE) {
        length = VALUE_SIZE - 1;
        size_t boundary = length;
        while (boundary > length - MOST_CONTINUATIONS && isUtf8Continuation(text[boundary])) --boundary;
        if (!isUtf8Continuation(text[boundary])) length = boundary; // else it is no UTF-8
        text[length] = '\0';
    }
    for (char* character = text; *character != '\0'; ++character)
        if (static_cast<unsigned char>(*character) < 0x20 || *character == 0x7F) *character = ' ';
    while (length > 0 && text[length - 1] == ' ') text[--length] = '\0';
    const size_t leading = strspn(text, " ");
    memmove(text, text + leading, length - leading + 1);
}

char* readSnmpConfValue(const char* key) {
    HostPathBuffer buffer;
    const char* path = hostPath(SNMP_CONF_FILE, buffer);
    char quoted[5 * PATH_MAX];
    if (!isPlainPath(path)) {
        quotePath(path, quoted, sizeof quoted);
        path = quoted;
    }
    char command[sizeof quoted + LINE_SIZE];
    snprintf(command, sizeof command, "grep %s %s 2>/dev/null", key, path);
    FILE* pipe = openCommand(command);
    if (pipe == nullptr) return nullptr;
    char line[LINE_SIZE];
    const bool isRead = fgets(line, sizeof line, pipe) != nullptr;
    pclose(pipe);
    if (!isRead) return nullptr;
    line[strcspn(line, "\n")] = '\0';

    char* rest = nullptr;
    const char* field = strtok_r(line, "\t", &rest);
    if (field == nullptr) field = strtok_r(line, " ", &rest);
    return field == nullptr ? nullptr : strdup(field);
}

int updateSnmpValue(const char* key, const char* value, int* changed) {
    SnmpValue* known = findValue(key);
    if (known == nullptr) return 0;
    const std::unique_ptr<char, FreeText> clean(strdup(value == nullptr ? "" : value));
    if (clean == nullptr) return 0;
    cleanSnmpValue(clean.get());
    value = clean.get();
    if (value[0] == '\0' && strcmp(known->cached, EMPTY_VALUE) == 0) return 0;
    if (strcmp(value, known->cached) == 0) return 0;

    char previous[VALUE_SIZE];
    memcpy(previous, known->cached, sizeof previous);
    memset(known->cached, 0, sizeof known->cached);
    snprintf(known->cached, sizeof known->cached, "%s", value[0] == '\0' ? EMPTY_VALUE : value);
    const int result = rewriteSnmpConf(key, known->cached);
    if (result == 0) {
        *changed = 1;
        known->failed[0] = '\0';
    } else {
        if (strcmp(known->failed, known->cached) != 0) *changed = 1;
        memcpy(known->failed, known->cached, sizeof known->failed);
        memcpy(known->cached, previous, sizeof previous);
    }
    return result;
}

void syncSnmpConfig() {
    if (superviseSnmpd() == 0) return;
    for (SnmpValue& value : g_snmpValues) refreshFromFile(value);

    char* texts[std::size(g_snmpValues)];
    for (size_t i = 0; i < std::size(texts); ++i) texts[i] = readParameter(g_snmpValues[i].parameter);
    int changed = 0;
    for (size_t i = 0; i < std::size(texts); ++i) {
        updateSnmpValue(g_snmpValues[i].key, texts[i], &changed);
        free(texts[i]);
    }
    if (changed != 0) reloadSnmpd();
}
