// SPDX-License-Identifier: MIT
#include "riff/wave_format.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cstdio>

#include "codec/codec_table.h"
#include "riff/fourcc.h"

static_assert(std::endian::native == std::endian::little, "the record is written as it lies in memory");

namespace {

constexpr std::size_t linear_pcm_body_bytes = 16;  // ends before extra_bytes
constexpr std::size_t dump_columns = 16;

// Linear PCM is served by the first row alone; the search begins behind it. Null when no row has the tag.
const char* known_format_name(int tag) {
    if (codec_table[0].name == nullptr) return nullptr;
    if (tag == linear_pcm_tag) return codec_table[0].name;
    for (const CodecEntry* row = codec_table + 1; row->name != nullptr; row++) {
        if (static_cast<std::int16_t>(row->tag) == tag) return row->name;
    }
    return nullptr;
}

// Kept: punctuation is "." too, narrower than what could be printed.
char text_column(std::uint8_t byte) {
    if (byte == ' ' || std::isalnum(byte) != 0) return static_cast<char>(byte);
    return '.';
}

// One line of the dump: `count` bytes of it, at most sixteen, then blanks.
void dump_line(const std::uint8_t* bytes, std::size_t offset, std::size_t count) {
    char text[dump_columns + 1] = {};
    std::printf(" %06zX ", offset);
    for (std::size_t i = 0; i < dump_columns; i++) {
        text[i] = i < count ? text_column(bytes[i]) : ' ';
        if (i < count) {
            std::printf(" %02X", unsigned{bytes[i]});
        } else {
            std::printf("   ");
        }
    }
    std::printf("  | %s |\n", text);
}

}  // namespace

std::size_t wave_format_bytes(const WaveFormat& format) {
    if (format.format_tag == linear_pcm_tag) return linear_pcm_body_bytes;
    return sizeof(WaveFormat) + format.extra_bytes;
}

void wave_format_complete(WaveFormat* format) {
    format->block_align = static_cast<std::uint16_t>((std::uint32_t{format->channels} * format->bits_per_sample) >> 3);
    format->byte_rate = format->block_align * format->sample_rate;
}

int riff_write_format(RiffFile* file, WaveFormat* format) {
    const std::size_t length = wave_format_bytes(*format);
    const ChunkHeader header = {fourcc("fmt "), length};
    if (riff_write_chunk(file, &header) < 0) return -1;

    wave_format_complete(format);
    if (std::fwrite(format, 1, length, file->stream) < length) return -1;
    file->chunk.size += length;
    return 0;
}

const char* wave_format_name(int tag) {
    static char unknown[sizeof "<FFFFFFFF>"];
    const char* name = known_format_name(tag);
    if (name != nullptr) return name;
    std::snprintf(unknown, sizeof unknown, "<%.4X>", static_cast<unsigned>(tag));
    return unknown;
}

void wave_dump_format(const WaveFormat* format, std::uint32_t chunk_length, int full) {
    std::printf("AUDIO information:\n\n");
    std::printf(" format: %04X (%s)\n", unsigned{format->format_tag}, wave_format_name(format->format_tag));
    std::printf(" channels: %d\n", int{format->channels});
    std::printf(" sample rate: %lu Hz\n", static_cast<unsigned long>(format->sample_rate));
    std::printf(" bits per sample: %d\n", int{format->bits_per_sample});
    if (full != 0) {
        std::printf(" blocksize: %d bytes\n", int{format->block_align});
        std::printf(" extra info: %d bytes\n", int{format->extra_bytes});
        if (format->extra_bytes != 0) {
            hex_dump(reinterpret_cast<const std::uint8_t*>(format) + sizeof(WaveFormat),
                     static_cast<int>(chunk_length - std::uint32_t{sizeof(WaveFormat)}));
        }
    }
    std::printf("\n");
}

void hex_dump(const std::uint8_t* bytes, int count) {
    if (count <= 0) return;
    const auto end = static_cast<std::size_t>(count);
    for (std::size_t offset = 0; offset < end; offset += dump_columns) {
        dump_line(bytes + offset, offset, std::min(end - offset, dump_columns));
    }
}
