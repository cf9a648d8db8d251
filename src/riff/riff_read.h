// SPDX-License-Identifier: MIT
// RIFF chunk files: walking the chunks and reading what is in them. The program only writes and calls none of this.
//
// A file comes from riff_open with form type 0. Failures are negative (no buffer), with the message on standard error
// where it happens.
#pragma once

#include <cstdint>
#include <span>

#include "riff/riff_file.h"

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

// As riff_find_format, but never beyond `buffer`: what is left of a larger body is skipped.
// Returns the body's stated size, at most 2^31 - 1, so that a caller sees what was cut off; -1 as riff_find_format.
int riff_find_format_bounded(RiffFile* file, std::span<std::uint8_t> buffer);

// Reads exactly `size` bytes into a new buffer, which the caller frees. Memory is taken as the bytes arrive, never
// more than 64 KiB or twice what the file could deliver.
// Returns the buffer, also for size 0; null after "Out of memory for chunk data buffer !\n" (also for a size that no
// chunk has: negative, or above 2^31 - 1) or "RIFF: unable to read data !\n" when the file holds less.
std::uint8_t* riff_read_chunk_data(RiffFile* file, std::int64_t size);

// Prints the outer header to standard output: "RIFF (LSB) len 2044 fmt WAVE\n"; any identifier but "RIFF" says "MSB".
// Kept: for a file that is being written the form type comes out reversed, "EVAW".
void riff_dump_header(const RiffFile* file);
