// SPDX-License-Identifier: MIT
// The devices that are heard, on a stand-in for the sound library.
#include <dirent.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <numeric>
#include <sstream>

#include "audio/audio.h"
#include "audio/sound_card.h"
#include "support/capture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr int default_device = 1;
constexpr int full_blocks = 10;  // of twelve

// Each block has samples that no other has.
Bytes numbered_block(int number) {
    Bytes block;
    for (int i = 0; i < audio_block_bytes / 2; i++) {
        block.push_back(static_cast<std::uint8_t>(i));
        block.push_back(static_cast<std::uint8_t>(number));
    }
    return block;
}

Bytes numbered_blocks(int count) {
    Bytes all;
    for (int i = 0; i < count; i++) {
        const Bytes block = numbered_block(i);
        all.insert(all.end(), block.begin(), block.end());
    }
    return all;
}

int pull_numbered_block(void* pulled, std::uint8_t* output) {
    int& number = *static_cast<int*>(pulled);
    const Bytes block = numbered_block(number++);
    std::memcpy(output, block.data(), block.size());
    return audio_block_bytes;
}

// The linker sends the layer's polls here: naps are counted, not slept.
struct Polls {
    int napped_ms = 0;
    int longest_ms = 0;      // that something was waited for
    int limit_ms = 1000000;  // that a test has time for
} polls;

int open_descriptors() {
    int count = 0;
    DIR* directory = opendir("/proc/self/fd");
    while (readdir(directory) != nullptr) count++;
    closedir(directory);
    return count;
}

// A run of the layer as the player drives it.
struct Playing {
    int device = default_device;
    int verbose = 0;
    std::vector<int> files;  // blocks in each
    int pulled = 0;
    Output output;
    int descriptors_left = 0;

    void run() {
        polls = {.limit_ms = polls.limit_ms};
        const int descriptors_before = open_descriptors();
        output = output_of([&] { play(); });
        descriptors_left = open_descriptors() - descriptors_before;
    }

    void play() {
        audio_verbose(verbose);
        AudioControl* control = audio_alloc(device);
        EXPECT_EQ(audio_format(control, 1, 8000L, 16), 0);
        EXPECT_EQ(audio_open(control, 1), 0);
        for (const int blocks : files) {
            EXPECT_EQ(audio_start(control, pull_numbered_block, &pulled), 0);
            for (int i = 0; i < blocks; i++) EXPECT_EQ(audio_service(control), 0);
            EXPECT_EQ(audio_stop(control), 0);
            EXPECT_EQ(control->attached, 0);
            EXPECT_EQ(control->callback, nullptr);
            EXPECT_EQ(control->callback_data, nullptr);
        }
        EXPECT_STREQ(control->name, "Linux Audio Test");
        EXPECT_EQ(control->count, 12u);
        EXPECT_EQ(audio_free(control), 0);
        audio_verbose(0);
    }
};

Playing played(const std::vector<int>& files = {20}, int device = default_device, int verbose = 0) {
    Playing playing;
    playing.device = device;
    playing.verbose = verbose;
    playing.files = files;
    playing.run();
    return playing;
}

Playing played_verbosely(const std::vector<int>& files = {20, 20}) {
    return played(files, default_device, 1);
}

// A fault meets the process that tries the device, or only the one that plays.
std::vector<SoundFault> faults_in_either_process() {
    std::vector<SoundFault> faults = lasting_sound_faults;
    for (SoundFault fault : lasting_sound_faults) {
        if (fault.script.find("crashes") != std::string::npos) continue;  // that would be the end of the test
        fault.script += " main";
        faults.push_back(fault);
    }
    return faults;
}

class AlsaDevice : public testing::Test {
  protected:
    // What was taken is given back: devices closed, parameters and configuration freed.
    void expect_everything_released(const Playing& playing, const std::string& what) {
        EXPECT_EQ(playing.descriptors_left, 0) << what;
        for (const char* kind : {"hw", "sw"}) {
            const std::string name = std::string("snd_pcm_") + kind + "_params_";
            const bool refused = what.find(name + "malloc 0 -12 main") != std::string::npos;
            EXPECT_EQ(card.calls_of(name + "malloc").size(), card.calls_of(name + "free").size() + (refused ? 1 : 0))
                << what;
        }
        EXPECT_EQ(card.calls_of("snd_pcm_close").size(), opened(what)) << what;
        ASSERT_FALSE(card.calls().empty()) << what;
        EXPECT_EQ(card.calls().back(), "snd_config_update_free_global") << what;
    }

    std::size_t opened(const std::string& what) const {
        return what.find("snd_pcm_open") != std::string::npos ? 0 : card.calls_of("snd_pcm_open").size();
    }

