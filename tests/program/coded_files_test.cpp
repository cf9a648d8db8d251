// SPDX-License-Identifier: MIT
// Every byte of the A-law, u-law, IMA ADPCM and GSM files, predicted without the program's own coders.
#include <gmock/gmock.h>
#include <gsm.h>
#include <stdlib.h>

#include <algorithm>
#include <array>

#include "program/recordings.h"
#include "program/wave_run.h"

namespace {

// How many whole input blocks of `size` are coded of `total` bytes: the last one only when a byte follows it.
std::size_t coded_inputs(std::size_t total, std::size_t size) {
    return total == 0 ? 0 : (total - 1) / size;
}

// G.711 as decision intervals: the code is that of the widest threshold the magnitude reaches.

struct Segments {
    int magnitude_limit;
    std::array<int, 128> thresholds;  // of code 0 to 127, in the order of their magnitudes
};

// Segment 0 has steps of 16 from 0; each further one doubles the step, from segment 2 on (ITU-T G.711, table 1).
Segments alaw_segments() {
    Segments law = {32767, {}};
    int threshold = 0;
    for (int code = 0; code < 128; code++) {
        law.thresholds[static_cast<std::size_t>(code)] = threshold;
        threshold += code < 32 ? 16 : 16 << (code / 16 - 1);
    }
    return law;
}

// Steps of 8 from -4 (the first is half as wide), doubled with each segment (ITU-T G.711, table 2).
Segments ulaw_segments() {
    Segments law = {32635, {}};
    int threshold = -4;
    for (int code = 0; code < 128; code++) {
        law.thresholds[static_cast<std::size_t>(code)] = threshold;
        threshold += 8 << (code / 16);
    }
    return law;
}

int magnitude_code(const Segments& law, int magnitude) {
    const auto above =
        std::upper_bound(law.thresholds.begin(), law.thresholds.end(), std::min(magnitude, law.magnitude_limit));
    return static_cast<int>(above - law.thresholds.begin()) - 1;
}

std::uint8_t alaw(std::int16_t sample) {
    if (sample == -32768) return 0x55;  // kept: its magnitude does not fit 16 bits
    static const Segments law = alaw_segments();
    const int code = magnitude_code(law, abs(sample));
    return static_cast<std::uint8_t>((sample < 0 ? code : code | 0x80) ^ 0x55);
}

std::uint8_t ulaw(std::int16_t sample) {
    if (sample == -32768) return 0x7F;  // kept, likewise
    static const Segments law = ulaw_segments();
    const int code = magnitude_code(law, abs(sample));
    return static_cast<std::uint8_t>(0xFF - (sample < 0 ? code | 0x80 : code));
}

// Every 16-bit value once, then 64 more so that they fill blocks, then enough to push the last piece out.
Bytes all_samples() {
    std::vector<std::int16_t> samples;
    for (int i = -32768; i < 32768 + 64 + 2048; i++) samples.push_back(static_cast<std::int16_t>(i));
    while (samples.size() % (block_bytes / 2) != 0) samples.push_back(0);
    return samples_to_bytes(samples);
}

Bytes g711_file(unsigned tag, std::uint8_t (*code)(std::int16_t), const Bytes& pcm) {
    const std::size_t data = coded_inputs(pcm.size(), 2048) * 1024;
    Bytes codes;
    for (const std::int16_t sample : bytes_to_samples(first_bytes(pcm, data * 2))) codes.push_back(code(sample));
    return coded_head(tag, 8000, 1, 8, static_cast<unsigned>(data)) + codes;
}

TEST(CodedFiles, G711ReferenceValuesOfThisTestAreThoseOfTheRecommendation) {
    EXPECT_EQ(alaw(0), 0xD5);
    EXPECT_EQ(alaw(32767), 0xAA);
    EXPECT_EQ(alaw(-32767), 0x2A);
    EXPECT_EQ(ulaw(0), 0xFF);
    EXPECT_EQ(ulaw(32767), 0x80);
    EXPECT_EQ(ulaw(32635), 0x80);
    EXPECT_EQ(ulaw(-32767), 0x00);
}

TEST(CodedFiles, AlawCodesEverySampleValue) {
    const Bytes pcm = all_samples();
    EXPECT_EQ(convert_blocks("alaw", pcm).wave, g711_file(6, alaw, pcm));
}

TEST(CodedFiles, UlawCodesEverySampleValue) {
    const Bytes pcm = all_samples();
    EXPECT_EQ(convert_blocks("ulaw", pcm).wave, g711_file(7, ulaw, pcm));
}

TEST(CodedFiles, G711HandsOn1024CodesOnceTheNextByteComes) {
    // 6 blocks are 1920 bytes of the 2048 that make a piece; the 7th goes beyond.
    EXPECT_EQ(convert_blocks("alaw", test_blocks(6)).wave.size(), 38U);  // no "data" chunk
    EXPECT_EQ(convert_blocks("alaw", test_blocks(7)).wave.size(), 46U + 1024U);
    EXPECT_EQ(convert_blocks("ulaw", test_blocks(32)).wave.size(), 46U + 4U * 1024U);  // 5 x 2048 exactly
}

TEST(CodedFiles, CodedFileWithoutAudioEndsAfterAnEighteenByteFormat) {
    EXPECT_EQ(convert_blocks("ulaw", {}).wave,
              bytes_of("RIFF") + bytes({38, 0, 0, 0}) + bytes_of("WAVEfmt ") + bytes({18, 0, 0, 0}) +
                  bytes({7, 0, 1, 0, 0x40, 0x1F, 0, 0, 0x40, 0x1F, 0, 0, 1, 0, 8, 0, 0, 0}));
}

// IMA ADPCM (IMA, "Recommended Practices for Enhancing Digital Audio Compatibility", revision 3.00).

constexpr int ima_steps[] = {7,     8,     9,     10,    11,    12,    13,    14,    16,    17,    19,   21,    23,
                             25,    28,    31,    34,    37,    41,    45,    50,    55,    60,    66,   73,    80,
                             88,    97,    107,   118,   130,   143,   157,   173,   190,   209,   230,  253,   279,
                             307,   337,   371,   408,   449,   494,   544,   598,   658,   724,   796,  876,   963,
                             1060,  1166,  1282,  1411,  1552,  1707,  1878,  2066,  2272,  2499,  2749, 3024,  3327,
                             3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845,  8630,  9493, 10442, 11487,
                             12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};
static_assert(std::size(ima_steps) == 89);

struct ImaState {
    int predictor = 0;
    int index = 0;
};

int ima_parts(int step, int code) {
    return (code & 4 ? step : 0) + (code & 2 ? step / 2 : 0) + (code & 1 ? step / 4 : 0);
}

void ima_follow(ImaState& state, int code) {
    constexpr int moves[] = {-1, -1, -1, -1, 2, 4, 6, 8};
    const int step = ima_steps[state.index];
    const int change = step / 8 + ima_parts(step, code);
    state.predictor = std::clamp(state.predictor + (code & 8 ? -change : change), -32768, 32767);
    state.index = std::clamp(state.index + moves[code & 7], 0, 88);
}

// The largest of the eight codes whose parts the difference reaches.
int ima_code(const ImaState& state, int sample) {
    const int difference = sample - state.predictor;
    int code = 7;
    while (ima_parts(ima_steps[state.index], code) > abs(difference)) code--;
    return difference < 0 ? code | 8 : code;
}

Bytes adpcm_data(const Bytes& pcm) {
    ImaState state;
    Bytes data;
    const std::vector<std::int16_t> samples = bytes_to_samples(pcm);
    for (std::size_t piece = 0; piece < coded_inputs(pcm.size(), 4096); piece++) {
        for (std::size_t i = 0; i < 2048; i += 2) {
            const int high = ima_code(state, samples[piece * 2048 + i]);
            ima_follow(state, high);
            const int low = ima_code(state, samples[piece * 2048 + i + 1]);
            ima_follow(state, low);
            data.push_back(static_cast<std::uint8_t>(high << 4 | low));
        }
        data = data + zeros(1024);  // kept: as many bytes as samples are handed on
    }
    return data;
}

Bytes adpcm_file(const Bytes& pcm) {
    const Bytes data = adpcm_data(pcm);
    return coded_head(17, 0, 0, 4, static_cast<unsigned>(data.size())) + data;
}

TEST(CodedFiles, AdpcmWrites1024CodesAnd1024ZerosAPiece) {
    const Bytes pcm = test_blocks(13 * 9);
    EXPECT_EQ(coded_inputs(pcm.size(), 4096), 9U);
    EXPECT_EQ(convert_blocks("adpcm", pcm).wave, adpcm_file(pcm));
}

TEST(CodedFiles, AdpcmStartsFromPredictor0AndStep7HighNibbleFirst) {
    // 7: code 4 (7 >= 7), predictor 7, step 9; 7: code 0, predictor 8, step 8; -4: difference 12: 4 (12 >= 8), rest 4:
    // 2 (4 >= 4), 14 with the sign.
    const Bytes pcm = samples_to_bytes({7, 7, -4, 0}) + zeros(13 * block_bytes - 8);
    const Bytes wave = convert_blocks("adpcm", pcm).wave;
    ASSERT_EQ(wave.size(), 46U + 2048U);
    EXPECT_EQ(wave[46], 0x40);
    EXPECT_EQ(wave[47] >> 4, 14);
}

TEST(CodedFiles, AdpcmOfSilenceIsZeros) {
    const Bytes pcm = zeros(26 * block_bytes);
    EXPECT_EQ(convert_blocks("adpcm", pcm).wave, coded_head(17, 0, 0, 4, 4096) + zeros(4096));
}

TEST(CodedFiles, AdpcmDecodesToTheSoundThatWentIn) {
    std::vector<std::int16_t> samples;  // a triangle of 100 Hz
    for (int i = 0; i < 160 * 60; i++) samples.push_back(static_cast<std::int16_t>(abs(i % 80 - 40) * 500 - 10000));
    const Bytes pcm = samples_to_bytes(samples);
    const Bytes data = from_byte(convert_blocks("adpcm", pcm).wave, 46);
    ImaState state;
    double error = 0, power = 0;
    std::size_t position = 0;
    for (std::size_t i = 0; i < data.size(); i++) {
        if (i % 2048 >= 1024) continue;
        for (const int code : {data[i] >> 4, data[i] & 15}) {
            ima_follow(state, code);
            const double original = samples[position++];
            error += (original - state.predictor) * (original - state.predictor);
            power += original * original;
        }
    }
    EXPECT_EQ(position, 2048 * coded_inputs(pcm.size(), 4096));
    EXPECT_GT(power, 300 * error);  // 25 dB
}

TEST(CodedFiles, AdpcmFullScaleSquareWaveReachesTheClamps) {
    std::vector<std::int16_t> samples;
    for (int i = 0; i < 160 * 40; i++) samples.push_back(i / 50 % 2 ? -32768 : 32767);
    const Bytes pcm = samples_to_bytes(samples);
    EXPECT_EQ(convert_blocks("adpcm", pcm).wave, adpcm_file(pcm));
}

// GSM 06.10 by libgsm itself: of each 640 bytes the first 160 samples, 32 and 33 bytes in turn.
Bytes gsm_file(const Bytes& pcm) {
    gsm coder = gsm_create();
    int wav49 = 1;
    gsm_option(coder, GSM_OPT_WAV49, &wav49);
    Bytes data;
    const std::size_t pieces = coded_inputs(pcm.size(), 640);
    for (std::size_t piece = 0; piece < pieces; piece++) {
        std::vector<std::int16_t> samples = bytes_to_samples(first_bytes(from_byte(pcm, piece * 640), 320));
        gsm_byte coded[65] = {};
        gsm_encode(coder, samples.data(), coded);
        const std::size_t count = piece % 2 ? 33 : 32;
        data = data + Bytes(coded, coded + count) + zeros(640 - count);
    }
    gsm_destroy(coder);
    return coded_head(49, 0, 0, 0, static_cast<unsigned>(data.size())) + data;
}

TEST(CodedFiles, GsmWritesOneFrameAnd640BytesAPiece) {
    const Bytes pcm = test_blocks(61);
    EXPECT_EQ(coded_inputs(pcm.size(), 640), 30U);
    EXPECT_EQ(convert_blocks("gsm", pcm).wave, gsm_file(pcm));
}

TEST(CodedFiles, GsmFramesOfTwoPiecesMakeOneBlockOfTwoFrames) {
    const Bytes data = from_byte(convert_blocks("gsm", test_blocks(5)).wave, 46);
    ASSERT_EQ(data.size(), 2U * 640);
    Bytes block = first_bytes(data, 32) + first_bytes(from_byte(data, 640), 33);
    gsm decoder = gsm_create();
    int wav49 = 1;
    gsm_option(decoder, GSM_OPT_WAV49, &wav49);
    gsm_signal samples[160];
    EXPECT_EQ(gsm_decode(decoder, block.data(), samples), 0);
    EXPECT_EQ(gsm_decode(decoder, block.data() + 33, samples), 0);
    gsm_destroy(decoder);
}

TEST(CodedFiles, GsmNeedsMoreThan640BytesForItsFirstPiece) {
    EXPECT_EQ(convert_blocks("gsm", test_blocks(2)).wave.size(), 38U);
    EXPECT_EQ(convert_blocks("gsm", test_blocks(3)).wave.size(), 46U + 640U);
}

TEST(CodedFiles, EveryFormatIsNamedInItsCodecLine) {
    EXPECT_THAT(convert_blocks("gsm", {}).outcome.out,
                testing::HasSubstr("CODEC 'GSM 06.10' for 1 channels at 8000 Hz with 16 bits per sample.\n"));
    EXPECT_THAT(convert_blocks("adpcm", {}).outcome.out,
                testing::HasSubstr("CODEC 'IMA ADPCM' for 1 channels at 8000 Hz with 16 bits per sample.\n"));
}

}  // namespace
