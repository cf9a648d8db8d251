// SPDX-License-Identifier: MIT
// The line's speed table, its setters, and its break.
#include <vector>

#include "line_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

class SerialLineSpeed : public LineFixture {};
class SerialLineSetters : public LineFixture {};
class SerialLineBreak : public LineFixture {};

struct Speed {
    const char* name;
    speed_t code, constant;
};

// clang-format off
constexpr Speed every_speed[] = {
    {"0",      0,    B0},      {"50",     1,    B50},     {"75",     2,    B75},     {"110",   3,    B110},
    {"134",    4,    B134},    {"150",    5,    B150},    {"200",    6,    B200},    {"300",   7,    B300},
    {"600",    8,    B600},    {"1200",   9,    B1200},   {"1800",   10,   B1800},   {"2400",  11,   B2400},
    {"4800",   12,   B4800},   {"9600",   13,   B9600},   {"19200",  14,   B19200},  {"38400", 15,   B38400},
    {"57600",  4097, B57600},  {"115200", 4098, B115200}, {"230400", 4099, B230400},
    {"exta",   14,   EXTA},    {"EXTA",   14,   EXTA},    {"extb",   15,   EXTB},    {"EXTB",  15,   EXTB},
};
// clang-format on

TEST_F(SerialLineSpeed, EveryRowOfTheTableSetsBothDirections) {
    open_line();
    for (const Speed& speed : every_speed) {
        // From another speed, so that each row has something to change.
        pty.set_speed(speed.constant == B1800 ? B75 : B1800);
        EXPECT_EQ(tio_speed(speed.name), 0) << speed.name;
        const termios state = pty.state();
        EXPECT_EQ(cfgetispeed(&state), speed.constant) << speed.name;
        EXPECT_EQ(cfgetospeed(&state), speed.constant) << speed.name;
        EXPECT_EQ(cfgetispeed(tio_working_state()), speed.code) << speed.name;
        EXPECT_EQ(cfgetospeed(tio_working_state()), speed.code) << speed.name;
    }
}

TEST_F(SerialLineSpeed, IsAppliedAtOnceAndChangesNothingElse) {
    const int descriptor = open_line();
    const tcflag_t before = control_flags() & ~tcflag_t{CBAUD | CIBAUD};
    EXPECT_EQ(tio_speed("230400"), 0);
    ASSERT_THAT(libc_calls().applied, SizeIs(1));
    const AppliedState& applied = libc_calls().applied[0];
    EXPECT_EQ(applied.descriptor, descriptor);
    EXPECT_EQ(applied.when, TCSANOW);
    EXPECT_EQ(cfgetispeed(&applied.state), 4099U);
    EXPECT_EQ(cfgetospeed(&applied.state), 4099U);
    EXPECT_EQ(control_flags() & ~tcflag_t{CBAUD | CIBAUD}, before);
}

TEST_F(SerialLineSpeed, NameThatIsNoRowIsRejectedAndChangesNothing) {
    open_line();
    tio_speed("9600");
    reset_libc_calls();
    const termios before = *tio_working_state();
    for (const char* name : {"Exta", "eXTA", "ExtB", "extB", "2304", "2304000", "", " 9600", "9600 ", "09600", "-1",
                             "460800", "abc", static_cast<const char*>(nullptr)}) {
        errno = 0;
        EXPECT_EQ(tio_speed(name), -1) << name;
        EXPECT_EQ(errno, EINVAL) << name;
    }
    EXPECT_TRUE(same_state(*tio_working_state(), before));
    EXPECT_THAT(libc_calls().applied, IsEmpty());
}

TEST_F(SerialLineSpeed, RejectedNameLeavesNoTextAndPrintsNothing) {
    tio_open("/dev/quaver-is-not-here");
    const Output output = output_of([] { EXPECT_EQ(tio_speed("2304"), -1); });
    EXPECT_EQ(output.out + output.err, "");
    EXPECT_EQ(last_error(), "open(/dev/quaver-is-not-here): 2");
}

TEST_F(SerialLineSpeed, RefusedSpeedPrintsTheTermiosCodeOnStandardError) {
    open_line();
    for (const char* call : {"cfsetispeed", "cfsetospeed"}) {
        const Output output = output_of([call] {
            libc_calls().failures[call] = EINVAL;
            EXPECT_EQ(tio_speed("230400"), -1);
        });
        EXPECT_EQ(output.err, "TTY: cannot set speed 4099 !\n");
        EXPECT_EQ(output.out, "");
    }
    EXPECT_THAT(libc_calls().applied, IsEmpty());
}

TEST_F(SerialLineSpeed, ReturnsTheResultOfApplyingIt) {
    open_line();
    libc_calls().failures["tcsetattr"] = EIO;
    EXPECT_EQ(tio_speed("9600"), -1);
    EXPECT_EQ(last_error(), "TIO_Sstate: 5");
}

