// SPDX-License-Identifier: MIT
// Options and environment, and how far they reach. Every option, order and value, tests/player/settings_test.cpp holds.
#include <gmock/gmock.h>

#include "program/scenario.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using Variables = std::vector<std::pair<std::string, std::string>>;

Outcome outcome_of(const Lines& options, const Variables& variables = {}) {
    ThreeFrames scenario(options);
    scenario.environment = variables;
    return scenario.run();
}

TEST(Options, UsageErrorPrintsItsLineAloneAndEndsWithStatus1) {
    // clang-format off
    const Lines lines[] = {{"-x"}, {"--help"}, {"-WD2"}, {"-F", "gsm", "-W"}, {"-W", "rec.ambe", "-p"}};
    // clang-format on
    for (const Lines& options : lines) {
        const Scenario scenario(options);
        scenario.add_file("rec.ambe", raw_recording(frames(1)));
        const Outcome outcome = scenario.run();
        EXPECT_EQ(outcome.status, 1) << testing::PrintToString(options);
        EXPECT_EQ(outcome.err, usage_line) << "getopt itself says nothing";
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.calls, IsEmpty());
    }
}

TEST(Options, UnsupportedFormatIsNamedBeforeTheBannerAndLeavesTheFormat) {
    const Outcome outcome = outcome_of({"-W", "-F", "gsm", "-F", "mp3"});
    EXPECT_EQ(outcome.out,
              "Format 'mp3' is not supported.\n" + convert_start_up("GSM 06.10") + converting + spinner(4) + "DONE\n");
    EXPECT_EQ(outcome.err, convert_teardown());
    EXPECT_EQ(outcome.status, 0);
    const Outcome refused = outcome_of({"-W", "-F", "mp3", "-F", "ogg", "-x"});
    EXPECT_EQ(refused.out, "Format 'mp3' is not supported.\nFormat 'ogg' is not supported.\n");
    EXPECT_EQ(refused.err, usage_line);
    EXPECT_EQ(refused.status, 1);
}

TEST(Options, VerboseAndVariablesOfOtherNamesChangeNothing) {
    const Outcome plain = outcome_of({"-W"});
    const Variables others = {
        {"SPEED",  "9600"       },
        {"FORMAT", "gsm"        },
        {"LANG",   "de_DE.UTF-8"}
    };
    const Outcome verbose = outcome_of({"-v", "-W", "-vv"}, others);
    EXPECT_EQ(verbose.out, plain.out);
    EXPECT_EQ(verbose.err, plain.err);
    EXPECT_EQ(verbose.calls, plain.calls);
}

TEST(Options, PortSpeedAndDebugLevelReachTheVocoder) {
    // clang-format off
    const struct {
        Lines options;
        std::string dongle;  // the variable; "none" leaves it unset
        Lines calls;
    } rows[] = {
        {{},                   "none",                 start_calls()},
        {{"-ddWd"},            "none",                 start_calls("/dev/ttyUSB0", 230400, 3)},
        {{"-p/dev/ttyS1"},     "none",                 start_calls("/dev/ttyS1")},
        {{"-s", "9600bps"},    "none",                 start_calls("/dev/ttyUSB0", 9600)},
        {{"-s", "4294967297"}, "none",                 start_calls("/dev/ttyUSB0", 1)},  // through an int
        {{},                   "12345678901234567890", start_calls("123456789012345")},
        {{},                   "",                     start_calls("")},
        {{"-p", "/b"},         "/dev/ttyUSB01234",     start_calls("/b")},
    };
    // clang-format on
    for (const auto& row : rows) {
        const Variables variables = row.dongle == "none" ? Variables{} : Variables{{"DONGLE", row.dongle}};
        const Lines calls = outcome_of(row.options, variables).calls;
        ASSERT_GE(calls.size(), 3U);
        EXPECT_EQ(Lines(calls.begin(), calls.begin() + 3), row.calls);
    }
}

TEST(Options, ReversalReachesEveryFrame) {
    EXPECT_THAT(outcome_of({"-RWRR"}).calls, Contains("ambe_send(packet, 808545c525a565e5159555d5)"));
    EXPECT_THAT(outcome_of({"-RWR"}).calls, Contains("ambe_send(packet, 01a1a2a3a4a5a6a7a8a9aaab)"));
}

TEST(Options, OptionsAndOperandsMayBeMixedAndTwoDashesEndTheOptions) {
    const Scenario mixed({"a.ambe", "-W", "-F", "alaw", "-d", "-", "--", "-x"});
    mixed.add_file("a.ambe", zeros(9));
    const Outcome outcome = mixed.run();
    EXPECT_EQ(outcome.out, convert_start_up("G.711 A-LAW") +
                               "Converting file 'a.ambe': SHORT FILE\n"
                               "Converting file '-': NOT FOUND\nConverting file '-x': NOT FOUND\n");
    EXPECT_EQ(outcome.calls, start_calls("/dev/ttyUSB0", 230400, 1) + end_calls);
}

// Whoever names a device does not ask the audio layer for one.
TEST(Devices, MissingDeviceIsToldOnlyWhereTheAudioLayerIsAsked) {
    const struct {
        std::string option, soundcard;  // their values; "none" leaves them out
        bool told;
    } rows[] = {
        {"none", "none", true },
        {"-1",   "none", true },
        {"2",    "none", false},
        {"x",    "none", false}, // 0
        {"none", "3",    false},
        {"none", "abc",  false}, // 0
        {"none", "",     false}, // 0
        {"none", "-1",   false}, // asked for, and found by the layer itself
        {"-1",   "abc",  true },
        {"-1",   "5",    false},
        {"4",    "-1",   false},
    };
    for (const auto& row : rows) {
        const Lines options = row.option == "none" ? Lines{} : Lines{"-D", row.option};
        const Variables variables = row.soundcard == "none" ? Variables{} : Variables{{"SOUNDCARD", row.soundcard}};
        const Outcome outcome = outcome_of(options, variables);
        EXPECT_EQ(outcome.out.substr(0, outcome.out.find("Playing")),
                  banner() + codec_line() + "\n" + (row.told ? no_device_line : "") + device_line + "\n")
            << row.option << " " << row.soundcard;
        EXPECT_EQ(outcome.status, 0);
    }
}

TEST(Devices, ConvertModeNeverAsksForADevice) {
    for (const Variables& variables : {Variables{}, Variables{{"SOUNDCARD", "3"}}, Variables{{"SOUNDCARD", "-1"}}}) {
        const std::string out = outcome_of({"-W"}, variables).out;
        EXPECT_THAT(out, Not(HasSubstr(no_device_line)));
        EXPECT_THAT(out, Not(HasSubstr("Using device")));
    }
}

}  // namespace
