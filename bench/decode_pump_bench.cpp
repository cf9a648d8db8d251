// SPDX-License-Identifier: MIT
// Times whole runs of the built program over a vocoder library that answers at once: start-up, then microseconds per
// frame of a long conversion. Files lie on tmpfs, standard output is /dev/null, standard input a silent pipe. The peer
// makes the system calls of such a conversion, and does nothing else, in the same run.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/select.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr int long_recording_frames = 100000;
constexpr int record_bytes = 27;
constexpr int pcm_block_bytes = 320;
constexpr int written_bytes = 1024;  // of audio, with each call

// A DVTOOL recording with an empty first record.
void write_recording(const std::string& path, int frames) {
    std::string content("DVTOOL\0abc\0\0", 12);
    for (int i = 0; i < frames; i++) {
        content += char{record_bytes};
        content += '\0';
        content.append(record_bytes, '\x33');
    }
    std::ofstream(path, std::ios::binary) << content;
}

// A directory on tmpfs with a recording of one frame and a long one, and a pipe that nobody writes to.
struct Bench {
    std::string directory;
    std::string short_recording;
    std::string long_recording;
    int silent_pipe[2];

    Bench() {
        std::string pattern = "/dev/shm/quaver_bench_XXXXXX";
        if (!mkdtemp(pattern.data()) || pipe(silent_pipe) != 0) std::abort();
        directory = pattern;
        short_recording = directory + "/one.dvtool";
        long_recording = directory + "/long.dvtool";
        write_recording(short_recording, 1);
        write_recording(long_recording, long_recording_frames);
    }
    ~Bench() { std::filesystem::remove_all(directory); }

    // Seconds from the start of the process to its end.
    double convert(const std::string& recording) const {
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_adddup2(&files, silent_pipe[0], STDIN_FILENO);
        posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);

        std::string arguments[] = {QUAVER_PROGRAM, "-W", recording};
        char* argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(), nullptr};
        std::string library_path = "LD_LIBRARY_PATH=" ANSWERING_DONGLE_DIR;
        char* environment[] = {library_path.data(), nullptr};

        const auto start = std::chrono::steady_clock::now();
        pid_t child = -1;
        int status = -1;
        if (posix_spawn(&child, QUAVER_PROGRAM, &files, nullptr, argv, environment) != 0) std::abort();
        waitpid(child, &status, 0);
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        posix_spawn_file_actions_destroy(&files);
        if (status != 0) std::abort();
        return elapsed.count();
    }

    // Seconds that the long recording's system calls take: each frame turns the spinner and asks for a key, each full
    // block of audio is written.
    double bare_system_calls() const {
        const int console = open("/dev/null", O_WRONLY);
        const int file = open((directory + "/bare.wav").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const char audio[written_bytes] = {};
        long written = 0;
        const auto start = std::chrono::steady_clock::now();
        for (long frame = 1; frame <= long_recording_frames; frame++) {
            fd_set readable;
            FD_ZERO(&readable);
            FD_SET(silent_pipe[0], &readable);
            timeval no_wait = {0, 0};
            if (write(console, "|\b", 2) != 2) std::abort();
            if (select(silent_pipe[0] + 1, &readable, nullptr, nullptr, &no_wait) != 0) std::abort();
            if (frame * pcm_block_bytes < written + written_bytes) continue;
            written += written_bytes;
            if (write(file, audio, written_bytes) != written_bytes) std::abort();
        }
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        close(file);
        close(console);
        return elapsed.count();
    }
};

std::vector<double> start_up_seconds;
std::vector<double> conversion_seconds;
std::vector<double> bare_seconds;

void start_up(benchmark::State& state) {
    const Bench bench;
    for (auto _ : state) {
        start_up_seconds.push_back(bench.convert(bench.short_recording));
        state.SetIterationTime(start_up_seconds.back());
    }
}

void conversion(benchmark::State& state) {
    const Bench bench;
    for (auto _ : state) {
        conversion_seconds.push_back(bench.convert(bench.long_recording));
        state.SetIterationTime(conversion_seconds.back());
        bare_seconds.push_back(bench.bare_system_calls());
    }
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

}  // namespace

BENCHMARK(start_up)->UseManualTime()->Iterations(51)->Unit(benchmark::kMillisecond);
BENCHMARK(conversion)->UseManualTime()->Iterations(21)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    if (start_up_seconds.empty() || conversion_seconds.empty()) return 0;
    const double whole = median(conversion_seconds);
    const double bare = median(bare_seconds);
    const double us_per_frame = 1e6 / long_recording_frames;
    std::printf("\npump: %.2f us per frame over a whole conversion of %d frames (median of %zu; best %.2f)\n",
                whole * us_per_frame, long_recording_frames, conversion_seconds.size(),
                *std::ranges::min_element(conversion_seconds) * us_per_frame);
    std::printf("pump: %.2f us for its system calls alone; ratio %.2f\n", bare * us_per_frame, whole / bare);
    std::printf("pump: %.2f ms for a whole run of one frame\n", median(start_up_seconds) * 1e3);
    return 0;
}
