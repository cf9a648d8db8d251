// SPDX-License-Identifier: MIT
// Makes chosen calls of the program fail. The linker sends the calls through here (--wrap); those of the test itself,
// and those on its descriptors, are passed on untouched and not counted.
#pragma once

#include <array>
#include <cstddef>
#include <cstdio>

enum class Call {
    none,
    allocation,  // malloc, calloc, gsm_create
    fopen,
    fread,
    tcgetattr,
    tcsetattr,
    select,
    read,
    write,
    end,
};

constexpr std::size_t call_kinds = static_cast<std::size_t>(Call::end);

const char* call_name(Call call);

// The call with the number `first`, 1 being the first of the run, fails; when `lasting`, those after it as well.
struct Fault {
    Call call = Call::none;
    int first = 0;
    bool lasting = false;
    int error = 0;  // errno; 0 is what suits the call
};

constexpr Fault failing(Call call, int first, bool lasting) {
    return {call, first, lasting};
}
constexpr Fault only(Call call, int number, int error = 0) {
    return {call, number, false, error};
}
constexpr Fault from(Call call, int first) {
    return {call, first, true};
}

// What is seen of a run, across the end of the process that it runs in.
struct Report {
    std::array<int, call_kinds> calls;  // made, failed ones included
    int held_before_files;              // allocations, when the vocoder was started
    int held_at_close;                  // when it was closed
    int held_at_end;
    int descriptors_before;  // open ones
    int descriptors_after;
    int vocoder_starts;  // calls of dongle_init
    int frames_heard;    // by the vocoder

    int calls_of(Call call) const { return calls[static_cast<std::size_t>(call)]; }
};

// From here on calls are counted, and fail as asked.
void faults_begin(const Fault& fault, Report* report);
void faults_end();

// Counts a call; true, with errno set, when it is one that fails.
bool fails(Call call);
