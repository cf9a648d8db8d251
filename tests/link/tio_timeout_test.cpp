// SPDX-License-Identifier: MIT
// Reading the line with a time-out: the alarm, armed, disarmed, late.
#include <sys/wait.h>

#include <array>
#include <chrono>
#include <functional>

#include "line_fixture.h"

namespace {

// Time-outs are whole seconds and tests share their machine: too early is an error, late is not.
class SerialLineTimeOut : public LineFixture {
  protected:
    std::array<char, 16> buffer = {};

    int read() { return tio_read(buffer.data(), static_cast<int>(buffer.size())); }
};

using Seconds = std::chrono::duration<double>;

Seconds duration_of(const std::function<void()>& action) {
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::steady_clock::now() - start;
}

sighandler_t alarm_disposition() {
    struct sigaction action = {};
    sigaction(SIGALRM, nullptr, &action);
    return action.sa_handler;
}

bool alarm_is_blocked() {
    sigset_t blocked;
    sigprocmask(SIG_BLOCK, nullptr, &blocked);
    return sigismember(&blocked, SIGALRM) == 1;
}

// A program of its own that sends `text` to the line after `delay_ms`: no second thread may take the alarm.
class DelayedSender {
  public:
    DelayedSender(Pty& pty, const std::string& text, int delay_ms) : child_(fork()) {
        if (child_ != 0) return;
        usleep(static_cast<useconds_t>(delay_ms) * 1000);
        pty.send(text);
        _exit(0);
    }
    ~DelayedSender() { waitpid(child_, nullptr, 0); }
    DelayedSender(const DelayedSender&) = delete;
    DelayedSender& operator=(const DelayedSender&) = delete;

