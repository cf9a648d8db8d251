// SPDX-License-Identifier: MIT
// The start-up order, from the banner to the first file, and the exit statuses.
#include <gmock/gmock.h>

#include "player/program_info.h"
#include "program/scenario.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

TEST(StartUp, BannerNamesTitleAndVersionThenNoticeAndCompany) {
    const std::string notice = program_info.notice;
    EXPECT_EQ(ThreeFrames().run().out.substr(0, banner().size()),
              "HALCYON Tallis Audio Player V1.0.7\n" + notice + " Wexcombe Corporation.\n\n");
    EXPECT_LT(notice.size(), sizeof program_info.notice);
}

TEST(StartUp, ConvertModePrintsBannerCodecAndTwoEmptyLines) {
    ThreeFrames scenario;
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.out, banner() +
                               "CODEC 'Linear PCM' for 1 channels at 8000 Hz with 16 bits per sample.\n"
                               "\n"
                               "\n"
                               "Converting file 'rec.ambe' to 'rec.wav': |\b/\b-\b\\\bDONE\n");
    EXPECT_EQ(outcome.err, convert_teardown());
    EXPECT_EQ(outcome.status, 0);
}

TEST(StartUp, PlayModeChoosesAndNamesTheDeviceAfterTheCodec) {
    ThreeFrames scenario(play_mode);
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
}

TEST(StartUp, PlayModeWritesNoFile) {
    ThreeFrames scenario(play_mode);
    scenario.run();
    EXPECT_FALSE(scenario.has_file("rec.wav"));
}

TEST(StartUp, VocoderIsStartedBetweenTheDeviceAndTheLastEmptyLine) {
    ThreeFrames scenario(play_mode);
    scenario.script = "speak\nrest 48 5\n";
    const std::string out = scenario.run().out;
    EXPECT_NE(out.find("Using device 'Linux Audio Test'.\n[dongle_debug][dongle_init][dongle_hello]\nPlaying file"),
              std::string::npos)
        << out;
}

TEST(StartUp, VocoderIsStartedBetweenTheTwoEmptyLinesInConvertMode) {
    ThreeFrames scenario;
    scenario.script = "speak\nrest 48 5\n";
    const std::string out = scenario.run().out;
    EXPECT_EQ(out.substr(0, out.find("Converting")),
              banner() + codec_line() + "\n[dongle_debug][dongle_init][dongle_hello]\n");
}

TEST(StartUp, LibraryIsCalledInTheDocumentedOrder) {
    ThreeFrames scenario;
    scenario.script = "recv 48 5\nrecv 320 4\nrest 48 5\n";
    EXPECT_THAT(scenario.run().calls,
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
        ThreeFrames scenario(options);
        scenario.script = "init -1\nspeak\nrest 48 5\n";
        const Outcome outcome = scenario.run();
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err, "[dongle_debug][dongle_init]");
        EXPECT_THAT(outcome.calls, ElementsAre("dongle_debug(0)", "dongle_init(/dev/ttyUSB0, 230400)"));
        EXPECT_THAT(outcome.out, EndsWith("\n[dongle_debug][dongle_init]"));  // the empty line follows the greeting
        EXPECT_FALSE(scenario.has_file("rec.wav"));
    }
}

TEST(StartUp, AnyNegativeDongleInitIsAFailureAndAnythingElseIsNot) {
    for (const auto& [result, status] : {
             std::pair{"-2",          1},
             {"-2147483648", 1},
             {"0",           0},
             {"1",           0},
             {"255",         0}
    }) {
        ThreeFrames scenario;
        scenario.script = std::string("init ") + result + "\nrest 48 5\n";
        EXPECT_EQ(scenario.run().status, status) << result;
    }
}

TEST(StartUp, MissingOperandPrintsTheBannerThenUsage) {
    for (const Lines& arguments : {
             Lines{      },
             Lines{     "-W"      },
             Lines{ "-W", "-F", "alaw"},
             Lines{    "-d",   "--"}
    }) {
        Scenario scenario;
        scenario.arguments = arguments;
        const Outcome outcome = scenario.run();
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

TEST(StartUp, UsageErrorAmongTheOptionsPrintsNoBanner) {
    ThreeFrames scenario({"-x"});
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "Usage: quaver [-dvR] [-W [-Ffmt]] [-pport] [-sspeed] file\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.calls, IsEmpty());
}

TEST(StartUp, FailedFilesLeaveTheStatusAt0) {
    Scenario scenario;
    scenario.arguments = {"-W", "missing.ambe"};
    const Outcome outcome = scenario.run();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.calls, start_calls() + end_calls);
}

TEST(StartUp, LinkFailureInAFileLeavesTheStatusAt0) {
    ThreeFrames scenario;
    scenario.script = "rest -1 0\n";
    EXPECT_EQ(scenario.run().status, 0);
}

TEST(StartUp, DongleIsClosedAfterTheLastFile) {
    ThreeFrames scenario(play_mode);
    scenario.script = "speak\nrest 48 5\n";
    const Outcome outcome = scenario.run();
    EXPECT_THAT(outcome.out, EndsWith("DONE\n[dongle_run 0][dongle_close]"));
    EXPECT_THAT(outcome.err, EndsWith("> DVX closed.\n[dongle_close]"));
}

}  // namespace