    SoundCard card;
};

}  // namespace

extern "C" int __real_poll(pollfd* waited, nfds_t count, int timeout_ms);

extern "C" int __wrap_poll(pollfd* waited, nfds_t count, int timeout_ms) {
    if (count == 0) {
        polls.napped_ms += timeout_ms;
        return 0;
    }
    polls.longest_ms = std::max(polls.longest_ms, timeout_ms);
    return __real_poll(waited, count, std::min(timeout_ms, polls.limit_ms));
}

TEST_F(AlsaDevice, NumberOneIsTheDefaultAndTheOthersAreCards) {
    const std::pair<int, const char*> names[] = {
        {1,   "default"   },
        {2,   "plughw:0"  },
        {3,   "plughw:1"  },
        {11,  "plughw:9"  },
        {255, "plughw:253"},
        {300, "plughw:42" }, // 300 modulo 256 is 44
        {-1,  "plughw:253"},
    };
    for (const auto& [device, name] : names) {
        card.tell("");
        played({20}, device);
        EXPECT_THAT(card.calls_of("snd_pcm_open"), ElementsAre(std::string("snd_pcm_open(") + name + ")"));
    }
}

TEST_F(AlsaDevice, NumberZeroNeverAsksTheLibrary) {
    EXPECT_EQ(played({20}, 0, 1).pulled, 0);
    EXPECT_THAT(card.calls(), IsEmpty());
}

TEST_F(AlsaDevice, EightKilohertzMonoOf16BitsInAQueueOfTwelveBlocksIsAskedFor) {
    played();
    for (const char* call :
         {"snd_pcm_hw_params_set_access(3)",  // interleaved, written
          "snd_pcm_hw_params_set_format(2)",  // 16 bits, signed, little-endian
          "snd_pcm_hw_params_set_channels(1)", "snd_pcm_hw_params_set_rate(8000)",
          "snd_pcm_hw_params_set_period_size_near(160)", "snd_pcm_hw_params_set_buffer_size_near(1920)",
          "snd_pcm_sw_params_set_start_threshold(960)", "snd_pcm_sw_params_set_avail_min(480)"}) {
        EXPECT_THAT(card.calls(), Contains(call));
    }
}

// Threads of the library may print between its calls too.
TEST_F(AlsaDevice, ErrorMessagesOfTheLibraryAreTakenFromItBeforeItDoesAnything) {
    played();
    ASSERT_FALSE(card.calls().empty());
    EXPECT_EQ(card.calls().front(), "snd_lib_error_set_handler");
}

TEST_F(AlsaDevice, DeviceIsTriedInAnotherProcessFirst) {
    played();
    EXPECT_THAT(card.trial_calls(), Contains("snd_pcm_open(default)"));
    EXPECT_THAT(card.trial_calls(), Contains("snd_pcm_sw_params"));
    EXPECT_THAT(card.trial_calls(), Not(Contains("snd_pcm_prepare")));
}

TEST_F(AlsaDevice, ConfigurationIsReadOnceForBothProcesses) {
    played();
    EXPECT_THAT(card.calls(), Contains("snd_config_update"));
    EXPECT_THAT(card.trial_calls(), Not(Contains("snd_config_update")));
}

TEST_F(AlsaDevice, EveryBlockIsHeardOnceForOneFileAndForThree) {
    for (const char* lengths : {"1", "12", "100", "30 30 30", "0 1 0 13 5"}) {
        card.tell("");
        std::istringstream words(lengths);
        const std::vector<int> files(std::istream_iterator<int>(words), {});
        const Playing playing = played(files);
        EXPECT_EQ(card.heard(), numbered_blocks(playing.pulled));
        EXPECT_EQ(playing.pulled, std::accumulate(files.begin(), files.end(), 0));
        EXPECT_EQ(playing.output.out, "");
        EXPECT_EQ(playing.output.err, "");
        expect_everything_released(playing, "");
    }
}

TEST_F(AlsaDevice, ProgramWaitsOnlyOnceTwoBlocksOfTheQueueAreLeft) {
    played({full_blocks - 1});
    EXPECT_THAT(card.calls_of("snd_pcm_wait"), IsEmpty());

    card.tell("");
    played({full_blocks});
    EXPECT_THAT(card.calls_of("snd_pcm_wait"), testing::SizeIs(1));

    card.tell("");
    played({100});
    EXPECT_THAT(card.calls_of("snd_pcm_wait"), testing::SizeIs(100 - full_blocks + 1));
}

