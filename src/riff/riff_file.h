// SPDX-License-Identifier: MIT
// RIFF chunk files over stdio: opening, writing and closing. Reading is in riff_read.h.
//
//   offset   0      4      8      12     16    20     20+L   24+L   28+L
//          ┌──────┬──────┬──────┬──────┬─────┬──────┬──────┬──────┬─────────┐
//          │ RIFF │ size │ WAVE │ fmt  │  L  │ body │ data │  n   │ n bytes │   as written here
//          └──────┴──────┴──────┴──────┴─────┴──────┴──────┴──────┴─────────┘
//
// Sizes and integers stand in the file least significant byte first, identifiers first character first. While a file
// is being written its two sizes read 4 and 0; riff_close puts the true ones in their place. Nothing is padded: an
// odd chunk is followed at once by the next, in writing, reading and skipping.
//
// A RiffFile lives from riff_open to riff_close and owns its stream. Failures are negative (no record, no buffer),
// with the message on standard error where it happens. One thread uses a file at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

struct ChunkHeader {
    std::uint64_t id;    // four-character code; one that was read is a sign-extended 32-bit value
    std::uint64_t size;  // bytes of the body; one that was read is a sign-extended 32-bit value, so it may be negative
};

struct RiffFile {
    std::FILE* stream;
    ChunkHeader chunk;                 // the outer one. Its size: writing, every byte written so far; reading, as read
    std::uint64_t form_type;           // reading: a four-character code; writing: that code with its bytes reversed
    std::uint64_t data_count;          // writing: bytes in the "data" chunk so far; reading: size of the present one
    std::uint64_t data_left;           // reading: bytes of the present "data" chunk not yet handed out
    std::int64_t size_patch_position;  // file offset of the outer size; 0 (nothing to patch) in reading
    std::int64_t data_patch_position;  // file offset of the newest "data" header's size; 0 while it is not known
};

// On a 64-bit processor.
static_assert(sizeof(void*) != 8 || sizeof(RiffFile) == 8 * sizeof(std::uint64_t));
static_assert(sizeof(void*) != 8 || (offsetof(RiffFile, chunk) == 8 && offsetof(RiffFile, form_type) == 24));
static_assert(sizeof(void*) != 8 || (offsetof(RiffFile, data_count) == 32 && offsetof(RiffFile, data_left) == 40));
static_assert(sizeof(void*) != 8 ||
              (offsetof(RiffFile, size_patch_position) == 48 && offsetof(RiffFile, data_patch_position) == 56));

// Opens `path`; a form type other than 0 (fourcc("WAVE")) opens for writing, 0 for reading.
//
// Writing takes a file that exists already and neither creates nor truncates it: the caller has made it empty. The
// outer header and the form type are then in the stream, 12 bytes.
// Reading takes the outer header, "RIFF" or "RIFX", and the form type. The outer size of "RIFX" is read most
// significant byte first; all sizes behind it are read as in "RIFF" nevertheless.
//
// Returns the record, to be given to riff_close; null after a message: "Out of memory for RIFF file !\n",
// "Unable to create file '%s' !\n" or "Unable to open file '%s' !\n", "Invalid RIFF file.\n" (reading, an outer
// identifier that is neither, or an empty file), or that of the read or write that failed.
RiffFile* riff_open(const char* path, std::uint32_t form_type);

// Puts the two sizes in their place (writing), closes the stream and frees the record in every case. The seeks and
// the writes of the sizes are not looked at. The outer size is the length of the whole file.
// Returns what fclose returned.
int riff_close(RiffFile* file);

// Writes the low 32 bits of `value`, least significant byte first.
// Returns 0; -1 after "RIFF: unable to write integer !\n".
int riff_write_int(RiffFile* file, std::uint64_t value);

// Writes a chunk's identifier and its size. `header` may be the file's own `chunk`: the size is fetched when the
// identifier has been written and counted.
// Returns 0; -1 after "RIFF: unable to write chunk ID !\n" or riff_write_int's message.
int riff_write_chunk(RiffFile* file, const ChunkHeader* header);

// Appends `count` bytes to the "data" chunk and flushes the stream, also when fewer or none were written; a count of
// 0 or less writes none. Before them goes a "data" header when no data byte was ever written, at each such call.
// Returns the bytes written, without a message when they are fewer; negative, after its message and without flushing,
// when the header could not be written.
int riff_write_data(RiffFile* file, const std::uint8_t* bytes, int count);
