// SPDX-License-Identifier: MIT
#include "program/scenario.h"

#include <stdlib.h>
#include <unistd.h>

#include <fstream>

const std::string takes_all_frames = "rest 48 5\n";
const std::string converting = "Converting file 'rec.ambe' to 'rec.wav': ";
const std::string playing = "Playing file 'rec.ambe': ";
const Lines play_mode = {};
const Lines file_start_calls = {"ambe_init(packet, 1)", "dongle_run(1)"};
const Lines file_end_calls = {"dongle_run(0)"};
const Lines end_calls = {"dongle_close(0)"};

namespace {

std::string library_path(const std::string& directory) {
    const char* inherited = getenv("LD_LIBRARY_PATH");
    return inherited && *inherited ? directory + ":" + inherited : directory;
}

}  // namespace

Scenario::Scenario(const Lines& command_line, const std::string& played) : arguments(command_line), script(played) {}

bool Scenario::has_file(const std::string& name) const {
    return access((dir / name).c_str(), F_OK) == 0;
}

ProgramCall Scenario::call() const {
    add_file(".script", bytes_of(script));
    add_file(".blocks", blocks);
    ProgramCall call;
    call.path = QUAVER_PROGRAM;
    call.arguments = arguments;
    call.environment = environment;
    call.environment.insert(call.environment.end(), {
                                                        {"LD_LIBRARY_PATH",    library_path(dongle_directory)},
                                                        {"QUAVER_TEST_SCRIPT", dir / ".script"               },
                                                        {"QUAVER_TEST_BLOCKS", dir / ".blocks"               },
                                                        {"QUAVER_TEST_CALLS",  dir / ".calls"                }
    });
    call.unset = {"SOUNDCARD", "DONGLE", "POSIXLY_CORRECT"};
    call.directory = dir.path();
    call.input = input;
    call.output_path = output_path;
    call.output_closed = output_closed;
    call.error_closed = error_closed;
    call.ignored_signals = ignored_signals;
    return call;
}

Lines Scenario::calls() const {
    Lines lines;
    std::ifstream log(dir / ".calls");
    for (std::string line; std::getline(log, line);) lines.push_back(line);
    return lines;
}

Outcome Scenario::run() const {
    Outcome outcome;
    static_cast<ProgramResult&>(outcome) = run_program(call());
    outcome.calls = calls();
    return outcome;
}

ThreeFrames::ThreeFrames(const Lines& options, const std::string& played) : Scenario(options + "rec.ambe", played) {
    add_file("rec.ambe", raw_recording(frames(3)));
}

Lines start_calls(const std::string& port, long speed, int debug) {
    return {"dongle_debug(" + std::to_string(debug) + ")", "dongle_init(" + port + ", " + std::to_string(speed) + ")",
            "dongle_hello()"};
}

std::string received(int length, const std::string& type) {
    return "dongle_recv(0, 400) = " + std::to_string(length) + " " + type;
}

Lines sent(const Bytes& frame) {
    return {"ambe_send(packet, " + hex(frame) + ")", "dongle_send(5, packet, 48)"};
}

Lines operator+(Lines first, const Lines& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Lines operator+(Lines first, const std::string& second) {
    first.push_back(second);
    return first;
}

Lines calls_starting_with(const Lines& calls, const std::string& start) {
    Lines found;
    for (const std::string& call : calls) {
        if (call.compare(0, start.size(), start) == 0) found.push_back(call);
    }
    return found;
}

std::vector<Bytes> frames_sent(const Lines& calls) {
    const std::string start = "ambe_send(packet, ";
    std::vector<Bytes> result;
    for (const std::string& call : calls_starting_with(calls, start)) {
        result.push_back(unhex(call.substr(start.size(), call.size() - start.size() - 1)));
    }
    return result;
}
