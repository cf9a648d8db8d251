// SPDX-License-Identifier: MIT
// Every option, and the rules about their order.
#include <gmock/gmock.h>

#include "program/recordings.h"
#include "program/scenario.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

const char* const init_defaults = "dongle_init(/dev/ttyUSB0, 230400)";

Outcome outcome_of(const Lines& options) {
    return ThreeFrames(options).run();
}

void expect_usage_error(const Lines& options) {
    const Outcome outcome = outcome_of(options);
    EXPECT_EQ(outcome.status, 1) << testing::PrintToString(options);
    EXPECT_EQ(outcome.err, usage_line) << testing::PrintToString(options);
    EXPECT_EQ(outcome.out, "") << testing::PrintToString(options);
    EXPECT_THAT(outcome.calls, IsEmpty()) << testing::PrintToString(options);
}

void expect_run(const Lines& options) {
    const Outcome outcome = outcome_of(options);
    EXPECT_EQ(outcome.status, 0) << testing::PrintToString(options) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("DONE\n")) << testing::PrintToString(options);
}

TEST(Options, EachDRaisesTheDebugLevel) {
    EXPECT_THAT(outcome_of({}).calls, Contains("dongle_debug(0)"));
    EXPECT_THAT(outcome_of({"-d"}).calls, Contains("dongle_debug(1)"));
    EXPECT_THAT(outcome_of({"-d", "-d"}).calls, Contains("dongle_debug(2)"));
    EXPECT_THAT(outcome_of({"-ddWd"}).calls, Contains("dongle_debug(3)"));
}

TEST(Options, VerboseChangesNothing) {
    const Outcome plain = outcome_of({"-W"});
    const Outcome verbose = outcome_of({"-v", "-W", "-vv"});
    EXPECT_EQ(verbose.out, plain.out);
    EXPECT_EQ(verbose.err, plain.err);
    EXPECT_EQ(verbose.calls, plain.calls);
}

TEST(Options, UnknownLettersAndMissingArgumentsAreUsageErrors) {
    for (const char* option : {"-x", "-h", "-w", "-r", "-V", "-?", "-:", "--help", "--version", "-Wx", "-dv1"}) {
        expect_usage_error({option});
    }
    for (const char* option : {"-D", "-F", "-p", "-s"}) {
        Scenario scenario;
        scenario.arguments = {"-W", option};
        const Outcome outcome = scenario.run();
        EXPECT_EQ(outcome.status, 1) << option;
        EXPECT_EQ(outcome.err, usage_line) << option << ": getopt itself says nothing";
        EXPECT_EQ(outcome.out, "") << option;
    }
}

TEST(Options, SoundDeviceMustStandBeforeWriteMode) {
    expect_usage_error({"-W", "-D", "2"});
    expect_usage_error({"-WD2"});
    expect_usage_error({"-D", "2", "-W", "-D", "2"});
    expect_run({"-D", "2", "-W"});
    expect_run({"-D2", "-W"});
    expect_run({"-D", "2"});
}

TEST(Options, FormatMustStandAfterWriteMode) {
    expect_usage_error({"-F", "gsm", "-W"});
    expect_usage_error({"-Fpcm"});
    expect_usage_error({"-F", "no such format"});
    expect_run({"-W", "-F", "gsm"});
    expect_run({"-WFgsm"});
    expect_run({"-W", "-d", "-v", "-Fpcm"});
}

TEST(Options, OrderRulesHoldInTheOrderOfOptionsAlsoBehindAnOperand) {
    Scenario scenario;
    scenario.add_file("a.ambe", zeros(9));
    scenario.arguments = {"a.ambe", "-F", "gsm", "-W"};
    EXPECT_EQ(scenario.run().err, usage_line);
    scenario.arguments = {"-W", "a.ambe", "-D", "1"};
    EXPECT_EQ(scenario.run().err, usage_line);
}

TEST(Options, EveryFormatNameChoosesItsCodec) {
    for (const auto& [name, codec] : {
             std::pair{"pcm",   "Linear PCM" },
             {"ulaw",  "G.711 U-LAW"},
             {"alaw",  "G.711 A-LAW"},
             {"adpcm", "IMA ADPCM"  },
             {"gsm",   "GSM 06.10"  }
    }) {
        const Outcome outcome = outcome_of({"-W", "-F", name});
        EXPECT_THAT(outcome.out, StartsWith(convert_start_up(codec) + "Converting file")) << name;
        EXPECT_EQ(outcome.status, 0);
    }
}

