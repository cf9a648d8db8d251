// SPDX-License-Identifier: MIT
// Times the software dongle through its nine functions over the story recording, frame by frame as the program does
// it: the version for every x86-64 processor and the one for processors with AVX2, in one run.
#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

#include "link/dongle.h"
#include "software_dongle.h"

namespace {

std::vector<std::uint8_t> story() {
    std::ifstream file(STORY_RECORDING, std::ios::binary);
    std::vector<std::uint8_t> frames(std::istreambuf_iterator<char>(file), {});
    if (frames.empty()) std::abort();
    return frames;
}

// Processor time of this thread: what else the machine does counts less.
double now_us() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) * 1e-3;
}

// Decodes the recording; returns microseconds per frame.
double decode(const std::vector<std::uint8_t>& frames) {
    std::uint8_t packet[ambe_packet_bytes];
    std::uint8_t buffer[400];
    int type = 0;
    const double begin = now_us();
    ambe_init(packet, 1);
    dongle_run(1);
    for (std::size_t at = 0; at + ambe_frame_bytes <= frames.size(); at += ambe_frame_bytes) {
        if (dongle_recv(&type, buffer, sizeof buffer) != ambe_packet_bytes) std::abort();
        ambe_send(packet, frames.data() + at);
        dongle_send(ambe_packet_type, packet, ambe_packet_bytes);
        if (dongle_recv(&type, buffer, sizeof buffer) != pcm_block_bytes) std::abort();
        benchmark::DoNotOptimize(buffer);
    }
    dongle_run(0);
    return (now_us() - begin) / static_cast<double>(frames.size() / ambe_frame_bytes);
}

std::vector<double> baseline_us, wide_us;

void run(benchmark::State& state, const DecoderVersion& version, std::vector<double>& frame_us) {
    software_dongle_use(version);
    const std::vector<std::uint8_t> frames = story();
    const double count = static_cast<double>(frames.size() / ambe_frame_bytes);
    dongle_debug(0);
    if (dongle_init("", 0) < 0) std::abort();
    decode(frames);
    for (auto _ : state) {
        frame_us.push_back(decode(frames));
        state.SetIterationTime(frame_us.back() * count * 1e-6);
    }
    dongle_close(0);
}

void without_wide_vectors(benchmark::State& state) {
    run(state, baseline::decoder_version, baseline_us);
}
#ifdef __x86_64__
void with_wide_vectors(benchmark::State& state) {
    if (__builtin_cpu_supports("avx2") == 0) return state.SkipWithError("this processor has none");
    run(state, avx2::decoder_version, wide_us);
}
#endif

void print(const char* version, std::vector<double> frame_us) {
    std::ranges::sort(frame_us);
    std::printf("dongle: %.2f us per frame %s wide vectors (median of %zu; best %.2f)\n", frame_us[frame_us.size() / 2],
                version, frame_us.size(), frame_us.front());
}

}  // namespace

BENCHMARK(without_wide_vectors)->UseManualTime()->Iterations(101)->Unit(benchmark::kMillisecond);
#ifdef __x86_64__
BENCHMARK(with_wide_vectors)->UseManualTime()->Iterations(101)->Unit(benchmark::kMillisecond);
#endif

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    if (baseline_us.empty()) return 0;
    print("without", baseline_us);
    if (wide_us.empty()) return 0;
    print("with", wide_us);
    std::printf("dongle: %.2f times as fast with them (best against best)\n",
                *std::ranges::min_element(baseline_us) / *std::ranges::min_element(wide_us));
    return 0;
}
