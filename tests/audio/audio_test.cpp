// SPDX-License-Identifier: MIT
#include "audio/audio.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "support/capture.h"

namespace {

// The linker sends the code under test's calloc and free here.
struct Heap {
    bool callocs_fail = false;
    bool log_frees = false;
    std::vector<void*> freed;
} heap;

constexpr const char* no_device_line = "No audio devices detected.\n";

int pulls = 0;

int pull_of_the_test(void*, std::uint8_t* block) {
    pulls++;
    std::memset(block, 0, 320);
    return 320;
}

// audio_detect with SOUNDCARD set to `soundcard`, or unset when that is null.
int detected(const char* soundcard, int report, Output* output) {
    if (soundcard != nullptr) {
        setenv("SOUNDCARD", soundcard, 1);
    } else {
        unsetenv("SOUNDCARD");
    }
    int device = -99;
    *output = output_of([&] { device = audio_detect(report); });
    EXPECT_EQ(output->err, "");
    return device;
}

// What audio_free gives back, in order; the blocks themselves are then gone.
std::vector<void*> freed_with(AudioControl* control) {
    heap.freed.clear();
    heap.freed.reserve(8);
    heap.log_frees = true;
    const int result = audio_free(control);
    heap.log_frees = false;
    EXPECT_EQ(result, 0);
    return heap.freed;
}

// Device 0 is silent in every program, the others only in one that is built without sound.
#if QUAVER_WITH_SOUND
constexpr int silent_devices[] = {0};
#else
constexpr int silent_devices[] = {0, 1, 3, 255};
#endif

class SilentDevice : public testing::TestWithParam<int> {
  protected:
    ~SilentDevice() override {
        if (control != nullptr) audio_free(control);
    }

    AudioControl* control = audio_alloc(GetParam());
};

void expect_as_allocated(const AudioControl& control, int device) {
    EXPECT_EQ(control.device, device);
    EXPECT_EQ(control.attached, 0);
    EXPECT_EQ(control.second_flag, 0);
    EXPECT_EQ(control.buffer, nullptr);
    EXPECT_EQ(control.count, 12u);
    EXPECT_EQ(control.callback, nullptr);
    EXPECT_EQ(control.callback_data, nullptr);
    EXPECT_STREQ(control.name, "Linux Audio Test");
}

}  // namespace

extern "C" {

void* __real_calloc(std::size_t count, std::size_t size);
void __real_free(void* block);

void* __wrap_calloc(std::size_t count, std::size_t size) {
    return heap.callocs_fail ? nullptr : __real_calloc(count, size);
}

void __wrap_free(void* block) {
    if (heap.log_frees && block != nullptr) heap.freed.push_back(block);
    __real_free(block);
}

}  // extern "C"

// --- audio_detect

// The number at the start of the text, in base ten, is not cut to a byte; without one it is as if unset.
TEST(AudioDetect, SoundcardIsTheDeviceAndWithoutOneDeviceZeroIsReported) {
    const struct {
        const char* soundcard;
        int device;
        const char* report;
    } rows[] = {
        {nullptr,        0,   no_device_line},
        {"abc",          0,   no_device_line},
        {"x3",           0,   no_device_line},
        {"",             0,   no_device_line},
        {"0",            0,   no_device_line},
        {"-0",           0,   no_device_line},
        {"0x10",         0,   no_device_line}, // the 0 alone
        {"3",            3,   ""            },
        {"010",          10,  ""            },
        {"12abc",        12,  ""            },
        {"300",          300, ""            },
        {"-1",           -1,  ""            },
        {" -7 and more", -7,  ""            },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.soundcard != nullptr ? row.soundcard : "unset");
        for (const int report : {1, -1, 0}) {  // any flag but 0 reports
            Output output;
            EXPECT_EQ(detected(row.soundcard, report, &output), row.device);
            EXPECT_EQ(output.out, report != 0 ? row.report : "");
        }
    }
}

TEST(AudioDetect, NumberThatNarrowsTo0IsReturnedWithoutAWord) {
    Output output;
    EXPECT_EQ(detected("4294967296", 1, &output), 0);
    EXPECT_EQ(output.out, "");
}

// --- audio_alloc and audio_free

INSTANTIATE_TEST_SUITE_P(Audio, SilentDevice, testing::ValuesIn(silent_devices));

TEST_P(SilentDevice, NewRecordHoldsDeviceCountAndNameAndIsZeroElse) {
    expect_as_allocated(*control, GetParam());
}

