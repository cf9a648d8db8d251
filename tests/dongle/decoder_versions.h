// SPDX-License-Identifier: MIT
// A test that runs once with each version of the decoder; AVX2 only where the processor has it.
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "lanes/decoder_version.h"

// The reference: plain loops over single numbers.
namespace plain {
extern const DecoderVersion decoder_version;
}
// Vectors in the compiler's words alone: what processors run for which nothing is written here.
namespace portable {
extern const DecoderVersion decoder_version;
}

class DecoderVersions : public testing::TestWithParam<const DecoderVersion*> {
  protected:
    void SetUp() override {
        if (GetParam() == &avx2::decoder_version && !__builtin_cpu_supports("avx2")) GTEST_SKIP() << "no AVX2 here";
    }
    const DecoderVersion& version() const { return *GetParam(); }
};

inline const auto every_version =
    testing::Values(&plain::decoder_version, &baseline::decoder_version, &avx2::decoder_version);

inline std::string version_name(const testing::TestParamInfo<const DecoderVersion*>& info) {
    return info.param->name;
}

// The 160 samples of `samples` from `at` on.
inline SpeechBlock& block_at(std::vector<float>& samples, std::size_t at) {
    return *reinterpret_cast<SpeechBlock*>(&samples[at]);
}
