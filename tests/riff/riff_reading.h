// SPDX-License-Identifier: MIT
// RIFF files written out as bytes, and a fixture that opens them and catches what the calls say.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "riff/riff_read.h"
#include "support/capture.h"
#include "support/temp_dir.h"
#include "support/wave.h"

constexpr std::uint64_t sign_bits = 0xFFFFFFFF00000000u;

// A WAVE file of one block of linear PCM, worked out by hand: 44 bytes of headers, then the bytes 0 to 255, 0 to 63.
inline Bytes wave_of_364_bytes() {
    Bytes audio(320);
    for (std::size_t i = 0; i < audio.size(); ++i) audio[i] = static_cast<std::uint8_t>(i);
    return bytes_of("RIFF") + bytes({0x6C, 0x01, 0, 0}) +   // 364 = 0x16C, the length of the whole file
           bytes_of("WAVEfmt ") + bytes({0x10, 0, 0, 0}) +  // 16 bytes of format
           bytes({0x01, 0x00}) +                            // linear PCM
           bytes({0x01, 0x00}) +                            // 1 channel
           bytes({0x40, 0x1F, 0x00, 0x00}) +                // 8000 = 0x1F40 samples per second
           bytes({0x80, 0x3E, 0x00, 0x00}) +                // 16000 = 0x3E80 bytes per second
           bytes({0x02, 0x00}) +                            // 2 bytes a sample frame
           bytes({0x10, 0x00}) +                            // 16 bits a sample
           bytes_of("data") + bytes({0x40, 0x01, 0, 0}) +   // at offset 36; 320 = 0x140 bytes of data
           audio;
}

class RiffRead : public testing::Test {
  protected:
    ~RiffRead() override {
        if (file != nullptr) riff_close(file);
    }

    // Closes the file that was open and opens one of this content; its messages go to `output`.
    void open(const Bytes& content) {
        if (file != nullptr) riff_close(file);
        write_file(path, content);
        output = output_of([this] { file = riff_open(path.c_str(), 0); });
    }

    // Opens a file whose outer header is followed by these chunks.
    void open_wave(const Bytes& chunks) {
        open(wave_file(chunks));
        ASSERT_NE(file, nullptr);
        EXPECT_EQ(output.err, "");
    }

    // One read of data, checked not to pass `capacity`.
    Bytes read_data(int capacity, int* result = nullptr) {
        Bytes buffer(64, 0xEE);
        int count = 0;
        output = output_of([&] { count = riff_read_data(file, buffer.data(), capacity); });
        if (result != nullptr) *result = count;
        const auto kept = static_cast<std::size_t>(capacity > 0 ? capacity : 0);
        EXPECT_EQ(Bytes(buffer.begin() + static_cast<std::ptrdiff_t>(kept), buffer.end()), Bytes(64 - kept, 0xEE));
        buffer.resize(static_cast<std::size_t>(count > 0 ? count : 0));
        return buffer;
    }

    int read_chunk() {
        int status = 0;
        output = output_of([&] { status = riff_read_chunk(file, &header); });
        return status;
    }

    int find_format(std::uint8_t* buffer) {
        int status = 0;
        output = output_of([&] { status = riff_find_format(file, buffer); });
        return status;
    }

    // Into the first `room` bytes of the buffer.
    int find_format_bounded(Bytes& buffer, std::size_t room) {
        int result = 0;
        output = output_of([&] { result = riff_find_format_bounded(file, std::span(buffer).first(room)); });
        return result;
    }

    std::uint8_t* read_chunk_data(std::int64_t size) {
        std::uint8_t* buffer = nullptr;
        output = output_of([&] { buffer = riff_read_chunk_data(file, size); });
        return buffer;
    }

    TempDir directory;
    std::string path = directory / "read.wav";
    RiffFile* file = nullptr;
    Output output;
    ChunkHeader header = {0x1234, 0x5678};
};
