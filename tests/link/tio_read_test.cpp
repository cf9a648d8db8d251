// SPDX-License-Identifier: MIT
// Reading the line without waiting, and asking whether there is anything to read.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/select.h>

#include <array>

#include "line_fixture.h"

namespace {

using testing::IsEmpty;

class SerialLineRead : public LineFixture {
  protected:
    char byte = 'u';
};
class Peek : public SerialLineRead {};

TEST_F(SerialLineRead, ReturnsZeroAtOnceAndDoesNotReadWhenNoByteIsWaiting) {
    open_line();
    EXPECT_EQ(tio_read(&byte, 1), 0);
    EXPECT_EQ(libc_calls().reads, 0);
    EXPECT_EQ(byte, 'u');
}

TEST_F(SerialLineRead, ReturnsTheNumberOfBytesWaiting) {
    open_line();
    deliver("abc");
    std::array<char, 5> buffer = {'u', 'u', 'u', 'u', 'u'};
    EXPECT_EQ(tio_read(buffer.data(), 5), 3);
    EXPECT_EQ(std::string(buffer.data(), 5), "abcuu");
}

TEST_F(SerialLineRead, ReadsNoMoreThanTheLengthAndLeavesTheRest) {
    open_line();
    deliver("abc");
    std::array<char, 3> buffer = {'u', 'u', 'u'};
    EXPECT_EQ(tio_read(buffer.data(), 2), 2);
    EXPECT_EQ(std::string(buffer.data(), 3), "abu");
    EXPECT_EQ(tio_read(buffer.data(), 3), 1);
    EXPECT_EQ(buffer[0], 'c');
}

TEST_F(SerialLineRead, WithNoLineOpenReturnsZeroInSilence) {
    const Output output = output_of([this] { EXPECT_EQ(tio_read(&byte, 1), 0); });
    EXPECT_EQ(output.out + output.err, "");
    EXPECT_EQ(libc_calls().selects, 0);
    EXPECT_EQ(libc_calls().reads, 0);
}

TEST_F(SerialLineRead, LineThatCannotBeAskedPrintsThePeekAndReturnsIt) {
    open_line();
    const Output output = output_of([this] {
        libc_calls().failures["select"] = EBADF;
        EXPECT_EQ(tio_read(&byte, 1), -1);
    });
    EXPECT_EQ(output.err, "PEEK: -1\n");
    EXPECT_EQ(output.out, "");
}

TEST_F(SerialLineRead, FailureReturnsMinusOneWithErrnoAndDescriptorInTheText) {
    const int descriptor = open_line();
    deliver("a");
    libc_calls().failures["read"] = EREMOTEIO;
    const Output output = output_of([this] { EXPECT_EQ(tio_read(&byte, 1), -1); });
    EXPECT_EQ(output.out + output.err, "");
    EXPECT_EQ(last_error(), "read error (121) on " + std::to_string(descriptor));
}

TEST_F(SerialLineRead, UnpluggedLineReadsAsItsEnd) {
    open_line();
    pty.hang_up();
    EXPECT_EQ(tio_read(&byte, 1), 0);
    EXPECT_EQ(libc_calls().reads, 1);
}

TEST_F(SerialLineRead, NegativeTimeOutNeverBlocksEither) {
    open_line();
    for (const std::int16_t seconds : {std::int16_t{-1}, std::int16_t{INT16_MIN}}) {
        tio_timeout(seconds);
        EXPECT_EQ(tio_read(&byte, 1), 0);
    }
    EXPECT_EQ(libc_calls().reads, 0);
}

TEST_F(SerialLineRead, WithoutATimeOutTheAlarmIsLeftAlone) {
    open_line();
    deliver("a");
    signal(SIGALRM, SIG_IGN);
    alarm(1000);
    EXPECT_EQ(tio_read(&byte, 1), 1);
    EXPECT_EQ(signal(SIGALRM, SIG_DFL), SIG_IGN);
    EXPECT_GT(alarm(0), 0U);
}

TEST_F(SerialLineRead, NegativeTimeOutDisarmsThoughItArmedNothing) {
    open_line();
    deliver("a");
    tio_timeout(-1);
    alarm(1000);
    EXPECT_EQ(tio_read(&byte, 1), 1);
    EXPECT_EQ(byte, 'a');
    EXPECT_EQ(alarm(0), 0U);
}

TEST_F(Peek, Is1WhenInputWaitsAnd0WhenNot) {
    const int descriptor = open_line();
    EXPECT_EQ(tio_peek(descriptor), 0);
    deliver("a");
    EXPECT_EQ(tio_peek(descriptor), 1);
    EXPECT_EQ(tio_read(&byte, 1), 1);
    EXPECT_EQ(tio_peek(descriptor), 0);
}

TEST_F(Peek, IsMinusOneOnError) {
    const int closed = fcntl(pty.device(), F_DUPFD, 100);
    close(closed);
    EXPECT_EQ(tio_peek(closed), -1);
    EXPECT_EQ(errno, EBADF);
}

TEST_F(Peek, NegativeDescriptorNeverHasInputAndIsPutInNoSet) {
    for (const int descriptor : {-1, -2, INT_MIN}) EXPECT_EQ(tio_peek(descriptor), 0);
    EXPECT_EQ(libc_calls().selects, 0);
}

TEST_F(Peek, DescriptorTooLargeForASetIsAnErrorAndPutInNoSet) {
    for (const int descriptor : {FD_SETSIZE, FD_SETSIZE + 1, INT_MAX}) {
        errno = 0;
        EXPECT_EQ(tio_peek(descriptor), -1);
        EXPECT_EQ(errno, EINVAL);
    }
    EXPECT_EQ(libc_calls().selects, 0);
}

TEST_F(Peek, LargestDescriptorOfASetIsAsked) {
    const int largest = FD_SETSIZE - 1;
    rlimit limit = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    ASSERT_GE(limit.rlim_cur, rlim_t{FD_SETSIZE}) << "ulimit -n is too low for this test";
    ASSERT_EQ(dup2(pty.device(), largest), largest);
    EXPECT_EQ(tio_peek(largest), 0);
    deliver("a\n");
    EXPECT_EQ(tio_peek(largest), 1);
    close(largest);
}

}  // namespace
