// SPDX-License-Identifier: MIT
// The functions of ALSA's library that the audio layer calls.
//
// The library is loaded when the first device is opened that needs it, not with the program: a conversion starts
// without it, and the program runs where it is not installed. Types and signatures are those of its own header.
#pragma once

#include <alsa/asoundlib.h>

// clang-format off
#define ALSA_FUNCTIONS(row)                     \
    row(snd_strerror)                           \
    row(snd_lib_error_set_handler)              \
    row(snd_config_update)                      \
    row(snd_config_update_free_global)          \
    row(snd_pcm_open)                           \
    row(snd_pcm_close)                          \
    row(snd_pcm_nonblock)                       \
    row(snd_pcm_hw_params)                      \
    row(snd_pcm_hw_params_malloc)               \
    row(snd_pcm_hw_params_free)                 \
    row(snd_pcm_hw_params_any)                  \
    row(snd_pcm_hw_params_set_access)           \
    row(snd_pcm_hw_params_set_format)           \
    row(snd_pcm_hw_params_set_channels)         \
    row(snd_pcm_hw_params_set_rate)             \
    row(snd_pcm_hw_params_set_period_size_near) \
    row(snd_pcm_hw_params_set_buffer_size_near) \
    row(snd_pcm_get_params)                     \
    row(snd_pcm_sw_params)                      \
    row(snd_pcm_sw_params_malloc)               \
    row(snd_pcm_sw_params_free)                 \
    row(snd_pcm_sw_params_current)              \
    row(snd_pcm_sw_params_set_start_threshold)  \
    row(snd_pcm_sw_params_set_avail_min)        \
    row(snd_pcm_prepare)                        \
    row(snd_pcm_start)                          \
    row(snd_pcm_state)                          \
    row(snd_pcm_writei)                         \
    row(snd_pcm_wait)                           \
    row(snd_pcm_avail)                          \
    row(snd_pcm_resume)                         \
    row(snd_pcm_drain)                          \
    row(snd_pcm_drop)
// clang-format on

struct AlsaLibrary {
#define ALSA_POINTER(name) decltype(&::name) name;  // NOLINT(bugprone-macro-parentheses)
    ALSA_FUNCTIONS(ALSA_POINTER)
#undef ALSA_POINTER
};

// The library, loaded and kept to the end of the program: what its plug-ins leave behind may still refer to it. What it
// would print about errors is dropped. Null when it cannot be had; `*reason` then says why, as the loader has it.
const AlsaLibrary* alsa_library(const char** reason);
