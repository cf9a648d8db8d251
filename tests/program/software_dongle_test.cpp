// SPDX-License-Identifier: MIT
// The program as it is built and shipped, with the software dongle, on the sample recordings.
#include <gmock/gmock.h>

#include "program/scenario.h"
#include "support/reference_coders.h"
#include "support/wave.h"

namespace {

using testing::EndsWith;
using testing::StartsWith;

constexpr int greeting_frames = 336;  // of the DVTOOL recording; the raw one has one less

Bytes sample(const std::string& name) {
    return read_file(std::string(QUAVER_SAMPLES) + "/" + name);
}

// The built program, with what it finds by itself.
ProgramCall shipped_program(const std::string& directory, const Lines& arguments) {
    ProgramCall call;
    call.path = QUAVER_PROGRAM;
    call.arguments = arguments;
    call.directory = directory;
    call.unset = {"SOUNDCARD", "DONGLE", "LD_LIBRARY_PATH"};
    return call;
}

struct Converted {
    ProgramResult result;
    Bytes wave;
};

Converted convert(const std::string& name, const Bytes& recording, const Lines& options = {"-W"}) {
    const TempDir directory;
    write_file(directory / name, recording);
    const ProgramResult result = run_program(shipped_program(directory.path(), options + name));
    return {result, read_file(directory / "greeting.wav")};
}

Bytes audio(const Bytes& wave) {
    return from_byte(wave, 44);
}

double power(const Bytes& pcm) {
    double sum = 0;
    for (const int sample : pcm_samples(pcm)) sum += double{1} * sample * sample;
    return sum / static_cast<double>(pcm.size() / 2);
}

TEST(SoftwareDongle, GreetingIsConvertedFromEndToEndAndHeard) {
    const Converted run = convert("greeting.dvtool", sample("greeting.dvtool"));
    EXPECT_EQ(run.result.status, 0);
    EXPECT_EQ(run.result.err, convert_teardown());
    EXPECT_THAT(run.result.out, StartsWith(banner() + codec_line()));
    EXPECT_THAT(run.result.out, EndsWith("\nConverting file 'greeting.dvtool' (DVTOOL) to 'greeting.wav': " +
                                         spinner(greeting_frames + 1) + "DONE\n"));
    // A block a frame, but for the last one, whose block nobody waits for: 107200 bytes are 104 pieces and a rest.
    const std::size_t data = 104 * 1024;
    EXPECT_EQ(first_bytes(run.wave, 44), pcm_head(data));
    EXPECT_EQ(run.wave.size(), 44 + data);
    EXPECT_GT(power(audio(run.wave)), 300.0 * 300.0) << "it is heard";
    EXPECT_LT(power(audio(run.wave)), 10000.0 * 10000.0);
}

TEST(SoftwareDongle, SameRecordingGivesTheSameBytes) {
    EXPECT_EQ(convert("greeting.dvtool", sample("greeting.dvtool")).wave,
              convert("greeting.dvtool", sample("greeting.dvtool")).wave);
}

TEST(SoftwareDongle, ReversedRecordingWithRGivesTheBytesOfThePlainOne) {
    const Bytes plain = sample("greeting.ambe");
    const Bytes expected = convert("greeting.ambe", plain).wave;
    EXPECT_EQ(convert("greeting.ambe", reversed(plain), {"-R", "-W"}).wave, expected);
    EXPECT_NE(convert("greeting.ambe", reversed(plain)).wave, expected);
    EXPECT_EQ(convert("greeting.ambe", reversed(plain), {"-WRRR"}).wave, expected);
}

TEST(SoftwareDongle, RawAndDvtoolFormsOfARecordingSoundTheSame) {
    const Bytes raw = audio(convert("greeting.ambe", sample("greeting.ambe")).wave);
    const Bytes dvtool = audio(convert("greeting.dvtool", sample("greeting.dvtool")).wave);
    ASSERT_GT(raw.size(), 100000U);
    EXPECT_EQ(first_bytes(dvtool, raw.size()), raw);
}

// The linear audio of a whole greeting. What the stream keeps at the end comes out in front of a second one.
Bytes greeting_pcm() {
    const TempDir directory;
    write_file(directory / "a.dvtool", sample("greeting.dvtool"));
    write_file(directory / "b.dvtool", sample("greeting.dvtool"));
    EXPECT_EQ(run_program(shipped_program(directory.path(), {"-W", "a.dvtool", "b.dvtool"})).status, 0);
    const Bytes pcm = audio(read_file(directory / "a.wav")) + audio(read_file(directory / "b.wav"));
    return first_bytes(pcm, (greeting_frames - 1) * block_bytes);
}

TEST(SoftwareDongle, EveryByteOfTheGreetingInEveryFormatIsPredicted) {
    const Bytes pcm = greeting_pcm();
    for (const ReferenceFile& format : reference_files) {
        const Converted run = convert("greeting.dvtool", sample("greeting.dvtool"), {"-W", "-F", format.option});
        EXPECT_EQ(run.wave, format.file(pcm)) << format.option;
        EXPECT_EQ(run.result.status, 0);
    }
}

TEST(SoftwareDongle, PlayModeRunsToTheEnd) {
    const TempDir directory;
    write_file(directory / "greeting.ambe", sample("greeting.ambe"));
    const ProgramResult result = run_program(shipped_program(directory.path(), {"greeting.ambe"}));
    EXPECT_THAT(result.out, EndsWith("Playing file 'greeting.ambe': " + spinner(greeting_frames) + "DONE\n"));
    EXPECT_EQ(result.err, play_teardown());
    EXPECT_EQ(result.status, 0);
}

}  // namespace
