// SPDX-License-Identifier: MIT
#include "faults/disk.h"

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "faults/faults.h"

namespace {

constexpr std::size_t read_piece_bytes = 20;
constexpr mode_t file_permissions = 0666;

struct DiskFile {
    int descriptor;
    bool written;  // opened for writing
};

bool real_files;

DiskFile& file_of(void* cookie) {
    return *static_cast<DiskFile*>(cookie);
}

ssize_t disk_read(void* cookie, char* buffer, size_t size) {
    if (fails(file_of(cookie).written ? Call::disk_read_back : Call::disk_read)) return -1;
    return __real_read(file_of(cookie).descriptor, buffer, std::min(size, read_piece_bytes));
}

// The C library wants 0 for an error.
ssize_t disk_write(void* cookie, const char* bytes, size_t size) {
    if (fails(Call::disk_write)) return 0;
    return std::max<ssize_t>(0, __real_write(file_of(cookie).descriptor, bytes, size));
}

int disk_seek(void* cookie, off64_t* offset, int whence) {
    if (file_of(cookie).written && fails(Call::disk_seek)) return -1;
    *offset = lseek64(file_of(cookie).descriptor, *offset, whence);
    return *offset < 0 ? -1 : 0;
}

int disk_close(void* cookie) {
    const int result = close(file_of(cookie).descriptor);
    delete &file_of(cookie);
    return result;
}

int flags_of(const char* mode) {
    if (std::strcmp(mode, "wb") == 0) return O_WRONLY | O_CREAT | O_TRUNC;
    return std::strcmp(mode, "rb+") == 0 ? O_RDWR : O_RDONLY;
}

}  // namespace

void use_real_files(bool real) {
    real_files = real;
}

std::FILE* open_on_disk(const char* path, const char* mode) {
    if (real_files) return __real_fopen(path, mode);
    const int flags = flags_of(mode);
    const int descriptor = open(path, flags, file_permissions);
    if (descriptor < 0) return nullptr;
    auto* file = new DiskFile{descriptor, flags != O_RDONLY};
    return fopencookie(file, mode, {disk_read, disk_write, disk_seek, disk_close});
}
