// SPDX-License-Identifier: MIT
#include "riff/riff_file.h"

#include <bit>
#include <cstdlib>

#include "riff/fourcc.h"
#include "riff/riff_read.h"

namespace {

constexpr std::size_t int_bytes = 4;  // an identifier or a size in the file

int write_outer_header(RiffFile* file, std::uint32_t form_type) {
    file->size_patch_position = int_bytes;
    file->chunk = {fourcc("RIFF"), 0};
    // Kept: the header passed is file->chunk, whose size counts the bytes written. riff_write_chunk counts the 4 bytes
    // of the identifier before it writes that size, so the outer size reads 4, not 0, until the file is closed.
    if (riff_write_chunk(file, &file->chunk) < 0) return -1;

    file->form_type = fourcc_reversed(form_type);
    return riff_write_int(file, file->form_type);
}

int read_outer_header(RiffFile* file) {
    if (riff_read_chunk(file, &file->chunk) < 0) return -1;

    if (file->chunk.id == fourcc("RIFX")) {
        const auto size = static_cast<std::int32_t>(fourcc_reversed(static_cast<std::uint32_t>(file->chunk.size)));
        file->chunk.size = static_cast<std::uint64_t>(std::int64_t{size});
    } else if (file->chunk.id != fourcc("RIFF")) {
        std::fprintf(stderr, "Invalid RIFF file.\n");
        return -1;
    }

    std::uint64_t form_type = 0;
    if (riff_read_int(file, &form_type) < 0) return -1;
    file->form_type = fourcc_reversed(static_cast<std::uint32_t>(form_type));
    return 0;
}

// Kept: whether the seek and the write succeed is not checked.
void patch_size(RiffFile* file, std::int64_t position, std::uint64_t size) {
    static_assert(std::endian::native == std::endian::little, "the size is written as it lies in memory");
    if (position == 0) return;
    std::fseek(file->stream, static_cast<long>(position), SEEK_SET);
    std::fwrite(&size, 1, int_bytes, file->stream);
}

// Kept: what counts is whether data bytes were written, not whether a header was. So each call that writes no byte
// leaves a header of size 0 behind, and only the newest is patched.
int write_data_header_if_empty(RiffFile* file) {
    if (file->data_count != 0) return 0;
    // Kept: where ftell fails (-1), the position to patch becomes 3. In such a file the seek fails as well, so
    // riff_close appends this size, as it appends the outer size, behind the last byte.
    file->data_patch_position = std::ftell(file->stream) + std::int64_t{int_bytes};
    const ChunkHeader header = {fourcc("data"), 0};
    return riff_write_chunk(file, &header);
}

}  // namespace

RiffFile* riff_open(const char* path, std::uint32_t form_type) {
    auto* file = static_cast<RiffFile*>(std::calloc(1, sizeof(RiffFile)));
    if (file == nullptr) {
        std::fprintf(stderr, "Out of memory for RIFF file !\n");
        return nullptr;
    }

    const bool writing = form_type != 0;
    file->stream = std::fopen(path, writing ? "rb+" : "rb");
    if (file->stream == nullptr) {
        std::fprintf(stderr, "Unable to %s file '%s' !\n", writing ? "create" : "open", path);
        std::free(file);
        return nullptr;
    }

    const int status = writing ? write_outer_header(file, form_type) : read_outer_header(file);
    if (status < 0) {
        std::fclose(file->stream);
        std::free(file);
        return nullptr;
    }
    return file;
}

int riff_close(RiffFile* file) {
    // Kept: the outer size counts the whole file, the eight bytes of its own header included.
    patch_size(file, file->size_patch_position, file->chunk.size);
    patch_size(file, file->data_patch_position, file->data_count);
    const int result = std::fclose(file->stream);
    std::free(file);
    return result;
}

int riff_write_int(RiffFile* file, std::uint64_t value) {
    std::uint8_t bytes[int_bytes];
    for (std::size_t i = 0; i < int_bytes; i++) bytes[i] = static_cast<std::uint8_t>(value >> (8 * i));
    if (std::fwrite(bytes, 1, int_bytes, file->stream) < int_bytes) {
        std::fprintf(stderr, "RIFF: unable to write integer !\n");
        return -1;
    }
    file->chunk.size += int_bytes;
    return 0;
}

int riff_write_chunk(RiffFile* file, const ChunkHeader* header) {
    std::uint8_t id[int_bytes];
    for (std::size_t i = 0; i < int_bytes; i++) id[i] = static_cast<std::uint8_t>(header->id >> (24 - 8 * i));
    if (std::fwrite(id, 1, int_bytes, file->stream) < int_bytes) {
        std::fprintf(stderr, "RIFF: unable to write chunk ID !\n");
        return -1;
    }
    file->chunk.size += int_bytes;
    return riff_write_int(file, header->size);
}

int riff_write_data(RiffFile* file, const std::uint8_t* bytes, int count) {
    const int status = write_data_header_if_empty(file);
    if (status < 0) return status;

    int written = 0;
    if (count > 0) {
        written = static_cast<int>(std::fwrite(bytes, 1, static_cast<std::size_t>(count), file->stream));
        file->data_count += static_cast<std::uint64_t>(written);
        file->chunk.size += static_cast<std::uint64_t>(written);
    }
    std::fflush(file->stream);
    return written;
}
