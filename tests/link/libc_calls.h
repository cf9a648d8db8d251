// SPDX-License-Identifier: MIT
// What the code under test asks of the C library: every call is passed on, some are recorded, any can be made to fail.
#pragma once

#include <limits.h>
#include <stdint.h>
#include <termios.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

struct AppliedState {
    int descriptor;
    int when;  // TCSANOW and the like
    termios state;
};

// Of the current test; `reset_libc_calls` empties it.
struct LibcCalls {
    std::vector<AppliedState> applied;        // tcsetattr, in order, failed ones included
    std::vector<int> open_flags;              // open
    std::vector<int> closed;                  // close
    std::vector<std::pair<int, int>> breaks;  // tcsendbreak: descriptor, duration
    std::vector<int> write_lengths;           // write, to descriptors above standard error
    std::vector<unsigned> alarms;             // alarm
    int selects = 0;
    int reads = 0;

    // By name of a call, the errno that it fails with without being made. Descriptors 1 and 2 never fail.
    std::map<std::string, int> failures;
    // Which of the tcsetattr calls fail, 1 being the first: all, unless set.
    int first_tcsetattr_to_fail = 1;
    int last_tcsetattr_to_fail = INT_MAX;

    // The alarm that is armed goes off at the last moment: when the next call of alarm is about to replace it.
    bool old_alarm_goes_off_late = false;

    // A write passes on no more bytes than this.
    size_t most_bytes_written = SIZE_MAX;
};

LibcCalls& libc_calls();
void reset_libc_calls();
