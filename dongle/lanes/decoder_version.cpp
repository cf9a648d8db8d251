// SPDX-License-Identifier: MIT
// Which version of the decoder this processor runs.
#include "lanes/decoder_version.h"

const DecoderVersion& decoder_version_of_this_processor() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") ? avx2::decoder_version : baseline::decoder_version;
}
