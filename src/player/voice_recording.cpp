// SPDX-License-Identifier: MIT
#include "player/voice_recording.h"

#include <array>
#include <cstring>

namespace {

constexpr int header_bytes = 10;
constexpr char dvtool_magic[] = "DVTOOL";  // the terminating zero is part of it
constexpr std::size_t frame_offset = 15;   // of the AMBE frame in a record
// A stale length of 0 at the end of a file would yield frames without end; after so many the file counts as ended.
constexpr std::uint32_t frames_without_input_limit = 65536;

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

// Reads one byte to `place`; at the end of the file `place` stays as it is.
bool read_byte(std::FILE* file, std::uint8_t& place) {
    const int byte = getc_unlocked(file);
    if (byte == EOF) return false;
    place = static_cast<std::uint8_t>(byte);
    return true;
}

struct RecordLength {
    std::size_t value;
    bool read;  // at least one of its bytes came from the file
};

// Kept: a byte that cannot be read leaves the buffer's previous byte as part of the length; when the first cannot be
// read, the second is not tried.
RecordLength read_length(VoiceRecording& recording) {
    std::uint8_t* const buffer = recording.buffer;
    const bool read = read_byte(recording.file, buffer[0]);
    if (read) read_byte(recording.file, buffer[1]);
    return {static_cast<std::size_t>(buffer[0] | buffer[1] << 8), read};
}

bool read_header(VoiceRecording& recording) {
    for (int i = 0; i < header_bytes; i++) {
        if (!read_byte(recording.file, recording.buffer[i])) return false;
    }
    return true;
}

void skip(std::FILE* file, std::size_t count) {
    while (count > 0 && getc_unlocked(file) != EOF) count--;
}

VoiceFrame frame_at(VoiceRecording& recording, std::size_t offset) {
    return std::span(recording.buffer).subspan(offset).first<ambe_frame_bytes>();
}

// Kept: a record shorter than 27 bytes leaves frame bytes of earlier records in place; one of length 0 is a frame made
// wholly of earlier bytes.
std::optional<VoiceFrame> next_record_frame(VoiceRecording& recording) {
    const RecordLength length = read_length(recording);
    if (std::fread(recording.buffer, 1, length.value, recording.file) < length.value) return std::nullopt;

    const bool any_input = length.read || length.value > 0;
    if (!any_input && ++recording.frames_without_input > frames_without_input_limit) return std::nullopt;
    return frame_at(recording, frame_offset);
}

std::optional<VoiceFrame> next_raw_frame(VoiceRecording& recording) {
    if (std::fread(recording.buffer, 1, ambe_frame_bytes, recording.file) < ambe_frame_bytes) return std::nullopt;
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
    recording.dvtool = std::memcmp(recording.buffer, dvtool_magic, sizeof dvtool_magic) == 0;
    if (recording.dvtool) {
        std::printf(" (DVTOOL)");
        skip(recording.file, read_length(recording).value);
        return 0;
    }
    // Raw frames begin at byte 0. A file that cannot be opened again (it was removed meanwhile) yields no frame.
    std::fclose(recording.file);
    recording.file = std::fopen(path, "rb");
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
