// SPDX-License-Identifier: MIT
// Arbitrary files through the read side of RIFF and the dumps. The first byte is the capacity of the data reads and the
// chunk length of the dump, the rest is the file. Every walk ends, nothing is written beyond the room that the
// declarations ask for, and the data are those of a plain walk over the bytes.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

#include "memory_file.h"
#include "riff/fourcc.h"
#include "riff/riff_read.h"
#include "riff/wave_format.h"

namespace {

using Content = std::span<const std::uint8_t>;

constexpr std::size_t outer_header_bytes = 12;
constexpr std::size_t chunk_header_bytes = 8;

void check(bool holds) {
    if (!holds) std::abort();
}

RiffFile* opened(Content content) {
    set_memory_file(content);
    return riff_open(memory_file_name, 0);
}

// The bytes of all "data" chunks one after the other, as far as the file holds them.
std::vector<std::uint8_t> data_of(Content content) {
    std::vector<std::uint8_t> data;
    std::size_t at = outer_header_bytes;
    while (content.size() - at >= chunk_header_bytes) {
        std::int32_t stated = 0;  // least significant byte first, as this machine has it
        std::memcpy(&stated, &content[at + 4], sizeof stated);
        const bool is_data = std::memcmp(&content[at], "data", 4) == 0;
        at += chunk_header_bytes;
        if (stated < 0 && !is_data) continue;
        const std::size_t body = std::min(static_cast<std::size_t>(stated), content.size() - at);
        if (is_data)
            data.insert(data.end(), content.begin() + static_cast<std::ptrdiff_t>(at),
                        content.begin() + static_cast<std::ptrdiff_t>(at + body));
        at += body;
    }
    return data;
}

void read_data(Content content, int capacity) {
    RiffFile* file = opened(content);
    // Of exactly that size, so that the sanitizer sees the byte behind it.
    std::vector<std::uint8_t> buffer(static_cast<std::size_t>(capacity));
    std::vector<std::uint8_t> data;
    for (;;) {
        const int count = riff_read_data(file, buffer.data(), capacity);
        if (count <= 0) break;
        if (file->data_count == 0) continue;  // an empty chunk gives 1
        check(count <= capacity);
        data.insert(data.end(), buffer.begin(), buffer.begin() + count);
    }
    if (capacity > 0) check(data == data_of(content));
    riff_close(file);
}

void find_and_dump_format(Content content, std::uint32_t chunk_length) {
    RiffFile* file = opened(content);
    riff_dump_header(file);
    // As many bytes as the file has is room enough for any body.
    std::vector<std::uint8_t> body(content.size());
    const int status = riff_find_format(file, body.data());
    check(status == 0 || status == -1);
    if (status == 0 && body.size() >= sizeof(WaveFormat)) {
        const auto* format = reinterpret_cast<const WaveFormat*>(body.data());
        wave_dump_format(format, std::min(chunk_length, static_cast<std::uint32_t>(body.size())), 1);
        wave_dump_format(format, 0, 0);
    }
    riff_close(file);
}

void walk_chunks(Content content) {
    RiffFile* file = opened(content);
    ChunkHeader header = {};
    while (riff_read_chunk(file, &header) > 0) {
        fourcc_text(static_cast<std::uint32_t>(header.id));
        wave_format_name(static_cast<int>(header.id));
        if (header.id & 1) {
            std::free(riff_read_chunk_data(file, static_cast<std::int64_t>(header.size)));
        } else {
            riff_skip(file, static_cast<std::int64_t>(header.size));
        }
    }
    riff_close(file);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The dumps go to standard output, the messages to the stream of that name; the fuzzer has kept the real one.
    stderr = std::fopen("/dev/null", "w");
    return stderr == nullptr || dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO) < 0 ? -1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const Content content(data + 1, size - 1);
    hex_dump(content.data(), static_cast<int>(std::min<std::size_t>(content.size(), data[0])));

    RiffFile* file = opened(content);
    if (file == nullptr) return 0;
    riff_close(file);
    read_data(content, data[0]);
    find_and_dump_format(content, data[0]);
    walk_chunks(content);
    return 0;
}
