// SPDX-License-Identifier: MIT
// Memory that runs out, at every request of a creation.
#include <gsm.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "codec/codec_stream.h"
#include "codec/codec_table.h"
#include "codec/g711.h"
#include "codec/gsm0610.h"
#include "codec/ima_adpcm.h"
#include "support/allocations.h"
#include "support/capture.h"
#include "support/messages.h"

namespace {

bool wave_layout_is_missing = false;
int states_destroyed = 0;

}  // namespace

extern "C" {

int __real_gsm_option(gsm state, int option, int* value);
void __real_gsm_destroy(gsm state);

// As in a libgsm that was built without the layout of WAVE files.
int __wrap_gsm_option(gsm state, int option, int* value) {
    return option == GSM_OPT_WAV49 && wave_layout_is_missing ? -1 : __real_gsm_option(state, option, value);
}

void __wrap_gsm_destroy(gsm state) {
    states_destroyed++;
    __real_gsm_destroy(state);
}

}  // extern "C"

namespace {

constexpr PcmFormat telephone_pcm = {1, 16, 8000};

// What stays held of all creations stays in sight of the leak check.
struct Creation {
    CodecStream* stream = nullptr;
    Output output;
    int requests_made;
    int still_held;
};

Creation create(std::uint32_t tag, int failing, int mode = codec_mode_encode, std::int16_t block_bytes = 0) {
    Creation result = {};
    const int held_before = allocations_held();
    result.output = output_of([&] {
        allocations = {.counted = true, .failing = failing};
        result.stream = codec_stream_create(tag, mode, &telephone_pcm, block_bytes);
        allocations.counted = false;
    });
    result.requests_made = allocations.made;
    result.still_held = allocations_held() - held_before;
    return result;
}

void expect_failure(const Creation& creation, const std::string& out, const std::string& err, int held) {
    EXPECT_EQ(creation.stream, nullptr);
    EXPECT_EQ(creation.output.out, out);
    EXPECT_EQ(creation.output.err, err);
    EXPECT_EQ(creation.still_held, held);
}

// What a law's init returns when it gets its private block and nothing more.
int init_without_a_map(CodecInit init) {
    CodecStream stream = {};
    stream.name = "some law";
    int result = 0;
    output_of([&] {
        const FailingAllocations others(2);
        result = init(stream, codec_mode_encode);
    });
    std::free(stream.codec_private);
    return result;
}

// A law's maps are built once in a process: the steps of one law stand in one test, in their order.
void run_out_at_every_step_of_a_law(std::uint32_t tag, const char* name, CodecInit init) {
    const std::string line = codec_line(name);
    expect_failure(create(tag, 1), "", "Out of memory for codec stream !\n", 0);
    expect_failure(create(tag, 2), line, "Out of memory for LAW CB !\n", 0);
    // Kept: the private block stays taken. Requests are the record, the private block, the encode map, the decode map.
    expect_failure(create(tag, 3), line, "Out of memory for LAW Encode Map !\n", 1);
    EXPECT_EQ(init_without_a_map(init), -1);
    // The encode map was asked for again: it stays, beside the private block.
    expect_failure(create(tag, 4), line, "Out of memory for LAW Decode Map !\n", 2);
    EXPECT_EQ(init_without_a_map(init), -1);
    // Now the encode map is there: only the decode map is asked for, then the buffers. Private block and map stay.
    expect_failure(create(tag, 4), line, "Out of memory for IBUFF of 2048 !\n", 2);
    // Both maps are there.
    expect_failure(create(tag, 4), line, "Out of memory for OBUFF of 1024 !\n", 1);

    const Creation whole = create(tag, 0);
    ASSERT_NE(whole.stream, nullptr);
    EXPECT_EQ(whole.requests_made, 4);
    EXPECT_EQ(whole.output.err, "");

    // Negative one in the first byte pair, 0 in the second: the maps work.
    const std::uint8_t pcm[4] = {0xFF, 0xFF, 0, 0};
    std::uint8_t codes[2] = {};
    EXPECT_EQ(whole.stream->encode(*whole.stream, pcm, codes, 4), 2u);
    EXPECT_EQ(codes[0], tag == 0x0006 ? 0x55 : 0x7F);
    EXPECT_EQ(codes[1], tag == 0x0006 ? 0xD5 : 0xFF);
}

}  // namespace

