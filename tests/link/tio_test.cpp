// SPDX-License-Identifier: MIT
// The serial line's way from open to close, and its writes.
#include "link/tio.h"

#include <dlfcn.h>
#include <fcntl.h>

#include <filesystem>
#include <numeric>

#include "line_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// Before any test has run.
const std::string last_error_at_start = tio_last_error();
const termios working_state_at_start = *tio_working_state();
const std::int16_t timeout_at_start = tio_timeout(0);
const int write_at_start = tio_write("x", 1);
const int errno_at_start = errno;
const std::string write_error_at_start = tio_last_error();

class SerialLine : public LineFixture {};

std::string opened_file(int descriptor) {
    return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor)).string();
}

bool is_open(int descriptor) {
    return fcntl(descriptor, F_GETFD) != -1;
}

TEST_F(SerialLine, BeginsClosedWithZeroStateNoTimeOutAndNoErrorText) {
    const termios zero = {};
    EXPECT_EQ(last_error_at_start, "");
    EXPECT_TRUE(same_state(working_state_at_start, zero));
    EXPECT_EQ(timeout_at_start, 0);
}

TEST_F(SerialLine, WriteBeforeAnyOpenReturnsMinusOneAndTheTextHoldsErrno9AndDescriptorMinus1) {
    EXPECT_EQ(write_at_start, -1);
    EXPECT_EQ(errno_at_start, EBADF);
    EXPECT_EQ(write_error_at_start, "write error (9) on -1");
}

TEST_F(SerialLine, ExportsTheFiveFunctionsOfTheVocoderLibraryAndNothingElse) {
    for (const char* name : {"tio_open", "tio_speed", "tio_read", "tio_write", "tio_close"})
        EXPECT_NE(dlsym(RTLD_DEFAULT, name), nullptr) << name;
    for (const char* name : {"tio_peek", "_Z8tio_peeki", "_Z8tio_flowi", "_Z9tio_breakv", "_Z10kb_raw_offv"})
        EXPECT_EQ(dlsym(RTLD_DEFAULT, name), nullptr) << name;
}

TEST_F(SerialLine, OpenOfANullPathReturnsZeroAndOpensNothing) {
    EXPECT_EQ(tio_open(nullptr), 0);
    EXPECT_THAT(libc_calls().open_flags, IsEmpty());
    expect_line_closed();
}

