// SPDX-License-Identifier: MIT
// Which version of the decoder this processor runs.
#include "lanes/decoder_version.h"

const DecoderVersion& decoder_version_of_this_processor() {
#ifdef __x86_64__
    if (__builtin_cpu_supports("avx2")) return avx2::decoder_version;
#endif
    return baseline::decoder_version;
}
