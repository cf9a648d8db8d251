// SPDX-License-Identifier: MIT
//
// The coder is stated here in another form: a code is the largest one whose threshold the difference reaches.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "codec/stream_tools.h"
#include "support/reference_coders.h"

namespace {

using Sizes = std::vector<std::int16_t>;

struct PrivateBlock {
    std::int16_t predictor;
    std::int16_t index;
    std::int16_t reserved;
};

PrivateBlock& block_of(const StreamPtr& stream) {
    return *static_cast<PrivateBlock*>(stream->codec_private);
}
ImaState adpcm_state_of(const StreamPtr& stream) {
    return {block_of(stream).predictor, block_of(stream).index};
}

// One call of the stream's operation.
Bytes encoded_by(const StreamPtr& stream, const std::vector<int>& samples) {
    const Bytes pcm = pcm_bytes(samples);
    Bytes codes((samples.size() + 1) / 2);
    EXPECT_EQ(stream->encode(*stream, pcm.data(), codes.data(), static_cast<std::uint32_t>(pcm.size())),
              samples.size());
    return codes;
}

Bytes encoded(const std::vector<int>& samples) {
    return encoded_by(new_stream(ima_adpcm, mode_encode), samples);
}

std::vector<int> decoded_by(const StreamPtr& stream, const Bytes& codes) {
    Bytes pcm(4 * codes.size());
    const std::uint32_t written =
        stream->decode(*stream, codes.data(), pcm.data(), static_cast<std::uint32_t>(codes.size()));
    pcm.resize(written);
    return pcm_samples(pcm);
}

std::vector<int> decoded(const Bytes& codes) {
    return decoded_by(new_stream(ima_adpcm, mode_decode), codes);
}

// Each block begins with a header.
StreamPtr decoder_of_blocks(std::int16_t block_bytes = 0) {
    StreamPtr stream = new_stream(ima_adpcm, mode_decode, block_bytes);
    stream->flags = codec_flag_block_headers;
    return stream;
}

// Louder and louder, never smooth: v(n) = (37 n^2 mod 2000 - 1000) (1 + n / 8).
std::vector<int> rough_signal(int count) {
    std::vector<int> samples;
    for (int n = 0; n < count; ++n)
        samples.push_back(std::clamp((37 * n * n % 2000 - 1000) * (1 + n / 8), -32768, 32767));
    return samples;
}

// A chirp with an envelope, as speech has.
std::vector<int> voice_like(int count) {
    std::vector<int> samples;
    for (int n = 0; n < count; ++n) {
        const double t = n / 8000.0;
        const double envelope = 12000.0 * (1.0 - std::cos(2.0 * M_PI * 4.0 * t)) / 2.0;
        samples.push_back(static_cast<int>(envelope * std::sin(2.0 * M_PI * (150.0 + 900.0 * t) * t)));
    }
    return samples;
}

}  // namespace

TEST(ImaAdpcm, BlockSizeWhosePcmDoesNotFit16BitsIsRefusedInSilence) {
    // 4 x 8191 = 32764 fits, 4 x 8192 = 32768 does not.
    for (const std::int16_t block_bytes : Sizes{8192, 16384, 32767}) {
        for (const int mode : {mode_encode, mode_decode}) {
            Output output;
            EXPECT_EQ(new_stream(ima_adpcm, mode, block_bytes, &output), nullptr);
            EXPECT_EQ(output.out + output.err, "");
        }
    }
}

TEST(ImaAdpcm, PrivateBlockStartsAsSixZeroBytes) {
    const StreamPtr stream = new_stream(ima_adpcm, mode_encode);
    const Bytes block(static_cast<std::uint8_t*>(stream->codec_private),
                      static_cast<std::uint8_t*>(stream->codec_private) + 6);
    EXPECT_EQ(block, Bytes(6));
}

TEST(ImaAdpcm, FirstSampleOfAPairIsInTheHighNibble) {
    // Predictor 0, step 7: +7 gives code 4 (7 >= 7, rest 0); predictor 0 + 7 and step 9, so 7 again gives code 0.
    EXPECT_EQ(encoded({7, 7}), bytes({0x40}));
    // 0 gives code 0 (predictor and step stay), then +7 gives code 4.
    EXPECT_EQ(encoded({0, 7}), bytes({0x04}));
}

