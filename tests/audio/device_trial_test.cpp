// SPDX-License-Identifier: MIT
#include "audio/device_trial.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

namespace {

constexpr int long_ms = 60000;

DeviceFailure failing_with_what_is_there(void* context) {
    int& error = *static_cast<int*>(context);
    const DeviceFailure failure = {"try", error};
    error = 0;
    return failure;
}

DeviceFailure dying(void*) {
    raise(SIGKILL);
    return {};
}

DeviceFailure hanging(void*) {
    while (true) pause();
}

bool has_a_child() {
    return waitpid(-1, nullptr, WNOHANG) >= 0;
}

}  // namespace

TEST(DeviceTrial, FailureIsThatOfTheTrial) {
    int error = -ENODEV;
    const DeviceFailure failure = device_trial(failing_with_what_is_there, &error, long_ms);
    EXPECT_EQ(failure.step, std::string("try"));
    EXPECT_EQ(failure.error, -ENODEV);
    EXPECT_FALSE(has_a_child());
}

TEST(DeviceTrial, NothingIsWrittenBack) {
    int error = -ENODEV;
    device_trial(failing_with_what_is_there, &error, long_ms);
    EXPECT_EQ(error, -ENODEV);
}

TEST(DeviceTrial, TrialThatSucceedsFailsNowhere) {
    int error = 0;
    EXPECT_EQ(device_trial(failing_with_what_is_there, &error, long_ms).error, 0);
}

TEST(DeviceTrial, TrialThatDiesIsAnError) {
    const DeviceFailure failure = device_trial(dying, nullptr, long_ms);
    EXPECT_EQ(failure.step, std::string("open"));
    EXPECT_EQ(failure.error, -EIO);
    EXPECT_FALSE(has_a_child());
}

TEST(DeviceTrial, TrialThatHangsIsEnded) {
    const DeviceFailure failure = device_trial(hanging, nullptr, 50);
    EXPECT_EQ(failure.step, std::string("open"));
    EXPECT_EQ(failure.error, -ETIMEDOUT);
    int status = 0;
    ASSERT_GT(wait(&status), 0);
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
}

TEST(DeviceTrial, IgnoredEndsOfChildrenChangeNothing) {
    const auto before = signal(SIGCHLD, SIG_IGN);
    int error = -EBUSY;
    EXPECT_EQ(device_trial(failing_with_what_is_there, &error, long_ms).error, -EBUSY);
    signal(SIGCHLD, before);
}
