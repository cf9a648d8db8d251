// SPDX-License-Identifier: MIT
// RIFF chunk files over stdio: the write side that the program uses and the read side beside it.
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

static_assert(sizeof(RiffFile) == 8 * sizeof(std::uint64_t));
static_assert(offsetof(RiffFile, chunk) == 8 && offsetof(RiffFile, form_type) == 24);
static_assert(offsetof(RiffFile, data_count) == 32 && offsetof(RiffFile, data_left) == 40);
static_assert(offsetof(RiffFile, size_patch_position) == 48 && offsetof(RiffFile, data_patch_position) == 56);

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

// --- writing

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

// --- reading

// Reads four bytes, least significant first, as a signed 32-bit value that is sign-extended into `*value`.
// Returns 0; -1 after "RIFF: unable to read integer !\n", with `*value` as it was.
int riff_read_int(RiffFile* file, std::uint64_t* value);

// Reads an identifier and a size into `*header`.
// Returns 1; 0 with the header untouched when not one byte could be read (the clean end of the file); -1 after
// "RIFF: unable to read chunk ID !\n" (1 to 3 bytes), header untouched, or riff_read_int's message, size untouched.
int riff_read_chunk(RiffFile* file, ChunkHeader* header);

// Skips `count` bytes; a count of 0 or less skips none.
// Returns 0; -1, without a message, when the end of the file or an error comes first.
int riff_skip(RiffFile* file, std::int64_t count);

// Reads the next bytes of the file's "data" chunks, all of them as one stream, into `buffer` of `capacity` bytes; one
// call stays within one chunk. A capacity of 0 or less reads no bytes. Other chunks are skipped by their sizes.
// A "data" size of 0x80000000 or more counts as more than any file has: its bytes are handed out up to the end.
// Returns the bytes read; 0 at the end of the file; negative, after riff_read_chunk's message, at a cut header.
// A "data" chunk of size 0 gives 1, with nothing read and the buffer untouched.
int riff_read_data(RiffFile* file, std::uint8_t* buffer, int capacity);

// Reads the body of the next "fmt " chunk, skipping the chunks before it, into `buffer`: a WaveFormat and its extra
// bytes (riff/wave_format.h). The body is read in its stated size. The caller owes room for that, or, when it is not
// known beforehand, for as many bytes as the file has: a body never reaches beyond the end.
// Returns 0; -1, without a message when the file ends without such a chunk, after riff_read_chunk's when a header is
// cut off, and after "RIFF: unable to read chunk data !\n" when the file holds less than the stated size, of which
// the buffer then has the beginning, or this is negative, the buffer untouched.
int riff_find_format(RiffFile* file, std::uint8_t* buffer);

// Reads exactly `size` bytes into a new buffer, which the caller frees. Memory is taken as the bytes arrive, never
// more than 64 KiB or twice what the file could deliver.
// Returns the buffer, also for size 0; null after "Out of memory for chunk data buffer !\n" (also for a size that no
// chunk has: negative, or above 2^31 - 1) or "RIFF: unable to read data !\n" when the file holds less.
std::uint8_t* riff_read_chunk_data(RiffFile* file, std::int64_t size);

// Prints the outer header to standard output: "RIFF (LSB) len 2044 fmt WAVE\n"; any identifier but "RIFF" says "MSB".
// Kept: for a file that is being written the form type comes out reversed, "EVAW".
void riff_dump_header(const RiffFile* file);
