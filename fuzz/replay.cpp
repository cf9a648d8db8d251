// SPDX-License-Identifier: MIT
// Runs each file below a directory through a fuzz target, once: what is known stays without a finding, with any
// compiler.
//
//   <name>_fuzz COUNT DIRECTORY       COUNT is the number of files that must be found
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size);

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    if (LLVMFuzzerInitialize(&argc, &argv) != 0) return 2;
    long inputs = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[2])) {
        if (!entry.is_regular_file()) continue;
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<char> content{std::istreambuf_iterator<char>(file), {}};
        // Of exactly the content's size, so that a sanitizer sees the byte behind it.
        LLVMFuzzerTestOneInput(reinterpret_cast<const unsigned char*>(content.data()), content.size());
        inputs++;
    }
    return inputs > 0 && inputs == std::atol(argv[1]) ? 0 : 1;
}
