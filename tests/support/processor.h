// SPDX-License-Identifier: MIT
// What differs from processor to processor.
#pragma once

// The vocoder library's name.
#if defined(__x86_64__)
constexpr const char* dongle_file = "libdongle-x86-64.so";
#elif defined(__aarch64__)
constexpr const char* dongle_file = "libdongle-aarch64.so";
#elif defined(__i386__)
constexpr const char* dongle_file = "libdongle-i386.so";
#elif defined(__arm__)
constexpr const char* dongle_file = "libdongle-arm.so";
#endif

inline bool processor_has_avx2() {
#ifdef __x86_64__
    return __builtin_cpu_supports("avx2") != 0;
#else
    return false;
#endif
}
