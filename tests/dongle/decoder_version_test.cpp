// SPDX-License-Identifier: MIT
// Every version of the decoder gives the same bytes.
#include "lanes/decoder_version.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "ambe/ambe_decoder.h"
#include "dongle/decoder_versions.h"
#include "dongle/frame_builder.h"

namespace {

// All samples, and of each frame the model and what was spoken, as bytes.
std::vector<unsigned char> decoded_bytes(const std::vector<AmbeFrameBytes>& frames, const DecoderVersion& version) {
    AmbeDecoder decoder;
    ambe_decoder_start(decoder, version);
    std::vector<unsigned char> bytes;
    const auto append = [&](const void* data, std::size_t size) {
        const auto* first = static_cast<const unsigned char*>(data);
        bytes.insert(bytes.end(), first, first + size);
    };
    for (const AmbeFrameBytes& frame : frames) {
        std::int16_t samples[frame_samples];
        ambe_decode(decoder, frame, samples);
        append(samples, sizeof samples);
        append(decoder.spoken.magnitude, sizeof decoder.spoken.magnitude);
        append(decoder.model.log2_magnitude, sizeof decoder.model.log2_magnitude);
        append(decoder.synthesis.before.phase, sizeof decoder.synthesis.before.phase);
    }
    return bytes;
}

std::vector<AmbeFrameBytes> arbitrary_voice_frames(int count) {
    std::mt19937_64 random(7);
    std::vector<AmbeFrameBytes> frames;
    for (int i = 0; i < count; i++) frames.push_back(frame_of_voice_bits(random() >> 16));
    return frames;
}

}  // namespace

class VersionsAgree : public DecoderVersions {
  protected:
    void compare(const std::vector<AmbeFrameBytes>& frames) {
        const std::vector<unsigned char> expected = decoded_bytes(frames, plain::decoder_version);
        EXPECT_TRUE(decoded_bytes(frames, version()) == expected);
    }
};
INSTANTIATE_TEST_SUITE_P(Versions, VersionsAgree, testing::ValuesIn(library_versions_and({&portable::decoder_version})),
                         version_name);

TEST_P(VersionsAgree, OnTheStory) {
    compare(raw_frames("golden/story_600.raw12"));
}
TEST_P(VersionsAgree, OnTheDamagedStory) {
    compare(raw_frames("golden/story_600_errors.raw12"));
}
TEST_P(VersionsAgree, OnSilenceAndTones) {
    compare(raw_frames("golden/special.raw12"));
}
TEST_P(VersionsAgree, OnArbitraryVoice) {
    compare(arbitrary_voice_frames(5000));
}

TEST(DecoderVersion, VersionsHaveTheirNames) {
    EXPECT_STREQ(plain::decoder_version.name, "plain");
    EXPECT_STREQ(portable::decoder_version.name, "portable");
    EXPECT_STREQ(baseline::decoder_version.name, "baseline");
#ifdef __x86_64__
    EXPECT_STREQ(avx2::decoder_version.name, "avx2");
#endif
}

TEST(DecoderVersion, FastestVersionOfThisProcessorIsChosen) {
    const DecoderVersion* expected = processor_has_avx2() ? library_versions.back() : &baseline::decoder_version;
    EXPECT_EQ(&decoder_version_of_this_processor(), expected);
}
