// SPDX-License-Identifier: MIT
// SOUNDCARD and DONGLE, and what the options make of them.
#include <gmock/gmock.h>

#include "program/scenario.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

const char* const no_device = "No audio devices detected.\n";

using Variables = std::vector<std::pair<std::string, std::string>>;

Outcome outcome_with(const Variables& variables, const Lines& options = {}) {
    ThreeFrames scenario(options);
    scenario.environment = variables;
    return scenario.run();
}

TEST(Environment, DongleNamesThePort) {
    EXPECT_THAT(outcome_with({
                                 {"DONGLE", "/dev/ttyACM3"}
    })
                    .calls,
                Contains("dongle_init(/dev/ttyACM3, 230400)"));
}

TEST(Environment, DongleIsCutTo15Characters) {
    EXPECT_THAT(outcome_with({
                                 {"DONGLE", "12345678901234567890"}
    })
                    .calls,
                Contains("dongle_init(123456789012345, 230400)"));
    EXPECT_THAT(outcome_with({
                                 {"DONGLE", std::string(9000, 'x')}
    })
                    .calls,
                Contains("dongle_init(xxxxxxxxxxxxxxx, 230400)"));
}

TEST(Environment, DongleSetToTheEmptyTextIsThePort) {
    EXPECT_THAT(outcome_with({
                                 {"DONGLE", ""}
    })
                    .calls,
                Contains("dongle_init(, 230400)"));
}

TEST(Environment, PortOptionOverridesDongle) {
    EXPECT_THAT(outcome_with(
                    {
                        {"DONGLE", "/dev/a"}
    },
                    {"-p", "/dev/b"})
                    .calls,
                Contains("dongle_init(/dev/b, 230400)"));
    EXPECT_THAT(outcome_with(
                    {
                        {"DONGLE", "/dev/ttyUSB01234"}
    },
                    {"-p", "/b"})
                    .calls,
                Contains("dongle_init(/b, 230400)"));
}

TEST(Environment, SoundcardNamesTheDeviceSoTheLayerIsNotAsked) {
    for (const char* card : {"3", "1", "255", "300", "-2"}) {
        const Outcome outcome = outcome_with({
            {"SOUNDCARD", card}
        });
        EXPECT_EQ(outcome.out.substr(0, outcome.out.find("Playing")),
                  banner() + codec_line() + "\nUsing device 'Linux Audio Test'.\n\n")
            << card;
        EXPECT_EQ(outcome.status, 0) << card;
    }
}

TEST(Environment, SoundcardThatIsNoNumberIsDevice0WithoutTheMissingDeviceLine) {
    for (const char* card : {"abc", "0", "", " ", "x1"}) {
        EXPECT_THAT(outcome_with({
                                     {"SOUNDCARD", card}
        })
                        .out,
                    Not(HasSubstr(no_device)))
            << card;
    }
}

TEST(Environment, SoundcardMinusOneIsAskedForAndFoundByTheLayerItself) {
    EXPECT_THAT(outcome_with({
                                 {"SOUNDCARD", "-1"}
    })
                    .out,
                Not(HasSubstr(no_device)));
}

TEST(Environment, DeviceOptionOverridesSoundcard) {
    EXPECT_THAT(outcome_with(
                    {
                        {"SOUNDCARD", "0"}
    },
                    {"-D", "-1"})
                    .out,
                HasSubstr(no_device));
    EXPECT_THAT(outcome_with(
                    {
                        {"SOUNDCARD", "abc"}
    },
                    {"-D", "-1"})
                    .out,
                HasSubstr(no_device));
    EXPECT_THAT(outcome_with(
                    {
                        {"SOUNDCARD", "5"}
    },
                    {"-D", "-1"})
                    .out,
                Not(HasSubstr(no_device)));
    EXPECT_THAT(outcome_with(
                    {
                        {"SOUNDCARD", "-1"}
    },
                    {"-D", "4"})
                    .out,
                Not(HasSubstr(no_device)));
}

TEST(Environment, WithoutSoundcardTheMissingDeviceIsTold) {
    EXPECT_THAT(outcome_with({}).out, HasSubstr("\nNo audio devices detected.\nUsing device 'Linux Audio Test'.\n\n"));
}

TEST(Environment, ConvertModeNeverAsksForADevice) {
    for (const Variables& variables : {Variables{}, Variables{{"SOUNDCARD", "3"}}, Variables{{"SOUNDCARD", "-1"}}}) {
        const std::string out = outcome_with(variables, {"-W"}).out;
        EXPECT_THAT(out, Not(HasSubstr(no_device)));
        EXPECT_THAT(out, Not(HasSubstr("Using device")));
    }
}

TEST(Environment, SpeedFormatAndFileComeFromTheCommandLineOnly) {
    const Outcome plain = outcome_with({}, {"-W"});
    const Outcome outcome = outcome_with(
        {
            {"SPEED",  "9600"       },
            {"FORMAT", "gsm"        },
            {"LANG",   "de_DE.UTF-8"}
    },
        {"-W"});
    EXPECT_EQ(outcome.out, plain.out);
    EXPECT_EQ(outcome.calls, plain.calls);
}

}  // namespace
