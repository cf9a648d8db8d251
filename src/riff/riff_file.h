// SPDX-License-Identifier: MIT
// RIFF chunk files over stdio: the write side that the program uses and the read side beside it.
#pragma once

#include <cstdint>
#include <cstdio>

struct ChunkHeader {
    std::uint64_t id;
    std::uint64_t size;
};

struct RiffFile {
    std::FILE* stream;
    ChunkHeader chunk;
    std::uint64_t form_type;
    std::uint64_t data_count;
    std::uint64_t data_left;
    std::int64_t size_patch_position;
    std::int64_t data_patch_position;
};

RiffFile* riff_open(const char* path, std::uint32_t form_type);
int riff_write_int(RiffFile* file, std::uint64_t value);
int riff_write_chunk(RiffFile* file, const ChunkHeader* header);
int riff_write_data(RiffFile* file, const std::uint8_t* bytes, int count);
int riff_close(RiffFile* file);

int riff_read_int(RiffFile* file, std::uint64_t* value);
int riff_read_chunk(RiffFile* file, ChunkHeader* header);
int riff_skip(RiffFile* file, std::int64_t count);
int riff_read_data(RiffFile* file, std::uint8_t* buffer, int capacity);
int riff_find_format(RiffFile* file, std::uint8_t* buffer);
std::uint8_t* riff_read_chunk_data(RiffFile* file, std::int64_t size);
void riff_dump_header(const RiffFile* file);
