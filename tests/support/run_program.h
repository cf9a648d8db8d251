// SPDX-License-Identifier: MIT
// A program run as users run it: arguments, environment, standard input, and what came of it.
#pragma once

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

// What standard input is.
struct ProgramInput {
    enum class Kind { null_device, closed, file, held_pipe, ended_pipe, terminal };
    Kind kind = Kind::null_device;
    std::string text;  // the path of the file or terminal, or what is in the pipe
};

ProgramInput closed_input();
ProgramInput file_input(const std::string& path);
// A pipe that holds `text` and stays open until the program has ended.
ProgramInput held_pipe_input(const std::string& text);
// A pipe that holds `text` and then ends.
ProgramInput ended_pipe_input(const std::string& text);
// The terminal becomes the program's controlling one, so that Ctrl-C at its other end can reach it.
ProgramInput terminal_input(const std::string& device_path);

struct ProgramCall {
    std::string path;
    std::vector<std::string> arguments;                            // without the program's name
    std::vector<std::pair<std::string, std::string>> environment;  // set besides what the test inherits
    std::vector<std::string> unset;                                // taken out of it
    std::string directory;                                         // to run in; empty: the test's own
    ProgramInput input;
    std::string output_path;  // standard output, else it is collected
    bool output_closed = false;
    bool error_closed = false;
    bool error_joins_output = false;  // standard error goes where standard output goes
    std::vector<int> ignored_signals;
};

struct ProgramResult {
    std::string out;
    std::string err;
    int status = -1;         // exit status; -1 when a signal ended the program
    int signal = 0;          // that signal
    bool timed_out = false;  // killed by the test
};

// A started program. It dies with the test, and is killed when nobody calls `finish`.
class RunningProgram {
  public:
    explicit RunningProgram(const ProgramCall& call);
    ~RunningProgram();
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    void send_signal(int signal);
    // Waits until the program has ended; kills it after `limit_seconds` and fails the test.
    ProgramResult finish(int limit_seconds = 120);

  private:
    pid_t process_ = -1;
    int out_ = -1;
    int err_ = -1;
    int held_input_ = -1;
};

ProgramResult run_program(const ProgramCall& call);

// Waits until the file exists; fails the test after a minute.
bool wait_for_file(const std::string& path);
