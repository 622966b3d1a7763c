#include "rst/treeWriters.h"

#include "daemon/base/logs.h"
#include "daemon/base/pause.h"
#include "daemon/base/trace.h"
#include "platform/host.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace {

constexpr int LOCK_ATTEMPTS = 2;

struct FreeText {
    void operator()(char* text) const { free(text); }
};

// The open tree file; closing releases the lock as well.
struct TreeFile {
    explicit TreeFile(const char* path) {
        deliverSignals(); // not while the file is empty
        HostPathBuffer buffer;
        const char* found = hostPath(path, buffer);
        // A reader that is at it gets the moment it needs; who holds the lock for longer finds the file empty.
        untruncated = open(found, O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        if (untruncated != -1) lockFirstByteSoon(untruncated);
        fd = open(found, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    }
    ~TreeFile() { close(); }
    // The first one that is closed releases the lock, which is the process's.
    void close() {
        for (int* descriptor : {&fd, &untruncated}) {
            if (*descriptor != -1) ::close(*descriptor);
            *descriptor = -1;
        }
    }
    TreeFile(const TreeFile&) = delete;
    TreeFile& operator=(const TreeFile&) = delete;

    int fd;
    int untruncated; // the same file, opened before
};

// 0, or the errno of the last attempt. `what` names the file to the reader of the log.
int lockTree(TreeFile& file, const char* function, const char* path, const char* what) {
    errno = 0;
    int error = 0;
    for (int attempt = 1; lockFirstByte(file.fd) != 0; ++attempt) {
        error = errno;
        pauseSeconds(1);
        trace("%s(): '%d' try to lock file '%s', errno=%d\n", function, attempt, path, error);
        if (attempt < LOCK_ATTEMPTS) continue;
        file.close();
        logRST("%s(): END - ERROR:Other process has locked file '%s' (errno=%d) - Cannot update %s!", function, path,
               error, what);
        trace("%s(): END - Locking of file has failed! errno=%d\n", function, error);
        return error;
    }
    return 0;
}

// How many bytes reached the file; errno tells why they are fewer.
size_t writeAll(int fd, const char* text, size_t length) {
    size_t written = 0;
    while (written < length) {
        const ssize_t count = write(fd, text + written, length - written);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        written += size_t(count);
    }
    return written;
}

} // namespace

int writeRST2File(const XMLDoc* document, const char* path) {
    trace("writeRST2File(): START - xmlDocument= 0x%x\n", traceAddress(document));
    if (document == nullptr || path == nullptr) return WRITE_NO_DOCUMENT;

    XMLWorkArea workArea;
    const std::unique_ptr<char, FreeText> text(writeXMLEnhancedForBf(&workArea, document, "UTF-8", 0, 1));
    trace("writeRST2File(): after writeXMLEnhancedForBf(): xmlStr= 0x%x\n", traceAddress(text.get()));
    if (text == nullptr) return WRITE_NO_TEXT;

    TreeFile file(path);
    if (file.fd == -1) return 0; // the next update finds no file and writes again
    if (const int error = lockTree(file, "writeRST2File", path, "XML RST file"); error != 0) return error;

    const size_t length = strlen(text.get());
    const size_t written = writeAll(file.fd, text.get(), length);
    trace("writeRST2File(): fwrite() returns len= %d, strlen(xmlStr)=%d\n", int(written), int(length));
    int result = 0;
    if (written == length) {
        logRST("writeRST2File(): Have successfully written RST XML file for out-of-band data!");
    } else {
        logRST("writeRST2File(): ERROR writing RST XML file '%s' (ret=3)!", path);
        result = WRITE_INCOMPLETE;
    }
    unlockFirstByte(file.fd);
    file.close();
    trace("writeRST2File(): END - ret=%d\n", result);
    return result;
}

int writeRSTString2File(const char* text, const char* path) {
    trace("writeRSTString2File(): START\n");
    errno = 0;
    if (text == nullptr) return 0;

    const size_t length = strlen(text);
    int result = 0;
    if (TreeFile file(path); file.fd == -1) {
        result = errno;
    } else {
        if (const int error = lockTree(file, "writeRSTString2File", path, "file"); error != 0) return error;
        errno = 0;
        const size_t written = writeAll(file.fd, text, length);
        if (written != length) result = errno != 0 ? errno : EIO;
        trace("writeRSTString2File(): fwrite returns len= %d\n", int(written));
        unlockFirstByte(file.fd);
        file.close();
        logRST("writeRSTString2File(): Have successfully written RAID XML RST file with Inband data!");
    }
    trace("writeRSTString2File(): END - ret=%d\n", result);
    return result;
}
