// SPDX-License-Identifier: MIT
// Arbitrary files through the recording reader. The first byte chooses whether the bits are reversed, the rest is the
// file. Every file ends, and no frame lies outside the buffer.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "link/dongle.h"
#include "player/voice_recording.h"

namespace {

// A file in memory that can be opened by name, twice.
const std::string& memory_file(const std::uint8_t* data, std::size_t size) {
    static const int descriptor = memfd_create("recording", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    if (ftruncate(descriptor, 0) != 0 || pwrite(descriptor, data, size, 0) < 0) std::abort();
    return path;
}

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
    static VoiceRecording recording;
    if (voice_recording_open(recording, memory_file(data + 1, size - 1).c_str()) < 0) {
        if (recording.file) std::abort();
        return 0;
    }
    // Two bytes of file are the smallest record; after the end come at most 65536 frames.
    const std::size_t frame_limit = size / 2 + 65536 + 1;
    std::size_t frames = 0;
    while (const std::optional<VoiceFrame> frame = voice_recording_next(recording)) {
        check_frame(recording, *frame);
        if (data[0] & 1) reverse_frame_bits(*frame);
        if (++frames > frame_limit) std::abort();
    }
    voice_recording_close(recording);
    return 0;
}