TEST(Options, LastFormatHolds) {
    EXPECT_THAT(outcome_of({"-W", "-F", "gsm", "-F", "alaw"}).out, HasSubstr("CODEC 'G.711 A-LAW'"));
    EXPECT_THAT(outcome_of({"-W", "-F", "gsm", "-F", "pcm"}).out, HasSubstr("CODEC 'Linear PCM'"));
}

TEST(Options, UnsupportedFormatIsNamedBeforeTheBannerAndLeavesTheFormat) {
    const Outcome outcome = outcome_of({"-W", "-F", "mp3"});
    EXPECT_THAT(outcome.out, StartsWith("Format 'mp3' is not supported.\n" + convert_start_up() + "Converting"));
    EXPECT_EQ(outcome.err, convert_teardown());
    EXPECT_EQ(outcome.status, 0);

    EXPECT_THAT(outcome_of({"-W", "-F", "gsm", "-F", "mp3"}).out,
                StartsWith("Format 'mp3' is not supported.\n" + convert_start_up("GSM 06.10")));
}

TEST(Options, FormatNamesAreExactAndCaseSensitive) {
    for (const std::string name : {"PCM", "Gsm", "pcm ", " pcm", "gs", "gsmx", "", "1", "a-law"}) {
        EXPECT_THAT(outcome_of({"-W", "-F", name}).out,
                    StartsWith("Format '" + name + "' is not supported.\n" + convert_start_up()));
    }
}

TEST(Options, UnsupportedFormatIsNamedEvenWhenAUsageErrorFollows) {
    const Outcome outcome = outcome_of({"-W", "-F", "mp3", "-F", "ogg", "-x"});
    EXPECT_EQ(outcome.out, "Format 'mp3' is not supported.\nFormat 'ogg' is not supported.\n");
    EXPECT_EQ(outcome.err, usage_line);
    EXPECT_EQ(outcome.status, 1);
}

TEST(Options, LongFormatNameIsPrintedWhole) {
    const std::string name(5000, 'x');
    EXPECT_THAT(outcome_of({"-W", "-F", name}).out, StartsWith("Format '" + name + "' is not supported.\n"));
}

TEST(Options, RMirrorsTheBitsOfEveryFrame) {
    EXPECT_THAT(outcome_of({"-R", "-W"}).calls, Contains("ambe_send(packet, 808545c525a565e51595"
                                                         "55d5)"));
    EXPECT_THAT(outcome_of({"-W"}).calls, Contains("ambe_send(packet, 01a1a2a3a4a5a6a7a8a9aaab)"));
}

TEST(Options, ASecondRTurnsItOffAgain) {
    const Lines plain = outcome_of({"-W"}).calls;
    EXPECT_EQ(outcome_of({"-R", "-R", "-W"}).calls, plain);
    EXPECT_EQ(outcome_of({"-RWR"}).calls, plain);
    EXPECT_EQ(outcome_of({"-RRR", "-W"}).calls, outcome_of({"-R", "-W"}).calls);
    EXPECT_NE(outcome_of({"-R", "-W"}).calls, plain);
}

TEST(Options, PortIsTheArgumentCutTo15Characters) {
    EXPECT_THAT(outcome_of({"-p", "/dev/ttyS1"}).calls, Contains("dongle_init(/dev/ttyS1, 230400)"));
    EXPECT_THAT(outcome_of({"-p/dev/ttyS1"}).calls, Contains("dongle_init(/dev/ttyS1, 230400)"));
    EXPECT_THAT(outcome_of({"-p", "12345678901234"}).calls, Contains("dongle_init(12345678901234, 230400)"));
    EXPECT_THAT(outcome_of({"-p", "123456789012345"}).calls, Contains("dongle_init(123456789012345, 230400)"));
    EXPECT_THAT(outcome_of({"-p", "1234567890123456"}).calls, Contains("dongle_init(123456789012345, 230400)"));
    EXPECT_THAT(outcome_of({"-p", "12345678901234567890"}).calls, Contains("dongle_init(123456789012345, 230400)"));
    EXPECT_THAT(outcome_of({"-p", std::string(9000, 'p')}).calls, Contains("dongle_init(ppppppppppppppp, 230400)"));
    EXPECT_THAT(outcome_of({"-p", ""}).calls, Contains("dongle_init(, 230400)"));
}

