// SPDX-License-Identifier: MIT
#include "audio/device_trial.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

DeviceFailure failed_to_open(int error) {
    return {"open", -error};
}

[[noreturn]] void run_child(DeviceFailure (*trial)(void* context), void* context, int answer) {
    const DeviceFailure failure = trial(context);
    const bool sent = write(answer, &failure, sizeof failure) == sizeof failure;
    _exit(sent ? 0 : 1);
}

// Whether there is something to read, the end included.
bool answered(int descriptor, int timeout_ms) {
    pollfd waited = {descriptor, POLLIN, 0};
    int count = 0;
    do count = poll(&waited, 1, timeout_ms);
    while (count < 0 && errno == EINTR);
    return count > 0;
}

DeviceFailure answer_of(pid_t child, int answer, int timeout_ms) {
    if (!answered(answer, timeout_ms)) {
        // It is not waited for: a child inside a driver may not even die.
        kill(child, SIGKILL);
        return failed_to_open(ETIMEDOUT);
    }
    DeviceFailure failure = {};
    const bool whole = read(answer, &failure, sizeof failure) == sizeof failure;
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    return whole ? failure : failed_to_open(EIO);
}

}  // namespace

DeviceFailure device_trial(DeviceFailure (*trial)(void* context), void* context, int timeout_ms) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) < 0) return failed_to_open(errno);

    const pid_t child = fork();
    if (child == 0) run_child(trial, context, ends[1]);
    const int fork_error = errno;
    close(ends[1]);
    const DeviceFailure failure = child < 0 ? failed_to_open(fork_error) : answer_of(child, ends[0], timeout_ms);
    close(ends[0]);
    return failure;
}
