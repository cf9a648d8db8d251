// SPDX-License-Identifier: MIT
// Tries something out in a child process first: what never answers there, or crashes, has cost nothing but time.
#pragma once

// What kept a device from being heard: the step that failed and its error, a negated errno. All zero: nothing.
struct DeviceFailure {
    const char* step;
    int error;
};

// What `trial` gives for `context` in a child process, which ends with it: nothing is written back to the context, no
// buffer flushed, no clean-up run. -ETIMEDOUT with the step "open" after `timeout_ms` without an answer, -EIO when the
// child died over it.
DeviceFailure device_trial(DeviceFailure (*trial)(void* context), void* context, int timeout_ms);
