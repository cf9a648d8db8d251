// SPDX-License-Identifier: MIT
//
// The laws are stated here by their decision intervals: a magnitude's code is the number of decision values that it
// reaches. libsndfile is the second, independent reader.
#include "codec/g711.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "codec/stream_tools.h"
#include "support/reference_coders.h"
#include "support/temp_dir.h"

namespace {

constexpr int lowest_sample = -32768;
constexpr int highest_sample = 32767;

std::vector<int> all_samples() {
    std::vector<int> samples;
    for (int sample = lowest_sample; sample <= highest_sample; ++sample) samples.push_back(sample);
    return samples;
}

Bytes all_codes() {
    Bytes codes;
    for (int code = 0; code <= 0xFF; ++code) codes.push_back(static_cast<std::uint8_t>(code));
    return codes;
}

// One call of the stream's operation over all the bytes.
Bytes encoded(std::uint32_t tag, const Bytes& pcm) {
    const StreamPtr stream = new_stream(tag, mode_encode);
    Bytes codes(pcm.size() / 2);
    EXPECT_EQ(stream->encode(*stream, pcm.data(), codes.data(), static_cast<std::uint32_t>(pcm.size())), codes.size());
    return codes;
}

std::vector<int> decoded(std::uint32_t tag, const Bytes& codes) {
    const StreamPtr stream = new_stream(tag, mode_decode);
    Bytes pcm(2 * codes.size());
    EXPECT_EQ(stream->decode(*stream, codes.data(), pcm.data(), static_cast<std::uint32_t>(codes.size())), pcm.size());
    return pcm_samples(pcm);
}

int decoded_code(std::uint32_t tag, int code) {
    return decoded(tag, {static_cast<std::uint8_t>(code)})[0];
}

// libsndfile's G.711, by way of a headerless file.
SF_INFO raw_telephone(int subtype) {
    SF_INFO info = {};
    info.samplerate = 8000;
    info.channels = 1;
    info.format = SF_FORMAT_RAW | subtype;
    return info;
}

Bytes peer_encoded(int subtype, const std::vector<int>& samples) {
    const TempDir dir;
    SF_INFO info = raw_telephone(subtype);
    SNDFILE* file = sf_open((dir / "codes").c_str(), SFM_WRITE, &info);
    const std::vector<short> shorts(samples.begin(), samples.end());
    EXPECT_EQ(sf_write_short(file, shorts.data(), static_cast<sf_count_t>(shorts.size())), std::ssize(shorts));
    sf_close(file);
    return read_file(dir / "codes");
}

std::vector<int> peer_decoded(int subtype, const Bytes& codes) {
    const TempDir dir;
    write_file(dir / "codes", codes);
    SF_INFO info = raw_telephone(subtype);
    SNDFILE* file = sf_open((dir / "codes").c_str(), SFM_READ, &info);
    std::vector<short> shorts(codes.size());
    EXPECT_EQ(sf_read_short(file, shorts.data(), std::ssize(shorts)), std::ssize(shorts));
    sf_close(file);
    return std::vector<int>(shorts.begin(), shorts.end());
}

struct Law {
    std::uint32_t tag;
    std::uint8_t (*code)(int sample);
    std::vector<int> (*decision_values)();
    int inversion;  // of a negative code
    int peer;       // libsndfile's name
};

constexpr Law laws[] = {
    {g711_alaw, alaw_code, alaw_decision_values, 0x55, SF_FORMAT_ALAW},
    {g711_ulaw, ulaw_code, ulaw_decision_values, 0x7F, SF_FORMAT_ULAW},
};

const G711State& state_of(const StreamPtr& stream) {
    return *static_cast<const G711State*>(stream->codec_private);
}

}  // namespace

TEST(G711, OneDecoderServesBothLawsAndEachHasAnEncoderOfItsOwn) {
    const StreamPtr alaw = new_stream(g711_alaw, mode_encode);
    const StreamPtr ulaw = new_stream(g711_ulaw, mode_encode);
    EXPECT_NE(alaw->encode, ulaw->encode);
    EXPECT_EQ(alaw->decode, ulaw->decode);
}

