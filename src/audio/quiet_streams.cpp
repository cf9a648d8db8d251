// SPDX-License-Identifier: MIT
#include "audio/quiet_streams.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace {

constexpr int first_free_descriptor = STDERR_FILENO + 1;

int copy_of(int descriptor) {
    return fcntl(descriptor, F_DUPFD_CLOEXEC, first_free_descriptor);
}

void close_one(int& descriptor) {
    if (descriptor >= 0) close(descriptor);
    descriptor = -1;
}

void lead_to(int output, int error) {
    // What a library left in the buffer of standard output goes where its descriptor still leads.
    std::fflush(stdout);
    dup2(output, STDOUT_FILENO);
    dup2(error, STDERR_FILENO);
}

}  // namespace

int quiet_streams_open(QuietStreams& streams) {
    streams.null_device = open("/dev/null", O_WRONLY | O_CLOEXEC);
    streams.output = copy_of(STDOUT_FILENO);
    streams.error = copy_of(STDERR_FILENO);
    if (streams.null_device >= 0 && streams.output >= 0 && streams.error >= 0) return 0;

    const int reason = errno;
    quiet_streams_close(streams);
    errno = reason;
    return -1;
}

void quiet_streams_close(QuietStreams& streams) {
    close_one(streams.null_device);
    close_one(streams.output);
    close_one(streams.error);
}

void quiet_streams_begin(const QuietStreams& streams) {
    lead_to(streams.null_device, streams.null_device);
}

void quiet_streams_end(const QuietStreams& streams) {
    lead_to(streams.output, streams.error);
}
