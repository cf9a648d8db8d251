// SPDX-License-Identifier: MIT
// RIFF files written out as bytes, and a fixture that opens them and catches what the calls say.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "riff/riff_read.h"
#include "support/capture.h"
#include "support/temp_dir.h"

constexpr std::uint64_t sign_bits = 0xFFFFFFFF00000000u;

inline Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

// A chunk as it stands in a file; the size stated may differ from the body's.
inline Bytes chunk_stating(const std::string& id, std::uint32_t size, const Bytes& body) {
    Bytes result = bytes_of(id);
    for (int shift = 0; shift < 32; shift += 8) result.push_back(static_cast<std::uint8_t>(size >> shift));
    return result + body;
}

inline Bytes chunk(const std::string& id, const Bytes& body) {
    return chunk_stating(id, static_cast<std::uint32_t>(body.size()), body);
}

inline Bytes wave_file(const Bytes& chunks) {
    return chunk_stating("RIFF", static_cast<std::uint32_t>(chunks.size()) + 4, bytes_of("WAVE")) + chunks;
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

    int find_format(Bytes& buffer) {
        int status = 0;
        output = output_of([&] { status = riff_find_format(file, buffer.data()); });
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