TEST(G711, StreamsOfOneLawShareItsMapsAndNotTheOtherLaws) {
    for (const std::uint32_t tag : {g711_alaw, g711_ulaw}) {
        const StreamPtr first = new_stream(tag, mode_encode);
        const StreamPtr second = new_stream(tag, mode_decode);
        const StreamPtr other = new_stream(g711_alaw + g711_ulaw - tag, mode_encode);
        EXPECT_NE(first->codec_private, second->codec_private);
        EXPECT_EQ(state_of(first).encode_map, state_of(second).encode_map);
        EXPECT_EQ(state_of(first).decode_map, state_of(second).decode_map);
        EXPECT_NE(state_of(first).encode_map, state_of(other).encode_map);
        EXPECT_NE(state_of(first).decode_map, state_of(other).decode_map);
    }
}

TEST(G711, PrivateBlockHoldsTheDecodeMapThenTheEncodeMap) {
    const StreamPtr stream = new_stream(g711_alaw, mode_encode);
    static_assert(sizeof(G711State) == 2 * sizeof(void*));
    const auto* pointers = static_cast<void* const*>(stream->codec_private);
    EXPECT_EQ(static_cast<const std::int16_t*>(pointers[0])[0xD5], 8);  // A-law's positive zero
    EXPECT_EQ(static_cast<const std::uint8_t*>(pointers[1])[0], 0xD5);
}

TEST(G711, EncodeMapIsIndexedByTheSampleAsUnsigned) {
    const StreamPtr stream = new_stream(g711_ulaw, mode_encode);
    EXPECT_EQ(state_of(stream).encode_map[0x8000], ulaw_code(-32768));
    EXPECT_EQ(state_of(stream).encode_map[0xFFFF], ulaw_code(-1));
    EXPECT_EQ(state_of(stream).encode_map[0x7FFF], ulaw_code(32767));
}

TEST(G711, DecisionValuesAreThePublishedOnes) {
    // The recommendation's tables, for 13-bit (A-law) and 14-bit (u-law) samples: times 8 and times 4 here.
    EXPECT_EQ(alaw_decision_values().size(), 128u);
    EXPECT_EQ(alaw_decision_values()[112], 2048 * 8);
    EXPECT_EQ(alaw_decision_values()[127], 3968 * 8);
    EXPECT_EQ(ulaw_decision_values().size(), 128u);
    EXPECT_EQ(ulaw_decision_values()[1], 1 * 4);
    EXPECT_EQ(ulaw_decision_values()[16], 31 * 4);
    EXPECT_EQ(ulaw_decision_values()[112], 4063 * 4);
    EXPECT_EQ(ulaw_decision_values()[127], 7903 * 4);
}

TEST(G711, EdgesOfTheRangeAndTheLowestSampleWhichCodesAsTheSmallestNegativeOne) {
    for (const auto& [sample, alaw, ulaw] : {
             std::array{0,             0xD5, 0xFF},
             {32635,         0xAA, 0x80},
             {32767,         0xAA, 0x80},
             {-32767,        0x2A, 0x00},
             {lowest_sample, 0x55, 0x7F}
    }) {
        EXPECT_EQ(encoded(g711_alaw, pcm_bytes({sample})), bytes({alaw})) << sample;
        EXPECT_EQ(encoded(g711_ulaw, pcm_bytes({sample})), bytes({ulaw})) << sample;
    }
}

TEST(G711, EveryOneOf65536SamplesCodesByItsDecisionIntervalAndAsTheIndependentCoderCodesIt) {
    const std::vector<int> samples = all_samples();
    for (const Law& law : laws) {
        const Bytes codes = encoded(law.tag, pcm_bytes(samples));
        const Bytes peers = peer_encoded(law.peer, samples);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            ASSERT_EQ(codes[i], law.code(samples[i])) << samples[i];
            if (samples[i] != lowest_sample) {
                ASSERT_EQ(codes[i], peers[i]) << samples[i];
            }
        }
        std::printf("%zu samples\n", samples.size());
    }
}

