// SPDX-License-Identifier: MIT
// A test that runs once with each version of the decoder's arithmetic; AVX2 only where the processor has it.
#pragma once

#include <gtest/gtest.h>

#include "arithmetic.h"

class ArithmeticVersions : public testing::TestWithParam<const Arithmetic*> {
  protected:
    void SetUp() override {
        if (GetParam() == &avx2::arithmetic && !__builtin_cpu_supports("avx2")) GTEST_SKIP() << "no AVX2 here";
    }
    const Arithmetic& version() const { return *GetParam(); }
};

inline const auto every_version = testing::Values(&plain::arithmetic, &baseline::arithmetic, &avx2::arithmetic);

inline std::string version_name(const testing::TestParamInfo<const Arithmetic*>& info) {
    return info.param->name;
}
