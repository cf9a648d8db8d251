// SPDX-License-Identifier: MIT
// A test that runs once with each version of the decoder; AVX2 only where the processor has it.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lanes/decoder_version.h"
#include "support/processor.h"

// The reference: plain loops over single numbers.
namespace plain {
extern const DecoderVersion decoder_version;
}
// Vectors in the compiler's words alone: what processors run for which nothing is written here.
namespace portable {
extern const DecoderVersion decoder_version;
}

inline bool needs_avx2(const DecoderVersion* version) {
    return std::string(version->name) == "avx2";
}

class DecoderVersions : public testing::TestWithParam<const DecoderVersion*> {
  protected:
    void SetUp() override {
        if (needs_avx2(GetParam()) && !processor_has_avx2()) GTEST_SKIP() << "no AVX2 here";
    }
    const DecoderVersion& version() const { return *GetParam(); }
};

// Those that a library has, the fastest last.
inline const std::vector<const DecoderVersion*> library_versions = {
    &baseline::decoder_version,
#ifdef __x86_64__
    &avx2::decoder_version,
#endif
};

inline std::vector<const DecoderVersion*> library_versions_and(std::vector<const DecoderVersion*> versions) {
    versions.insert(versions.end(), library_versions.begin(), library_versions.end());
    return versions;
}

inline const auto every_version = testing::ValuesIn(library_versions_and({&plain::decoder_version}));

inline std::string version_name(const testing::TestParamInfo<const DecoderVersion*>& info) {
    return info.param->name;
}

// The 160 samples of `samples` from `at` on.
inline SpeechBlock& block_at(std::vector<float>& samples, std::size_t at) {
    return *reinterpret_cast<SpeechBlock*>(&samples[at]);
}
