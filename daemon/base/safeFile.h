#pragma once

#include <cstdio>

// Opens a file in a directory that everybody may write to: no symbolic link is followed, and anything but a
// regular file of one name (a FIFO would stop the daemon, a second name may be a file of another's) is refused. Created
// for the owner alone. The path is a fixed path, the mode "w" or "a". NULL: not opened.
FILE* openTmpFile(const char* path, const char* mode);

// True when the open file is the one that stands at the path.
bool isFileAt(const char* path, FILE* file);
