// SPDX-License-Identifier: MIT
// Which version of the arithmetic this processor runs.
#include "arithmetic.h"

const Arithmetic& arithmetic_of_this_processor() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") ? avx2::arithmetic : baseline::arithmetic;
}
