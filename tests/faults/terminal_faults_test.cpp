// SPDX-License-Identifier: MIT
// States of the line and of the keyboard that cannot be read or set.
#include <errno.h>
#include <gmock/gmock.h>

#include "faults/expected.h"

namespace {

// Which call it is, by its number.
namespace get_state {
constexpr int line = 1;
constexpr int first_keyboard = 2;
constexpr int second_keyboard = 3;
}  // namespace get_state

namespace set_state {
constexpr int line_raw = 1;
constexpr int line_local = 2;
constexpr int line_flow = 3;
constexpr int line_speed = 4;
constexpr int first_keyboard_raw = 5;
constexpr int first_keyboard_back = 6;
constexpr int second_keyboard_raw = 7;
constexpr int second_keyboard_back = 8;
constexpr int line_back = 9;
}  // namespace set_state

struct StateRow {
    int number;
    bool lasting;
    std::string first_complaints;
    std::string second_complaints;
    bool line_put_back;
    bool keyboard_put_back;
};

class TerminalFaults : public testing::TestWithParam<Mode> {
  protected:
    void expect_rows(Call call, const std::vector<StateRow>& rows) const {
        for (const StateRow& row : rows) {
            Expected expected = run_of(mode, complaining(Recording::first, row.first_complaints),
                                       complaining(Recording::second, row.second_complaints));
            expected.line_put_back = row.line_put_back;
            expected.keyboard_put_back = row.keyboard_put_back;
            expect_run({.mode = mode, .fault = failing(call, row.number, row.lasting)}, expected);
        }
    }

    void expect_no_vocoder(Call call, int number, bool lasting, bool line_put_back) const {
        Expected expected = ended_without_vocoder(mode);
        expected.line_put_back = line_put_back;
        expect_run({.mode = mode, .fault = failing(call, number, lasting)}, expected);
    }

    FileOutcome complaining(Recording recording, const std::string& complaints) const {
        return ran(mode, recording, packets_of(recording), "DONE\n", complaints);
    }

    const Mode mode = GetParam();
};

}  // namespace

// Kept: the close that follows applies the saved state, which was never read and is all zero.
TEST_P(TerminalFaults, LineWhoseStateCannotBeReadEndsTheProgramWithStatus1) {
    for (const bool lasting : {false, true}) expect_no_vocoder(Call::tcgetattr, get_state::line, lasting, false);
}

TEST_P(TerminalFaults, LineThatCannotBeMadeRawOrSetToItsSpeedEndsTheProgramWithStatus1) {
    expect_no_vocoder(Call::tcsetattr, set_state::line_raw, false, true);
    expect_no_vocoder(Call::tcsetattr, set_state::line_raw, true, true);  // it was never changed
    expect_no_vocoder(Call::tcsetattr, set_state::line_speed, false, true);
    expect_no_vocoder(Call::tcsetattr, set_state::line_local, true, false);
    expect_no_vocoder(Call::tcsetattr, set_state::line_flow, true, false);
    expect_no_vocoder(Call::tcsetattr, set_state::line_speed, true, false);
}

TEST_P(TerminalFaults, LineWhoseSettersFailOnceRunsAllTheSame) {
    expect_rows(Call::tcsetattr, {
                                     {set_state::line_local, false, "", "", true,  true},
                                     {set_state::line_flow,  false, "", "", true,  true},
                                     {set_state::line_back,  false, "", "", false, true},
                                     {set_state::line_back,  true,  "", "", false, true},
    });
}

// Where no state was ever saved the terminal is asked once more at the end of the file.
TEST_P(TerminalFaults, KeyboardWhoseStateCannotBeReadIsLeftAlone) {
    const std::string never = no_get_state + no_restored_state;
    expect_rows(Call::tcgetattr, {
                                     {get_state::first_keyboard,  false, no_get_state, "",           true, true},
                                     {get_state::first_keyboard,  true,  never,        never,        true, true},
                                     {get_state::second_keyboard, false, "",           no_get_state, true, true},
                                     {get_state::second_keyboard, true,  "",           no_get_state, true, true},
    });
}

TEST_P(TerminalFaults, KeyboardThatCannotBeMadeRawStaysAsItWas) {
    const std::string neither = no_set_state + no_restored_state;
    expect_rows(Call::tcsetattr, {
                                     {set_state::first_keyboard_raw,  false, no_set_state, "",           true,  true},
                                     {set_state::first_keyboard_raw,  true,  neither,      neither,      false, true},
                                     {set_state::second_keyboard_raw, false, "",           no_set_state, true,  true},
                                     {set_state::second_keyboard_raw, true,  "",           neither,      false, true},
    });
}

TEST_P(TerminalFaults, KeyboardThatCannotBePutBackIsPutBackAfterTheNextFile) {
    const std::string neither = no_set_state + no_restored_state;
    const std::string& back = no_restored_state;
    expect_rows(Call::tcsetattr, {
                                     {set_state::first_keyboard_back,  false, back, "",      true,  true },
                                     {set_state::first_keyboard_back,  true,  back, neither, false, false},
                                     {set_state::second_keyboard_back, false, "",   back,    true,  false},
                                     {set_state::second_keyboard_back, true,  "",   back,    false, false},
    });
}

// What is no terminal has no state that could be set.
TEST_P(TerminalFaults, KeyboardThatIsNoTerminalIsNoFault) {
    for (const int error : {ENOTTY, EINVAL}) {
        expect_run({.mode = mode, .fault = only(Call::tcsetattr, set_state::second_keyboard_raw, error)},
                   run_of(mode, ran_well(mode, Recording::first), ran_well(mode, Recording::second)));
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, TerminalFaults, testing::Values(Mode::convert, Mode::play), mode_name);
