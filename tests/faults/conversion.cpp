// SPDX-License-Identifier: MIT
#include "faults/conversion.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <filesystem>

#include "faults/line_vocoder.h"
#include "support/allocations.h"
#include "support/recordings.h"

// The program's own, renamed by the build.
int quaver_main(int argc, char** argv);

const std::vector<std::string> both_recordings = {"rec.ambe", "b.dvtool"};

namespace {

namespace fs = std::filesystem;

constexpr unsigned longest_run_seconds = 60;
constexpr std::size_t pipe_read_bytes = 4096;

struct Pipe {
    int ends[2];
    Pipe() { EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0); }
    ~Pipe() {
        close(ends[0]);
        close(ends[1]);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    // All that was written, once nobody writes any more. A run writes far less than a pipe holds.
    std::string text() {
        fcntl(ends[0], F_SETFL, O_NONBLOCK);
        std::string text;
        char piece[pipe_read_bytes];
        for (ssize_t got = 0; (got = read(ends[0], piece, sizeof piece)) > 0;) text.append(piece, piece + got);
        return text;
    }
};

Report* shared_report() {
    void* memory = mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    EXPECT_NE(memory, MAP_FAILED);
    return static_cast<Report*>(memory);
}

int open_descriptors() {
    const fs::directory_iterator entries("/proc/self/fd");
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

void write_recordings(const TempDir& dir) {
    write_file(dir / "rec.ambe", raw_recording(frames(3)));
    write_file(dir / "b.dvtool", dvtool_recording({record(frame(4)), record(frame(5))}));
    write_file(dir / "long.ambe", raw_recording(frames(5)));
}

std::string wave_path(const Conversion& conversion, const TempDir& dir, std::size_t recording) {
    return dir / fs::path(conversion.recordings[recording]).replace_extension(".wav").string();
}

std::optional<Bytes> wave_left(const Conversion& conversion, const TempDir& dir, std::size_t recording) {
    if (recording >= conversion.recordings.size()) return std::nullopt;
    const std::string path = wave_path(conversion, dir, recording);
    if (!fs::is_regular_file(path)) return std::nullopt;
    return read_file(path);
}

struct Stage {
    TempDir dir;
    Pty line;
    Pty keyboard;
    Pipe out;
    Pipe err;
    Report* report = shared_report();

    ~Stage() { munmap(report, sizeof(Report)); }
};

std::vector<std::string> command_line(const Conversion& conversion, const Pty& line) {
    std::vector<std::string> texts = {"quaver"};
    if (conversion.mode == Mode::convert) texts.insert(texts.end(), {"-W", "-F", conversion.format});
    texts.insert(texts.end(), {"-p", line.path()});
    texts.insert(texts.end(), conversion.recordings.begin(), conversion.recordings.end());
    return texts;
}

void set_the_stage(const Conversion& conversion, const Stage& stage) {
    alarm(longest_run_seconds);
    unsetenv("SOUNDCARD");
    unsetenv("DONGLE");
    if (chdir(stage.dir.path().c_str()) < 0) abort();
    dup2(stage.keyboard.device(), STDIN_FILENO);
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    dup2(conversion.console_full ? full : stage.out.ends[1], STDOUT_FILENO);
    dup2(conversion.console_full ? full : stage.err.ends[1], STDERR_FILENO);
    close(full);
    if (!conversion.file_limit) return;
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {*conversion.file_limit, *conversion.file_limit};
    setrlimit(RLIMIT_FSIZE, &limit);
}

// In the process of the run.
[[noreturn]] void perform(const Conversion& conversion, Stage& stage) {
    set_the_stage(conversion, stage);
    plug_in_vocoder(stage.line, stage.keyboard, conversion.key, stage.report);
    std::vector<std::string> texts = command_line(conversion, stage.line);
    std::vector<char*> arguments;
    for (std::string& text : texts) arguments.push_back(text.data());
    arguments.push_back(nullptr);

    stage.report->descriptors_before = open_descriptors();
    faults_begin(conversion.fault, stage.report);
    const int status = quaver_main(static_cast<int>(texts.size()), arguments.data());
    std::fflush(stdout);
    faults_end();
    stage.report->held_at_end = allocations_held();
    stage.report->descriptors_after = open_descriptors();
    _exit(status);
}

}  // namespace

RunResult run(const Conversion& conversion) {
    Stage stage;
    write_recordings(stage.dir);
    const std::string first_wave = wave_path(conversion, stage.dir, 0);
    if (!conversion.first_wave_before.empty()) write_file(first_wave, conversion.first_wave_before);
    if (!conversion.first_wave_device.empty()) fs::create_symlink(conversion.first_wave_device, first_wave);
    const termios line_before = stage.line.state();
    const termios keyboard_before = stage.keyboard.state();

    std::fflush(nullptr);
    const pid_t process = fork();
    EXPECT_GE(process, 0);
    if (process == 0) perform(conversion, stage);
    int status = 0;
    EXPECT_EQ(waitpid(process, &status, 0), process);

    RunResult result;
    if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    result.out = stage.out.text();
    result.err = stage.err.text();
    result.report = *stage.report;
    result.first_wave = wave_left(conversion, stage.dir, 0);
    result.second_wave = wave_left(conversion, stage.dir, 1);
    result.line_put_back = same_state(stage.line.state(), line_before);
    result.keyboard_put_back = same_state(stage.keyboard.state(), keyboard_before);
    return result;
}