TEST_F(AlsaDevice, WaitsAreBounded) {
    played();
    EXPECT_THAT(card.calls_of("snd_pcm_wait"), testing::Each(std::string("snd_pcm_wait(3000)")));
}

TEST_F(AlsaDevice, QueueIsTwelveBlocksAlsoInALargerBufferOfTheCard) {
    setenv("QUAVER_TEST_SOUND_BUFFER", "16384", 1);
    played({100});
    unsetenv("QUAVER_TEST_SOUND_BUFFER");
    // Room for three blocks is kept: with nine queued, 16384 - 9 * 160 frames are free.
    EXPECT_THAT(card.calls(), Contains("snd_pcm_sw_params_set_avail_min(14944)"));
    EXPECT_THAT(card.calls_of("snd_pcm_wait"), testing::SizeIs(100 - full_blocks + 1));
    EXPECT_EQ(card.heard(), numbered_blocks(100));
}

TEST_F(AlsaDevice, SmallerBufferOfTheCardIsTheQueue) {
    for (const char* frames : {"100", "160", "400", "1000"}) {
        card.tell("");
        setenv("QUAVER_TEST_SOUND_BUFFER", frames, 1);
        const Playing playing = played({20});
        unsetenv("QUAVER_TEST_SOUND_BUFFER");
        EXPECT_EQ(card.heard(), numbered_blocks(20)) << frames;
        expect_everything_released(playing, "");
    }
}

TEST_F(AlsaDevice, StopPlaysWhatIsQueuedToTheLastTwoBlocksAndLeavesThoseToTheDrain) {
    played();
    // Ten blocks are queued; the card plays half a block each time it is asked, until 320 frames are left.
    EXPECT_THAT(card.calls_of("snd_pcm_drain"), ElementsAre("snd_pcm_drain(320)"));
    EXPECT_THAT(card.calls_of("snd_pcm_nonblock"), ElementsAre("snd_pcm_nonblock(0)", "snd_pcm_nonblock(1)"));
    EXPECT_THAT(card.calls_of("snd_pcm_drop"), IsEmpty());
}

TEST_F(AlsaDevice, DrainThatFailsDropsWhatIsLeftAndPreparesTheCardForTheNextFile) {
    card.tell("snd_pcm_drain 1 -32");
    played();
    const Lines calls = card.calls();
    const auto drain = std::find(calls.begin(), calls.end(), "snd_pcm_drain(320)");
    ASSERT_LT(drain, calls.end() - 4);
    EXPECT_THAT(Lines(drain + 1, drain + 4), ElementsAre("snd_pcm_nonblock(1)", "snd_pcm_drop", "snd_pcm_prepare"));
}

TEST_F(AlsaDevice, FileShorterThanHalfAQueueIsStartedByItsEnd) {
    played({3});
    EXPECT_THAT(card.calls_of("snd_pcm_start"), testing::SizeIs(1));
    EXPECT_THAT(card.calls_of("snd_pcm_drain"), testing::SizeIs(1));
}

TEST_F(AlsaDevice, FileWithoutABlockStartsNothing) {
    played({0});
    EXPECT_THAT(card.calls_of("snd_pcm_start"), IsEmpty());
    EXPECT_THAT(card.calls_of("snd_pcm_drain"), IsEmpty());
}

TEST_F(AlsaDevice, NoBlockIsLostOrDoubledByAnUnderrunASuspendedCardASignalOrAShortWrite) {
    for (const std::string& script : passing_sound_faults) {
        card.tell(script);
        const Playing playing = played_verbosely();
        EXPECT_EQ(playing.pulled, 40) << script;
        EXPECT_EQ(card.heard(), numbered_blocks(40)) << script;
        EXPECT_EQ(playing.output.out, "") << script;
        EXPECT_EQ(playing.output.err, "") << script;
        expect_everything_released(playing, script);
    }
}

TEST_F(AlsaDevice, UnderrunPreparesTheCardAgain) {
    card.tell("snd_pcm_writei 14 -32");
    played();
    EXPECT_THAT(card.calls_of("snd_pcm_prepare"), testing::SizeIs(2));
    EXPECT_THAT(card.calls_of("snd_pcm_resume"), IsEmpty());
}

TEST_F(AlsaDevice, SuspendedCardIsResumedAndPreparedWhereItCannotBe) {
    card.tell("snd_pcm_writei 14 -86\nsnd_pcm_resume 1 -11");
    played();
    EXPECT_THAT(card.calls_of("snd_pcm_resume"), testing::SizeIs(2));
    EXPECT_THAT(card.calls_of("snd_pcm_prepare"), testing::SizeIs(1));

    card.tell("snd_pcm_writei 14 -86\nsnd_pcm_resume 1 -38");
    played();
    EXPECT_THAT(card.calls_of("snd_pcm_resume"), testing::SizeIs(1));
    EXPECT_THAT(card.calls_of("snd_pcm_prepare"), testing::SizeIs(2));
}