TEST(Options, ShorterPortReplacesALongerOneWhole) {
    EXPECT_THAT(outcome_of({"-p", "/dev/ttyUSB0123", "-p", "/x"}).calls, Contains("dongle_init(/x, 230400)"));
}

TEST(Options, SpeedIsReadAsANumberAndNotChecked) {
    for (const auto& [text, speed] : {
             std::pair{"9600",    "9600"  },
             {"115200",  "115200"},
             {"1",       "1"     },
             {"-5",      "-5"    },
             {" 9600",   "9600"  },
             {"+9600",   "9600"  },
             {"9600bps", "9600"  },
             {"0x10",    "0"     },
             {"010",     "10"    },
             {"abc",     "0"     },
             {"",        "0"     }
    }) {
        EXPECT_THAT(outcome_of({"-s", text}).calls, Contains(std::string("dongle_init(/dev/ttyUSB0, ") + speed + ")"))
            << text;
    }
}

TEST(Options, SpeedGoesThroughAnInt) {
    for (const auto& [text, speed] : {
             std::pair{"2147483647",           "2147483647" },
             {"2147483648",           "-2147483648"}, // 2^31
             {"4294967295",           "-1"         }, // 2^32 - 1, sign-extended
             {"4294967297",           "1"          }, // 2^32 + 1
             {"99999999999",          "1215752191" }, // 0x17'4876E7FF without its upper half
             {"99999999999999999999", "-1"         }
    }) {  // strtol stops at 2^63 - 1
        EXPECT_THAT(outcome_of({"-s", text}).calls, Contains(std::string("dongle_init(/dev/ttyUSB0, ") + speed + ")"))
            << text;
    }
}

TEST(Options, PortAndSpeedHaveDefaults) {
    EXPECT_THAT(outcome_of({}).calls, Contains(init_defaults));
}

TEST(Options, OptionsAndOperandsMayBeMixed) {
    Scenario scenario;
    scenario.add_file("a.ambe", zeros(9));
    scenario.add_file("b.ambe", zeros(9));
    scenario.arguments = {"a.ambe", "-W", "b.ambe", "-F", "alaw", "-d"};
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.out, convert_start_up("G.711 A-LAW") +
                               "Converting file 'a.ambe': SHORT FILE\nConverting file 'b.ambe': SHORT FILE\n");
    EXPECT_EQ(outcome.calls, start_calls("/dev/ttyUSB0", 230400, 1) + end_calls);
}

TEST(Options, TwoDashesEndTheOptions) {
    Scenario scenario;
    scenario.arguments = {"-W", "--", "-x", "-R"};
    EXPECT_EQ(scenario.run().out,
              convert_start_up() + "Converting file '-x': NOT FOUND\nConverting file '-R': NOT FOUND\n");
}

TEST(Options, ASingleDashIsAFileName) {
    Scenario scenario;
    scenario.arguments = {"-W", "-"};
    EXPECT_EQ(scenario.run().out, convert_start_up() + "Converting file '-': NOT FOUND\n");
}

TEST(Options, DeviceGivenByOptionIsNotAskedFor) {
    for (const char* device : {"0", "2", "abc", "", "300", "-2"}) {
        EXPECT_THAT(outcome_of({"-D", device}).out, Not(HasSubstr("No audio devices detected."))) << device;
        EXPECT_THAT(outcome_of({"-D", device}).out, HasSubstr("Using device 'Linux Audio Test'.\n")) << device;
    }
}

TEST(Options, DeviceMinusOneAsksTheAudioLayer) {
    EXPECT_THAT(outcome_of({"-D", "-1"}).out, StartsWith(play_start_up()));
    EXPECT_THAT(outcome_of({"-D", "3", "-D", "-1"}).out, StartsWith(play_start_up()));
}

}  // namespace
