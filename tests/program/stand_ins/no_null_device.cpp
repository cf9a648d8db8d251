// SPDX-License-Identifier: MIT
// Loaded in front of the C library: there is no /dev/null.
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

extern "C" [[gnu::visibility("default")]] int open(const char* path, int flags, ...) {
    if (strcmp(path, "/dev/null") == 0) {
        errno = ENOENT;
        return -1;
    }
    va_list rest;
    va_start(rest, flags);
    const unsigned mode = (flags & O_CREAT) != 0 ? va_arg(rest, unsigned) : 0;
    va_end(rest);
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}
