// SPDX-License-Identifier: MIT
#include "player/voice_recording.h"

#include <array>
#include <cstring>

#include "link/dongle.h"

namespace {

constexpr int header_bytes = 10;
constexpr char dvtool_magic[] = "DVTOOL";  // the terminating zero is part of it
constexpr int frame_offset = 15;           // of the AMBE frame in a record
// A stale length of 0 at the end of a file yields frames without end; so many end it.
constexpr std::uint32_t frames_without_input_limit = 65536;

constexpr std::array<std::uint8_t, 256> mirrored_bytes = [] {
    std::array<std::uint8_t, 256> mirrored{};
    for (unsigned value = 0; value < 256; value++) {
        for (unsigned bit = 0; bit < 8; bit++) {
            if (value >> bit & 1) mirrored[value] = static_cast<std::uint8_t>(mirrored[value] | 0x80 >> bit);
        }
    }
    return mirrored;
}();
static_assert(mirrored_bytes[0x01] == 0x80 && mirrored_bytes[0x0F] == 0xF0 && mirrored_bytes[0xA0] == 0x05);

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

// Kept: a byte that cannot be read leaves the buffer's previous byte as part of the length; the second is not tried
// when the first fails.
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

// Kept: a record shorter than 27 bytes leaves frame bytes of earlier records in place; one of length 0 is a frame made
// wholly of earlier bytes.
std::uint8_t* next_record_frame(VoiceRecording& recording) {
    const RecordLength length = read_length(recording);
    if (std::fread(recording.buffer, 1, length.value, recording.file) < length.value) return nullptr;

    const bool any_input = length.read || length.value > 0;
    if (!any_input && ++recording.frames_without_input > frames_without_input_limit) return nullptr;
    return recording.buffer + frame_offset;
}

std::uint8_t* next_raw_frame(VoiceRecording& recording) {
    if (std::fread(recording.buffer, 1, ambe_frame_bytes, recording.file) < ambe_frame_bytes) return nullptr;
    return recording.buffer;
}

}  // namespace

int voice_recording_open(VoiceRecording& recording, const char* path) {
    recording = {};
    recording.file = std::fopen(path, "rb");
    if (!recording.file) {
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

std::uint8_t* voice_recording_next(VoiceRecording& recording) {
    if (!recording.file) return nullptr;
    return recording.dvtool ? next_record_frame(recording) : next_raw_frame(recording);
}

void voice_recording_close(VoiceRecording& recording) {
    if (recording.file) std::fclose(recording.file);
    recording.file = nullptr;
}

void reverse_frame_bits(std::uint8_t* frame) {
    for (int i = 0; i < ambe_frame_bytes; i++) frame[i] = mirrored_bytes[frame[i]];
}