TEST_F(SerialLineSpeed, WithNoLineOpenOnlyTheWorkingStateChanges) {
    EXPECT_EQ(tio_speed("1200"), 0);
    EXPECT_EQ(tio_speed("2400"), 0);
    EXPECT_EQ(cfgetospeed(tio_working_state()), speed_t{B2400});
    EXPECT_THAT(libc_calls().applied, IsEmpty());
}

struct Setting {
    int (*set)(const char*);
    const char* argument;
    tcflag_t mask;
    tcflag_t value;
};

constexpr tcflag_t parity_mask = PARENB | PARODD;

constexpr Setting every_setting[] = {
    {tio_parity,   "N",      parity_mask, 0              },
    {tio_parity,   "n",      parity_mask, 0              },
    {tio_parity,   "E",      parity_mask, PARENB         },
    {tio_parity,   "e",      parity_mask, PARENB         },
    {tio_parity,   "O",      parity_mask, PARENB | PARODD},
    {tio_parity,   "o",      parity_mask, PARENB | PARODD},
    {tio_parity,   "odd",    parity_mask, PARENB | PARODD},
    {tio_parity,   "none",   parity_mask, 0              },
    {tio_stopbits, "1",      CSTOPB,      0              },
    {tio_stopbits, "2",      CSTOPB,      CSTOPB         },
    {tio_stopbits, "1.5",    CSTOPB,      0              },
    {tio_databits, "5",      CSIZE,       CS6            },
    {tio_databits, "6",      CSIZE,       CS6            },
    {tio_databits, "7",      CSIZE,       CS7            },
    {tio_databits, "8",      CSIZE,       CS8            },
    {tio_databits, "8 bits", CSIZE,       CS8            },
};

// Puts every flag that the setters know to the opposite of `value`, within `mask`.
void set_opposite(const Setting& setting) {
    tio_parity(setting.value == 0 ? "O" : "N");
    tio_stopbits(setting.value == 0 ? "2" : "1");
    tio_databits(setting.value == CS8 ? "7" : "8");
}

TEST_F(SerialLineSetters, FirstCharacterDecidesAndIsAppliedAtOnce) {
    const int descriptor = open_line();
    for (const Setting& setting : every_setting) {
        set_opposite(setting);
        const tcflag_t others = control_flags() & ~setting.mask;
        ASSERT_NE(control_flags() & setting.mask, setting.value) << setting.argument;
        reset_libc_calls();

        EXPECT_EQ(setting.set(setting.argument), 0) << setting.argument;
        EXPECT_EQ(control_flags(), others | setting.value) << setting.argument;
        ASSERT_THAT(libc_calls().applied, SizeIs(1));
        EXPECT_EQ(libc_calls().applied[0].descriptor, descriptor);
        EXPECT_EQ(libc_calls().applied[0].when, TCSANOW);
        EXPECT_TRUE(same_state(libc_calls().applied[0].state, *tio_working_state()));
    }
}

TEST_F(SerialLineSetters, EvenParityAfterOddClearsTheOddFlag) {
    open_line();
    tio_parity("O");
    tio_parity("E");
    EXPECT_EQ(control_flags() & parity_mask, tcflag_t{PARENB});
}

TEST_F(SerialLineSetters, DataBitsOf5Gives6DataBits) {
    open_line();
    EXPECT_EQ(tio_databits("5"), 0);
    EXPECT_EQ(libc_calls().applied.at(0).state.c_cflag & CSIZE, tcflag_t{CS6});
}

TEST_F(SerialLineSetters, OtherCharactersAreRejectedWithoutATextAndNotApplied) {
    tio_open("/dev/quaver-is-not-here");
    open_line();
    const termios before = *tio_working_state();
    for (const auto setter : {tio_parity, tio_stopbits}) {
        for (const char* argument : {"x", "", " N", "3", "0", static_cast<const char*>(nullptr)}) {
            errno = 0;
            EXPECT_EQ(setter(argument), -1);
            EXPECT_EQ(errno, EINVAL);
        }
    }
    EXPECT_TRUE(same_state(*tio_working_state(), before));
    EXPECT_THAT(libc_calls().applied, IsEmpty());
    EXPECT_EQ(last_error(), "open(/dev/quaver-is-not-here): 2");
}

