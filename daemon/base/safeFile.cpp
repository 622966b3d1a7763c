#include "daemon/base/safeFile.h"

#include "platform/host.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

FILE* openTmpFile(const char* path, const char* mode) {
    HostPathBuffer buffer;
    const char* found = hostPath(path, buffer);
    const bool append = mode[0] == 'a';
    // Without waiting for a FIFO's reader; what is opened is truncated only once it is known to be a file.
    // At its end always: who empties an open trace gets no hole where the text before was.
    constexpr int flags = O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | O_APPEND;
    // O_CREAT on another user's file is refused in a sticky directory, even to root.
    int fd = open(found, flags);
    if (fd == -1 && errno == ENOENT) fd = open(found, flags | O_CREAT | O_EXCL, 0600);
    if (fd == -1) return nullptr;
    struct stat status;
    const bool isPlainFile = fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1;
    if (isPlainFile && (append || ftruncate(fd, 0) == 0))
        if (FILE* file = fdopen(fd, mode); file != nullptr) return file;
    close(fd);
    return nullptr;
}

bool isFileAt(const char* path, FILE* file) {
    HostPathBuffer buffer;
    struct stat standing;
    struct stat opened;
    return lstat(hostPath(path, buffer), &standing) == 0 && fstat(fileno(file), &opened) == 0 &&
           standing.st_dev == opened.st_dev && standing.st_ino == opened.st_ino;
}
