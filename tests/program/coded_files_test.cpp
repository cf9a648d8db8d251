// SPDX-License-Identifier: MIT
// Every byte of the A-law, u-law, IMA ADPCM and GSM files, predicted without the program's own coders.
#include <gmock/gmock.h>
#include <gsm.h>
#include <stdlib.h>

#include <cmath>

#include "program/recordings.h"
#include "program/reference_coders.h"
#include "program/wave_run.h"

namespace {

// Every 16-bit value once, then 64 more so that they fill blocks, then enough to push the last piece out.
Bytes all_samples() {
    std::vector<std::int16_t> samples;
    for (int i = -32768; i < 32768 + 64 + 2048; i++) samples.push_back(static_cast<std::int16_t>(i));
    while (samples.size() % (block_bytes / 2) != 0) samples.push_back(0);
    return samples_to_bytes(samples);
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
    EXPECT_EQ(convert_blocks("alaw", pcm).wave, alaw_file(pcm));
}

TEST(CodedFiles, UlawCodesEverySampleValue) {
    const Bytes pcm = all_samples();
    EXPECT_EQ(convert_blocks("ulaw", pcm).wave, ulaw_file(pcm));
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

TEST(CodedFiles, GsmWritesOneFrameAnd640BytesAPiece) {
    const Bytes pcm = test_blocks(61);
    EXPECT_EQ(coded_inputs(pcm.size(), 640), 30U);
    EXPECT_EQ(convert_blocks("gsm", pcm).wave, gsm_file(pcm));
}

TEST(CodedFiles, GsmFramesOfTwoPiecesMakeOneBlockOfTwoFramesWithTheSoundThatWentIn) {
    // Of each piece the first 160 samples are coded: there the tones stand, 300 and 440 Hz, the rest is silence.
    std::vector<std::int16_t> sound, samples;
    for (int i = 0; i < 160 * 40; i++) {
        const double t = 2 * M_PI * i / 8000;
        sound.push_back(static_cast<std::int16_t>(5000 * sin(300 * t) + 3000 * sin(440 * t)));
        samples.push_back(sound.back());
        if (i % 160 == 159) samples.insert(samples.end(), 160, 0);
    }
    samples.insert(samples.end(), 160, 0);  // pushes the last piece out
    const Bytes data = from_byte(convert_blocks("gsm", samples_to_bytes(samples)).wave, 46);
    ASSERT_EQ(data.size(), 40U * 640);

    gsm decoder = gsm_create();
    int wav49 = 1;
    gsm_option(decoder, GSM_OPT_WAV49, &wav49);
    double error = 0, power = 0;
    for (std::size_t pair = 0; pair < 20; pair++) {
        const Bytes first = from_byte(data, pair * 1280);
        Bytes block = first_bytes(first, 32) + first_bytes(from_byte(first, 640), 33);
        gsm_signal heard[320];
        EXPECT_EQ(gsm_decode(decoder, block.data(), heard), 0);
        EXPECT_EQ(gsm_decode(decoder, block.data() + 33, heard + 160), 0);
        for (std::size_t i = 0; i < 320; i++) {
            const double original = sound[pair * 320 + i];
            error += (original - heard[i]) * (original - heard[i]);
            power += original * original;
        }
    }
    gsm_destroy(decoder);
    EXPECT_GT(power, 4 * error);  // 6 dB: full rate follows the wave roughly
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
