// SPDX-License-Identifier: MIT
#include "support/run_program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

namespace {

constexpr int status_cannot_start = 127;
constexpr std::chrono::seconds file_wait_limit{60};

using Clock = std::chrono::steady_clock;

void nap() {
    const timespec millisecond = {0, 1000000};
    nanosleep(&millisecond, nullptr);
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (std::string& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

std::vector<std::string> environment_of(const ProgramCall& call) {
    std::vector<std::string> result;
    const auto replaced = [&call](const std::string& name) {
        const auto same = [&name](const auto& entry) { return entry.first == name; };
        return std::count(call.unset.begin(), call.unset.end(), name) > 0 ||
               std::any_of(call.environment.begin(), call.environment.end(), same);
    };
    for (char** entry = environ; *entry; entry++) {
        const std::string text = *entry;
        if (!replaced(text.substr(0, text.find('=')))) result.push_back(text);
    }
    for (const auto& [name, value] : call.environment) result.push_back(name + "=" + value);
    return result;
}

struct PipeEnds {
    int reading = -1;
    int writing = -1;
};

PipeEnds pipe_with(const std::string& text) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    EXPECT_EQ(write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
    return {ends[0], ends[1]};
}

std::string content(int descriptor) {
    std::string text(static_cast<std::size_t>(lseek(descriptor, 0, SEEK_END)), '\0');
    EXPECT_EQ(pread(descriptor, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    return text;
}

// Nothing from here to execve may touch the heap: it runs in the child.
void move_to(int descriptor, int target) {
    if (descriptor == target) return;
    dup2(descriptor, target);
    close(descriptor);
}

void install_input(const ProgramInput& input, int pipe) {
    switch (input.kind) {
        case ProgramInput::Kind::null_device: move_to(open("/dev/null", O_RDWR), STDIN_FILENO); break;
        case ProgramInput::Kind::closed: close(STDIN_FILENO); break;
        case ProgramInput::Kind::file: move_to(open(input.text.c_str(), O_RDONLY), STDIN_FILENO); break;
        case ProgramInput::Kind::held_pipe:
        case ProgramInput::Kind::ended_pipe: dup2(pipe, STDIN_FILENO); break;
        case ProgramInput::Kind::terminal:
            setsid();  // the first terminal that its leader opens is the session's
            move_to(open(input.text.c_str(), O_RDWR), STDIN_FILENO);
            break;
    }
}

void restore_signals(const std::vector<int>& ignored) {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGPIPE, SIGALRM}) ::signal(signal, SIG_DFL);
    for (const int signal : ignored) ::signal(signal, SIG_IGN);
}

}  // namespace

ProgramInput closed_input() {
    return {ProgramInput::Kind::closed, ""};
}
ProgramInput file_input(const std::string& path) {
    return {ProgramInput::Kind::file, path};
}
ProgramInput held_pipe_input(const std::string& text) {
    return {ProgramInput::Kind::held_pipe, text};
}
ProgramInput ended_pipe_input(const std::string& text) {
    return {ProgramInput::Kind::ended_pipe, text};
}
ProgramInput terminal_input(const std::string& path) {
    return {ProgramInput::Kind::terminal, path};
}

RunningProgram::RunningProgram(const ProgramCall& call)
    : out_(memfd_create("out", MFD_CLOEXEC)), err_(memfd_create("err", MFD_CLOEXEC)) {
    std::vector<std::string> texts = call.arguments;
    texts.insert(texts.begin(), call.path);
    const std::vector<char*> arguments = pointers(texts);
    std::vector<std::string> variables = environment_of(call);
    const std::vector<char*> environment = pointers(variables);
    PipeEnds pipe;
    if (call.input.kind == ProgramInput::Kind::held_pipe || call.input.kind == ProgramInput::Kind::ended_pipe) {
        pipe = pipe_with(call.input.text);
    }

    process_ = fork();
    EXPECT_GE(process_, 0);
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        restore_signals(call.ignored_signals);
        if (!call.directory.empty() && chdir(call.directory.c_str()) < 0) _exit(status_cannot_start);
        dup2(out_, STDOUT_FILENO);
        if (!call.output_path.empty()) move_to(open(call.output_path.c_str(), O_WRONLY), STDOUT_FILENO);
        dup2(call.error_joins_output ? STDOUT_FILENO : err_, STDERR_FILENO);
        install_input(call.input, pipe.reading);
        if (call.output_closed) close(STDOUT_FILENO);
        if (call.error_closed) close(STDERR_FILENO);
        execve(call.path.c_str(), arguments.data(), environment.data());
        _exit(status_cannot_start);
    }
    if (pipe.reading >= 0) close(pipe.reading);
    if (call.input.kind == ProgramInput::Kind::held_pipe) held_input_ = pipe.writing;
    if (call.input.kind == ProgramInput::Kind::ended_pipe) close(pipe.writing);
}

RunningProgram::~RunningProgram() {
    if (process_ > 0) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    close(out_);
    close(err_);
    if (held_input_ >= 0) close(held_input_);
}

void RunningProgram::send_signal(int signal) {
    EXPECT_EQ(kill(process_, signal), 0);
}

ProgramResult RunningProgram::finish(int limit_seconds) {
    ProgramResult result;
    int status = 0;
    const Clock::time_point limit = Clock::now() + std::chrono::seconds(limit_seconds);
    while (waitpid(process_, &status, WNOHANG) == 0) {
        if (Clock::now() > limit && !result.timed_out) {
            result.timed_out = true;
            kill(process_, SIGKILL);
        }
        nap();
    }
    process_ = -1;
    if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    result.out = content(out_);
    result.err = content(err_);
    EXPECT_FALSE(result.timed_out) << result.out << result.err;
    return result;
}

ProgramResult run_program(const ProgramCall& call) {
    return RunningProgram(call).finish();
}

bool wait_for_file(const std::string& path) {
    const Clock::time_point limit = Clock::now() + file_wait_limit;
    while (access(path.c_str(), F_OK) != 0) {
        if (Clock::now() > limit) {
            ADD_FAILURE() << "no file " << path;
            return false;
        }
        nap();
    }
    return true;
}
