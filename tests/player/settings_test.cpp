// SPDX-License-Identifier: MIT
#include "player/settings.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/capture.h"

namespace {

struct Parsed {
    Settings settings;
    std::vector<std::string> operands;
};

Parsed parsed(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "quaver");
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);

    Parsed result;
    optind = 0;  // starts GNU getopt anew
    const int argc = static_cast<int>(arguments.size());
    for (int i = settings_read_options(result.settings, argc, argv.data()); i < argc; i++) {
        result.operands.emplace_back(argv[static_cast<std::size_t>(i)]);
    }
    return result;
}

Settings options(const std::vector<std::string>& arguments) {
    return parsed(arguments).settings;
}

class Environment : public testing::Test {
  protected:
    void SetUp() override { TearDown(); }
    void TearDown() override {
        unsetenv("SOUNDCARD");
        unsetenv("DONGLE");
    }

    static Settings with(const char* name, const char* value) {
        setenv(name, value, 1);
        Settings settings;
        settings_read_environment(settings);
        return settings;
    }
};

void expect_usage(const std::vector<std::string>& arguments) {
    EXPECT_EXIT(parsed(arguments), testing::ExitedWithCode(1),
                "^Usage: quaver \\[-dvR\\] \\[-W \\[-Ffmt\\]\\] \\[-pport\\] \\[-sspeed\\] file\n$");
}

}  // namespace

TEST(Settings, DefaultsPlayOnTheFirstUsbAdapterAt230400) {
    const Settings settings = options({});
    EXPECT_EQ(settings.format_tag, 1u);
    EXPECT_FALSE(settings.write_mode);
    EXPECT_EQ(settings.reverse_bits, 0);
    EXPECT_EQ(settings.debug_level, 0);
    EXPECT_EQ(settings.verbose_level, 0);
    EXPECT_STREQ(settings.port, "/dev/ttyUSB0");
    EXPECT_EQ(settings.speed, 230400);
    EXPECT_EQ(settings.sound_device, -1);
}

TEST(Settings, EachDebugAndVerboseOptionCountsOneUp) {
    EXPECT_EQ(options({"-d", "-ddWd"}).debug_level, 4);
    EXPECT_EQ(options({"-vv"}).verbose_level, 2);
}

TEST(Settings, ReversingTwiceTurnsItOffAgain) {
    EXPECT_EQ(options({"-R"}).reverse_bits, 1);
    EXPECT_EQ(options({"-RWR"}).reverse_bits, 0);
    EXPECT_EQ(options({"-RR", "-R"}).reverse_bits, 1);
}

TEST(Settings, EachFormatNameHasItsWaveTagAndTheLastHolds) {
    EXPECT_EQ(options({"-W", "-F", "pcm"}).format_tag, 1u);
    EXPECT_EQ(options({"-W", "-F", "ulaw"}).format_tag, 7u);
    EXPECT_EQ(options({"-W", "-d", "-Falaw"}).format_tag, 6u);
    EXPECT_EQ(options({"-W", "-F", "adpcm"}).format_tag, 17u);
    EXPECT_EQ(options({"-WFgsm"}).format_tag, 49u);
    EXPECT_EQ(options({"-W", "-F", "gsm", "-F", "pcm"}).format_tag, 1u);
}

TEST(Settings, UnknownFormatNameIsSaidWholeAndChangesNothing) {
    const std::string long_name(5000, 'x');
    const std::vector<std::string> names = {"mp3",  "PCM", "Gsm", "pcm ",  " pcm",   "gs",
                                            "gsmx", "",    "1",   "a-law", long_name};
    for (const std::string& name : names) {
        Settings settings;
        const Output output = output_of([&] { settings = options({"-W", "-F", "ulaw", "-F", name, "-d"}); });
        EXPECT_EQ(output.out, "Format '" + name + "' is not supported.\n");
        EXPECT_EQ(output.err, "");
        EXPECT_EQ(settings.format_tag, 7u);
        EXPECT_EQ(settings.debug_level, 1) << "parsing goes on";
    }
}

