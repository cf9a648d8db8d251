// SPDX-License-Identifier: MIT
// The start-up order, from the banner to the first file, and the exit statuses.
#include <gmock/gmock.h>

#include "player/program_info.h"
#include "program/scenario.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

TEST(StartUp, ConvertModePrintsBannerCodecAndTwoEmptyLines) {
    const Outcome outcome = ThreeFrames().run();
    EXPECT_EQ(outcome.out, "HALCYON Tallis Audio Player V1.0.7\n" + std::string(program_info.notice) +
                               " Wexcombe Corporation.\n\n"
                               "CODEC 'Linear PCM' for 1 channels at 8000 Hz with 16 bits per sample.\n"
                               "\n"
                               "\n"
                               "Converting file 'rec.ambe' to 'rec.wav': |\b/\b-\b\\\bDONE\n");
    EXPECT_EQ(outcome.err, convert_teardown());
    EXPECT_EQ(outcome.status, 0);
}

TEST(StartUp, PlayModeChoosesAndNamesTheDeviceAfterTheCodecAndWritesNoFile) {
    const ThreeFrames scenario(play_mode);
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.out, banner() +
                               "CODEC 'Linear PCM' for 1 channels at 8000 Hz with 16 bits per sample.\n"
                               "\n"
                               "No audio devices detected.\n"
                               "Using device 'Linux Audio Test'.\n"
                               "\n"
                               "Playing file 'rec.ambe': |\b/\b-\b\\\bDONE\n");
    EXPECT_EQ(outcome.err, play_teardown());
    EXPECT_EQ(outcome.status, 0);
    EXPECT_FALSE(scenario.has_file("rec.wav"));
}

TEST(StartUp, VocoderIsStartedInFrontOfTheLastEmptyLine) {
    const std::string script = "speak\nrest 48 5\n";
    const std::string greeted = "[dongle_debug][dongle_init][dongle_hello]\n";
    for (const auto& [options, before] : {
             std::pair{Lines{"-W"}, banner() + codec_line() + "\n"                               },
             {play_mode,   banner() + codec_line() + "\n" + no_device_line + device_line}
    }) {
        const std::string out = ThreeFrames(options, script).run().out;
        EXPECT_THAT(out, testing::StartsWith(before + greeted));
    }
}

TEST(StartUp, LibraryIsCalledInTheDocumentedOrder) {
    EXPECT_THAT(ThreeFrames({"-W"}, "recv 48 5\nrecv 320 4\nrest 48 5\n").run().calls,
                ElementsAre("dongle_debug(0)", "dongle_init(/dev/ttyUSB0, 230400)", "dongle_hello()",     //
                            "ambe_init(packet, 1)", "dongle_run(1)",                                      //
                            "dongle_recv(0, 400) = 48 5", "ambe_send(packet, 01a1a2a3a4a5a6a7a8a9aaab)",  //
                            "dongle_send(5, packet, 48)", "dongle_recv(0, 400) = 320 4",                  //
                            "dongle_recv(0, 400) = 48 5", "ambe_send(packet, 02a1a2a3a4a5a6a7a8a9aaab)",  //
                            "dongle_send(5, packet, 48)",                                                 //
                            "dongle_recv(0, 400) = 48 5", "ambe_send(packet, 03a1a2a3a4a5a6a7a8a9aaab)",  //
                            "dongle_send(5, packet, 48)", "dongle_run(0)", "dongle_close(0)"));
}

TEST(StartUp, FailedDongleInitEndsTheRunAtOnceWithStatus1) {
    for (const Lines& options : {Lines{"-W"}, Lines{}}) {
        const ThreeFrames scenario(options, "init -1\nspeak\nrest 48 5\n");
        const Outcome outcome = scenario.run();
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err, "[dongle_debug][dongle_init]");
        EXPECT_THAT(outcome.calls, ElementsAre("dongle_debug(0)", "dongle_init(/dev/ttyUSB0, 230400)"));
        EXPECT_THAT(outcome.out, EndsWith("\n[dongle_debug][dongle_init]"));  // the empty line follows the greeting
        EXPECT_FALSE(scenario.has_file("rec.wav"));
    }
}

TEST(StartUp, AnyNegativeDongleInitIsAFailureAndAnythingElseIsNot) {
    for (const std::string result : {"-2", "-2147483648", "0", "1", "255"})
        EXPECT_EQ(ThreeFrames({"-W"}, "init " + result + "\nrest 48 5\n").run().status, result[0] == '-' ? 1 : 0);
}

TEST(StartUp, MissingOperandPrintsTheBannerThenUsage) {
    // clang-format off
    const Lines lines[] = {{}, {"-W"}, {"-W", "-F", "alaw"}, {"-d", "--"}};
    // clang-format on
    for (const Lines& arguments : lines) {
        const Outcome outcome = Scenario(arguments).run();
        EXPECT_EQ(outcome.out, banner());
        EXPECT_EQ(outcome.err, usage_line);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.calls, IsEmpty());
    }
}

TEST(StartUp, BannerStandsBeforeTheUsageLineAlsoWhenBothGoToOneFile) {
    const Scenario scenario;
    ProgramCall call = scenario.call();
    call.arguments = {"-W", "-F", "mp3"};
    call.error_joins_output = true;
    EXPECT_EQ(run_program(call).out, "Format 'mp3' is not supported.\n" + banner() + usage_line);
}

TEST(StartUp, FailedFilesAndLinkFailuresLeaveTheStatusAt0) {
    const Outcome outcome = Scenario({"-W", "missing.ambe"}).run();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.calls, start_calls() + end_calls);
    EXPECT_EQ(ThreeFrames({"-W"}, "rest -1 0\n").run().status, 0);
}

TEST(StartUp, DongleIsClosedAfterTheLastFile) {
    const Outcome outcome = ThreeFrames(play_mode, "speak\nrest 48 5\n").run();
    EXPECT_THAT(outcome.out, EndsWith("DONE\n[dongle_run 0][dongle_close]"));
    EXPECT_THAT(outcome.err, EndsWith("> DVX closed.\n[dongle_close]"));
}

}  // namespace
