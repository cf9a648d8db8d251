// SPDX-License-Identifier: MIT
// The nine functions from inside; packets_test.cpp and library_test.cpp have them as the program loads them.
#include "software_dongle.h"

#include <gtest/gtest.h>

#include "link/dongle.h"

namespace {

constexpr unsigned char voice_frame[ambe_frame_bytes] = {0xE0, 0xF9, 0x2D, 0x4E, 0x5C, 0x49, 0xE3, 0xF1, 0x83};
int decoded_models = 0;

// A version that counts its models.
DecoderVersion counting_version() {
    DecoderVersion version = baseline::decoder_version;
    version.model_decode = [](const AmbeFrame& frame, SpeechModel& model) {
        decoded_models++;
        baseline::decoder_version.model_decode(frame, model);
    };
    return version;
}

void decode_one_frame() {
    unsigned char packet[ambe_packet_bytes];
    unsigned char buffer[pcm_block_bytes];
    int type = 0;
    ambe_init(packet, 1);
    dongle_run(1);
    ASSERT_EQ(dongle_recv(&type, buffer, sizeof buffer), ambe_packet_bytes);
    ambe_send(packet, voice_frame);
    ASSERT_EQ(dongle_send(ambe_packet_type, packet, ambe_packet_bytes), 0);
    ASSERT_EQ(dongle_recv(&type, buffer, sizeof buffer), pcm_block_bytes);
    dongle_run(0);
}

}  // namespace

TEST(SoftwareDongle, RecordingsAreDecodedByTheVersionAskedFor) {
    const DecoderVersion counting = counting_version();
    ASSERT_EQ(dongle_init("", 0), 0);
    decode_one_frame();
    EXPECT_EQ(decoded_models, 0);
    software_dongle_use(counting);
    decode_one_frame();
    EXPECT_EQ(decoded_models, 1);
    software_dongle_use(decoder_version_of_this_processor());
    decode_one_frame();
    EXPECT_EQ(decoded_models, 1);
    dongle_close(0);
}
