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

TEST(Settings, EachDebugOptionCountsOneUp) {
    EXPECT_EQ(options({"-d", "-dd"}).debug_level, 3);
}

TEST(Settings, EachVerboseOptionCountsOneUp) {
    EXPECT_EQ(options({"-vv"}).verbose_level, 2);
}

TEST(Settings, ReversingTwiceTurnsItOffAgain) {
    EXPECT_EQ(options({"-R"}).reverse_bits, 1);
    EXPECT_EQ(options({"-R", "-R"}).reverse_bits, 0);
    EXPECT_EQ(options({"-RRR"}).reverse_bits, 1);
}

TEST(Settings, EachFormatNameHasItsWaveTag) {
    EXPECT_EQ(options({"-W", "-F", "pcm"}).format_tag, 1u);
    EXPECT_EQ(options({"-W", "-F", "ulaw"}).format_tag, 7u);
    EXPECT_EQ(options({"-W", "-F", "alaw"}).format_tag, 6u);
    EXPECT_EQ(options({"-W", "-F", "adpcm"}).format_tag, 17u);
    EXPECT_EQ(options({"-W", "-F", "gsm"}).format_tag, 49u);
    EXPECT_EQ(options({"-WFgsm"}).format_tag, 49u);
}

TEST(Settings, UnknownFormatNameIsSaidAndChangesNothing) {
    Settings settings;
    const Output output = output_of([&] { settings = options({"-W", "-F", "ulaw", "-F", "mp3", "-d"}); });
    EXPECT_EQ(output.out, "Format 'mp3' is not supported.\n");
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(settings.format_tag, 7u);
    EXPECT_EQ(settings.debug_level, 1) << "parsing goes on";
}

TEST(Settings, FormatNamesAreCaseSensitiveAndWhole) {
    for (const char* name : {"PCM", "Gsm", "pc", "pcm ", ""}) {
        const Output output = output_of([&] { EXPECT_EQ(options({"-W", "-F", name}).format_tag, 1u); });
        EXPECT_EQ(output.out, "Format '" + std::string(name) + "' is not supported.\n");
    }
}

TEST(Settings, FormatBeforeWriteModeIsAUsageError) {
    expect_usage({"-F", "gsm", "-W", "file"});
    expect_usage({"-F", "pcm", "file"});
}

TEST(Settings, SoundDeviceAfterWriteModeIsAUsageError) {
    expect_usage({"-W", "-D", "2", "file"});
}

TEST(Settings, SoundDeviceBeforeWriteModeIsAccepted) {
    const Settings settings = options({"-D", "2", "-W"});
    EXPECT_EQ(settings.sound_device, 2);
    EXPECT_TRUE(settings.write_mode);
}

TEST(Settings, UnknownLetterAndMissingArgumentAreUsageErrors) {
    expect_usage({"-x", "file"});
    expect_usage({"file", "-p"});
    expect_usage({"--help"});
}

TEST(Settings, GetoptItselfPrintsNothing) {
    EXPECT_EXIT(parsed({"-x"}), testing::ExitedWithCode(1), "^Usage: [^\n]*\n$");
}

TEST(Settings, PortKeepsItsFirstFifteenCharacters) {
    EXPECT_STREQ(options({"-p", "/dev/ttyACM0"}).port, "/dev/ttyACM0");
    EXPECT_STREQ(options({"-p", "123456789012345"}).port, "123456789012345");
    EXPECT_STREQ(options({"-p", "12345678901234567890"}).port, "123456789012345");
    EXPECT_STREQ(options({"-p", ""}).port, "");
}

TEST(Settings, SpeedIsTheNumberAtTheStartOfTheText) {
    EXPECT_EQ(options({"-s", "9600"}).speed, 9600);
    EXPECT_EQ(options({"-s115200baud"}).speed, 115200);
    EXPECT_EQ(options({"-s", "-5"}).speed, -5);
    EXPECT_EQ(options({"-s", "0x10"}).speed, 0) << "base 10";
}

TEST(Settings, NonNumericSpeedIsZero) {
    EXPECT_EQ(options({"-s", "fast"}).speed, 0);
}

TEST(Settings, SpeedGoesThroughAnInt) {
    EXPECT_EQ(options({"-s", "4294967297"}).speed, 1);  // 2^32 + 1
    EXPECT_EQ(options({"-s", "2147483648"}).speed, -2147483647 - 1);
}

TEST(Settings, OptionsAndOperandsMayBeMixed) {
    const Parsed result = parsed({"one", "-W", "two", "-F", "gsm", "three"});
    EXPECT_EQ(result.settings.format_tag, 49u);
    EXPECT_EQ(result.operands, (std::vector<std::string>{"one", "two", "three"}));
}

TEST(Settings, AfterTwoDashesEverythingIsAnOperand) {
    const Parsed result = parsed({"-d", "--", "-W", "file"});
    EXPECT_FALSE(result.settings.write_mode);
    EXPECT_EQ(result.operands, (std::vector<std::string>{"-W", "file"}));
}

TEST_F(Environment, UnsetLeavesTheDefaults) {
    Settings settings;
    settings_read_environment(settings);
    EXPECT_EQ(settings.sound_device, -1);
    EXPECT_STREQ(settings.port, "/dev/ttyUSB0");
}

TEST_F(Environment, SoundcardGivesTheSoundDevice) {
    EXPECT_EQ(with("SOUNDCARD", "3").sound_device, 3);
    EXPECT_EQ(with("SOUNDCARD", "-1").sound_device, -1);
    EXPECT_EQ(with("SOUNDCARD", "300").sound_device, 300);
}

TEST_F(Environment, SoundcardThatIsNoNumberIsDeviceZero) {
    EXPECT_EQ(with("SOUNDCARD", "abc").sound_device, 0);
    EXPECT_EQ(with("SOUNDCARD", "").sound_device, 0) << "set to the empty text is set";
}

TEST_F(Environment, DongleGivesThePortCutToFifteenCharacters) {
    EXPECT_STREQ(with("DONGLE", "/dev/ttyS1").port, "/dev/ttyS1");
    EXPECT_STREQ(with("DONGLE", "12345678901234567890").port, "123456789012345");
    EXPECT_STREQ(with("DONGLE", "").port, "") << "set to the empty text is set";
}