  private:
    pid_t child_;
};

volatile sig_atomic_t own_alarms;
void own_handler(int) {
    own_alarms = own_alarms + 1;
}

TEST_F(SerialLineTimeOut, SetterReturnsTheOneBefore) {
    EXPECT_EQ(tio_timeout(2), 0);
    EXPECT_EQ(tio_timeout(-5), 2);
    EXPECT_EQ(tio_timeout(INT16_MAX), -5);
    EXPECT_EQ(tio_timeout(0), 32767);
}

TEST_F(SerialLineTimeOut, OfTwoSecondsOnASilentLineReturns1AfterAboutTwoSeconds) {
    open_line();
    tio_timeout(2);
    buffer.fill('u');
    const Seconds taken = duration_of([this] { EXPECT_EQ(read(), 1); });
    EXPECT_GE(taken.count(), 1.9);
    EXPECT_LT(taken.count(), 20.0);
    EXPECT_THAT(buffer, testing::Each('u'));
}

TEST_F(SerialLineTimeOut, ExpiresAgainAndAgain) {
    open_line();
    tio_timeout(1);
    for (int expiry = 0; expiry < 3; ++expiry) {
        const Seconds taken = duration_of([this] { EXPECT_EQ(read(), 1); });
        EXPECT_GE(taken.count(), 0.9);
        EXPECT_LT(taken.count(), 10.0);
        EXPECT_FALSE(alarm_is_blocked());
    }
}

TEST_F(SerialLineTimeOut, IsNotToldFromOneByte) {
    open_line();
    tio_timeout(1);
    EXPECT_EQ(read(), 1);
    EXPECT_EQ(buffer[0], '\0');
    pty.send("a");
    EXPECT_EQ(read(), 1);
    EXPECT_EQ(buffer[0], 'a');
}

TEST_F(SerialLineTimeOut, DoesNotPutTheDispositionBackWhenItExpires) {
    open_line();
    signal(SIGALRM, own_handler);
    own_alarms = 0;
    tio_timeout(1);
    EXPECT_EQ(read(), 1);
    EXPECT_EQ(own_alarms, 0);
    const sighandler_t left = alarm_disposition();
    EXPECT_NE(left, own_handler);
    EXPECT_NE(left, SIG_DFL);
    EXPECT_NE(left, SIG_IGN);

    // The next read takes what it finds for the disposition to put back.
    pty.send("a");
    EXPECT_EQ(read(), 1);
    EXPECT_EQ(alarm_disposition(), left);
}

TEST_F(SerialLineTimeOut, ByteThatArrivesInTimeIsDeliveredAndTheAlarmDisarmed) {
    open_line();
    tio_timeout(30);
    signal(SIGALRM, own_handler);
    const DelayedSender sender(pty, "k", 200);
    EXPECT_EQ(read(), 1);
    EXPECT_EQ(buffer[0], 'k');
    EXPECT_EQ(alarm(0), 0U);
    EXPECT_EQ(alarm_disposition(), own_handler);
}

TEST_F(SerialLineTimeOut, ByteAfterAnExpiryIsDelivered) {
    open_line();
    tio_timeout(1);
    EXPECT_EQ(read(), 1);
    tio_timeout(30);
    const DelayedSender sender(pty, "k", 100);
    EXPECT_EQ(read(), 1);
    EXPECT_EQ(buffer[0], 'k');
}

TEST_F(SerialLineTimeOut, BytesThatWaitAreReadAtOnceWithoutAPeek) {
    open_line();
    tio_timeout(30);
    deliver("abc");
    EXPECT_EQ(read(), 3);
    EXPECT_EQ(std::string(buffer.data(), 3), "abc");
    EXPECT_EQ(libc_calls().selects, 0);
}

TEST_F(SerialLineTimeOut, UnpluggedLineReadsAsItsEndAndTheAlarmIsDisarmed) {
    open_line();
    tio_timeout(30);
    pty.hang_up();
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(alarm(0), 0U);
    EXPECT_EQ(alarm_disposition(), SIG_DFL);
}

TEST_F(SerialLineTimeOut, WithNoLineOpenFailsWithAText) {
    tio_timeout(30);
    EXPECT_EQ(read(), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(last_error(), "read error (9) on -1");
}

TEST_F(SerialLineTimeOut, ReadErrorLeavesTheAlarmArmedWithTheWholeTimeOut) {
    tio_timeout(INT16_MAX);
    EXPECT_EQ(read(), -1);
    const unsigned left = alarm(0);
    EXPECT_LE(left, 32767U);
    EXPECT_GT(left, 32700U);
    EXPECT_NE(alarm_disposition(), SIG_DFL);
}

TEST_F(SerialLineTimeOut, AlarmThatFiresAfterAReadErrorDoesNothing) {
    tio_timeout(1);
    EXPECT_EQ(read(), -1);
    bool interrupted = false;
    EXPECT_GE(duration_of([&interrupted] { interrupted = usleep(5'000'000) == -1 && errno == EINTR; }).count(), 0.9);
    EXPECT_TRUE(interrupted);
    EXPECT_EQ(alarm(0), 0U);  // it has fired

    // Nor does one more spoil the next time-out.
    open_line();
    raise(SIGALRM);
    EXPECT_EQ(read(), 1);
    EXPECT_FALSE(alarm_is_blocked());
}

TEST_F(SerialLineTimeOut, AlarmAfterAnExpiryDoesNothing) {
    open_line();
    tio_timeout(1);
    EXPECT_EQ(read(), 1);
    raise(SIGALRM);
    raise(SIGALRM);
    EXPECT_FALSE(alarm_is_blocked());
}

TEST_F(SerialLineTimeOut, AlarmLeftFromAFailedReadDoesNotEndTheNextOne) {
    tio_timeout(30);
    EXPECT_EQ(read(), -1);  // no line is open; the alarm stays armed
    open_line();
    deliver("ab");
    libc_calls().old_alarm_goes_off_late = true;
    EXPECT_EQ(read(), 2);
    EXPECT_EQ(buffer[0], 'a');
}

TEST_F(SerialLineTimeOut, AlarmIsArmedWithTheTimeOutToTheSecond) {
    open_line();
    for (const int seconds : {1, 2, 30, 32767}) {
        tio_timeout(static_cast<std::int16_t>(seconds));
        pty.send("a");
        reset_libc_calls();
        EXPECT_EQ(read(), 1);
        // Cleared of what an earlier read may have left, armed, cleared again.
        EXPECT_THAT(libc_calls().alarms, testing::ElementsAre(0U, static_cast<unsigned>(seconds), 0U));
    }
}

TEST_F(SerialLineTimeOut, NegativeOneArmsNothingAndDisarmsAfterARead) {
    open_line();
    signal(SIGALRM, own_handler);
    tio_timeout(30);
    pty.send("a");
    EXPECT_EQ(read(), 1);  // from here on own_handler is the disposition to put back

    signal(SIGALRM, SIG_IGN);
    alarm(1000);
    tio_timeout(-1);
    EXPECT_EQ(read(), 0);  // no byte waits, nothing is read
    EXPECT_EQ(alarm_disposition(), SIG_IGN);
    deliver("b");
    reset_libc_calls();
    EXPECT_EQ(read(), 1);
    EXPECT_EQ(alarm_disposition(), own_handler);
    EXPECT_THAT(libc_calls().alarms, testing::ElementsAre(0U));
    EXPECT_EQ(alarm(0), 0U);
}

}  // namespace
