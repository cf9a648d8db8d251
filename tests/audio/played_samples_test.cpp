// SPDX-License-Identifier: MIT
// What is heard, sample by sample: ALSA's own library writes what it is given to a file, over its device that plays
// nothing. The program is the one that is shipped, with the software dongle.
#include <gmock/gmock.h>
#include <unistd.h>

#include "program/scenario.h"
#include "support/run_program.h"

namespace {

constexpr std::size_t wave_head_bytes = 44;
constexpr std::size_t held_back_at_most = 1024;  // by a conversion: the rest of a piece that is not full

class PlayedSamples : public testing::Test {
  protected:
    PlayedSamples() {
        copy_sample("greeting.dvtool", "greeting.dvtool");
        copy_sample("counting.dvtool", "counting.dvtool");
        copy_sample("greeting.ambe", "raw.ambe");
        write_file(directory / "alsa.conf", bytes_of("pcm.nothing { type null }\n"
                                                     "pcm.!default { type file slave.pcm nothing format raw file \"" +
                                                     directory / "heard" + "\" }\n"));
    }

    void copy_sample(const std::string& sample, const std::string& name) const {
        write_file(directory / name, read_file(std::string(QUAVER_SAMPLES) + "/" + sample));
    }

    ProgramResult run(const Lines& arguments, const std::string& soundcard = "") const {
        ProgramCall call;
        call.path = QUAVER_PROGRAM;
        call.arguments = arguments;
        call.directory = directory.path();
        call.unset = {"DONGLE", "LD_LIBRARY_PATH", "SOUNDCARD"};
        call.environment = {
            {"ALSA_CONFIG_PATH", directory / "alsa.conf"}
        };
        if (!soundcard.empty()) call.environment.emplace_back("SOUNDCARD", soundcard);
        return run_program(call);
    }

    // The samples that a conversion of these files in one run writes; what it holds back of one begins the next.
    Bytes converted(const Lines& files) const {
        EXPECT_EQ(run(Lines{"-W", "-F", "pcm"} + files).status, 0);
        Bytes samples;
        for (const std::string& file : files) {
            const Bytes wave = read_file(directory / (file.substr(0, file.rfind('.')) + ".wav"));
            samples = samples + from_byte(wave, wave_head_bytes);
        }
        return samples;
    }

    void expect_heard(const Lines& files, std::size_t blocks) const {
        const Bytes heard = read_file(directory / "heard");
        const Bytes expected = converted(files);
        EXPECT_EQ(heard.size(), blocks * block_bytes);
        ASSERT_GE(heard.size(), expected.size());
        EXPECT_LT(heard.size() - expected.size(), held_back_at_most);
        EXPECT_TRUE(first_bytes(heard, expected.size()) == expected);
    }

    TempDir directory;
};

}  // namespace

TEST_F(PlayedSamples, AreThoseOfAConversion) {
    const ProgramResult result = run({"-v", "-D", "1", "greeting.dvtool"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, play_teardown());
    expect_heard({"greeting.dvtool"}, 335);  // 336 frames; nobody waits for the block of the last one
}

TEST_F(PlayedSamples, OfThreeFilesFollowEachOther) {
    const Lines files = {"greeting.dvtool", "counting.dvtool", "raw.ambe"};
    const ProgramResult result = run(Lines{"-v"} + files, "1");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, play_teardown(3));
    // 336, 470 and 335 frames, without the last of each.
    expect_heard(files, 335 + 469 + 334);
}

TEST_F(PlayedSamples, AreNoneWithoutANumber) {
    EXPECT_EQ(run({"-v", "greeting.dvtool"}).err, play_teardown());
    EXPECT_NE(access((directory / "heard").c_str(), F_OK), 0);
}
