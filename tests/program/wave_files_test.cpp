// SPDX-License-Identifier: MIT
// Every byte of the WAVE files that the program writes, linear PCM, and how blocks gather across files.
#include <gmock/gmock.h>

#include "program/recordings.h"
#include "program/scenario.h"
#include "program/wave_run.h"

namespace {

constexpr std::size_t piece_bytes = 1024;  // what a linear stream hands on at once

// A full piece goes out when the next byte arrives.
std::size_t pieces(std::size_t blocks) {
    return blocks == 0 ? 0 : (blocks * block_bytes - 1) / piece_bytes;
}

TEST(WaveFiles, FileWithoutAudioEndsAfterTheFormat) {
    const Bytes expected = bytes_of("RIFF") + bytes({36, 0, 0, 0}) + bytes_of("WAVEfmt ") + bytes({16, 0, 0, 0}) +
                           bytes({1, 0, 1, 0, 0x40, 0x1F, 0, 0, 0x80, 0x3E, 0, 0, 2, 0, 16, 0});
    EXPECT_EQ(convert_blocks("pcm", {}).wave, expected);
    EXPECT_EQ(convert_blocks("pcm", test_blocks(1)).wave, expected);
    EXPECT_EQ(convert_blocks("pcm", test_blocks(3)).wave, expected);
}

TEST(WaveFiles, FourBlocksWriteTheirFirst1024BytesBehind44) {
    const Bytes pcm = test_blocks(4);
    const Bytes expected =
        bytes_of("RIFF") + bytes({0x2C, 0x04, 0, 0}) +  // 1068: the whole file
        bytes_of("WAVE") +                              //
        bytes_of("fmt ") + bytes({0x10, 0, 0, 0}) +     //
        bytes({0x01, 0x00, 0x01, 0x00, 0x40, 0x1F, 0x00, 0x00, 0x80, 0x3E, 0x00, 0x00, 0x02, 0x00, 0x10, 0x00}) +  //
        bytes_of("data") + bytes({0x00, 0x04, 0, 0}) + first_bytes(pcm, 1024);
    EXPECT_EQ(convert_blocks("pcm", pcm).wave, expected);
}

TEST(WaveFiles, LinearPcmComesOutUnchangedInWholePieces) {
    for (const std::size_t blocks : {4U, 6U, 7U, 10U, 16U, 17U, 100U}) {
        const Bytes pcm = test_blocks(blocks);
        const std::size_t data = pieces(blocks) * piece_bytes;
        EXPECT_EQ(convert_blocks("pcm", pcm).wave, pcm_head(static_cast<unsigned>(data)) + first_bytes(pcm, data))
            << blocks;
    }
}

TEST(WaveFiles, LastFullPieceStaysUntilItsNextByteComes) {
    // 16 blocks are exactly five pieces of 1024 bytes: four are written.
    EXPECT_EQ(convert_blocks("pcm", test_blocks(16)).wave.size(), 44U + 4 * 1024);
    EXPECT_EQ(convert_blocks("pcm", test_blocks(17)).wave.size(), 44U + 5 * 1024);
}

TEST(WaveFiles, LongConversionKeepsEveryByte) {
    const Bytes pcm = test_blocks(5000);
    const std::size_t data = pieces(5000) * piece_bytes;
    EXPECT_EQ(convert_blocks("pcm", pcm).wave, pcm_head(static_cast<unsigned>(data)) + first_bytes(pcm, data));
}

// One file for each count; while it runs the vocoder delivers so many blocks.
void convert_several(Scenario& scenario, const std::string& format, const std::vector<std::size_t>& block_counts) {
    std::size_t total = 0;
    scenario.arguments = {"-W", "-F", format};
    for (std::size_t i = 0; i < block_counts.size(); i++) {
        const std::string name(1, static_cast<char>('a' + i));
        scenario.add_file(name + ".ambe", raw_recording({frame(1)}));
        scenario.arguments.push_back(name + ".ambe");
        if (block_counts[i] > 0) scenario.script += "recv 320 4 " + std::to_string(block_counts[i]) + "\n";
        scenario.script += "recv 48 5\n";
        total += block_counts[i];
    }
    scenario.blocks = test_blocks(total);
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.err, convert_teardown(static_cast<int>(block_counts.size())));
}

