// SPDX-License-Identifier: MIT
#include "faults/faults.h"

#include <errno.h>
#include <fcntl.h>
#include <gsm.h>
#include <sys/select.h>
#include <sys/types.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <bitset>

#include "faults/disk.h"

namespace {

struct CallRow {
    const char* name;
    int error;  // errno of a failure
};

constexpr CallRow call_rows[] = {
    {"none",           0     },
    {"allocation",     ENOMEM},
    {"fopen",          EACCES},
    {"fwrite",         EIO   },
    {"fread",          EIO   },
    {"fseek",          EIO   },
    {"disk_read",      EIO   },
    {"disk_read_back", EIO   },
    {"disk_write",     ENOSPC},
    {"disk_seek",      EIO   },
    {"tcgetattr",      EIO   },
    {"tcsetattr",      EIO   },
    {"select",         EBADF },
    {"read",           EIO   },
    {"write",          EIO   },
};
static_assert(std::size(call_rows) == call_kinds);

constexpr int most_descriptors = 256;
constexpr std::size_t most_allocations = 256;

Fault planned;
Report* running;  // null while nothing is counted
std::bitset<most_descriptors> descriptors_of_the_test;
std::array<void*, most_allocations> held;

const CallRow& row_of(Call call) {
    return call_rows[static_cast<std::size_t>(call)];
}

// The keyboard, and what the program opened itself.
bool is_programs(int descriptor) {
    if (running == nullptr || descriptor < 0 || descriptor >= most_descriptors) return false;
    return descriptor == STDIN_FILENO || !descriptors_of_the_test[static_cast<std::size_t>(descriptor)];
}

bool is_programs(const FILE* stream) {
    return running != nullptr && stream != stdout && stream != stderr;
}

void* keep(void* memory) {
    if (running != nullptr && memory != nullptr) *std::ranges::find(held, nullptr) = memory;
    return memory;
}

void forget(const void* memory) {
    if (memory != nullptr) std::ranges::replace(held, const_cast<void*>(memory), static_cast<void*>(nullptr));
}

}  // namespace

const char* call_name(Call call) {
    return row_of(call).name;
}

void faults_begin(const Fault& fault, Report* report) {
    planned = fault;
    for (int descriptor = 0; descriptor < most_descriptors; descriptor++) {
        descriptors_of_the_test[static_cast<std::size_t>(descriptor)] = fcntl(descriptor, F_GETFD) >= 0;
    }
    running = report;
}

void faults_end() {
    running = nullptr;
}

bool fails(Call call) {
    const int number = ++running->calls[static_cast<std::size_t>(call)];
    if (call != planned.call) return false;
    if (planned.lasting ? number < planned.first : number != planned.first) return false;
    errno = planned.error != 0 ? planned.error : row_of(call).error;
    return true;
}

int allocations_held() {
    return static_cast<int>(std::ssize(held) - std::ranges::count(held, nullptr));
}

extern "C" {

void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void __real_free(void* memory);
gsm __real_gsm_create();
size_t __real_fwrite(const void* bytes, size_t size, size_t count, FILE* stream);
size_t __real_fread(void* bytes, size_t size, size_t count, FILE* stream);
int __real_fseek(FILE* stream, long offset, int whence);
int __real_tcgetattr(int descriptor, termios* state);
int __real_tcsetattr(int descriptor, int when, const termios* state);
int __real_select(int limit, fd_set* readable, fd_set* writable, fd_set* exceptional, timeval* wait);

void* __wrap_malloc(size_t size) {
    return running != nullptr && fails(Call::allocation) ? nullptr : keep(__real_malloc(size));
}

void* __wrap_calloc(size_t count, size_t size) {
    return running != nullptr && fails(Call::allocation) ? nullptr : keep(__real_calloc(count, size));
}

void __wrap_free(void* memory) {
    forget(memory);
    __real_free(memory);
}

gsm __wrap_gsm_create() {
    return running != nullptr && fails(Call::allocation) ? nullptr : static_cast<gsm>(keep(__real_gsm_create()));
}

FILE* __wrap_fopen(const char* path, const char* mode) {
    if (running == nullptr) return __real_fopen(path, mode);
    return fails(Call::fopen) ? nullptr : open_on_disk(path, mode);
}

size_t __wrap_fwrite(const void* bytes, size_t size, size_t count, FILE* stream) {
    return is_programs(stream) && fails(Call::fwrite) ? 0 : __real_fwrite(bytes, size, count, stream);
}

size_t __wrap_fread(void* bytes, size_t size, size_t count, FILE* stream) {
    return is_programs(stream) && fails(Call::fread) ? 0 : __real_fread(bytes, size, count, stream);
}

int __wrap_fseek(FILE* stream, long offset, int whence) {
    return is_programs(stream) && fails(Call::fseek) ? -1 : __real_fseek(stream, offset, whence);
}

int __wrap_tcgetattr(int descriptor, termios* state) {
    return is_programs(descriptor) && fails(Call::tcgetattr) ? -1 : __real_tcgetattr(descriptor, state);
}

int __wrap_tcsetattr(int descriptor, int when, const termios* state) {
    return is_programs(descriptor) && fails(Call::tcsetattr) ? -1 : __real_tcsetattr(descriptor, when, state);
}

int __wrap_select(int limit, fd_set* readable, fd_set* writable, fd_set* exceptional, timeval* wait) {
    if (running != nullptr && fails(Call::select)) return -1;
    return __real_select(limit, readable, writable, exceptional, wait);
}

ssize_t __wrap_read(int descriptor, void* buffer, size_t length) {
    return is_programs(descriptor) && fails(Call::read) ? -1 : __real_read(descriptor, buffer, length);
}

ssize_t __wrap_write(int descriptor, const void* buffer, size_t length) {
    return is_programs(descriptor) && fails(Call::write) ? -1 : __real_write(descriptor, buffer, length);
}

}  // extern "C"