TEST_P(SilentDevice, NameIsFilledUpWithZeros) {
    static_assert(sizeof control->name == 64);
    EXPECT_EQ(std::memcmp(control->name, "Linux Audio Test", 16), 0);
    for (std::size_t i = 16; i < 64; ++i) EXPECT_EQ(control->name[i], '\0') << i;
}

TEST_P(SilentDevice, FieldsStandInTheirOrder) {
    static_assert(offsetof(AudioControl, device) == 0 && offsetof(AudioControl, attached) == 1);
    static_assert(offsetof(AudioControl, second_flag) == 2);
    static_assert(offsetof(AudioControl, buffer) < offsetof(AudioControl, count));
    static_assert(offsetof(AudioControl, count) < offsetof(AudioControl, callback));
    static_assert(offsetof(AudioControl, callback) < offsetof(AudioControl, callback_data));
    static_assert(offsetof(AudioControl, callback_data) < offsetof(AudioControl, name));
}

TEST(AudioAlloc, DeviceNumberIsKeptModulo256) {
    const struct {
        int number;
        int kept;
    } cases[] = {
        {0,    0  },
        {255,  255},
        {256,  0  },
        {300,  44 },
        {-1,   255},
        {-300, 212}
    };
    for (const auto& [number, kept] : cases) {
        AudioControl* control = audio_alloc(number);
        ASSERT_NE(control, nullptr);
        EXPECT_EQ(control->device, kept) << number;
        audio_free(control);
    }
}

TEST(AudioAlloc, NoMemoryIsReported) {
    AudioControl* control = nullptr;
    const Output output = output_of([&] {
        heap.callocs_fail = true;
        control = audio_alloc(0);
        heap.callocs_fail = false;
    });
    EXPECT_EQ(control, nullptr);
    EXPECT_EQ(output.err, "MCI: out of memory for Audio control !\n");
    EXPECT_EQ(output.out, "");
}

TEST(AudioFree, RecordWithoutABufferIsAllThatIsFreed) {
    AudioControl* control = audio_alloc(0);
    EXPECT_THAT(freed_with(control), testing::ElementsAre(control));
}

TEST(AudioFree, BufferIsFreedBeforeTheRecord) {
    AudioControl* control = audio_alloc(0);
    control->buffer = static_cast<std::uint8_t*>(std::malloc(16));
    void* buffer = control->buffer;
    EXPECT_THAT(freed_with(control), testing::ElementsAre(buffer, control));
}

// --- the device operations

TEST_P(SilentDevice, StubsSucceedAndLeaveTheRecordAsItIs) {
    const Output output = output_of([&] {
        EXPECT_EQ(audio_format(control, 2, 44100L, 8), 0);
        EXPECT_EQ(audio_open(control, 1), 0);
        EXPECT_EQ(audio_service(control), 0);
        EXPECT_EQ(audio_stop(control), 0);
    });
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "");
    expect_as_allocated(*control, GetParam());
}

TEST_P(SilentDevice, StartNeitherKeepsNorCallsTheCallback) {
    EXPECT_EQ(audio_start(control, pull_of_the_test, control), 0);
    EXPECT_EQ(audio_service(control), 0);
    EXPECT_EQ(audio_stop(control), 0);
    EXPECT_EQ(pulls, 0);
    expect_as_allocated(*control, GetParam());
}

TEST_P(SilentDevice, VerboseProgramHearsWhyAnotherDeviceIsSilent) {
    const Output output = output_of([&] {
        audio_verbose(1);
        audio_format(control, 1, 8000L, 16);
        audio_open(control, 1);
        audio_verbose(0);
    });
    const std::string number = std::to_string(GetParam());
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, GetParam() == 0 ? "" : "MCI: no sound on device " + number + ", built without sound !\n");
}

TEST_P(SilentDevice, AttachKeepsCallbackAndDataAndMarksTheRecord) {
    control->second_flag = 9;
    int data = 0;
    EXPECT_EQ(audio_attach(control, pull_of_the_test, &data), 0);
    EXPECT_EQ(control->callback, pull_of_the_test);
    EXPECT_EQ(control->callback_data, &data);
    EXPECT_EQ(control->attached, 1);
    EXPECT_EQ(control->second_flag, 0);
    EXPECT_EQ(control->device, GetParam());
    EXPECT_EQ(control->count, 12u);
}

TEST_P(SilentDevice, StartLeavesAnAttachedCallbackInPlace) {
    int data = 0;
    audio_attach(control, pull_of_the_test, &data);
    EXPECT_EQ(audio_start(control, nullptr, nullptr), 0);
    EXPECT_EQ(control->callback, pull_of_the_test);
    EXPECT_EQ(control->callback_data, &data);
}
