// SPDX-License-Identifier: MIT
// Keeps what a library prints away from the user: standard output and standard error lead to /dev/null for a while.
//
// The descriptors themselves are turned, so that threads and child processes of the library are covered too.
#pragma once

struct QuietStreams {
    int null_device;
    int output;  // copies of descriptors 1 and 2
    int error;
};

// Takes three descriptors. Returns 0; -1 with errno, and then none is held.
int quiet_streams_open(QuietStreams& streams);
void quiet_streams_close(QuietStreams& streams);

// Between the two nothing that is printed arrives. What was printed before is flushed first, so its place stays.
void quiet_streams_begin(const QuietStreams& streams);
void quiet_streams_end(const QuietStreams& streams);