TEST(ImaAdpcm, ThreeSamplesAreTwoBytesTheLastWithAZeroLowNibble) {
    // 7: code 4, predictor 7, step 9. 7: code 0, predictor 7 + 9/8 = 8, step 8. -100: far below, code 8 + 7.
    EXPECT_EQ(encoded({7, 7, -100}), bytes({0x40, 0xF0}));
}

TEST(ImaAdpcm, EncodeReturnsSamplesNotBytes) {
    const StreamPtr stream = new_stream(ima_adpcm, mode_encode);
    const Bytes pcm(10);
    Bytes codes(6, 0xEE);
    EXPECT_EQ(stream->encode(*stream, pcm.data(), codes.data(), 10), 5u);
    EXPECT_EQ(codes, bytes({0, 0, 0, 0xEE, 0xEE, 0xEE}));
}

TEST(ImaAdpcm, OddByteCountIsRoundedUpToWholeSamples) {
    // Three bytes are two samples: the second takes its high byte from behind the count.
    const Bytes pcm = pcm_bytes({7, 1000});
    Bytes codes(2, 0xEE);
    const StreamPtr stream = new_stream(ima_adpcm, mode_encode);
    EXPECT_EQ(stream->encode(*stream, pcm.data(), codes.data(), 3), 2u);
    EXPECT_EQ(codes, bytes({0x47, 0xEE}));
}

TEST(ImaAdpcm, NoBytesAreNoSamplesAndTheStateStays) {
    const StreamPtr stream = new_stream(ima_adpcm, mode_encode);
    encoded_by(stream, {5000, -5000, 700});
    const ImaState before = adpcm_state_of(stream);
    std::uint8_t byte = 0xEE;
    EXPECT_EQ(stream->encode(*stream, &byte, &byte, 0), 0u);
    EXPECT_EQ(stream->decode(*stream, &byte, &byte, 0), 0u);
    EXPECT_EQ(byte, 0xEE);
    EXPECT_EQ(adpcm_state_of(stream), before);
}

TEST(ImaAdpcm, SilenceFromAFreshStreamIsZeroNibbles) {
    const StreamPtr stream = new_stream(ima_adpcm, mode_encode);
    EXPECT_EQ(encoded_by(stream, std::vector<int>(2048)), Bytes(1024));
    EXPECT_EQ(adpcm_state_of(stream), (ImaState{0, 0}));
}

TEST(ImaAdpcm, SilenceLetsTheIndexSinkToZero) {
    const StreamPtr stream = new_stream(ima_adpcm, mode_encode);
    encoded_by(stream, {32767, -32768, 32767, -32768});
    ASSERT_EQ(adpcm_state_of(stream).index, 32);  // four times + 8
    encoded_by(stream, std::vector<int>(200));
    EXPECT_EQ(adpcm_state_of(stream).index, 0);
}

TEST(ImaAdpcm, FullScaleDrivesTheIndexTo88AndClampsThePredictor) {
    // 8 rows a sample: 88 after eleven. The twelfth would overshoot: predictor 19547 (-19547) and 1 7/8 steps of 32767.
    std::vector<int> samples;
    for (int i = 0; i < 12; ++i) samples.push_back(i % 2 == 0 ? 32767 : -32768);
    const StreamPtr falling = new_stream(ima_adpcm, mode_encode);
    encoded_by(falling, samples);
    EXPECT_EQ(adpcm_state_of(falling), (ImaState{-32768, 88}));

    for (int& sample : samples) sample = -1 - sample;
    const StreamPtr rising = new_stream(ima_adpcm, mode_encode);
    encoded_by(rising, samples);
    EXPECT_EQ(adpcm_state_of(rising), (ImaState{32767, 88}));
}

TEST(ImaAdpcm, CodesAreThoseOfAnIndependentCoder) {
    // lin2adpcm of Python 3.11's audioop, which packs the first sample of a pair high as well.
    const StreamPtr rough = new_stream(ima_adpcm, mode_encode);
    EXPECT_EQ(encoded_by(rough, rough_signal(64)),
              bytes({0xFF, 0xFF, 0xC7, 0x35, 0xF0, 0x5E, 0x2B, 0x3B, 0x6B, 0x59, 0x99, 0x58, 0x89, 0x80, 0x80, 0x11,
                     0x4F, 0x82, 0x2E, 0x2B, 0x2C, 0x4A, 0x3A, 0xA6, 0x98, 0x99, 0x87, 0x00, 0xD0, 0x00, 0x11, 0xD1}));
    EXPECT_EQ(adpcm_state_of(rough), (ImaState{-1515, 78}));

    std::vector<int> square(12, 32767);
    square.insert(square.end(), 12, -32768);
    const StreamPtr step = new_stream(ima_adpcm, mode_encode);
    EXPECT_EQ(encoded_by(step, square),
              bytes({0x77, 0x77, 0x77, 0x77, 0x77, 0x20, 0xFE, 0x08, 0x80, 0x88, 0x08, 0x80}));
    EXPECT_EQ(adpcm_state_of(step), (ImaState{-31031, 78}));
}

