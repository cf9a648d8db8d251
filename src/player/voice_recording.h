// SPDX-License-Identifier: MIT
// A recording of AMBE voice, one 12-byte frame at a time.
//
// Two forms, told apart by the first ten bytes: a DVTOOL recording and raw frames back to back.
//
//   offset   0        6   7       10   12
//          ┌────────┬───┬───────┬────┬──────────┐
//          │ DVTOOL │ 0 │ (any) │ L0 │ L0 bytes │  skipped; then L and L bytes, again and again
//          └────────┴───┴───────┴────┴──────────┘
//
//   record   0              15               27
//          ┌──────────────┬────────────────┬───────┐
//          │ (not read)   │ the AMBE frame │ (any) │  lengths are 16 bits, low byte first
//          └──────────────┴────────────────┴───────┘
//
// A recording ends where its file did when it was opened, give or take 65536 frames: so many are taken from beyond that
// size (the file grows: it is still being recorded, or it is converted onto itself) and from a stale length of 0, which
// makes frames of nothing.
//
// One buffer holds the header, then each length, record or raw frame in turn, always from its first byte on. Bytes that
// a short record or an unreadable length does not overwrite stay there and are used again.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>

#include "link/dongle.h"

struct VoiceRecording {
    std::FILE* file;
    bool dvtool;
    std::int64_t bytes_at_open;      // of the file; the largest number for what is no regular file
    std::int64_t position;           // bytes that were read of it
    std::uint32_t frames_after_end;  // frames of which nothing stood in the file when it was opened
    std::uint8_t buffer[0xFFFF];     // the largest record
};

// One AMBE frame, in somebody's buffer.
using VoiceFrame = std::span<std::uint8_t, ambe_frame_bytes>;

// Opens `path` and finds its form. Returns 0, having printed " (DVTOOL)" for that form; -1 with nothing left open,
// having printed ": NOT FOUND\n" or, for a file of fewer than ten bytes, ": SHORT FILE\n".
int voice_recording_open(VoiceRecording& recording, const char* path);

// The next frame, inside the recording's buffer, where the caller may change it: a later record that is too short to
// replace its bytes yields them again as they then are. None at the end of the file.
std::optional<VoiceFrame> voice_recording_next(VoiceRecording& recording);

void voice_recording_close(VoiceRecording& recording);

// Reverses the order of the bits in each byte: bit 0 becomes bit 7, bit 1 becomes bit 6 and so on.
void reverse_frame_bits(VoiceFrame frame);
