#include "daemon/safeFile.h"

#include "platform/host.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

FILE* openTmpFile(const char* path, const char* mode) {
    HostPathBuffer buffer;
    const bool append = mode[0] == 'a';
    // Without waiting for a FIFO's reader; what is opened is truncated only once it is known to be a file.
    const int fd = open(hostPath(path, buffer),
                        O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | (append ? O_APPEND : 0), 0600);
    if (fd == -1) return nullptr;
    struct stat status;
    if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && (append || ftruncate(fd, 0) == 0))
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
