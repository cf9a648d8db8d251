// SPDX-License-Identifier: MIT
// Arbitrary files through the recording reader. The first byte chooses whether frames are reversed (its lowest bit) and
// how many of the frames after the end of the file are drawn: all of them for one value of its other bits, a few for
// the rest, because all of them take a thousand times as long. What follows is the file. Every file ends, and no frame
// lies outside the buffer.
#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "link/dongle.h"
#include "memory_file.h"
#include "player/voice_recording.h"

namespace {

constexpr std::size_t most_frames_after_end = 65536;
constexpr std::size_t few_frames_after_end = 16;
constexpr std::uint8_t reverse_flag = 1;
constexpr std::uint8_t draw_all = 0xA4;

void check_frame(const VoiceRecording& recording, VoiceFrame frame) {
    const std::uint8_t* const buffer = recording.buffer;
    if (frame.data() < buffer || frame.data() + frame.size() > buffer + sizeof recording.buffer) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The reader says on standard output what it found.
    return dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO) < 0 ? -1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    set_memory_file({data + 1, size - 1});
    static VoiceRecording recording;
    if (voice_recording_open(recording, memory_file_name) < 0) {
        if (recording.file) std::abort();
        return 0;
    }
    // Two bytes of file are the smallest record; after the end come at most 65536 frames.
    const bool all = (data[0] & ~reverse_flag) == draw_all;
    const std::size_t frame_limit = size / 2 + (all ? most_frames_after_end : few_frames_after_end);
    std::size_t frames = 0;
    while (const std::optional<VoiceFrame> frame = voice_recording_next(recording)) {
        check_frame(recording, *frame);
        if (data[0] & reverse_flag) reverse_frame_bits(*frame);
        if (++frames <= frame_limit) continue;
        if (all) std::abort();
        break;
    }
    voice_recording_close(recording);
    return 0;
}