TEST_F(AlsaDevice, EveryOtherFaultMakesTheDeviceSilentForGoodWithoutAWord) {
    for (const SoundFault& fault : faults_in_either_process()) {
        card.tell(fault.script);
        const Playing playing = played({20, 20});
        EXPECT_EQ(playing.output.out, "") << fault.script;
        EXPECT_EQ(playing.output.err, "") << fault.script;
        EXPECT_LE(playing.pulled, 20) << fault.script;
        const Bytes heard = card.heard();
        const Bytes expected = numbered_blocks(playing.pulled);
        ASSERT_LE(heard.size(), expected.size()) << fault.script;
        EXPECT_TRUE(std::equal(heard.begin(), heard.end(), expected.begin())) << fault.script;
        expect_everything_released(playing, fault.script);
    }
}

TEST_F(AlsaDevice, VerboseProgramTellsTheReasonInOneLine) {
    for (const SoundFault& fault : faults_in_either_process()) {
        card.tell(fault.script);
        const Playing playing = played_verbosely();
        EXPECT_EQ(playing.output.out, "") << fault.script;
        EXPECT_EQ(playing.output.err, told_of("default", fault)) << fault.script;
    }
}

TEST_F(AlsaDevice, DeviceThatTakesNothingForThreeSecondsIsGivenUp) {
    for (const char* script : {"snd_pcm_writei 0 -4", "snd_pcm_writei 0 0\nsnd_pcm_wait 0 1", "snd_pcm_avail 0 -4",
                               "snd_pcm_writei 14 -86\nsnd_pcm_resume 0 -11\nsnd_pcm_prepare 2 -19"}) {
        card.tell(script);
        const Playing playing = played_verbosely();
        EXPECT_THAT(playing.output.err, testing::StartsWith("MCI: no sound on 'default', play: ")) << script;
        EXPECT_GE(polls.napped_ms, 2900) << script;
        EXPECT_LE(polls.napped_ms, 3100) << script;
        expect_everything_released(playing, script);
    }
}

// Nine blocks are queued and stay there, at every look after that of the ninth: 1920 - 1440 frames are free.
TEST_F(AlsaDevice, DeviceThatStandsStillAtTheEndIsGivenUpToo) {
    std::string script;
    for (int look = 10; look < 400; look++) script += "snd_pcm_avail " + std::to_string(look) + " 480\n";
    card.tell(script);
    const Playing playing = played_verbosely({9});
    EXPECT_EQ(playing.output.err, told_of("default", {"", "drain", ETIMEDOUT}));
    EXPECT_THAT(card.calls_of("snd_pcm_drain"), IsEmpty());
    EXPECT_EQ(polls.napped_ms, 3000);
    expect_everything_released(playing, script);
}

TEST_F(AlsaDevice, StopTakesNoLongerThanTheQueueLasts) {
    played({100});
    EXPECT_LE(polls.napped_ms, 240);
}

TEST_F(AlsaDevice, SoundServerThatNeverAnswersIsWaitedForFiveSeconds) {
    card.tell("snd_pcm_open 0 hangs");
    polls.limit_ms = 300;
    const Playing playing = played_verbosely();
    polls.limit_ms = 1000000;
    EXPECT_GT(wait(nullptr), 0);  // the process that hung has been ended
    EXPECT_EQ(polls.longest_ms, 5000);
    EXPECT_EQ(playing.output.err, told_of("default", {"", "open", ETIMEDOUT}));
    EXPECT_THAT(card.calls_of("snd_pcm_open"), IsEmpty());
    EXPECT_EQ(playing.descriptors_left, 0);
}

TEST_F(AlsaDevice, OtherFormatThanThatOfABlockIsRefused) {
    const std::pair<int, int> formats[] = {
        {1, 8 },
        {1, 24},
        {0, 16}
    };
    for (const auto& [channels, bits] : formats) {
        card.tell("");
        AudioControl* control = audio_alloc(default_device);
        const Output output = output_of([&] {
            audio_verbose(1);
            audio_format(control, channels, 8000L, bits);
            audio_open(control, 1);
            audio_verbose(0);
        });
        EXPECT_EQ(output.err, told_of("default", {"", "set parameters", EINVAL}));
        EXPECT_THAT(card.calls_of("snd_pcm_open"), IsEmpty());
        audio_free(control);
    }
}
