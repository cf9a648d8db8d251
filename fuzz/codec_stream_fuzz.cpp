// SPDX-License-Identifier: MIT
// A codec stream beside a model that takes one byte at a time: the same blocks at the same byte, the same bytes out.
//
// The input says what happens:
//   byte 0     the codec, modulo 5
//   byte 1     bit 0: encode; bit 1: block headers
//   byte 2, 3  block size, low byte first
//   encoding   up to 48 steps of three bytes: high, low, seed. 16 x high + low - 16 bytes made from the seed are
//              written, until the codec has coded enough for one input: a few of its blocks.
//   decoding   half of what is left, up to 64 bytes, is steps of two bytes: high, low. 16 x high + low - 16 bytes are
//              read, 2 ^ (high modulo 13) at most in one call of the callback; its top bit has the end be an error. The
//              rest of the input is what the callback gives.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "codec/codec_stream.h"
#include "support/stream_release.h"

namespace {

constexpr std::uint32_t tags[] = {0x0001, 0x0006, 0x0007, 0x0011, 0x0031};
constexpr std::uint32_t gsm_tag = 0x0031;
constexpr int most_writes = 48;
// Bounds of one input, so that it takes well under a millisecond: three blocks, fewer of large ones.
constexpr int most_blocks = 3;
constexpr int most_bytes_in = 4096;
constexpr int most_bytes_pulled = 2048;
constexpr std::ptrdiff_t most_read_bytes = 64;  // of the input: the steps of reading
constexpr std::uint8_t flag_encode = 1;
constexpr std::uint8_t flag_headers = 2;

using Bytes = std::vector<std::uint8_t>;

struct Input {
    const std::uint8_t* at;
    const std::uint8_t* end;

    std::uint8_t next() { return at < end ? *at++ : std::uint8_t{0}; }
    bool empty() const { return at >= end; }
};

void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "codec_stream_fuzz: %s\n", what);
    std::abort();
}

// Both ends of the callback: takes blocks, and gives pieces of at most `piece` bytes.
struct Outside {
    std::vector<Bytes> taken;
    Bytes source;
    std::size_t given = 0;
    std::size_t piece = 1;
    bool fails = false;

    static int take(void* context, std::uint8_t* buffer, int count) {
        static_cast<Outside*>(context)->taken.emplace_back(buffer, buffer + count);
        return count;
    }
    static int give(void* context, std::uint8_t* buffer, int count) {
        auto* outside = static_cast<Outside*>(context);
        const std::size_t left = outside->source.size() - outside->given;
        const std::size_t size = std::min({left, outside->piece, static_cast<std::size_t>(count)});
        if (left == 0 && outside->fails) return -1;
        std::copy_n(outside->source.data() + outside->given, size, buffer);
        outside->given += size;
        return static_cast<int>(size);
    }
};

StreamPtr create(std::uint32_t tag, std::uint8_t flags, std::int16_t block_bytes, Outside& outside) {
    const bool encoding = (flags & flag_encode) != 0;
    const PcmFormat format = {1, 16, 8000};
    StreamPtr stream(codec_stream_create(tag, encoding ? codec_mode_encode : 0, &format, block_bytes));
    if (stream == nullptr) return stream;
    if ((flags & flag_headers) != 0) stream->flags |= codec_flag_block_headers;
    stream->io = encoding ? Outside::take : Outside::give;
    stream->io_context = &outside;
    return stream;
}

// The model: what a stream does with one byte written.
void model_write_byte(CodecStream& stream, std::uint8_t byte) {
    if (stream.space_left <= 0) {
        if (stream.write_cursor != nullptr) {
            std::uint8_t* output = stream.ibuff;
            stream.output_count = stream.ibuff_bytes;
            if (stream.encode != nullptr) {
                output = stream.obuff;
                stream.output_count = static_cast<std::int16_t>(
                    stream.encode(stream, stream.ibuff, stream.obuff, static_cast<std::uint32_t>(stream.ibuff_bytes)));
            }
            stream.io(stream.io_context, output, stream.output_count);
        }
        stream.space_left = stream.ibuff_bytes;
        stream.write_cursor = stream.ibuff;
    }
    *stream.write_cursor++ = byte;
    --stream.space_left;
}

// The model: one byte read; 0 at the end, -1 on an error.
int model_read_byte(CodecStream& stream, std::uint8_t& byte) {
    while (stream.bytes_left <= 0) {
        stream.last_read = static_cast<std::int16_t>(stream.io(stream.io_context, stream.ibuff, stream.ibuff_bytes));
        if (stream.last_read < 0) return -1;
        stream.read_cursor = stream.ibuff;
        if (stream.last_read == 0) return 0;
        stream.bytes_left = stream.last_read;
        if (stream.decode == nullptr) continue;
        stream.bytes_left = static_cast<std::int16_t>(
            stream.decode(stream, stream.ibuff, stream.obuff, static_cast<std::uint32_t>(stream.last_read)));
        stream.read_cursor = stream.obuff;
    }
    byte = *stream.read_cursor++;
    --stream.bytes_left;
    return 1;
}