Bytes slice(const Bytes& content, std::size_t start, std::size_t count) {
    return first_bytes(from_byte(content, start), count);
}

TEST(WaveFiles, WhatOneFileLeavesGoesOutWithTheNext) {
    Scenario scenario;
    convert_several(scenario, "pcm", {3, 1});
    EXPECT_EQ(scenario.file("a.wav").size(), 36U);
    EXPECT_EQ(scenario.file("b.wav"), pcm_head(1024) + slice(scenario.blocks, 0, 1024));
}

TEST(WaveFiles, PieceOfSeveralFilesGoesToTheOneThatFillsIt) {
    Scenario scenario;
    convert_several(scenario, "pcm", {5, 1, 0, 4, 2});
    // 1600 bytes: one piece; 1920; 1920; 3200: pieces 2 and 3; 3840.
    EXPECT_EQ(scenario.file("a.wav"), pcm_head(1024) + slice(scenario.blocks, 0, 1024));
    EXPECT_EQ(scenario.file("b.wav").size(), 36U);
    EXPECT_EQ(scenario.file("c.wav").size(), 36U);
    EXPECT_EQ(scenario.file("d.wav"), pcm_head(2048) + slice(scenario.blocks, 1024, 2048));
    EXPECT_EQ(scenario.file("e.wav").size(), 36U);
}

TEST(WaveFiles, FullPieceThatWaitedGoesOutWithTheFirstByteOfTheNextFile) {
    Scenario scenario;
    convert_several(scenario, "pcm", {16, 1});
    EXPECT_EQ(scenario.file("a.wav"), pcm_head(4096) + slice(scenario.blocks, 0, 4096));
    EXPECT_EQ(scenario.file("b.wav"), pcm_head(1024) + slice(scenario.blocks, 4096, 1024));
}

TEST(WaveFiles, LeftOverSurvivesAFileThatCannotBeStarted) {
    Scenario scenario;
    scenario.add_file("a.ambe", raw_recording({frame(1)}));
    scenario.add_file("b.ambe", raw_recording({frame(1)}));
    scenario.arguments = {"-W", "a.ambe", "missing.ambe", "b.ambe"};
    scenario.script = "recv 320 4 3\nrecv 48 5\nrecv 320 4 1\nrecv 48 5\n";
    scenario.blocks = test_blocks(4);
    scenario.run();
    EXPECT_EQ(scenario.file("b.wav"), pcm_head(1024) + slice(scenario.blocks, 0, 1024));
}

TEST(WaveFiles, StateOfTheCodecRunsOnFromFileToFile) {
    for (const std::string format : {"adpcm", "gsm"}) {
        Scenario scenario;
        convert_several(scenario, format, {14, 14});
        const Bytes first = from_byte(scenario.file("a.wav"), 46);
        const Bytes second = from_byte(scenario.file("b.wav"), 46);
        const Bytes whole = from_byte(convert_blocks(format, scenario.blocks).wave, 46);
        ASSERT_FALSE(first.empty());
        ASSERT_FALSE(second.empty());
        EXPECT_EQ(first + second, whole) << format;
    }
}

TEST(WaveFiles, AudioComesOnlyFromBlocks) {
    // Unknown packets of the block's length, or of its type, add nothing.
    ThreeFrames scenario;
    scenario.blocks = test_blocks(4);
    scenario.script = "recv 320 4 2\nrecv 320 5\nrecv 319 4\nrecv 320 4 2\nrest 48 5\n";
    scenario.run();
    EXPECT_EQ(scenario.file("rec.wav"), pcm_head(1024) + first_bytes(scenario.blocks, 1024));
}

}  // namespace
