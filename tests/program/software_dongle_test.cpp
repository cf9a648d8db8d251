// SPDX-License-Identifier: MIT
// The program as it is built and shipped, with the software dongle, on the sample recordings.
#include <gmock/gmock.h>

#include "program/recordings.h"
#include "program/scenario.h"
#include "program/wave_run.h"

namespace {

using testing::EndsWith;
using testing::StartsWith;

constexpr int greeting_frames = 336;  // of the DVTOOL recording; the raw one has one less

Bytes sample(const std::string& name) {
    return read_file(std::string(QUAVER_SAMPLES) + "/" + name);
}

struct Converted {
    ProgramResult result;
    Bytes wave;
};

// Runs the built program with what it finds by itself.
Converted convert(const std::string& name, const Bytes& recording, const Lines& options = {"-W"}) {
    const TempDir directory;
    write_file(directory / name, recording);
    ProgramCall call;
    call.path = QUAVER_PROGRAM;
    call.arguments = options + name;
    call.directory = directory.path();
    call.unset = {"SOUNDCARD", "DONGLE", "LD_LIBRARY_PATH"};
    return {run_program(call), read_file(directory / "greeting.wav")};
}

Bytes audio(const Bytes& wave) {
    return from_byte(wave, 44);
}

double power(const Bytes& pcm) {
    double sum = 0;
    for (const std::int16_t sample : bytes_to_samples(pcm)) sum += double{1} * sample * sample;
    return sum / static_cast<double>(pcm.size() / 2);
}

TEST(SoftwareDongle, GreetingIsConvertedFromEndToEnd) {
    const Converted run = convert("greeting.dvtool", sample("greeting.dvtool"));
    EXPECT_EQ(run.result.status, 0);
    EXPECT_EQ(run.result.err, convert_teardown());
    EXPECT_THAT(run.result.out, StartsWith(banner() + codec_line()));
    EXPECT_THAT(run.result.out, EndsWith("\nConverting file 'greeting.dvtool' (DVTOOL) to 'greeting.wav': " +
                                         spinner(greeting_frames + 1) + "DONE\n"));
    // A block a frame, but for the last one, whose block nobody waits for: 107200 bytes are 104 pieces and a rest.
    const std::size_t data = 104 * 1024;
    EXPECT_EQ(first_bytes(run.wave, 44), pcm_head(static_cast<unsigned>(data)));
    EXPECT_EQ(run.wave.size(), 44 + data);
}

TEST(SoftwareDongle, GreetingIsHeard) {
    const Bytes pcm = audio(convert("greeting.dvtool", sample("greeting.dvtool")).wave);
    EXPECT_GT(power(pcm), 300.0 * 300.0);
    EXPECT_LT(power(pcm), 10000.0 * 10000.0);
}

TEST(SoftwareDongle, SameRecordingGivesTheSameBytes) {
    EXPECT_EQ(convert("greeting.dvtool", sample("greeting.dvtool")).wave,
              convert("greeting.dvtool", sample("greeting.dvtool")).wave);
}

TEST(SoftwareDongle, ReversedRecordingWithRGivesTheBytesOfThePlainOne) {
    const Bytes plain = sample("greeting.ambe");
    const Bytes expected = convert("greeting.ambe", plain).wave;
    EXPECT_EQ(convert("greeting.ambe", mirrored(plain), {"-R", "-W"}).wave, expected);
    EXPECT_NE(convert("greeting.ambe", mirrored(plain)).wave, expected);
    EXPECT_EQ(convert("greeting.ambe", mirrored(plain), {"-WRRR"}).wave, expected);
}

TEST(SoftwareDongle, RawAndDvtoolFormsOfARecordingSoundTheSame) {
    const Bytes raw = audio(convert("greeting.ambe", sample("greeting.ambe")).wave);
    const Bytes dvtool = audio(convert("greeting.dvtool", sample("greeting.dvtool")).wave);
    ASSERT_GT(raw.size(), 100000U);
    EXPECT_EQ(first_bytes(dvtool, raw.size()), raw);
}

TEST(SoftwareDongle, EveryFormatWritesWholePieces) {
    struct Row {
        const char* format;
        std::size_t pcm_per_piece, bytes_per_piece;
    };
    const std::size_t pcm = (greeting_frames - 1) * block_bytes;
    for (const Row row : {
             Row{"alaw",  2048, 1024},
             {"ulaw",  2048, 1024},
             {"adpcm", 4096, 2048},
             {"gsm",   640,  640 }
    }) {
        const Converted run = convert("greeting.dvtool", sample("greeting.dvtool"), {"-W", "-F", row.format});
        EXPECT_EQ(run.wave.size(), 46 + (pcm - 1) / row.pcm_per_piece * row.bytes_per_piece) << row.format;
        EXPECT_EQ(run.result.status, 0);
    }
}

TEST(SoftwareDongle, PlayModeRunsToTheEnd) {
    const TempDir directory;
    write_file(directory / "greeting.ambe", sample("greeting.ambe"));
    ProgramCall call;
    call.path = QUAVER_PROGRAM;
    call.arguments = {"greeting.ambe"};
    call.directory = directory.path();
    call.unset = {"SOUNDCARD", "DONGLE", "LD_LIBRARY_PATH"};
    const ProgramResult result = run_program(call);
    EXPECT_THAT(result.out, EndsWith("Playing file 'greeting.ambe': " + spinner(greeting_frames) + "DONE\n"));
    EXPECT_EQ(result.err, play_teardown());
    EXPECT_EQ(result.status, 0);
}

}  // namespace
