// SPDX-License-Identifier: MIT
#include "faults/faults.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/select.h>
#include <sys/types.h>
#include <termios.h>
#include <unistd.h>

#include <bitset>

#include "support/allocations.h"

namespace {

struct CallRow {
    const char* name;
    int error;  // errno of a failure
};

constexpr CallRow call_rows[] = {
    {"none",       0     },
    {"allocation", ENOMEM},
    {"fopen",      EACCES},
    {"fread",      EIO   },
    {"tcgetattr",  EIO   },
    {"tcsetattr",  EIO   },
    {"select",     EBADF },
    {"read",       EIO   },
    {"write",      EIO   },
};
static_assert(std::size(call_rows) == call_kinds);

constexpr int most_descriptors = 256;

Fault planned;
Report* running;  // null while nothing is counted
std::bitset<most_descriptors> descriptors_of_the_test;

const CallRow& row_of(Call call) {
    return call_rows[static_cast<std::size_t>(call)];
}

// The keyboard, and what the program opened itself.
bool is_programs(int descriptor) {
    if (running == nullptr || descriptor < 0 || descriptor >= most_descriptors) return false;
    return descriptor == STDIN_FILENO || !descriptors_of_the_test[static_cast<std::size_t>(descriptor)];
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
    const bool allocation = fault.call == Call::allocation;
    allocations = {.counted = true, .failing = allocation ? fault.first : 0, .lasting = fault.lasting};
    running = report;
}

void faults_end() {
    allocations.counted = false;
    running->calls[static_cast<std::size_t>(Call::allocation)] = allocations.made;
    running = nullptr;
}

bool fails(Call call) {
    const int number = ++running->calls[static_cast<std::size_t>(call)];
    if (call != planned.call) return false;
    if (planned.lasting ? number < planned.first : number != planned.first) return false;
    errno = planned.error != 0 ? planned.error : row_of(call).error;
    return true;
}

extern "C" {

FILE* __real_fopen(const char* path, const char* mode);
size_t __real_fread(void* bytes, size_t size, size_t count, FILE* stream);
int __real_tcgetattr(int descriptor, termios* state);
int __real_tcsetattr(int descriptor, int when, const termios* state);
int __real_select(int limit, fd_set* readable, fd_set* writable, fd_set* exceptional, timeval* wait);
ssize_t __real_read(int descriptor, void* buffer, size_t length);
ssize_t __real_write(int descriptor, const void* buffer, size_t length);

FILE* __wrap_fopen(const char* path, const char* mode) {
    return running != nullptr && fails(Call::fopen) ? nullptr : __real_fopen(path, mode);
}

size_t __wrap_fread(void* bytes, size_t size, size_t count, FILE* stream) {
    return running != nullptr && fails(Call::fread) ? 0 : __real_fread(bytes, size, count, stream);
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