TEST_F(SerialLine, OpenOfAMissingDeviceReturnsMinusOneWithATextAndTheLineStaysClosed) {
    EXPECT_EQ(tio_open("/dev/quaver-is-not-here"), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(last_error(), "open(/dev/quaver-is-not-here): 2");
    expect_line_closed();
}

TEST_F(SerialLine, OpenOfANullPathOrAMissingDeviceLeavesAnOpenLineOpen) {
    open_line();
    EXPECT_EQ(tio_open(nullptr), 0);
    EXPECT_EQ(tio_open("/dev/quaver-is-not-here"), -1);
    EXPECT_EQ(tio_write("x", 1), 1);
    EXPECT_EQ(pty.receive(1), bytes_of("x"));
}

TEST_F(SerialLine, TextOfAFailedOpenIsCutTo127Characters) {
    const std::string fits = "/" + std::string(117, 'a');  // 5 + 118 + 4 = 127
    const std::string far_too_long = "/" + std::string(200, 'a') + "/" + std::string(4900, 'b');
    const std::string cut = "open(/" + std::string(121, 'a');  // 6 + 121 = 127
    const std::pair<std::string, std::string> texts[] = {
        {fits,         "open(" + fits + "): 2"},
        {fits + "a",   "open(" + fits + "a): "},
        {far_too_long, cut                    },
    };
    for (const auto& [path, text] : texts) {
        EXPECT_EQ(tio_open(path.c_str()), -1);
        EXPECT_EQ(last_error(), text);
    }
}

TEST_F(SerialLine, OpensForReadingAndWritingWithNoOtherFlagAndReturnsTheDescriptor) {
    const int descriptor = tio_open(pty.path().c_str());
    EXPECT_THAT(libc_calls().open_flags, ElementsAre(O_RDWR));
    ASSERT_GT(descriptor, 2);
    EXPECT_EQ(opened_file(descriptor), pty.path());
}

TEST_F(SerialLine, OpenAppliesRawModeThenLocalThenNoFlowControl) {
    pty.set_speed(B9600);  // 0xD in the control flags
    reset_libc_calls();
    const int descriptor = tio_open(pty.path().c_str());
    const auto& applied = libc_calls().applied;
    ASSERT_THAT(applied, SizeIs(3));
    EXPECT_EQ(applied[0].state.c_cflag, 0x800004BDU);  // CRTSCTS, HUPCL, CREAD, CS8
    EXPECT_EQ(applied[1].state.c_cflag, 0x80000CBDU);  // and CLOCAL
    EXPECT_EQ(applied[2].state.c_cflag, 0x00000CBDU);  // without CRTSCTS
    for (const AppliedState& one : applied) {
        EXPECT_EQ(one.descriptor, descriptor);
        EXPECT_EQ(one.when, TCSANOW);
    }
}

TEST_F(SerialLine, OpenLineIsRawWith8N1ReceiverHangUpAndLocalAtTheSpeedThatItHad) {
    pty.set_speed(B4800);
    tio_open(pty.path().c_str());
    const termios state = pty.state();
    EXPECT_EQ(state.c_iflag, 5U);
    EXPECT_EQ(state.c_oflag, 0U);
    EXPECT_EQ(state.c_cflag & ~tcflag_t{CBAUD}, tcflag_t{CS8 | CREAD | HUPCL | CLOCAL});
    EXPECT_EQ(state.c_cc[VMIN], 1);
    EXPECT_EQ(state.c_cc[VTIME], 0);
    EXPECT_EQ(cfgetispeed(&state), speed_t{B4800});
    EXPECT_EQ(cfgetospeed(&state), speed_t{B4800});
}

TEST_F(SerialLine, OpenOfARegularFileSucceeds) {
    const TempDir dir;
    write_file(dir / "line", {});
    EXPECT_GT(tio_open((dir / "line").c_str()), 0);
    EXPECT_EQ(tio_write("abc", 3), 3);
    EXPECT_EQ(tio_speed("9600"), 0);
    EXPECT_EQ(tio_close(), 0);
    EXPECT_EQ(read_file(dir / "line"), bytes_of("abc"));
}

TEST_F(SerialLine, OpenThatCannotSaveTheStateClosesTheLine) {
    libc_calls().failures["tcgetattr"] = EIO;
    EXPECT_EQ(tio_open(pty.path().c_str()), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(last_error(), "Unable to save state");
    EXPECT_THAT(libc_calls().closed, SizeIs(1));
    expect_line_closed();
}

TEST_F(SerialLine, CloseAfterAStateThatCouldNotBeSavedAppliesTheOneSavedBefore) {
    pty.set_speed(B300);
    const termios saved_before = pty.state();
    open_line();
    tio_close();
    reset_libc_calls();

    Pty second;
    libc_calls().failures["tcgetattr"] = EIO;
    EXPECT_EQ(tio_open(second.path().c_str()), -1);
    ASSERT_THAT(libc_calls().applied, SizeIs(1));
    EXPECT_TRUE(same_state(libc_calls().applied[0].state, saved_before));
}

TEST_F(SerialLine, OpenThatCannotSetTheNewModeRestoresAndClosesTheLine) {
    const termios found = pty.state();
    libc_calls().failures["tcsetattr"] = EIO;
    libc_calls().last_tcsetattr_to_fail = 1;
    EXPECT_EQ(tio_open(pty.path().c_str()), -1);
    EXPECT_EQ(last_error(), "Unable to set new mode");
    ASSERT_THAT(libc_calls().applied, SizeIs(2));
    EXPECT_TRUE(same_state(libc_calls().applied[1].state, found));
    EXPECT_THAT(libc_calls().closed, ElementsAre(libc_calls().applied[0].descriptor));
    expect_line_closed();
}

TEST_F(SerialLine, TextOfTheRestoringCloseOverwritesTheReasonOfTheFailedOpen) {
    libc_calls().failures["tcsetattr"] = EIO;
    EXPECT_EQ(tio_open(pty.path().c_str()), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(last_error(), "TIO_Sstate: 5");
}

TEST_F(SerialLine, OpenSucceedsThoughLocalAndFlowCannotBeApplied) {
    libc_calls().failures["tcsetattr"] = EIO;
    libc_calls().first_tcsetattr_to_fail = 2;
    EXPECT_GT(tio_open(pty.path().c_str()), 0);
    EXPECT_EQ(last_error(), "TIO_Sstate: 5");
}

TEST_F(SerialLine, SecondOpenForgetsTheFirstLineWithoutClosingIt) {
    Pty second;
    second.set_speed(B300);
    const termios found = second.state();
    const int first_descriptor = open_line();
    const int second_descriptor = tio_open(second.path().c_str());
    EXPECT_NE(second_descriptor, first_descriptor);
    EXPECT_TRUE(is_open(first_descriptor));
    EXPECT_EQ(tio_write("x", 1), 1);
    EXPECT_EQ(second.receive(1), bytes_of("x"));

    EXPECT_EQ(tio_close(), 0);
    EXPECT_TRUE(same_state(second.state(), found));
    EXPECT_TRUE(is_open(first_descriptor));
    close(first_descriptor);
}

TEST_F(SerialLine, CloseWritesTheStateFoundAtOpenBack) {
    pty.set_speed(B1200);
    const termios found = pty.state();
    const int descriptor = open_line();
    tio_speed("230400");
    ASSERT_FALSE(same_state(pty.state(), found));
    reset_libc_calls();

    EXPECT_EQ(tio_close(), 0);
    EXPECT_TRUE(same_state(pty.state(), found));
    ASSERT_THAT(libc_calls().applied, SizeIs(1));
    EXPECT_EQ(libc_calls().applied[0].when, TCSANOW);
    EXPECT_TRUE(same_state(libc_calls().applied[0].state, found));
    EXPECT_THAT(libc_calls().closed, ElementsAre(descriptor));
    EXPECT_FALSE(is_open(descriptor));
}

TEST_F(SerialLine, SecondCloseReturnsZeroAndDoesNothing) {
    open_line();
    EXPECT_EQ(tio_close(), 0);
    reset_libc_calls();
    EXPECT_EQ(tio_close(), 0);
    EXPECT_THAT(libc_calls().applied, IsEmpty());
    EXPECT_THAT(libc_calls().closed, IsEmpty());
}

TEST_F(SerialLine, CloseReturnsTheResultOfCloseAndTheLineIsClosedInEveryCase) {
    const int descriptor = open_line();
    libc_calls().failures["close"] = EIO;
    EXPECT_EQ(tio_close(), -1);
    EXPECT_EQ(errno, EIO);
    reset_libc_calls();
    EXPECT_EQ(tio_close(), 0);
    EXPECT_THAT(libc_calls().closed, IsEmpty());
    close(descriptor);
}

TEST_F(SerialLine, CloseSucceedsThoughTheStateCannotBeRestored) {
    const int descriptor = open_line();
    pty.hang_up();
    EXPECT_EQ(tio_close(), 0);
    EXPECT_EQ(last_error(), "TIO_Sstate: 5");
    EXPECT_FALSE(is_open(descriptor));
}

TEST_F(SerialLine, LineOnDescriptorZeroIsNeitherRestoredNorClosed) {
    const StandardInput input(pty.device());
    close(STDIN_FILENO);
    EXPECT_EQ(tio_open(pty.path().c_str()), 0);
    EXPECT_EQ(tio_write("x", 1), 1);
    reset_libc_calls();

    EXPECT_EQ(tio_close(), 0);
    EXPECT_THAT(libc_calls().applied, IsEmpty());
    EXPECT_THAT(libc_calls().closed, IsEmpty());
    EXPECT_TRUE(is_open(STDIN_FILENO));
    EXPECT_EQ(pty.state().c_oflag, 0U);
    expect_line_closed();
}

TEST_F(SerialLine, BreakIsSentOnDescriptorZeroToo) {
    const StandardInput input(pty.device());
    close(STDIN_FILENO);
    EXPECT_EQ(tio_open(pty.path().c_str()), 0);
    reset_libc_calls();
    EXPECT_EQ(tio_break(), 0);
    EXPECT_THAT(libc_calls().breaks, ElementsAre(testing::Pair(0, 0)));
}

TEST_F(SerialLine, EveryByteGoesUnchangedBothWaysAndNoneIsEchoed) {
    open_line();
    Bytes every_byte(256);
    std::iota(every_byte.begin(), every_byte.end(), std::uint8_t{0});
    EXPECT_EQ(tio_write(every_byte.data(), 256), 256);
    EXPECT_EQ(pty.receive(256), every_byte);
    Bytes received(256);
    deliver(every_byte);
    EXPECT_EQ(tio_read(received.data(), 256), 256);
    EXPECT_EQ(received, every_byte);
    EXPECT_THAT(pty.receive(1, 50), IsEmpty());
}

TEST_F(SerialLine, ShortWriteIsReturnedAndNotRetried) {
    open_line();
    libc_calls().most_bytes_written = 2;
    EXPECT_EQ(tio_write("abc", 3), 2);
    EXPECT_THAT(libc_calls().write_lengths, ElementsAre(3));
    EXPECT_EQ(pty.receive(3, 50), bytes_of("ab"));
}

TEST_F(SerialLine, WriteToAnUnpluggedLineFailsWithItsErrnoAndDescriptorInTheText) {
    const int descriptor = open_line();
    pty.hang_up();
    EXPECT_EQ(tio_write("x", 1), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(last_error(), "write error (5) on " + std::to_string(descriptor));
}

}  // namespace