TEST(CodecMemory, AlawRunsOutAtEveryRequestAndAMissingMapIsTriedAgain) {
    run_out_at_every_step_of_a_law(0x0006, "G.711 A-LAW", g711_alaw_init);
}

TEST(CodecMemory, UlawRunsOutAtEveryRequestAndAMissingMapIsTriedAgain) {
    run_out_at_every_step_of_a_law(0x0007, "G.711 U-LAW", g711_ulaw_init);
}

TEST(CodecMemory, EveryOtherCodecRunsOutAtEveryRequest) {
    const struct {
        std::uint32_t tag;
        const char* name;
        int mode;
        std::int16_t block_bytes;
        std::vector<std::string> wants;  // behind the record, in order; what stays held is the private block
    } rows[] = {
        {0x0001, "Linear PCM", codec_mode_encode, 0,   {"IBUFF of 1024"}                             },
        {0x0011, "IMA ADPCM",  codec_mode_encode, 0,   {"ADPCM CB", "IBUFF of 4096", "OBUFF of 1024"}},
        {0x0011, "IMA ADPCM",  0,                 100, {"ADPCM CB", "IBUFF of 100", "OBUFF of 400"}  },
        {0x0031, "GSM 06.10",  codec_mode_encode, 0,   {"GSM CB", "IBUFF of 640", "OBUFF of 65"}     },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        expect_failure(create(row.tag, 1, row.mode, row.block_bytes), "", "Out of memory for codec stream !\n", 0);
        for (std::size_t i = 0; i < row.wants.size(); i++) {
            const Creation failed = create(row.tag, static_cast<int>(i) + 2, row.mode, row.block_bytes);
            expect_failure(failed, codec_line(row.name), "Out of memory for " + row.wants[i] + " !\n", i == 0 ? 0 : 1);
        }
        const Creation whole = create(row.tag, 0, row.mode, row.block_bytes);
        EXPECT_NE(whole.stream, nullptr);
        EXPECT_EQ(whole.requests_made, static_cast<int>(row.wants.size()) + 1);
    }
}

TEST(CodecMemory, BlockSizeThatIsRefusedTakesNothingForGood) {
    const Creation refused = create(0x0011, 0, codec_mode_encode, 8192);
    expect_failure(refused, "", "", 0);
    EXPECT_EQ(refused.requests_made, 1);  // the record, which is released
}

TEST(CodecMemory, UnsupportedTagAsksForNothing) {
    for (const std::uint32_t tag : {0x0000u, 0x0002u, 0x1234u}) EXPECT_EQ(create(tag, 0).requests_made, 0);
}

TEST(CodecMemory, InitWithoutItsPrivateBlockReturnsMinusOneAndLeavesTheStreamWithout) {
    for (const CodecInit init : {g711_alaw_init, g711_ulaw_init, ima_adpcm_init, gsm0610_init}) {
        int anything = 0;
        CodecStream stream = {};
        stream.name = "some codec";
        stream.codec_private = &anything;
        output_of([&] {
            const FailingAllocations all(1);
            EXPECT_EQ(init(stream, codec_mode_encode), -1);
        });
        EXPECT_EQ(stream.codec_private, nullptr);
    }
}

TEST(CodecMemory, LibgsmWithoutTheLayoutOfWaveFilesIsRefusedAndItsStateReleasedAndForgotten) {
    wave_layout_is_missing = true;
    states_destroyed = 0;
    for (const int mode : {codec_mode_encode, 0}) {
        const Creation creation = create(0x0031, 0, mode);
        EXPECT_EQ(creation.stream, nullptr);
        EXPECT_EQ(creation.output.err, "");
    }
    EXPECT_EQ(states_destroyed, 2);

    CodecStream stream = {};
    stream.name = "GSM 06.10";
    output_of([&] { EXPECT_EQ(gsm0610_init(stream, codec_mode_encode), -1); });
    EXPECT_EQ(stream.codec_private, nullptr);
    wave_layout_is_missing = false;
}
