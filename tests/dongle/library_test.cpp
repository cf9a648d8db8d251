// SPDX-License-Identifier: MIT
// The library as a file and as a guest in any process: its names, what it asks for, what it prints and opens.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <stdlib.h>

#include <algorithm>
#include <climits>
#include <filesystem>

#include "dongle_door.h"
#include "frame_builder.h"
#include "shared_object.h"
#include "support/capture.h"
#include "support/processor.h"
#include "support/temp_dir.h"

namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

std::vector<std::string> open_descriptors() {
    std::vector<std::string> targets;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code ignored;
        targets.push_back(std::filesystem::read_symlink(entry.path(), ignored).string());
    }
    std::ranges::sort(targets);
    return targets;
}

// Decodes one file at a debug level, from the loading of the library to its end.
Output output_at_level(int level, std::span<const AmbeFrameBytes> frames) {
    return output_of([&] {
        const DongleDoor dongle;
        dongle.debug(level);
        EXPECT_EQ(dongle.init("/dev/ttyUSB0", 230400), 0);
        dongle.hello();
        decode_file(dongle, frames);
        dongle.close(0);
    });
}

void expect_not_called(const std::vector<std::string>& names) {
    const std::vector<std::string> called = read_shared_object(DONGLE_LIBRARY).imported;
    for (const std::string& name : names) EXPECT_THAT(called, Not(testing::Contains(name)));
}

std::vector<AmbeFrameBytes> story(std::size_t count) {
    std::vector<AmbeFrameBytes> frames = raw_frames("golden/story_600.raw12");
    frames.resize(count);
    return frames;
}

AmbeFrameBytes wrecked(const AmbeFrameBytes& frame) {
    return with_errors(frame, 0xF, 0);
}

}  // namespace

TEST(SharedLibrary, ExportsTheNineNamesAndNothingElse) {
    EXPECT_THAT(read_shared_object(DONGLE_LIBRARY).exported,
                ElementsAre("ambe_init", "ambe_send", "dongle_close", "dongle_debug", "dongle_hello", "dongle_init",
                            "dongle_recv", "dongle_run", "dongle_send"));
}

TEST(SharedLibrary, IsKnownByItsNameWithoutAVersion) {
    const SharedObject library = read_shared_object(DONGLE_LIBRARY);
    EXPECT_EQ(library.soname, dongle_file);
    EXPECT_FALSE(library.defines_versions);
    EXPECT_EQ(std::filesystem::path(DONGLE_LIBRARY).filename(), dongle_file);
    EXPECT_FALSE(std::filesystem::is_symlink(DONGLE_LIBRARY));
}

#if !defined(QUAVER_INSTRUMENTED_BUILD)  // sanitizers need libraries of their own
// On arm64 its loader too, which has the value that guards the stack.
TEST(SharedLibrary, NeedsTheCLibraryOnly) {
    EXPECT_THAT(read_shared_object(DONGLE_LIBRARY).needed,
                AllOf(Contains("libc.so.6"), Each(AnyOf("libc.so.6", "ld-linux-aarch64.so.1"))));
}
#endif

TEST(SharedLibrary, NeedsNothingOfTheProgram) {
    EXPECT_THAT(read_shared_object(DONGLE_LIBRARY).imported, Each(Not(StartsWith("tio_"))));
}

// The C library picks sine, exponential and power by processor, and their last bits differ: the same recording would
// not give the same bytes everywhere. Square roots and roundings are exact and may be called.
TEST(SharedLibrary, CallsNoFunctionWhoseLastBitDependsOnTheProcessor) {
    for (const std::string name : {"sin", "cos", "sincos", "tan", "atan", "atan2", "exp", "exp2", "expm1", "log",
                                   "log2", "log10", "pow", "exp10"})
        expect_not_called({name, name + "f", name + "l"});
}

#if !defined(QUAVER_COVERAGE_BUILD)  // the counters of a coverage build allocate
TEST(SharedLibrary, NeverAllocates) {
    expect_not_called({"malloc", "calloc", "realloc", "aligned_alloc", "posix_memalign", "_Znwm", "_Znam"});
}
#endif

TEST(SharedLibrary, UsesNoCommonRandomNumbersAndNoClock) {
    expect_not_called({"rand", "srand", "random", "drand48", "time", "clock_gettime", "gettimeofday"});
}

TEST(SharedLibrary, LoadsInAProcessWithoutTheLineFunctions) {
    for (const char* name : {"tio_open", "tio_speed", "tio_read", "tio_write", "tio_close"})
        ASSERT_EQ(dlsym(RTLD_DEFAULT, name), nullptr) << name;
    EXPECT_TRUE(DongleDoor().loaded);
    EXPECT_THAT(decoded(story(10)), SizeIs(1600));
}

TEST(SoftwareDongle, AcceptsAnyPortTextAndAnySpeed) {
    const std::string endless(100000, '/');
    for (const char* port : {"", "/dev/ttyUSB0", "/nowhere/at all", "%s%n%d", "\xff\n\x1b", endless.c_str()})
        for (const long speed : {0L, 1L, -1L, 230400L, LONG_MAX, LONG_MIN}) {
            const DongleDoor dongle;
            EXPECT_EQ(dongle.init(port, speed), 0) << speed;
            EXPECT_THAT(decode_file(dongle, story(2)), SizeIs(320));
            dongle.close(0);
        }
}

