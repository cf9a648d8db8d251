// SPDX-License-Identifier: MIT
// The files that the program writes, read by programs that are not ours.
#include <gmock/gmock.h>
#include <sndfile.h>
#include <stdlib.h>
#include <unistd.h>

#include "program/wave_run.h"
#include "support/wave.h"

namespace {

using Samples = std::vector<std::int16_t>;

struct ReadFile {
    SF_INFO info = {};
    Samples samples;
};

ReadFile read_with_libsndfile(const std::string& path) {
    ReadFile result;
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &result.info);
    EXPECT_NE(file, nullptr) << sf_strerror(nullptr);
    if (!file) return result;
    result.samples.resize(static_cast<std::size_t>(result.info.frames * result.info.channels));
    EXPECT_EQ(sf_readf_short(file, result.samples.data(), result.info.frames), result.info.frames);
    sf_close(file);
    return result;
}

ReadFile read_bytes(const Bytes& wave) {
    const TempDir directory;
    write_file(directory / "read.wav", wave);
    return read_with_libsndfile(directory / "read.wav");
}

// The samples as libsndfile itself codes and decodes them.
Samples through_libsndfile(Samples samples, int coding) {
    const TempDir directory;
    const std::string path = directory / "peer.wav";
    SF_INFO info = {};
    info.samplerate = 8000;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | coding;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    EXPECT_NE(file, nullptr);
    EXPECT_EQ(sf_write_short(file, samples.data(), static_cast<sf_count_t>(samples.size())),
              static_cast<sf_count_t>(samples.size()));
    sf_close(file);
    return read_with_libsndfile(path).samples;
}

void expect_mono_8000(const ReadFile& read, int coding) {
    EXPECT_EQ(read.info.samplerate, 8000);
    EXPECT_EQ(read.info.channels, 1);
    EXPECT_EQ(read.info.format & SF_FORMAT_SUBMASK, coding);
    EXPECT_EQ(read.info.format & SF_FORMAT_TYPEMASK, SF_FORMAT_WAV);
}

// Every value but -32768, which is kept apart: its code is that of the smallest negative step.
Samples every_value() {
    Samples samples;
    for (int i = -32767; i < 32768; i++) samples.push_back(static_cast<std::int16_t>(i));
    return samples;
}

// So that the last of them are not left in the stream.
Bytes padded_blocks(const Samples& samples) {
    Bytes pcm = pcm_bytes(samples) + zeros(4096);
    return pcm + zeros((block_bytes - pcm.size() % block_bytes) % block_bytes);
}

TEST(IndependentReaders, LibsndfileReadsWhatItsOwnCoderWouldHaveWritten) {
    const Samples samples = every_value();
    const std::pair<const char*, int> formats[] = {
        {"pcm",  SF_FORMAT_PCM_16},
        {"alaw", SF_FORMAT_ALAW  },
        {"ulaw", SF_FORMAT_ULAW  },
    };
    for (const auto& [format, coding] : formats) {
        const ReadFile read = read_bytes(convert_blocks(format, padded_blocks(samples)));
        expect_mono_8000(read, coding);
        ASSERT_GE(read.samples.size(), samples.size());
        EXPECT_EQ(Samples(read.samples.begin(), read.samples.begin() + std::ssize(samples)),
                  coding == SF_FORMAT_PCM_16 ? samples : through_libsndfile(samples, coding))
            << format;
    }
}

TEST(IndependentReaders, LogarithmicSamplesStayWithinHalfAStep) {
    const Samples samples = test_samples(160 * 40);
    for (const std::string format : {"alaw", "ulaw"}) {
        const ReadFile read = read_bytes(convert_blocks(format, pcm_bytes(samples)));
        ASSERT_GT(read.samples.size(), 5000U);
        for (std::size_t i = 0; i < read.samples.size(); i++) {
            const int magnitude = abs(int{samples[i]});
            // A step is a sixteenth of its segment; what is clipped lies within the last one.
            EXPECT_LE(abs(samples[i] - read.samples[i]), magnitude / 16 / 2 + 8 + magnitude / 32) << samples[i];
        }
    }
}

