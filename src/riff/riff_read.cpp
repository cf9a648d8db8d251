// SPDX-License-Identifier: MIT
#include "riff/riff_read.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "riff/fourcc.h"

namespace {

constexpr std::size_t int_bytes = 4;                 // an identifier or a size in the file
constexpr std::size_t first_buffer_bytes = 1 << 16;  // what a chunk's buffer begins with
constexpr std::int64_t largest_chunk_bytes = std::numeric_limits<std::int32_t>::max();

// Identifiers and sizes are signed 32-bit values in the file and 64-bit values in memory.
std::uint64_t sign_extended(std::uint32_t value) {
    return static_cast<std::uint64_t>(std::int64_t{static_cast<std::int32_t>(value)});
}

int skip_body(RiffFile* file, const ChunkHeader& header) {
    return riff_skip(file, static_cast<std::int64_t>(header.size));
}

// Walks to the next chunk of that name. Returns riff_read_chunk's last result; after 1 the chunk's body comes next.
// Kept: the result of a skip is ignored. A chunk that is cut off leaves the file at its end, and reading the next
// header reports that.
int find_chunk(RiffFile* file, std::uint32_t id, ChunkHeader* header) {
    for (;;) {
        const int status = riff_read_chunk(file, header);
        if (status <= 0 || header->id == id) return status;
        skip_body(file, *header);
    }
}

// Reads into the whole of `buffer[filled..room)`.
bool fill(RiffFile* file, std::uint8_t* buffer, std::size_t filled, std::size_t room) {
    return std::fread(buffer + filled, 1, room - filled, file->stream) == room - filled;
}

// The buffer with room for `room` bytes; null, and the old one freed, when there is no memory.
std::uint8_t* grown(std::uint8_t* buffer, std::size_t room) {
    auto* larger = static_cast<std::uint8_t*>(std::realloc(buffer, room));
    if (larger == nullptr) std::free(buffer);
    return larger;
}

constexpr std::int64_t no_format_chunk = std::numeric_limits<std::int64_t>::min();  // no size that a file can state

// Walks to the body of the next "fmt " chunk; its stated size, which may be negative. A clean end of the file ends the
// walk as a cut header does, or it would look for the chunk for ever.
std::int64_t find_format_body(RiffFile* file) {
    ChunkHeader header = {};
    if (find_chunk(file, fourcc("fmt "), &header) <= 0) return no_format_chunk;
    return static_cast<std::int64_t>(header.size);
}

int cut_format() {
    std::fprintf(stderr, "RIFF: unable to read chunk data !\n");
    return -1;
}

std::uint8_t* no_chunk_memory() {
    std::fprintf(stderr, "Out of memory for chunk data buffer !\n");
    return nullptr;
}

std::uint8_t* short_chunk_data(std::uint8_t* buffer) {
    std::fprintf(stderr, "RIFF: unable to read data !\n");
    std::free(buffer);
    return nullptr;
}

}  // namespace

int riff_read_int(RiffFile* file, std::uint64_t* value) {
    std::uint8_t bytes[int_bytes];
    if (std::fread(bytes, 1, int_bytes, file->stream) < int_bytes) {
        std::fprintf(stderr, "RIFF: unable to read integer !\n");
        return -1;
    }
    std::uint32_t result = 0;
    for (std::size_t i = 0; i < int_bytes; i++) result |= std::uint32_t{bytes[i]} << (8 * i);
    *value = sign_extended(result);
    return 0;
}

int riff_read_chunk(RiffFile* file, ChunkHeader* header) {
    std::uint8_t bytes[int_bytes];
    const std::size_t count = std::fread(bytes, 1, int_bytes, file->stream);
    if (count == 0) return 0;
    if (count < int_bytes) {
        std::fprintf(stderr, "RIFF: unable to read chunk ID !\n");
        return -1;
    }
    std::uint32_t id = 0;
    for (const std::uint8_t byte : bytes) id = id << 8 | byte;
    header->id = sign_extended(id);
    return riff_read_int(file, &header->size) < 0 ? -1 : 1;
}

int riff_skip(RiffFile* file, std::int64_t count) {
    while (count > 0) {
        std::fgetc(file->stream);
        if (std::feof(file->stream) != 0) return -1;
        count--;
        if (std::ferror(file->stream) != 0) return -1;
    }
    return 0;
}

int riff_read_data(RiffFile* file, std::uint8_t* buffer, int capacity) {
    if (file->data_left == 0) {
        ChunkHeader header = {};
        const int status = find_chunk(file, fourcc("data"), &header);
        if (status <= 0) return status;
        file->data_count = header.size;
        file->data_left = header.size;
        // Kept: an empty "data" chunk gives 1 although nothing was read, so that it is not taken for the end.
        if (header.size == 0) return 1;
    }
    const std::uint64_t room = capacity > 0 ? static_cast<std::uint64_t>(capacity) : 0;
    const auto wanted = static_cast<std::size_t>(std::min(room, file->data_left));
    const std::size_t count = std::fread(buffer, 1, wanted, file->stream);
    file->data_left -= count;
    return static_cast<int>(count);
}

int riff_find_format(RiffFile* file, std::uint8_t* buffer) {
    const std::int64_t size = find_format_body(file);
    if (size == no_format_chunk) return -1;
    if (size < 0 || !fill(file, buffer, 0, static_cast<std::size_t>(size))) return cut_format();
    return 0;
}

int riff_find_format_bounded(RiffFile* file, std::span<std::uint8_t> buffer) {
    const std::int64_t size = find_format_body(file);
    if (size == no_format_chunk) return -1;
    const auto taken = std::min(size, static_cast<std::int64_t>(buffer.size()));
    if (size < 0 || !fill(file, buffer.data(), 0, static_cast<std::size_t>(taken))) return cut_format();
    if (riff_skip(file, size - taken) < 0) return cut_format();
    return static_cast<int>(size);
}

std::uint8_t* riff_read_chunk_data(RiffFile* file, std::int64_t size) {
    if (size < 0 || size > largest_chunk_bytes) return no_chunk_memory();

    const auto wanted = static_cast<std::size_t>(size);
    std::size_t filled = 0;
    std::size_t room = std::min(wanted, first_buffer_bytes);
    auto* buffer = static_cast<std::uint8_t*>(std::malloc(std::max<std::size_t>(room, 1)));
    while (buffer != nullptr) {
        if (!fill(file, buffer, filled, room)) return short_chunk_data(buffer);
        if (room == wanted) return buffer;
        filled = room;
        room = std::min(wanted, 2 * room);
        buffer = grown(buffer, room);
    }
    return no_chunk_memory();
}

void riff_dump_header(const RiffFile* file) {
    // Two calls of printf: both texts would otherwise be the one static buffer.
    std::printf("%s (%s) len %ld", fourcc_text(static_cast<std::uint32_t>(file->chunk.id)),
                file->chunk.id == fourcc("RIFF") ? "LSB" : "MSB", static_cast<long>(file->chunk.size));
    std::printf(" fmt %s\n", fourcc_text(static_cast<std::uint32_t>(file->form_type)));
}
