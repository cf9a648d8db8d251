// SPDX-License-Identifier: MIT
#include "audio/quiet_streams.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "support/capture.h"

namespace {

void print_everywhere(const char* text) {
    std::fputs(text, stdout);
    std::fputs(text, stderr);
}

}  // namespace

TEST(QuietStreams, OnlyWhatIsPrintedInBetweenIsLost) {
    const Output output = output_of([] {
        QuietStreams streams;
        ASSERT_EQ(quiet_streams_open(streams), 0);
        print_everywhere("before ");
        quiet_streams_begin(streams);
        print_everywhere("between ");
        quiet_streams_end(streams);
        print_everywhere("after");
        quiet_streams_close(streams);
    });
    EXPECT_EQ(output.out, "before after");
    EXPECT_EQ(output.err, "before after");
}

TEST(QuietStreams, OtherProcessesAreQuietToo) {
    const Output output = output_of([] {
        QuietStreams streams;
        ASSERT_EQ(quiet_streams_open(streams), 0);
        quiet_streams_begin(streams);
        EXPECT_EQ(std::system("echo said; echo complained >&2"), 0);
        quiet_streams_end(streams);
        quiet_streams_close(streams);
    });
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "");
}

TEST(QuietStreams, NoDescriptorIsLeftWhenOneCannotBeHad) {
    rlimit before = {};
    getrlimit(RLIMIT_NOFILE, &before);
    const int next = dup(STDERR_FILENO);
    close(next);
    const rlimit room_for_two = {static_cast<rlim_t>(next) + 2, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &room_for_two);
    QuietStreams streams;
    EXPECT_EQ(quiet_streams_open(streams), -1);
    EXPECT_EQ(errno, EMFILE);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(streams.null_device, -1);
    EXPECT_EQ(streams.output, -1);
    const int next_now = dup(STDERR_FILENO);
    close(next_now);
    EXPECT_EQ(next_now, next);
}
