// SPDX-License-Identifier: MIT
// Every byte of the WAVE files that the program writes, predicted without its own coders, and how blocks gather across
// files. Every sample and every block, tests/codec/ holds.
#include <gmock/gmock.h>

#include "program/wave_run.h"
#include "support/reference_coders.h"
#include "support/wave.h"

namespace {

TEST(WaveFiles, LinearPcmComesOutUnchangedInPiecesOnceTheNextByteComes) {
    // 16 blocks are exactly five pieces of 1024 bytes: four are written.
    for (const std::size_t blocks : {0U, 1U, 3U, 4U, 6U, 7U, 10U, 16U, 17U, 100U, 5000U}) {
        const Bytes pcm = test_blocks(blocks);
        const Bytes data = first_bytes(pcm, coded_inputs(pcm.size(), 1024) * 1024);
        EXPECT_EQ(convert_blocks("pcm", pcm), pcm_file(data)) << blocks;
    }
}

TEST(WaveFiles, FourBlocksAreTheBytesWorkedOutByHand) {
    const Bytes pcm = test_blocks(4);
    const Bytes head =
        bytes_of("RIFF") + bytes({0x2C, 0x04, 0, 0}) +  // 1068: the whole file
        bytes_of("WAVE") +                              //
        bytes_of("fmt ") + bytes({0x10, 0, 0, 0}) +     //
        bytes({0x01, 0x00, 0x01, 0x00, 0x40, 0x1F, 0x00, 0x00, 0x80, 0x3E, 0x00, 0x00, 0x02, 0x00, 0x10, 0x00}) +  //
        bytes_of("data") + bytes({0x00, 0x04, 0, 0});
    EXPECT_EQ(convert_blocks("pcm", pcm), head + first_bytes(pcm, 1024));
}

TEST(WaveFiles, EveryByteOfEveryOtherFormatIsPredicted) {
    for (const ReferenceFile& format : reference_files) {
        for (const std::size_t blocks : {0U, 2U, 3U, 6U, 7U, 32U, 120U}) {
            const Bytes pcm = test_blocks(blocks);
            EXPECT_EQ(convert_blocks(format.option, pcm), format.file(pcm)) << format.option << " " << blocks;
        }
    }
}

TEST(WaveFiles, CodedFileWithoutAudioEndsAfterAnEighteenByteFormat) {
    EXPECT_EQ(convert_blocks("ulaw", {}),
              bytes_of("RIFF") + bytes({38, 0, 0, 0}) + bytes_of("WAVEfmt ") + bytes({18, 0, 0, 0}) +
                  bytes({7, 0, 1, 0, 0x40, 0x1F, 0, 0, 0x40, 0x1F, 0, 0, 1, 0, 8, 0, 0, 0}));
}

// "a.ambe", "b.ambe" and so on; while each is converted the vocoder delivers so many blocks.
struct SeveralFiles : Scenario {
    SeveralFiles(const std::string& format, const std::vector<std::size_t>& block_counts)
        : Scenario({"-W", "-F", format}, "") {
        std::size_t total = 0;
        for (const std::size_t count : block_counts) {
            const std::string name = std::string(1, static_cast<char>('a' + arguments.size() - 3)) + ".ambe";
            add_file(name, raw_recording({frame(1)}));
            arguments.push_back(name);
            if (count > 0) script += "recv 320 4 " + std::to_string(count) + "\n";
            script += "recv 48 5\n";
            total += count;
        }
        blocks = test_blocks(total);
    }
};

TEST(WaveFiles, WhatOneFileLeavesGoesOutWithTheNextThatRunsAndFillsIt) {
    const std::vector<std::size_t> block_counts = {3, 1, 5, 1, 0, 4, 2, 16, 1};
    SeveralFiles scenario("pcm", block_counts);
    scenario.arguments.insert(scenario.arguments.begin() + 4, "missing.ambe");
    EXPECT_EQ(scenario.run().err, convert_teardown(static_cast<int>(block_counts.size())));
    StreamModel stream;
    std::size_t position = 0;
    std::string name = "a.wav";
    for (const std::size_t count : block_counts) {
        const Bytes delivered = slice(scenario.blocks, position, count * block_bytes);
        EXPECT_EQ(scenario.file(name), pcm_file(stream.hands_on(delivered))) << name;
        position += delivered.size();
        ++name[0];
    }
}

TEST(WaveFiles, StateOfTheCodecRunsOnFromFileToFile) {
    for (const std::string format : {"adpcm", "gsm"}) {
        const SeveralFiles scenario(format, {14, 14});
        scenario.run();
        const Bytes first = from_byte(scenario.file("a.wav"), 46);
        const Bytes second = from_byte(scenario.file("b.wav"), 46);
        ASSERT_FALSE(first.empty());
        ASSERT_FALSE(second.empty());
        EXPECT_EQ(first + second, from_byte(convert_blocks(format, scenario.blocks), 46)) << format;
    }
}

TEST(WaveFiles, AudioComesOnlyFromBlocks) {
    // Unknown packets of the block's length, or of its type, add nothing.
    ThreeFrames scenario({"-W"}, "recv 320 4 2\nrecv 320 5\nrecv 319 4\nrecv 320 4 2\nrest 48 5\n");
    scenario.blocks = test_blocks(4);
    scenario.run();
    EXPECT_EQ(scenario.file("rec.wav"), pcm_file(first_bytes(scenario.blocks, 1024)));
}

}  // namespace
