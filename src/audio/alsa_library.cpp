// SPDX-License-Identifier: MIT
#include "audio/alsa_library.h"

#include <dlfcn.h>

namespace {

constexpr char library_name[] = "libasound.so.2";

// The results of its functions say it too.
void say_nothing(const char*, int, const char*, int, const char*, ...) {}

template <typename Function>
bool find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
}

bool find_all(void* library, AlsaLibrary& alsa) {
    bool found = true;
#define ALSA_FIND(name) found &= find(library, #name, alsa.name);
    ALSA_FUNCTIONS(ALSA_FIND)
#undef ALSA_FIND
    return found;
}

}  // namespace

const AlsaLibrary* alsa_library(const char** reason) {
    static AlsaLibrary alsa;
    void* library = dlopen(library_name, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr || !find_all(library, alsa)) {
        const char* error = dlerror();
        *reason = error != nullptr ? error : library_name;
        return nullptr;
    }
    alsa.snd_lib_error_set_handler(say_nothing);
    return &alsa;
}
