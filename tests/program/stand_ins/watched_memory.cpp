// SPDX-License-Identifier: MIT
// Preloaded: watches what the program's own code asks of the allocator. What libraries ask for passes.
//
// QUAVER_TEST_FAILS      the number of the allocation that fails, 1 being the first
// QUAVER_TEST_RELEASES   when set, each block that is given back is logged among the calls of the vocoder library
// QUAVER_TEST_ALLOCATED  names the file that gets the number of allocations at the end, in decimal
#include <link.h>

#include "call_log.h"

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void __libc_free(void* block);
}

namespace {

struct Range {
    ElfW(Addr) start = 0;
    ElfW(Addr) end = 0;
};

// The first object of the list is the program.
int note_program(dl_phdr_info* info, size_t, void* range) {
    Range& program = *static_cast<Range*>(range);
    program.start = info->dlpi_addr;
    for (int i = 0; i < info->dlpi_phnum; i++) {
        const ElfW(Phdr)& header = info->dlpi_phdr[i];
        const ElfW(Addr) end = info->dlpi_addr + header.p_vaddr + header.p_memsz;
        if (header.p_type == PT_LOAD && end > program.end) program.end = end;
    }
    return 1;
}

bool is_in_program(void* caller) {
    static Range program;
    if (program.end == 0) dl_iterate_phdr(note_program, &program);
    const ElfW(Addr) address = reinterpret_cast<ElfW(Addr)>(caller);
    return address >= program.start && address < program.end;
}

long allocations = 0;

bool fails(void* caller) {
    static const char* const failing = getenv("QUAVER_TEST_FAILS");
    if (!is_in_program(caller)) return false;
    return ++allocations == (failing ? strtol(failing, nullptr, 10) : 0);
}

[[gnu::destructor]] void tell_allocations() {
    const char* path = getenv("QUAVER_TEST_ALLOCATED");
    const int file = path ? open(path, O_WRONLY | O_CREAT | O_TRUNC, 0666) : -1;
    if (file >= 0 && dprintf(file, "%ld", allocations) < 0) abort();
}

}  // namespace

extern "C" [[gnu::visibility("default")]] void* malloc(size_t size) {
    return fails(__builtin_return_address(0)) ? nullptr : __libc_malloc(size);
}

extern "C" [[gnu::visibility("default")]] void* calloc(size_t count, size_t size) {
    return fails(__builtin_return_address(0)) ? nullptr : __libc_calloc(count, size);
}

extern "C" [[gnu::visibility("default")]] void free(void* block) {
    static const bool logs = getenv("QUAVER_TEST_RELEASES") != nullptr;
    if (block && logs && is_in_program(__builtin_return_address(0))) log_call("free");
    __libc_free(block);
}
