// SPDX-License-Identifier: MIT
// Runs on a pseudo-terminal that a signal ends at a random instant, from before the program has started until after it
// has ended. QUAVER_SIGNAL_RUNS says how many for each signal.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <random>

#include "program/scenario.h"
#include "support/fatal_signals.h"
#include "support/pty.h"

namespace {

constexpr int runs_of_a_signal = 2;
constexpr int blocks_of_a_run = 400;
constexpr std::size_t head_bytes = 36;
constexpr std::size_t data_offset = 44;
constexpr std::size_t piece_bytes = 1024;

int runs_wanted() {
    const char* text = getenv("QUAVER_SIGNAL_RUNS");
    return text ? static_cast<int>(strtol(text, nullptr, 10)) : runs_of_a_signal;
}

std::size_t number_at(const Bytes& file, std::size_t offset) {
    std::size_t value = 0;
    for (int i = 3; i >= 0; i--) value = value << 8 | file[offset + static_cast<std::size_t>(i)];
    return value;
}

bool stands_at(const Bytes& file, std::size_t offset, const std::string& text) {
    const Bytes expected = bytes_of(text);
    return std::equal(expected.begin(), expected.end(), file.begin() + static_cast<std::ptrdiff_t>(offset));
}

// What is wrong with a file of linear PCM that holds the beginning of `audio`; empty: nothing.
std::string fault_of(const Bytes& file, const Bytes& audio) {
    if (file.size() < head_bytes) return "it is shorter than a head";
    if (!stands_at(file, 0, "RIFF") || !stands_at(file, 8, "WAVEfmt ")) return "it is no WAVE file";
    if (number_at(file, 4) != file.size()) return "the outer size is " + std::to_string(number_at(file, 4));
    if (number_at(file, 16) != 16) return "the format has another length";
    if (file.size() == head_bytes) return "";
    if (file.size() < data_offset || !stands_at(file, head_bytes, "data")) return "the data chunk has no header";
    const std::size_t data_bytes = file.size() - data_offset;
    if (number_at(file, 40) != data_bytes) return "the data size is " + std::to_string(number_at(file, 40));
    if (data_bytes % piece_bytes != 0) return "a piece is cut off";
    if (from_byte(file, data_offset) != first_bytes(audio, data_bytes)) return "it holds other samples";
    return "";
}

void wait_for(std::chrono::microseconds time) {
    const timespec duration = {time.count() / 1000000, time.count() % 1000000 * 1000};
    nanosleep(&duration, nullptr);
}

struct Recording : Scenario {
    Pty terminal;

    Recording() {
        add_file("rec.ambe", raw_recording(frames(blocks_of_a_run)));
        arguments = {"-W", "rec.ambe"};
        input = terminal_input(terminal.path());
        environment = without_the_sanitizers_handlers;
        blocks = test_blocks(blocks_of_a_run);
        script = "recv 48 5\nrecv 320 4\nagain\n";
    }

    // The shortest of a few: most instants are then inside a run.
    std::chrono::microseconds duration_of_a_run() const {
        auto shortest = std::chrono::microseconds::max();
        for (int i = 0; i < 5; i++) {
            const auto start = std::chrono::steady_clock::now();
            EXPECT_EQ(run().status, 0);
            const auto taken = std::chrono::steady_clock::now() - start;
            shortest = std::min(shortest, std::chrono::duration_cast<std::chrono::microseconds>(taken));
        }
        return shortest;
    }
};

}  // namespace

TEST(RandomSignals, TerminalIsAsBeforeAndWaveFileWholeAtWhateverInstantTheProgramIsEnded) {
    const Recording recording;
    const termios before = recording.terminal.state();
    const ProgramCall call = recording.call();
    const auto whole_run = recording.duration_of_a_run();
    std::mt19937 dice(20261121);
    int all_ended = 0;
    int with_audio = 0;
    for (const int signal : fatal_signals()) {
        // A run that has come to its end before the signal does not count.
        for (int ended = 0, tried = 0; ended < runs_wanted() && tried < 20 * runs_wanted(); tried++) {
            unlink((recording / "rec.wav").c_str());
            RunningProgram program(call);
            wait_for(whole_run * static_cast<int>(dice() % 1100) / 1000);
            program.send_signal(signal);
            const ProgramResult result = program.finish();
            EXPECT_TRUE(result.signal == signal || result.status == 0) << strsignal(signal) << result.status;
            EXPECT_TRUE(same_state(recording.terminal.state(), before)) << strsignal(signal);
            ended += result.signal == signal;
            all_ended += result.signal == signal;
            if (!recording.has_file("rec.wav")) continue;
            const Bytes wave = recording.file("rec.wav");
            EXPECT_EQ(fault_of(wave, recording.blocks), "") << strsignal(signal) << ", " << wave.size() << " bytes";
            with_audio += result.signal == signal && wave.size() > data_offset;
        }
    }
    EXPECT_GE(all_ended, runs_wanted() * static_cast<int>(fatal_signals().size()));
    std::printf("%d runs were ended, %d of them with audio in the file\n", all_ended, with_audio);
}