// The file that SIGKILL left after seven blocks: two pieces, and the sizes of a file that was never closed.
struct KilledRun {
    KilledRun() {
        scenario.blocks = test_blocks(7);
        EXPECT_EQ(scenario.run().signal, 9);
        audio = pcm_samples<std::int16_t>(first_bytes(scenario.blocks, 2048));
    }
    ThreeFrames scenario{{"-W"}, "recv 48 5\nrecv 320 4 7\nkill 9\nrecv 0 0\n"};
    Samples audio;
};

TEST(IndependentReaders, FileOfAKilledProgramOpensAndIsWholeOnceItsLengthIsBelieved) {
    const KilledRun killed;
    const Bytes wave = killed.scenario.file("rec.wav");
    expect_mono_8000(read_bytes(wave), SF_FORMAT_PCM_16);
    const ReadFile repaired = read_bytes(pcm_file(from_byte(wave, 44)));
    EXPECT_EQ(repaired.samples, killed.audio);
}

// The samples as another program writes them raw.
Samples read_with_program(const std::string& path, const Lines& arguments) {
    const TempDir directory;
    ProgramCall call;
    call.path = path;
    call.arguments = arguments;
    call.directory = directory.path();
    for (std::string& argument : call.arguments) {
        if (argument == "OUT") argument = directory / "out.raw";
    }
    const ProgramResult result = run_program(call);
    EXPECT_EQ(result.status, 0) << result.err;
    return pcm_samples<std::int16_t>(read_file(directory / "out.raw"));
}

class OtherPrograms : public testing::TestWithParam<const char*> {
  protected:
    // Writes the file and compares what libsndfile and `arguments` make of it; IN and OUT are file names.
    void expect_same(const std::string& program, Lines arguments) {
        ASSERT_EQ(access(program.c_str(), X_OK), 0) << program << " is not installed: scripts/bootstrap check";
        const TempDir directory;
        const std::string path = directory / "in.wav";
        write_file(path, convert_blocks(GetParam(), test_blocks(100)));
        for (std::string& argument : arguments) {
            if (argument == "IN") argument = path;
        }
        const Samples expected = read_with_libsndfile(path).samples;
        EXPECT_GT(expected.size(), 10000U);
        EXPECT_EQ(read_with_program(program, arguments), expected);
    }
};

TEST_P(OtherPrograms, SoxReadsTheSameSamples) {
    expect_same("/usr/bin/sox", {"-D", "IN", "-t", "raw", "-e", "signed-integer", "-b", "16", "-L", "OUT"});
}

TEST_P(OtherPrograms, FfmpegReadsTheSameSamples) {
    expect_same("/usr/bin/ffmpeg", {"-nostdin", "-v", "error", "-i", "IN", "-f", "s16le", "OUT"});
}

TEST(OtherProgramsAfterAKill, SoxReadsTheFileByItsLength) {
    const KilledRun killed;
    const std::string path = killed.scenario / "rec.wav";
    EXPECT_EQ(read_with_program("/usr/bin/sox", {"--ignore-length", path, "-t", "raw", "OUT"}), killed.audio);
}

TEST(OtherProgramsAfterAKill, FfmpegReadsTheFileByItsLength) {
    const KilledRun killed;
    const std::string path = killed.scenario / "rec.wav";
    EXPECT_EQ(read_with_program("/usr/bin/ffmpeg", {"-nostdin", "-v", "error", "-i", path, "-f", "s16le", "OUT"}),
              killed.audio);
}

INSTANTIATE_TEST_SUITE_P(Formats, OtherPrograms, testing::Values("pcm", "alaw", "ulaw"),
                         [](const testing::TestParamInfo<const char*>& format) { return std::string(format.param); });

}  // namespace