TEST(ImaAdpcm, EveryDifferenceAtEveryStepIsCodedByItsThreshold) {
    const StreamPtr stream = new_stream(ima_adpcm, mode_encode);
    long tried = 0;
    for (int index = 0; index <= 88; ++index) {
        for (int difference = -65535; difference <= 65535; ++difference) {
            const int sample = difference >> 1;
            const int predictor = sample - difference;
            block_of(stream) = {static_cast<std::int16_t>(predictor), static_cast<std::int16_t>(index), 0};
            const std::uint8_t pcm[2] = {static_cast<std::uint8_t>(sample & 0xFF),
                                         static_cast<std::uint8_t>(sample >> 8 & 0xFF)};
            std::uint8_t code = 0;
            stream->encode(*stream, pcm, &code, 2);
            ImaState expected = {predictor, index};
            ASSERT_EQ(code, ima_code(expected, sample) << 4) << index << " " << difference;
            ASSERT_EQ(adpcm_state_of(stream), expected) << index << " " << difference;
            ++tried;
        }
    }
    EXPECT_EQ(tried, 89 * 131071);
    std::printf("%ld steps and differences\n", tried);
}

TEST(ImaAdpcm, EveryCodeAtEveryStepIsDecodedByTheMultiplyForm) {
    const StreamPtr stream = new_stream(ima_adpcm, mode_decode);
    long tried = 0;
    for (int index = 0; index <= 88; ++index) {
        for (int byte = 0; byte <= 0xFF; ++byte) {
            for (int predictor = -32768; predictor <= 32767; predictor += 771) {  // 771 x 85 = 65535: both ends
                block_of(stream) = {static_cast<std::int16_t>(predictor), static_cast<std::int16_t>(index), 1};
                const auto codes = static_cast<std::uint8_t>(byte);
                std::uint8_t pcm[4] = {};
                ASSERT_EQ(stream->decode(*stream, &codes, pcm, 1), 4u);
                ImaState expected = {predictor, index};
                const int low = ima_sample(expected, byte & 0xF);
                const int high = ima_sample(expected, byte >> 4);
                ASSERT_EQ(static_cast<std::int16_t>(pcm[0] | pcm[1] << 8), low);
                ASSERT_EQ(static_cast<std::int16_t>(pcm[2] | pcm[3] << 8), high);
                ASSERT_EQ(adpcm_state_of(stream), expected);
                ++tried;
            }
        }
    }
    std::printf("%ld steps, code pairs and predictors\n", tried);
}

TEST(ImaAdpcm, DecodeTakesTheLowNibbleFirst) {
    // Low 4: 4 x 7 / 4 + 7 / 8 = 7, step 9. High 0: 0 + 9 / 8 = 1.
    EXPECT_EQ(decoded(bytes({0x04})), (std::vector<int>{7, 8}));
    // Low 0: 0, step 7. High 4: 7.
    EXPECT_EQ(decoded(bytes({0x40})), (std::vector<int>{0, 7}));
}

TEST(ImaAdpcm, DecoderRoundsOtherwiseThanTheEncoder) {
    // Step 7, code 3: the decoder has 3 x 7 / 4 + 7 / 8 = 5, the encoder 7 / 2 + 7 / 4 + 7 / 8 = 3 + 1 + 0 = 4.
    EXPECT_EQ(decoded(bytes({0x03}))[0], 5);
    const StreamPtr encoder = new_stream(ima_adpcm, mode_encode);
    EXPECT_EQ(encoded_by(encoder, {5}), bytes({0x30}));
    EXPECT_EQ(adpcm_state_of(encoder), (ImaState{4, 0}));
}