TEST(G711, NegativeSampleAtAStepBoundaryCodesOneStepHigherThanTheReference) {
    // The reference takes the magnitude of -m as m - 1, the one's complement.
    for (const Law& law : laws) {
        const std::vector<int> decision_values = law.decision_values();
        std::vector<int> samples;
        for (int magnitude = 1; magnitude <= highest_sample; ++magnitude) samples.push_back(-magnitude);
        const Bytes codes = encoded(law.tag, pcm_bytes(samples));
        int higher = 0;
        for (int magnitude = 1; magnitude <= highest_sample; ++magnitude) {
            const int reference = interval_of(decision_values, magnitude - 1);
            const bool at_boundary = std::ranges::binary_search(decision_values, magnitude);
            const int interval = codes[static_cast<std::size_t>(magnitude - 1)] ^ law.inversion;
            ASSERT_EQ(interval, at_boundary ? reference + 1 : reference) << magnitude;
            higher += at_boundary ? 1 : 0;
        }
        EXPECT_EQ(higher, 127);
    }
}

TEST(Alaw, All256CodesExpandToTheMiddleOfTheirInterval) {
    std::vector<int> ends = alaw_decision_values();
    ends.push_back(32768);
    for (int code = 0; code <= 0xFF; ++code) {
        const auto interval = static_cast<std::size_t>((code ^ 0x55) & 0x7F);
        const int middle = (ends[interval] + ends[interval + 1]) / 2;
        ASSERT_EQ(decoded_code(g711_alaw, code), ((code ^ 0x55) & 0x80) != 0 ? middle : -middle) << code;
    }
}

TEST(Alaw, All256CodesExpandAsTheIndependentDecoderExpandsThem) {
    EXPECT_EQ(decoded(g711_alaw, all_codes()), peer_decoded(SF_FORMAT_ALAW, all_codes()));
}

TEST(Ulaw, All256CodesExpandToTwiceTheStandardValueLessTheirSegmentsOffset) {
    // Standard: (8 k + 132) 2^e - 132. Kept here: (16 k + 256) 2^e - 132, which is twice the standard + 132 - 8 2^e,
    // in 16 bits. The standard value comes from the independent decoder.
    const std::vector<int> standard = peer_decoded(SF_FORMAT_ULAW, all_codes());
    const std::vector<int> ours = decoded(g711_ulaw, all_codes());
    for (int code = 0; code <= 0xFF; ++code) {
        const int segment = 7 - (code >> 4 & 7);
        const int offset = 132 - (8 << segment);
        const int twice = 2 * standard[static_cast<std::size_t>(code)] + (code >= 0x80 ? offset : -offset);
        ASSERT_EQ(ours[static_cast<std::size_t>(code)], static_cast<std::int16_t>(twice)) << code;
    }
}

TEST(Ulaw, DecodedValuesAreDoubledAndTheLargestWrap) {
    EXPECT_EQ(decoded_code(g711_ulaw, 0xFF), 124);
    EXPECT_EQ(decoded_code(g711_ulaw, 0x7F), -124);
    EXPECT_EQ(decoded_code(g711_ulaw, 0x80), -2180);
    EXPECT_EQ(decoded_code(g711_ulaw, 0x00), 2180);
}

TEST(G711, SamplesAreLittleEndianOnBothSides) {
    // 0x0102 is 258: A-law interval 16, code 0x90 ^ 0x55. 0x0201 is 513: interval 32, code 0xA0 ^ 0x55.
    EXPECT_EQ(encoded(g711_alaw, bytes({0x02, 0x01})), bytes({0xC5}));
    EXPECT_EQ(encoded(g711_alaw, bytes({0x01, 0x02})), bytes({0xF5}));
    const StreamPtr stream = new_stream(g711_alaw, mode_decode);
    const Bytes codes = bytes({0xAA});
    Bytes pcm(2);
    EXPECT_EQ(stream->decode(*stream, codes.data(), pcm.data(), 1), 2u);
    EXPECT_EQ(pcm, bytes({0x00, 0x7E}));  // 32256, the middle of 31744 and 32768
}

TEST(G711, OddByteCountIsRoundedUpToWholeSamples) {
    // Three bytes are two samples: the second takes its high byte from behind the count.
    const StreamPtr stream = new_stream(g711_ulaw, mode_encode);
    const Bytes pcm = pcm_bytes({1000, -20000});
    Bytes codes(3, 0xEE);
    EXPECT_EQ(stream->encode(*stream, pcm.data(), codes.data(), 3), 2u);
    EXPECT_EQ(codes,
              (Bytes{static_cast<std::uint8_t>(ulaw_code(1000)), static_cast<std::uint8_t>(ulaw_code(-20000)), 0xEE}));
}

