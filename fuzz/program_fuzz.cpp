// SPDX-License-Identifier: MIT
// The whole program, from its command line to its exit status, beside a model of it: any start-up values, several
// recordings, every format, a vocoder that answers anything. What is said, called and written must be what the model
// says. The input is the dice that the run is made up with; after its end every throw is 0.
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "player/random_walk.h"

namespace {

// Where files are kept in memory, if there is such a place.
const std::string& directory() {
    static const std::string path = [] {
        std::string name = access("/dev/shm", W_OK) == 0 ? "/dev/shm/quaver_XXXXXX" : "/tmp/quaver_XXXXXX";
        if (mkdtemp(name.data()) == nullptr) abort();
        return name;
    }();
    return path;
}

struct Throws {
    const std::uint8_t* at;
    const std::uint8_t* end;

    // Two bytes a throw: more sides than that are never asked for at once but for a line speed.
    std::uint32_t operator()() {
        std::uint32_t value = 0;
        for (int i = 0; i < 2; i++) value = value << 8 | (at < end ? *at++ : 0U);
        return value;
    }
};

void remove_directory() {
    std::filesystem::remove_all(directory());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    directory();
    return atexit(remove_directory);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Dice dice = {
        Throws{data, data + size}
    };
    const ProgramRun run = random_program(dice);
    const WalkOutcome program = run_program_in_process(run, directory() + "/run");
    const WalkOutcome model = model_program(run, directory() + "/run");
    if (program == model) return 0;
    std::fprintf(stderr, "%s", difference_of(program, model).c_str());
    abort();
}