TEST(ImaAdpcm, DecodeClampsThePredictor) {
    const StreamPtr stream = new_stream(ima_adpcm, mode_decode);
    block_of(stream) = {30000, 88, 0};
    EXPECT_EQ(decoded_by(stream, bytes({0xF7})), (std::vector<int>{32767, -28670}));  // 32767 - (7 x 32767 / 4 + 4095)
    block_of(stream) = {-30000, 88, 0};
    EXPECT_EQ(decoded_by(stream, bytes({0x0F}))[0], -32768);
}

TEST(ImaAdpcm, DecodeSetsTheReservedWordToZero) {
    const StreamPtr stream = new_stream(ima_adpcm, mode_decode);
    block_of(stream).reserved = 0x1234;
    decoded_by(stream, bytes({0x00}));
    EXPECT_EQ(block_of(stream).reserved, 0);
}

TEST(ImaAdpcm, DecodeReturnsFourBytesACodeByte) {
    const StreamPtr stream = new_stream(ima_adpcm, mode_decode);
    const Bytes codes(1024, 0x37);
    Bytes pcm(4096);
    EXPECT_EQ(stream->decode(*stream, codes.data(), pcm.data(), 1024), 4096u);
}

TEST(ImaAdpcm, HeaderReplacesTheStateAndIsNotPutOut) {
    const StreamPtr stream = decoder_of_blocks();
    block_of(stream) = {-5, 70, 0};
    // Predictor 0xFE0C = -500, index 10 (step 19), reserved 0xAA. Low 1: 19 / 4 + 19 / 8 = 6; index 9, step 17.
    // High 8: -(17 / 8) = -2; index 8.
    EXPECT_EQ(decoded_by(stream, bytes({0x0C, 0xFE, 10, 0xAA, 0x81})), (std::vector<int>{-494, -496}));
    EXPECT_EQ(adpcm_state_of(stream), (ImaState{-496, 8}));
}

TEST(ImaAdpcm, WithoutTheFlagTheFirstFourBytesAreCodes) {
    const StreamPtr stream = new_stream(ima_adpcm, mode_decode);
    stream->flags = static_cast<std::uint16_t>(~codec_flag_block_headers);
    EXPECT_EQ(decoded_by(stream, bytes({0x0C, 0xFE, 10, 0xAA, 0x81})).size(), 10u);
}

TEST(ImaAdpcm, HeaderIndexAboveTheTableIsTakenAsItsLastRow) {
    for (int index = 0; index <= 0xFF; ++index) {
        const StreamPtr stream = decoder_of_blocks();
        const int expected = ima_steps[std::min(index, 88)] / 8;  // code 0 moves by an eighth of a step
        EXPECT_EQ(decoded_by(stream, bytes({0, 0, index, 0, 0x00}))[0], expected) << index;
    }
}

TEST(ImaAdpcm, BlockOfAHeaderAloneSetsTheStateAndDecodesToNothing) {
    const StreamPtr stream = decoder_of_blocks();
    EXPECT_EQ(decoded_by(stream, bytes({0x10, 0x27, 33, 0})).size(), 0u);
    EXPECT_EQ(adpcm_state_of(stream), (ImaState{10000, 33}));
}

TEST(ImaAdpcm, BlockShorterThanItsHeaderDecodesToNothingAndKeepsTheState) {
    for (std::size_t count = 0; count < 4; ++count) {
        const StreamPtr stream = decoder_of_blocks();
        block_of(stream) = {123, 45, 0};
        EXPECT_EQ(decoded_by(stream, slice(bytes({0x10, 0x27, 33, 0}), 0, count)).size(), 0u);
        EXPECT_EQ(adpcm_state_of(stream), (ImaState{123, 45}));
    }
}

TEST(ImaAdpcm, StreamTakesMoreInputAfterABlockWithoutCodes) {
    const StreamPtr stream = decoder_of_blocks();
    BlockSource source(stream, {bytes({1, 2, 3}), bytes({0, 0, 0, 0}), bytes({0x64, 0, 0, 0, 0x04})});
    EXPECT_EQ(pcm_samples(read_from(*stream, 100)), (std::vector<int>{107, 108}));  // 100 + 7, + 9 / 8
    EXPECT_EQ(source.asked.size(), 4u);
}

TEST(ImaAdpcm, EachPieceThatTheDecoderPullsHasItsOwnHeader) {
    const StreamPtr stream = decoder_of_blocks(5);
    BlockSource source(stream, {bytes({0x64, 0, 0, 0, 0x04}), bytes({0x9C, 0xFF, 0, 0, 0x04})});
    EXPECT_EQ(pcm_samples(read_from(*stream, 100)), (std::vector<int>{107, 108, -93, -92}));
    EXPECT_EQ(source.asked, (std::vector<int>{5, 5, 5}));
}

