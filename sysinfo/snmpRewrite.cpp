#include "sysinfo/snmpRewrite.h"

#include "platform/host.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char NEW_FILE[] = "/conf/snmpd.new";

FILE* openConf() {
    HostPathBuffer buffer;
    return fopen(hostPath(SNMP_CONF_FILE, buffer), "re");
}

// For the daemon alone until it bears the old file's mode: the file holds community names.
FILE* openNew() {
    HostPathBuffer buffer;
    const int fd = open(hostPath(NEW_FILE, buffer), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd == -1) return nullptr;
    FILE* file = fchmod(fd, 0600) == 0 ? fdopen(fd, "w") : nullptr;
    if (file == nullptr) {
        close(fd);
        unlink(hostPath(NEW_FILE, buffer));
    }
    return file;
}

bool writeValueLine(FILE* target, const char* key, const char* value) {
    return fprintf(target, "%s\t%s\n", key, value) > 0;
}

// A line counts whole, however long it is.
bool copyLines(FILE* source, FILE* target, const char* key, const char* value) {
    char* line = nullptr;
    size_t capacity = 0;
    bool found = false;
    bool ended = true; // the last line has its newline
    bool good = true;
    ssize_t length = 0;
    while (good && (length = getline(&line, &capacity, source)) > 0) {
        if (strstr(line, key) != nullptr) {
            found = true;
            ended = true;
            good = writeValueLine(target, key, value);
        } else {
            ended = line[length - 1] == '\n';
            good = fwrite(line, 1, size_t(length), target) == size_t(length);
        }
    }
    free(line);
    if (ferror(source) != 0 || feof(source) == 0) return false;
    if (good && !found) good = (ended || fputc('\n', target) != EOF) && writeValueLine(target, key, value);
    return good;
}

bool takeOwnerAndMode(FILE* source, FILE* target) {
    struct stat status;
    return fstat(fileno(source), &status) == 0 && fchown(fileno(target), status.st_uid, status.st_gid) == 0 &&
           fchmod(fileno(target), status.st_mode & 07777) == 0;
}

bool replaceConf() {
    HostPathBuffer newPath;
    HostPathBuffer confPath;
    return rename(hostPath(NEW_FILE, newPath), hostPath(SNMP_CONF_FILE, confPath)) == 0;
}

} // namespace

int rewriteSnmpConf(const char* key, const char* value) {
    // The old file first: while there is none, every pass comes here, and none of them is to touch the flash.
    FILE* source = openConf();
    FILE* target = source == nullptr ? nullptr : openNew();
    bool good = target != nullptr && copyLines(source, target, key, value) && fflush(target) == 0 &&
                takeOwnerAndMode(source, target) && fsync(fileno(target)) == 0;
    if (source != nullptr) fclose(source);
    if (target != nullptr && fclose(target) != 0) good = false;
    if (good && replaceConf()) return 0;
    HostPathBuffer buffer;
    unlink(hostPath(NEW_FILE, buffer));
    return -1;
}
