// SPDX-License-Identifier: MIT
#include "player/sink.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>

#include "player/stream_owner.h"
#include "riff/riff_rescue.h"
#include "support/capture.h"
#include "support/temp_dir.h"

namespace {

std::string output_name_of(const std::string& path) {
    char* name = output_name(path.c_str());
    const std::string result = name;
    std::free(name);
    return result;
}

PcmBlock pcm_block(const Bytes& block) {
    return std::span(block).first<pcm_block_bytes>();
}

Bytes pulled() {
    Bytes block(pcm_block_bytes, 0xEE);
    EXPECT_EQ(pull_block(nullptr, block.data()), 320);
    return block;
}

const Bytes silence(320, 0);

// A player that converts "rec.ambe" of its directory.
class ConvertSink : public testing::Test {
  protected:
    void SetUp() override {
        output_of([this] { ASSERT_EQ(player_start_codec(player), 0); });
    }

    // From the start of the sink to its stop; what was said comes back.
    Output converted(const std::function<void()>& action = [] {}) {
        return output_of([&] {
            ASSERT_EQ(convert_sink.start(player, (dir / "rec.ambe").c_str()), 0);
            action();
            convert_sink.stop(player);
        });
    }
    Bytes wave() const { return read_file(dir / "rec.wav"); }

    void expect_no_callback() const {
        EXPECT_EQ(player.stream->io, nullptr);
        EXPECT_EQ(player.stream->io_context, nullptr);
    }

    TempDir dir;
    Player player;
    StreamOwner owner{player};
};

}  // namespace

TEST(OutputName, LastExtensionIsReplaced) {
    EXPECT_EQ(output_name_of("rec.dvtool"), "rec.wav");
    EXPECT_EQ(output_name_of("rec.a"), "rec.wav");
    EXPECT_EQ(output_name_of("rec.2026.ambe"), "rec.2026.wav");
    EXPECT_EQ(output_name_of("rec."), "rec.wav");
}

TEST(OutputName, DotInTheDirectoryCounts) {
    EXPECT_EQ(output_name_of("dir.v/rec"), "dir.wav");
    EXPECT_EQ(output_name_of("./rec"), ".wav");
    EXPECT_EQ(output_name_of("../rec"), "..wav");
}

TEST(OutputName, NameWithoutADotStaysAsItIs) {
    EXPECT_EQ(output_name_of("rec"), "rec");
}

TEST(OutputName, NameThatEndsInWavStaysAsItIs) {
    EXPECT_EQ(output_name_of("rec.wav"), "rec.wav");
}

TEST(OutputName, NamesOfAnyLengthWork) {
    for (const std::size_t length : {122u, 123u, 124u, 127u, 128u, 4096u, 100000u}) {
        const std::string stem(length, 'x');
        EXPECT_EQ(output_name_of(stem + ".dvtool"), stem + ".wav");
        EXPECT_EQ(output_name_of(stem + "."), stem + ".wav");
    }
}

// As where the arguments of the program end: no byte behind the path is there to be read.
TEST(OutputName, NothingBehindThePathIsRead) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* pages = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(pages, MAP_FAILED);
    char* end = static_cast<char*>(pages) + page;
    ASSERT_EQ(mprotect(end, page, PROT_NONE), 0);
    for (const char* path : {"r", "rec", "rec.dvtool"}) {
        const std::size_t bytes = std::strlen(path) + 1;
        std::memcpy(end - bytes, path, bytes);
        char* name = output_name(end - bytes);
        ASSERT_NE(name, nullptr);
        EXPECT_EQ(name, output_name_of(path));
        std::free(name);
    }
    munmap(pages, 2 * page);
}

TEST(PullBlock, EachBlockIsPulledOnceThenSilence) {
    Player player;
    const Bytes block(320, 0x5A);
    play_sink.write(player, pcm_block(block));
    EXPECT_EQ(pulled(), block);
    EXPECT_EQ(pulled(), silence);
    EXPECT_EQ(pulled(), silence);
}

TEST(PullBlock, BlockThatWasNotPulledIsOverwritten) {
    Player player;
    for (const Bytes& block : {Bytes(320, 1), Bytes(320, 2)}) play_sink.write(player, pcm_block(block));
    EXPECT_EQ(pulled(), Bytes(320, 2));
    EXPECT_EQ(pulled(), silence);
}

TEST(PullBlock, ContextIsIgnored) {
    int anything = 0;
    Bytes block(320, 0xEE);
    EXPECT_EQ(pull_block(&anything, block.data()), 320);
    EXPECT_EQ(block, silence);
}

TEST_F(ConvertSink, OutputThatCannotBeCreatedIsSaid) {
    int result = 0;
    const std::string path = dir / "missing/rec.ambe";
    const Output output = output_of([&] { result = convert_sink.start(player, path.c_str()); });
    EXPECT_EQ(result, -1);
    EXPECT_EQ(output.out, " to '" + (dir / "missing/rec.wav") + "': CANNOT CREATE\n");
    EXPECT_EQ(output.err, "Unable to create file '" + (dir / "missing/rec.wav") + "' !\n");
    expect_no_callback();
}

TEST_F(ConvertSink, FileWithoutBlocksHoldsTheFormatAndNothingElse) {
    const Output output = converted();
    EXPECT_EQ(output.out, " to '" + (dir / "rec.wav") + "': ");
    EXPECT_EQ(output.err, "> Closing RIFF.\n> RIFF closed.\n");
    expect_no_callback();
    EXPECT_EQ(wave().size(), 36u);
}

TEST_F(ConvertSink, BlocksReachTheFileThroughTheCodecStream) {
    const Bytes block(320, 0x21);
    converted([&] {
        for (int i = 0; i < 4; i++) convert_sink.write(player, pcm_block(block));  // byte 1025 of 1280 sends 1024 on
    });
    ASSERT_EQ(wave().size(), 44u + 1024u);
    EXPECT_EQ(from_byte(wave(), 44), Bytes(1024, 0x21));
}

TEST_F(ConvertSink, FormatInTheFileIsThatOfTheStreamsOutput) {
    player.stream->output_format = {.channels = 2, .bits_per_sample = 24, .sample_rate = 44100};
    converted();
    // 44100 is 0xAC44; 6 bytes a frame make 264600, 0x040998, bytes a second.
    EXPECT_EQ(from_byte(wave(), 20), bytes({1, 0, 2, 0, 0x44, 0xAC, 0, 0, 0x98, 0x09, 0x04, 0, 6, 0, 24, 0}));
}

TEST_F(ConvertSink, CodecCallbackReturnsTheBytesThatWereWritten) {
    Bytes data = bytes({1, 2, 3, 4, 5});
    converted([&] {
        EXPECT_EQ(player.stream->io(player.stream->io_context, data.data(), 5), 5);
        EXPECT_EQ(player.stream->io(player.stream->io_context, data.data(), 0), 0);
    });
    EXPECT_EQ(wave().size(), 44u + 5u);
}

TEST_F(ConvertSink, FileThatIsClosedIsNoLongerRescued) {
    converted();
    // Takes the descriptor that the WAVE file had.
    std::FILE* other = std::fopen((dir / "other").c_str(), "wb+");
    riff_rescue_in_signal();
    std::fclose(other);
    EXPECT_EQ(read_file(dir / "other"), Bytes{});
}

TEST(PlaySink, StopIsAnnouncedOnStandardError) {
    Player player;
    const Output output = output_of([&] { play_sink.stop(player); });
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "> Stopping Audio.\n> Audio stopped.\n");
}