TEST_F(SerialLineSetters, DataBitsOfXReturnsMinusOneAndLeavesTheSizeClearedInTheWorkingState) {
    open_line();
    for (const char* argument : {"x", "4", "9", "", static_cast<const char*>(nullptr)}) {
        tio_databits("8");
        reset_libc_calls();
        const tcflag_t before = control_flags();
        errno = 0;
        EXPECT_EQ(tio_databits(argument), -1);
        EXPECT_EQ(errno, EINVAL);
        EXPECT_EQ(control_flags(), before & ~tcflag_t{CSIZE});  // CS5 is 0
        EXPECT_THAT(libc_calls().applied, IsEmpty());
    }
}

TEST_F(SerialLineSetters, SizeClearedByARejectedCharacterIsAppliedByTheNextSetterOrSpeed) {
    open_line();
    tio_databits("x");
    tio_stopbits("1");
    EXPECT_EQ(libc_calls().applied.at(0).state.c_cflag & CSIZE, tcflag_t{CS5});
    tio_databits("8");
    tio_databits("x");
    tio_speed("9600");
    EXPECT_EQ(libc_calls().applied.at(2).state.c_cflag & CSIZE, tcflag_t{CS5});
}

TEST_F(SerialLineSetters, FlowAndLocalSwitchTheirFlagOnAndOffAtOnce) {
    open_line();
    const std::pair<int (*)(int), tcflag_t> setters[] = {
        {tio_flow,  CRTSCTS},
        {tio_local, CLOCAL },
    };
    for (const auto& [setter, flag] : setters) {
        const tcflag_t others = control_flags() & ~flag;
        for (const int on : {1, 0, 1}) {
            EXPECT_EQ(setter(on), 0);
            EXPECT_EQ(control_flags(), on ? others | flag : others);
            EXPECT_EQ(pty.state().c_cflag & flag, on ? flag : 0U);
        }
    }
}

TEST_F(SerialLineSetters, FlowAndLocalTakeZeroAndOneOnly) {
    open_line();
    const termios before = *tio_working_state();
    for (const auto setter : {tio_flow, tio_local}) {
        for (const int value : {-1, 2, 256, INT_MAX, INT_MIN}) {
            errno = 0;
            EXPECT_EQ(setter(value), -1);
            EXPECT_EQ(errno, EINVAL);
        }
    }
    EXPECT_TRUE(same_state(*tio_working_state(), before));
    EXPECT_THAT(libc_calls().applied, IsEmpty());
}

TEST_F(SerialLineSetters, ReturnZeroThoughTheStateCannotBeApplied) {
    open_line();
    libc_calls().failures["tcsetattr"] = EIO;
    tio_open("/dev/quaver-is-not-here");
    EXPECT_EQ(tio_flow(1), 0);
    EXPECT_EQ(last_error(), "TIO_Sstate: 5");
    EXPECT_EQ(tio_local(1), 0);
    EXPECT_EQ(tio_parity("E"), 0);
    EXPECT_EQ(tio_stopbits("2"), 0);
    EXPECT_EQ(tio_databits("7"), 0);
    EXPECT_THAT(libc_calls().applied, SizeIs(5));
}

TEST_F(SerialLineSetters, WithNoLineOpenOnlyTheWorkingStateChanges) {
    EXPECT_EQ(tio_flow(1), 0);
    EXPECT_EQ(tio_local(0), 0);
    EXPECT_EQ(tio_parity("O"), 0);
    EXPECT_EQ(tio_stopbits("2"), 0);
    EXPECT_EQ(tio_databits("7"), 0);
    const tcflag_t mask = CRTSCTS | CLOCAL | parity_mask | CSTOPB | CSIZE;
    EXPECT_EQ(control_flags() & mask, tcflag_t{CRTSCTS} | PARENB | PARODD | CSTOPB | CS7);
    EXPECT_THAT(libc_calls().applied, IsEmpty());
}

TEST_F(SerialLineSetters, OpenBeginsAgainFromTheStateOfTheLine) {
    tio_parity("O");
    tio_stopbits("2");
    open_line();
    EXPECT_EQ(control_flags() & (parity_mask | CSTOPB), 0U);
}

TEST_F(SerialLineBreak, IsSentOnTheOpenLineWithTheUsualLength) {
    const int descriptor = open_line();
    EXPECT_EQ(tio_break(), 0);
    EXPECT_THAT(libc_calls().breaks, ElementsAre(Pair(descriptor, 0)));
}

TEST_F(SerialLineBreak, WithNoLineOpenReturnsZeroAndSendsNothing) {
    EXPECT_EQ(tio_break(), 0);
    EXPECT_THAT(libc_calls().breaks, IsEmpty());
}

TEST_F(SerialLineBreak, FailureReturnsMinusOneWithErrnoInTheText) {
    open_line();
    libc_calls().failures["tcsendbreak"] = EIO;
    EXPECT_EQ(tio_break(), -1);
    EXPECT_EQ(last_error(), "Unable to do TCSendBreak (5)");
}

}  // namespace