void require_same_record(const CodecStream& ours, const CodecStream& model) {
    require(ours.space_left == model.space_left, "space left");
    require(ours.bytes_left == model.bytes_left, "bytes left");
    require(ours.last_read == model.last_read, "last read");
    require(ours.output_count == model.output_count, "output count");
    require((ours.write_cursor == nullptr) == (model.write_cursor == nullptr), "write cursor");
    require(std::equal(ours.ibuff, ours.ibuff + ours.ibuff_bytes, model.ibuff), "IBUFF");
}

// What a codec hands on is as long as its format says, and zero behind the codes.
void require_format(const CodecStream& stream, std::uint32_t tag, const Bytes& block) {
    std::size_t coded = block.size();
    if (tag == 0x0011) coded = block.size() / 2;
    if (tag == gsm_tag) coded = 33;
    require(block.size() == static_cast<std::size_t>(stream.output_count), "block size");
    require(std::all_of(block.begin() + static_cast<std::ptrdiff_t>(coded), block.end(),
                        [](std::uint8_t byte) { return byte == 0; }),
            "zeroes behind the codes");
}

// Now and then 0 or less.
int step_count(Input& input) {
    const int high = input.next();
    return high * 16 + input.next() - 16;
}

// Loud for most seeds, silent for 0.
Bytes made_of(std::uint8_t seed, int count) {
    Bytes data(static_cast<std::size_t>(std::max(count, 0)));
    std::uint32_t state = seed;
    for (std::uint8_t& byte : data) {
        byte = static_cast<std::uint8_t>(state >> 24);
        state = seed == 0 ? 0 : state * 1664525u + 1013904223u;
    }
    return data;
}

void fuzz_writes(Input input, std::uint32_t tag, CodecStream& ours, Outside& our_side, CodecStream& model,
                 Outside& model_side) {
    std::size_t checked = 0;
    int room = std::max<int>(std::min(most_blocks * ours.ibuff_bytes, most_bytes_in), ours.ibuff_bytes) + 1;
    for (int step = 0; step < most_writes && !input.empty(); ++step) {
        const int count = std::min(step_count(input), room);
        room -= std::max(count, 0);
        const Bytes data = made_of(input.next(), count);
        codec_stream_write(&ours, data.data(), count);
        for (const std::uint8_t byte : data) model_write_byte(model, byte);
        require_same_record(ours, model);
        require(our_side.taken.size() == model_side.taken.size(), "number of blocks handed on");
        for (; checked < our_side.taken.size(); ++checked) {
            require(our_side.taken[checked] == model_side.taken[checked], "block handed on");
            require_format(ours, tag, our_side.taken[checked]);
        }
    }
}

void fuzz_reads(Input input, CodecStream& ours, Outside& our_side, CodecStream& model, Outside& model_side) {
    const std::ptrdiff_t read_bytes = std::min(most_read_bytes, (input.end - input.at) / 2);
    const std::ptrdiff_t source_bytes = std::min<std::ptrdiff_t>(
        input.end - input.at - read_bytes, std::min(most_blocks * ours.ibuff_bytes, most_bytes_pulled));
    our_side.source = model_side.source = Bytes(input.at + read_bytes, input.at + read_bytes + source_bytes);
    input.end = input.at + read_bytes;
    while (!input.empty()) {
        const std::uint8_t high = *input.at;
        const int count = step_count(input);
        our_side.piece = model_side.piece = static_cast<std::size_t>(1) << (high % 13);
        our_side.fails = model_side.fails = (high & 0x80) != 0;

        Bytes delivered(static_cast<std::size_t>(std::max(count, 0)));
        const int result = codec_stream_read(&ours, delivered.data(), count);
        int expected_result = 0;
        Bytes expected;
        for (int i = 0; i < count; ++i) {
            std::uint8_t byte = 0;
            const int status = model_read_byte(model, byte);
            if (status < 0) expected_result = -1;
            if (status <= 0) break;
            expected.push_back(byte);
            ++expected_result;
        }
        require(result == expected_result, "bytes read");
        require(std::equal(expected.begin(), expected.end(), delivered.begin()), "what was read");
        require(our_side.given == model_side.given, "bytes pulled");
        require_same_record(ours, model);
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    // Every stream announces itself.
    return std::freopen("/dev/null", "w", stdout) != nullptr ? 0 : -1;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input = {data, data + size};
    const std::uint32_t tag = tags[input.next() % std::size(tags)];
    const std::uint8_t flags = input.next();
    const int low = input.next();
    const auto block_bytes = static_cast<std::int16_t>(low | input.next() << 8);

    Outside our_side;
    Outside model_side;
    const StreamPtr ours = create(tag, flags, block_bytes, our_side);
    const StreamPtr model = create(tag, flags, block_bytes, model_side);
    if (ours == nullptr) {
        require(tag == 0x0011 && block_bytes > 8191, "only a block that is too large is refused");
        return 0;
    }
    if ((flags & flag_encode) != 0) {
        fuzz_writes(input, tag, *ours, our_side, *model, model_side);
    } else {
        fuzz_reads(input, *ours, our_side, *model, model_side);
    }
    return 0;
}
