// SPDX-License-Identifier: MIT
#include "riff/riff_rescue.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "riff/fourcc.h"
#include "support/temp_dir.h"
#include "support/wave.h"

namespace {

constexpr WaveFormat linear_pcm = {1, 1, 8000, 0, 0, 16, 0};
constexpr WaveFormat alaw = {6, 1, 8000, 0, 0, 8, 0};

// 38 bytes: the body ends in a count of extra bytes, 0.
Bytes alaw_head(unsigned outer_size) {
    return chunk_stating("RIFF", outer_size, bytes_of("WAVEfmt ")) + low_first_4(18) +
           bytes({6, 0, 1, 0, 0x40, 0x1F, 0, 0, 0x40, 0x1F, 0, 0, 1, 0, 8, 0, 0, 0});
}

class RiffRescue : public testing::Test {
  protected:
    ~RiffRescue() override { riff_rescue_end(); }

    // As the program does it: the file is there and empty before it is opened.
    void open(WaveFormat format = linear_pcm) {
        write_file(path, {});
        riff_rescue_begin(path.c_str(), fourcc("WAVE"), format);
        file = riff_open(path.c_str(), fourcc("WAVE"));
        ASSERT_NE(file, nullptr);
        ASSERT_EQ(riff_write_format(file, &format), 0);
        riff_rescue_attach(*file);
    }
    void write(const Bytes& data) {
        EXPECT_EQ(riff_write_data(file, data.data(), static_cast<int>(data.size())), static_cast<int>(data.size()));
        riff_rescue_note(*file);
    }
    Bytes content() const { return read_file(path); }

    TempDir directory;
    std::string path = directory / "rec.wav";
    RiffFile* file = nullptr;
};

const Bytes block_a(640, 0xAA);
const Bytes block_b(641, 0xBB);

TEST_F(RiffRescue, FileWithoutADataByteGetsAHeadThatIsWhole) {
    for (const auto& [format, head] : {std::pair(linear_pcm, wave_head(36)), std::pair(alaw, alaw_head(38))}) {
        open(format);
        EXPECT_EQ(content(), Bytes{});  // stdio still holds it
        riff_rescue_in_signal();
        EXPECT_EQ(content(), head);
        riff_close(file);
        EXPECT_EQ(content(), head);
        riff_rescue_end();
    }
}

TEST_F(RiffRescue, SizesAreThoseOfTheBytesInTheFile) {
    open();
    write(block_a);
    write(block_b);
    riff_rescue_in_signal();
    EXPECT_EQ(content(), wave_head(44 + 1281) + data_head(1281) + block_a + block_b);
    riff_close(file);
}

TEST_F(RiffRescue, FileIsTheOneThatCloseLeaves) {
    for (const WaveFormat& format : {linear_pcm, alaw}) {
        open(format);
        write(block_a);
        riff_rescue_in_signal();
        const Bytes rescued = content();
        riff_close(file);
        EXPECT_EQ(rescued, content());
        riff_rescue_end();
    }
}

TEST_F(RiffRescue, WritingGoesOnBehindTheLastByte) {
    open();
    write(block_a);
    riff_rescue_in_signal();
    write(block_b);
    riff_close(file);
    EXPECT_EQ(content(), wave_head(44 + 1281) + data_head(1281) + block_a + block_b);
}

TEST_F(RiffRescue, NewestOfSeveralDataHeadersGetsTheSize) {
    open();
    write({});
    write(block_a);
    riff_rescue_in_signal();
    EXPECT_EQ(content(), wave_head(52 + 640) + data_head(0) + data_head(640) + block_a);
    riff_close(file);
}

TEST_F(RiffRescue, FirstBlockCountsBeforeItsWriteWasNoted) {
    open();
    EXPECT_EQ(riff_write_data(file, block_a.data(), 640), 640);
    riff_rescue_in_signal();
    EXPECT_EQ(content(), wave_head(44 + 640) + data_head(640) + block_a);
    riff_close(file);
}

TEST_F(RiffRescue, EmptyFileThatIsBeingCreatedGetsAHead) {
    write_file(path, {});
    riff_rescue_begin(path.c_str(), fourcc("WAVE"), alaw);
    riff_rescue_in_signal();
    EXPECT_EQ(content(), alaw_head(38));
}

TEST_F(RiffRescue, FileThatWasNotTruncatedYetStaysAsItIs) {
    write_file(path, bytes_of("an older recording"));
    riff_rescue_begin(path.c_str(), fourcc("WAVE"), alaw);
    riff_rescue_in_signal();
    EXPECT_EQ(content(), bytes_of("an older recording"));
}

TEST_F(RiffRescue, FileThatIsNotThereIsNotCreated) {
    riff_rescue_begin(path.c_str(), fourcc("WAVE"), alaw);
    riff_rescue_in_signal();
    EXPECT_EQ(access(path.c_str(), F_OK), -1);
}

TEST_F(RiffRescue, PipeIsNeitherWaitedForNorWritten) {
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    riff_rescue_begin(path.c_str(), fourcc("WAVE"), alaw);
    riff_rescue_in_signal();
    const int reader = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    file = riff_open(path.c_str(), fourcc("WAVE"));
    ASSERT_NE(file, nullptr);
    riff_rescue_attach(*file);
    riff_rescue_in_signal();
    std::uint8_t byte = 0;
    EXPECT_EQ(::read(reader, &byte, 1), -1);
    EXPECT_EQ(errno, EAGAIN);
    riff_rescue_end();
    std::fclose(file->stream);
    std::free(file);
    ::close(reader);
}

TEST_F(RiffRescue, ExtraBytesAreNoPartOfTheHead) {
    WaveFormat with_extra_bytes = alaw;
    with_extra_bytes.extra_bytes = 4;
    write_file(path, {});
    riff_rescue_begin(path.c_str(), fourcc("WAVE"), with_extra_bytes);
    riff_rescue_in_signal();
    EXPECT_EQ(content(), alaw_head(38));
}

TEST_F(RiffRescue, PlaceThatCouldNotBeToldIsNoPlaceForTheDataSize) {
    open();
    write(block_a);
    file->data_patch_position = 3;
    riff_rescue_note(*file);
    riff_rescue_in_signal();
    EXPECT_EQ(content(), pcm_file(block_a));
    riff_close(file);
}

TEST_F(RiffRescue, NothingIsRescuedAfterTheEnd) {
    open();
    write(block_a);
    riff_close(file);
    riff_rescue_end();
    write_file(path, {});
    riff_rescue_in_signal();
    riff_rescue_at_exit();
    EXPECT_EQ(content(), Bytes{});
}

// In a process of its own, since it ends in `exit`.
TEST_F(RiffRescue, WhatStdioHoldsDoesNotGoOverTheSizesAtExit) {
    open();
    const pid_t child = fork();
    if (child == 0) {
        riff_rescue_at_exit();
        std::exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(content(), wave_head(36));
    std::fclose(file->stream);
    std::free(file);
}

}  // namespace