TEST(SoftwareDongle, OpensNothing) {
    const TempDir directory;
    const std::string port = directory / "port";
    const DongleDoor dongle;
    const auto before = open_descriptors();
    EXPECT_EQ(dongle.init(port.c_str(), 230400), 0);
    dongle.hello();
    EXPECT_EQ(open_descriptors(), before);
    decode_file(dongle, story(2));
    EXPECT_EQ(open_descriptors(), before);
    dongle.close(0);
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_FALSE(std::filesystem::exists(port));
}

TEST(SoftwareDongle, SaysNothingAtLevelZeroAndBelow) {
    for (const int level : {0, -1, INT_MIN}) {
        const Output output = output_at_level(level, story(5));
        EXPECT_EQ(output.out, "");
        EXPECT_EQ(output.err, "");
    }
}

// Six good frames with three bits turned over in all, five wrecked ones (three repeats, two mutes), one to come back.
TEST(SoftwareDongle, SaysOneLineAFileAtLevelOne) {
    const auto said_of = [](std::span<const AmbeFrameBytes> frames) {
        const Output output = output_at_level(1, frames);
        EXPECT_EQ(output.out, "");
        return output.err;
    };
    std::vector<AmbeFrameBytes> frames = story(12);
    EXPECT_EQ(said_of(frames), "Dongle: 12 frames, 0 bits corrected, 0 repeated, 0 muted\n");
    frames[1] = with_errors(frames[1], 1, 0);
    frames[3] = with_errors(frames[3], 3, 0);
    for (std::size_t k = 6; k < 11; ++k) frames[k] = wrecked(frames[k]);
    EXPECT_EQ(said_of(frames), "Dongle: 12 frames, 3 bits corrected, 3 repeated, 2 muted\n");
    frames[5] = with_errors(frames[5], 0, 7);
    EXPECT_EQ(said_of(frames), "Dongle: 12 frames, 6 bits corrected, 3 repeated, 2 muted\n");
}

TEST(SoftwareDongle, CountsEachFileForItself) {
    const Output output = output_of([] {
        const DongleDoor dongle;
        dongle.debug(1);
        EXPECT_EQ(dongle.init("", 0), 0);
        decode_file(dongle, story(7));
        decode_file(dongle, story(9));
        dongle.close(0);
    });
    EXPECT_EQ(output.err,
              "Dongle: 7 frames, 0 bits corrected, 0 repeated, 0 muted\n"
              "Dongle: 9 frames, 0 bits corrected, 0 repeated, 0 muted\n");
}

TEST(SoftwareDongle, SaysALineAFrameFromLevelTwoOn) {
    for (const int level : {2, 3, INT_MAX}) {
        const Output output = output_at_level(level, story(9));
        EXPECT_EQ(output.out, "");
        EXPECT_EQ(std::ranges::count(output.err, '\n'), 9 + 1) << "nine frames and the file";
    }
}

// Three bits of c0 turned over: the rate is 0.05 / 48 * 3 = 0.003125. The silence frame is that of radio gear.
TEST(SoftwareDongle, FrameLineSaysNumberKindErrorsAndFields) {
    std::vector<AmbeFrameBytes> frames = {frame_of_voice_bits(0xF854AA9DE80A), frame_of_voice_bits(0xB6C7DC4875F5)};
    frames[1] = with_errors(frames[1], 7, 0);
    EXPECT_EQ(output_at_level(2, frames).err,
              "Dongle: frame 0 silence, errors 0 0, rate 0 ppm, fields 124 0 4 165 41 10 7 7 5\n"
              "Dongle: frame 1 voice, errors 3 0, rate 3125 ppm, fields 91 11 47 62 94 1 2 1 6\n"
              "Dongle: 2 frames, 3 bits corrected, 0 repeated, 0 muted\n");
}

TEST(SoftwareDongle, DecodesTheSameBytesAtEveryLevel) {
    const Pcm silent = decoded(story(20));
    Pcm talkative;
    output_of([&] {
        const DongleDoor dongle;
        dongle.debug(2);
        EXPECT_EQ(dongle.init("", 0), 0);
        talkative = decode_file(dongle, story(20));
    });
    EXPECT_EQ(talkative, silent);
}

TEST(SoftwareDongle, TwoRunsGiveTheSameBytes) {
    const auto frames = raw_frames("recordings/greeting.ambe");
    EXPECT_EQ(decoded(frames), decoded(frames));
}

TEST(SoftwareDongle, RecordingInTheWrongBitOrderComesOutAlmostSilent) {
    const Pcm pcm = decoded(raw_frames("recordings/greeting_reversed.ambe"));
    const auto zeros = std::ranges::count(pcm, 0);
    EXPECT_GT(static_cast<double>(zeros), 0.9 * static_cast<double>(pcm.size()));
}
