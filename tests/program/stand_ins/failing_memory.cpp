// SPDX-License-Identifier: MIT
// Preloaded: makes one allocation of the program's own code fail, the one whose number QUAVER_TEST_FAILS gives (1 is
// the first). What libraries allocate for themselves is let through.
#include <dlfcn.h>
#include <link.h>
#include <stdlib.h>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
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

bool fails(void* caller) {
    static Range program;
    static long number = 0;
    static long failing = 0;
    if (program.end == 0) {
        dl_iterate_phdr(note_program, &program);
        const char* text = getenv("QUAVER_TEST_FAILS");
        failing = text ? strtol(text, nullptr, 10) : 0;
    }
    const ElfW(Addr) address = reinterpret_cast<ElfW(Addr)>(caller);
    if (address < program.start || address >= program.end) return false;
    return ++number == failing;
}

}  // namespace

extern "C" [[gnu::visibility("default")]] void* malloc(size_t size) {
    return fails(__builtin_return_address(0)) ? nullptr : __libc_malloc(size);
}

extern "C" [[gnu::visibility("default")]] void* calloc(size_t count, size_t size) {
    return fails(__builtin_return_address(0)) ? nullptr : __libc_calloc(count, size);
}