TEST(ImaAdpcm, EachBlockIs2048BytesOfWhichThe1024CodesComeFirst) {
    const StreamPtr stream = new_stream(ima_adpcm, mode_encode);
    BlockSink sink(stream);
    const std::vector<int> samples = voice_like(5 * 2048 + 1);
    write_to(*stream, pcm_bytes(samples));
    ASSERT_EQ(sink.blocks.size(), 5u);
    ImaState state = {0, 0};
    for (std::size_t block = 0; block < 5; ++block) {
        const auto first = samples.begin() + static_cast<std::ptrdiff_t>(block * 2048);
        Bytes expected = ima_codes(state, std::vector<int>(first, first + 2048));
        expected.resize(2048);
        EXPECT_EQ(sink.blocks[block], expected) << block;
    }
    EXPECT_EQ(stream->output_count, 2048);
}

TEST(ImaAdpcm, SmallestAndLargestBlocksAreZeroBehindTheirCodes) {
    for (const std::int16_t block_bytes : Sizes{1, 2, 3, 8191}) {
        const StreamPtr stream = new_stream(ima_adpcm, mode_encode, block_bytes);
        BlockSink sink(stream);
        const std::vector<int> samples = voice_like(4 * block_bytes + 1);
        write_to(*stream, pcm_bytes(samples));
        ASSERT_EQ(sink.blocks.size(), 2u);
        ImaState state = {0, 0};
        for (std::size_t block = 0; block < 2; ++block) {
            const auto count = static_cast<std::size_t>(2 * block_bytes);
            const auto first = samples.begin() + static_cast<std::ptrdiff_t>(block * count);
            Bytes expected = ima_codes(state, std::vector<int>(first, first + std::ptrdiff_t(count)));
            expected.resize(count);
            EXPECT_EQ(sink.blocks[block], expected);
        }
    }
}

TEST(ImaAdpcm, StateRunsOnFromOneFileIntoTheNext) {
    const StreamPtr stream = new_stream(ima_adpcm, mode_encode);
    BlockSink first_file;
    BlockSink second_file;
    const std::vector<int> samples = voice_like(2 * 2048 + 1);
    const Bytes pcm = pcm_bytes(samples);
    first_file.attach(*stream);
    write_to(*stream, slice(pcm, 0, 5000));
    second_file.attach(*stream);
    write_to(*stream, slice(pcm, 5000, pcm.size() - 5000));

    ImaState state = {0, 0};
    const Bytes codes = ima_codes(state, std::vector<int>(samples.begin(), samples.begin() + 4096));
    ASSERT_EQ(first_file.blocks.size(), 1u);
    ASSERT_EQ(second_file.blocks.size(), 1u);
    EXPECT_EQ(slice(first_file.blocks[0], 0, 1024), slice(codes, 0, 1024));
    EXPECT_EQ(slice(second_file.blocks[0], 0, 1024), slice(codes, 1024, 1024));
}

TEST(ImaAdpcm, SplitCallsCodeAsOneCallDoes) {
    const std::vector<int> samples = voice_like(400);
    const Bytes whole = encoded(samples);
    for (int pairs = 1; pairs < 200; pairs += 7) {
        const StreamPtr stream = new_stream(ima_adpcm, mode_encode);
        Bytes codes = encoded_by(stream, std::vector<int>(samples.begin(), samples.begin() + 2 * pairs));
        const Bytes rest = encoded_by(stream, std::vector<int>(samples.begin() + 2 * pairs, samples.end()));
        codes.insert(codes.end(), rest.begin(), rest.end());
        ASSERT_EQ(codes, whole) << pairs;
    }
}

TEST(ImaAdpcm, CodesInTheDecodersNibbleOrderFollowTheSignal) {
    // The codes of a voice-like signal, nibbles exchanged, come back within the step that the coder was using; where
    // the signal is slow that is a few units.
    const std::vector<int> samples = voice_like(8000);
    Bytes codes = encoded(samples);
    for (std::uint8_t& code : codes) code = static_cast<std::uint8_t>(code << 4 | code >> 4);
    const std::vector<int> heard = decoded(codes);
    EXPECT_GT(signal_to_noise_db(samples, heard), 20.0);
}
