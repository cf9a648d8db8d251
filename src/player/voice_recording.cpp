// SPDX-License-Identifier: MIT
#include "player/voice_recording.h"

#include <sys/stat.h>

#include <array>
#include <cstring>
#include <limits>

namespace {

constexpr int header_bytes = 10;
constexpr char dvtool_magic[] = "DVTOOL";  // the terminating zero is part of it
constexpr std::size_t frame_offset = 15;   // of the AMBE frame in a record
// A stale length of 0 at the end of a file, or a file that grows while it is read, could yield frames without end.
constexpr std::uint32_t most_frames_after_end = 65536;
constexpr std::int64_t unknown_length = std::numeric_limits<std::int64_t>::max();

constexpr std::array<std::uint8_t, 256> reversed_bytes = [] {
    std::array<std::uint8_t, 256> reversed{};
    for (unsigned value = 0; value < 256; value++) {
        for (unsigned bit = 0; bit < 8; bit++) {
            if (value >> bit & 1) reversed[value] = static_cast<std::uint8_t>(reversed[value] | 0x80 >> bit);
        }
    }
    return reversed;
}();
static_assert(reversed_bytes[0x01] == 0x80 && reversed_bytes[0x0F] == 0xF0 && reversed_bytes[0xA0] == 0x05);

std::int64_t length_of(std::FILE* file) {
    struct stat status = {};
    if (fstat(fileno(file), &status) < 0 || !S_ISREG(status.st_mode)) return unknown_length;
    return status.st_size;
}

// Reads one byte to `place`; at the end of the file `place` stays as it is.
bool read_byte(VoiceRecording& recording, std::uint8_t& place) {
    const int byte = getc_unlocked(recording.file);
    if (byte == EOF) return false;
    recording.position++;
    place = static_cast<std::uint8_t>(byte);
    return true;
}

// Reads into the buffer from its first byte on. False when the file has fewer bytes.
bool read_whole(VoiceRecording& recording, std::size_t count) {
    const std::size_t read = std::fread(recording.buffer, 1, count, recording.file);
    recording.position += static_cast<std::int64_t>(read);
    return read == count;
}

// Kept: a byte that cannot be read leaves the buffer's previous byte as part of the length; when the first cannot be
// read, the second is not tried.
std::size_t read_length(VoiceRecording& recording) {
    std::uint8_t* const buffer = recording.buffer;
    if (read_byte(recording, buffer[0])) read_byte(recording, buffer[1]);
    return static_cast<std::size_t>(buffer[0] | buffer[1] << 8);
}

bool read_header(VoiceRecording& recording) {
    for (int i = 0; i < header_bytes; i++) {
        if (!read_byte(recording, recording.buffer[i])) return false;
    }
    return true;
}

void skip(VoiceRecording& recording, std::size_t count) {
    std::uint8_t skipped = 0;
    while (count > 0 && read_byte(recording, skipped)) count--;
}

// Counts a frame that was read from `start` on; false when it is one too many.
bool counts_as_frame(VoiceRecording& recording, std::int64_t start) {
    const bool from_nothing = recording.position == start;
    if (!from_nothing && start < recording.bytes_at_open) return true;
    recording.frames_after_end++;
    return recording.frames_after_end <= most_frames_after_end;
}

VoiceFrame frame_at(VoiceRecording& recording, std::size_t offset) {
    return std::span(recording.buffer).subspan(offset).first<ambe_frame_bytes>();
}

// Kept: a record shorter than 27 bytes leaves frame bytes of earlier records in place; one of length 0 is a frame made
// wholly of earlier bytes.
std::optional<VoiceFrame> next_record_frame(VoiceRecording& recording) {
    const std::int64_t start = recording.position;
    if (!read_whole(recording, read_length(recording))) return std::nullopt;
    if (!counts_as_frame(recording, start)) return std::nullopt;
    return frame_at(recording, frame_offset);
}

std::optional<VoiceFrame> next_raw_frame(VoiceRecording& recording) {
    const std::int64_t start = recording.position;
    if (!read_whole(recording, ambe_frame_bytes)) return std::nullopt;
    if (!counts_as_frame(recording, start)) return std::nullopt;
    return frame_at(recording, 0);
}

}  // namespace

int voice_recording_open(VoiceRecording& recording, const char* path) {
    recording = {};
    recording.file = std::fopen(path, "rb");
    if (recording.file == nullptr) {
        std::printf(": NOT FOUND\n");
        return -1;
    }
    if (!read_header(recording)) {
        std::printf(": SHORT FILE\n");
        voice_recording_close(recording);
        return -1;
    }
    recording.bytes_at_open = length_of(recording.file);
    recording.dvtool = std::memcmp(recording.buffer, dvtool_magic, sizeof dvtool_magic) == 0;
    if (recording.dvtool) {
        std::printf(" (DVTOOL)");
        skip(recording, read_length(recording));
        return 0;
    }
    // Raw frames begin at byte 0. A file that cannot be opened again (it was removed meanwhile) yields no frame.
    std::fclose(recording.file);
    recording.file = std::fopen(path, "rb");
    recording.position = 0;
    return 0;
}

std::optional<VoiceFrame> voice_recording_next(VoiceRecording& recording) {
    if (recording.file == nullptr) return std::nullopt;
    return recording.dvtool ? next_record_frame(recording) : next_raw_frame(recording);
}

void voice_recording_close(VoiceRecording& recording) {
    if (recording.file != nullptr) std::fclose(recording.file);
    recording.file = nullptr;
}

void reverse_frame_bits(VoiceFrame frame) {
    for (std::uint8_t& byte : frame) byte = reversed_bytes[byte];
}
