// SPDX-License-Identifier: MIT
// What a piece of code writes to standard output and standard error, on the descriptors, stdio buffers included.
#pragma once

#include <functional>
#include <string>

struct Output {
    std::string out;
    std::string err;
};

// Runs `action` with descriptors 1 and 2 turned into files of its own.
Output output_of(const std::function<void()>& action);
