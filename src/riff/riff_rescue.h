// SPDX-License-Identifier: MIT
// The rescue of the WAVE file that is being written when the program ends in the middle of it: both sizes are put in
// their place, so that the file plays to the last block that was written.
//
// One file at a time, from riff_rescue_begin to riff_rescue_end. Only what is in the file counts, not what stdio still
// holds. An output that is no regular file (a pipe, a device) is left alone.
#pragma once

#include <cstdint>

#include "riff/riff_file.h"
#include "riff/wave_format.h"

// Before the file at `path` is created or truncated. From then on a file that is found empty gets its head: the outer
// header, the form type and the "fmt " chunk of `format` without extra bytes. `path` must stay until attach or end.
void riff_rescue_begin(const char* path, std::uint32_t form_type, WaveFormat format);

// Once `file` is open at that path and its "fmt " chunk was written.
void riff_rescue_attach(const RiffFile& file);

// After each riff_write_data: the place of the data size may have moved.
void riff_rescue_note(const RiffFile& file);

// Once the file is closed, or could not be created.
void riff_rescue_end();

// The rescue itself. In a signal handler: async-signal-safe calls only, errno may change.
void riff_rescue_in_signal();

// The same from `exit`: what stdio still holds goes into the file first, or it would be written over the sizes later.
void riff_rescue_at_exit();