// The order counts as the options stand, behind an operand too. getopt itself says nothing.
TEST(Settings, UnknownLetterMissingArgumentAndWrongOrderAreUsageErrors) {
    // clang-format off
    const std::vector<std::string> lines[] = {
        {"-x"}, {"-h"}, {"-w"}, {"-r"}, {"-V"}, {"-?"}, {"-:"}, {"--help"}, {"--version"}, {"-Wx"}, {"-dv1"},
        {"-D"}, {"-W", "-F"}, {"-p"}, {"file", "-s"},
        {"-F", "gsm", "-W"}, {"-Fpcm"}, {"-F", "no such format"}, {"a.ambe", "-F", "gsm", "-W"},
        {"-W", "-D", "2"}, {"-WD2"}, {"-D", "2", "-W", "-D", "2"}, {"-W", "a.ambe", "-D", "1"},
    };
    // clang-format on
    for (const std::vector<std::string>& line : lines) {
        SCOPED_TRACE(testing::PrintToString(line));
        expect_usage(line);
    }
}

TEST(Settings, SoundDeviceBeforeWriteModeIsAccepted) {
    for (const std::string device : {"-D2", "-D 2"}) {
        const Settings settings = options({device, "-W"});
        EXPECT_EQ(settings.sound_device, 2);
        EXPECT_TRUE(settings.write_mode);
    }
}

struct NumberRow {
    const char* text;
    int value;
};

// Through a long, then an int; strtol stops at 2^63 - 1.
constexpr NumberRow number_rows[] = {
    {"9600",                 9600           },
    {"230400",               230400         },
    {"1",                    1              },
    {"-5",                   -5             },
    {"-1",                   -1             },
    {" 9600",                9600           },
    {"+9600",                9600           },
    {"9600bps",              9600           },
    {"0x10",                 0              },
    {"010",                  10             },
    {"abc",                  0              },
    {"x1",                   0              },
    {" ",                    0              },
    {"",                     0              },
    {"300",                  300            },
    {"2147483647",           2147483647     },
    {"2147483648",           -2147483647 - 1}, // 2^31
    {"4294967295",           -1             }, // 2^32 - 1
    {"4294967297",           1              }, // 2^32 + 1
    {"99999999999",          1215752191     }, // 0x17'4876E7FF without its upper half
    {"99999999999999999999", -1             },
};

TEST(Settings, SpeedAndSoundDeviceAreTheNumberAtTheStartOfTheTextOrZeroAndGoThroughAnInt) {
    for (const NumberRow& row : number_rows) {
        EXPECT_EQ(options({"-s", row.text}).speed, row.value) << row.text;
        EXPECT_EQ(options({"-D", row.text}).sound_device, row.value) << row.text;
    }
    EXPECT_EQ(options({"-s115200baud"}).speed, 115200);
    EXPECT_EQ(options({"-D", "3", "-D", "-1"}).sound_device, -1) << "the last holds";
}

TEST(Settings, OptionsAndOperandsMayBeMixed) {
    const Parsed result = parsed({"one", "-W", "two", "-F", "gsm", "three"});
    EXPECT_EQ(result.settings.format_tag, 49u);
    EXPECT_EQ(result.operands, (std::vector<std::string>{"one", "two", "three"}));
}

TEST(Settings, AfterTwoDashesEverythingIsAnOperandAndASingleDashIsOne) {
    const Parsed result = parsed({"-d", "-", "--", "-W", "file"});
    EXPECT_FALSE(result.settings.write_mode);
    EXPECT_EQ(result.operands, (std::vector<std::string>{"-", "-W", "file"}));
}

TEST_F(Environment, UnsetLeavesTheDefaults) {
    Settings settings;
    settings_read_environment(settings);
    EXPECT_EQ(settings.sound_device, -1);
    EXPECT_STREQ(settings.port, "/dev/ttyUSB0");
}

TEST_F(Environment, SoundcardThatIsNoNumberIsDeviceZeroTheEmptyTextIncluded) {
    for (const NumberRow& row : number_rows) EXPECT_EQ(with("SOUNDCARD", row.text).sound_device, row.value) << row.text;
}

TEST_F(Environment, PortOfTheOptionOrOfDongleIsItsFirstFifteenCharacters) {
    const std::vector<std::string> ports = {"/dev/ttyACM0",     "12345678901234",       "123456789012345",
                                            "1234567890123456", std::string(9000, '9'), ""};
    for (const std::string& port : ports) {
        EXPECT_STREQ(options({"-p", port}).port, port.substr(0, 15).c_str());
        EXPECT_STREQ(with("DONGLE", port.c_str()).port, port.substr(0, 15).c_str());
    }
    EXPECT_STREQ(options({"-p", "/dev/ttyUSB0123", "-p", "/x"}).port, "/x") << "replaced whole";
}