TEST(G711, EveryOddCountOfABlockStaysInsideTheInputBuffer) {
    const StreamPtr stream = new_stream(g711_alaw, mode_encode);
    Bytes codes(1025);
    EXPECT_EQ(stream->encode(*stream, stream->ibuff, codes.data(), 1), 1u);
    EXPECT_EQ(stream->encode(*stream, stream->ibuff, codes.data(), 2047), 1024u);
    EXPECT_EQ(stream->encode(*stream, stream->ibuff + 1, codes.data(), 2047), 1024u);  // its last byte is the spare one
}

TEST(G711, NoBytesAreNoSamples) {
    const StreamPtr stream = new_stream(g711_alaw, mode_encode);
    std::uint8_t code = 0xEE;
    std::uint8_t pcm[2] = {0xEE, 0xEE};
    EXPECT_EQ(stream->encode(*stream, pcm, &code, 0), 0u);
    EXPECT_EQ(stream->decode(*stream, &code, pcm, 0), 0u);
    EXPECT_EQ(code, 0xEE);
    EXPECT_EQ(pcm[0], 0xEE);
}

TEST(G711, EveryCountOfSamplesIsCodedAndNothingBehindIt) {
    // Every length that a loop over several samples at a time could get wrong at its end.
    for (const Law& law : laws) {
        const StreamPtr stream = new_stream(law.tag, mode_encode);
        std::vector<int> samples;
        Bytes expected;
        for (int count = 0; count <= 200; ++count) {
            const Bytes pcm = pcm_bytes(samples);
            Bytes codes(samples.size() + 1, 0xEE);
            EXPECT_EQ(stream->encode(*stream, pcm.data(), codes.data(), static_cast<std::uint32_t>(pcm.size())),
                      samples.size());
            ASSERT_EQ(codes, expected + bytes({0xEE})) << count;
            samples.push_back(count * 320 - 32768);
            expected.push_back(law.code(samples.back()));
        }
    }
}

TEST(G711, BlockOf2048BytesGoesOutAs1024Codes) {
    const StreamPtr stream = new_stream(g711_alaw, mode_encode);
    BlockSink sink(stream);
    std::vector<int> samples;
    for (int i = 0; i < 1025; ++i) samples.push_back(i * 63 - 32000);
    write_to(*stream, pcm_bytes(samples));
    ASSERT_EQ(sink.blocks.size(), 1u);
    ASSERT_EQ(sink.blocks[0].size(), 1024u);
    for (std::size_t i = 0; i < 1024; ++i) ASSERT_EQ(sink.blocks[0][i], alaw_code(samples[i]));
    EXPECT_EQ(stream->output_count, 1024);
}

TEST(G711, CodesAreReadAsSamplesWhateverTheFlags) {
    const StreamPtr stream = new_stream(g711_alaw, mode_decode);
    stream->flags = codec_flag_block_headers;
    BlockSource source(stream, {all_codes()});
    EXPECT_EQ(pcm_samples(read_from(*stream, 512)), peer_decoded(SF_FORMAT_ALAW, all_codes()));
    EXPECT_EQ(stream->last_read, 256);
}

TEST(Ulaw, SingleSampleLookUpsUseTheMaps) {
    const StreamPtr stream = new_stream(g711_ulaw, mode_encode);
    for (int sample = lowest_sample; sample <= highest_sample; sample += 97)
        ASSERT_EQ(g711_ulaw_encode_sample(static_cast<std::int16_t>(sample)), ulaw_code(sample)) << sample;
    const std::vector<int> expanded = decoded(g711_ulaw, all_codes());
    for (int code = 0; code <= 0xFF; ++code)
        ASSERT_EQ(g711_ulaw_decode_sample(static_cast<std::uint8_t>(code)), expanded[static_cast<std::size_t>(code)]);
}

TEST(UlawDeathTest, SingleSampleLookUpsBeforeAnyInitGiveSilence) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // a process of its own, in which nothing has built the maps
    EXPECT_EXIT(
        {
            const bool silent = g711_ulaw_encode_sample(1000) == 0xFF && g711_ulaw_decode_sample(0x00) == 0;
            std::exit(silent ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}
