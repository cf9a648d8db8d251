// SPDX-License-Identifier: MIT
// How fast a codec stream encodes, beside a peer in the same run: MB/s of 16-bit PCM in, written in voice blocks of 320
// bytes to a sink that only counts. The peer is libsndfile, writing the same blocks to a null file; for GSM 06.10 it is
// libgsm called in a bare loop on the samples that the codec codes (the first half of each block of 640 bytes).
//
// Prints one line per codec: ours, the peer's, ours / peer's. Each figure is the best of several runs, so that other
// work on the machine counts little. Google Benchmark's own table comes with --table, its options are taken as well.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <gsm.h>
#include <sndfile.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "codec/codec_stream.h"

namespace {

constexpr int voice_block_bytes = 320;
constexpr int voice_block_samples = voice_block_bytes / 2;
constexpr int codec_block_samples = 320;  // of GSM 06.10
constexpr int sample_rate = 8000;
constexpr int signal_samples = 8 * sample_rate;
constexpr int runs = 9;
constexpr double run_seconds = 0.1;

struct Row {
    const char* name;
    std::uint32_t tag;
    int peer_format;
    const char* peer;
};

constexpr Row rows[] = {
    {"Linear PCM", 0x0001, SF_FORMAT_WAV | SF_FORMAT_PCM_16,    "libsndfile"},
    {"A-law",      0x0006, SF_FORMAT_WAV | SF_FORMAT_ALAW,      "libsndfile"},
    {"u-law",      0x0007, SF_FORMAT_WAV | SF_FORMAT_ULAW,      "libsndfile"},
    {"IMA ADPCM",  0x0011, SF_FORMAT_WAV | SF_FORMAT_IMA_ADPCM, "libsndfile"},
    {"GSM 06.10",  0x0031, 0,                                   "libgsm"    },
};

// Voice-like: harmonics of a gliding fundamental under a syllable's envelope, and a little noise.
const std::vector<short>& signal() {
    static const std::vector<short> samples = [] {
        std::vector<short> made;
        std::uint32_t noise = 1;
        double phase = 0;
        for (int n = 0; n < signal_samples; ++n) {
            const double t = double(n) / sample_rate;
            phase += 2 * M_PI * (120 + 40 * std::sin(2 * M_PI * 0.7 * t)) / sample_rate;
            double value = 0;
            for (int harmonic = 1; harmonic <= 20; ++harmonic) value += std::sin(harmonic * phase) / harmonic;
            noise = noise * 1664525u + 1013904223u;
            const double envelope = 0.05 + 0.95 * std::pow(std::sin(2 * M_PI * 2 * t), 2);
            made.push_back(static_cast<short>(9000 * envelope * value + double(noise >> 24) - 128));
        }
        return made;
    }();
    return samples;
}

// A new stream announces itself on standard output, which is the table's here.
CodecStream* silently_created(std::uint32_t tag) {
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    const PcmFormat format = {1, 16, sample_rate};
    CodecStream* stream = codec_stream_create(tag, codec_mode_encode, &format, 0);
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    close(nowhere);
    return stream;
}

int count_bytes(void* context, std::uint8_t* /*buffer*/, int count) {
    *static_cast<long*>(context) += count;
    return count;
}

void count_signal(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * signal_samples * 2);
}

void ours(benchmark::State& state, const Row& row) {
    CodecStream* stream = silently_created(row.tag);
    long counted = 0;
    stream->io = count_bytes;
    stream->io_context = &counted;
    const auto* pcm = reinterpret_cast<const std::uint8_t*>(signal().data());
    for (auto _ : state) {
        for (int from = 0; from < signal_samples * 2; from += voice_block_bytes)
            codec_stream_write(stream, pcm + from, voice_block_bytes);
        benchmark::DoNotOptimize(counted);
    }
    count_signal(state);
}

// A file that keeps its length alone.
struct NullFile {
    sf_count_t position = 0;
    sf_count_t length = 0;
};

SF_VIRTUAL_IO null_file_operations() {
    SF_VIRTUAL_IO operations = {};
    operations.get_filelen = [](void* file) { return static_cast<NullFile*>(file)->length; };
    operations.seek = [](sf_count_t offset, int whence, void* context) {
        auto* file = static_cast<NullFile*>(context);
        const sf_count_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? file->position : file->length;
        return file->position = base + offset;
    };
    operations.read = [](void* /*buffer*/, sf_count_t /*count*/, void* /*file*/) { return sf_count_t{0}; };
    operations.write = [](const void* /*buffer*/, sf_count_t count, void* context) {
        auto* file = static_cast<NullFile*>(context);
        file->position += count;
        file->length = std::max(file->length, file->position);
        return count;
    };
    operations.tell = [](void* file) { return static_cast<NullFile*>(file)->position; };
    return operations;
}

void libsndfile(benchmark::State& state, const Row& row) {
    NullFile null_file;
    SF_VIRTUAL_IO operations = null_file_operations();
    SF_INFO info = {};
    info.samplerate = sample_rate;
    info.channels = 1;
    info.format = row.peer_format;
    SNDFILE* file = sf_open_virtual(&operations, SFM_WRITE, &info, &null_file);
    if (file == nullptr) {
        state.SkipWithError(sf_strerror(nullptr));
        return;
    }
    for (auto _ : state)
        for (int from = 0; from < signal_samples; from += voice_block_samples)
            sf_write_short(file, signal().data() + from, voice_block_samples);
    count_signal(state);
    sf_close(file);
}

void libgsm(benchmark::State& state) {
    gsm coder = gsm_create();
    int on = 1;
    gsm_option(coder, GSM_OPT_WAV49, &on);
    gsm_signal samples[voice_block_samples];
    gsm_byte frame[33];
    for (auto _ : state) {
        for (int from = 0; from < signal_samples; from += codec_block_samples) {
            std::memcpy(samples, signal().data() + from, sizeof samples);
            gsm_encode(coder, samples, frame);
            benchmark::DoNotOptimize(frame);
        }
    }
    count_signal(state);
    gsm_destroy(coder);
}

// Keeps the best figure of every measurement, in MB/s.
class BestOfRuns : public benchmark::ConsoleReporter {
  public:
    explicit BestOfRuns(bool table) : table_(table) {}

    bool ReportContext(const Context& context) override { return !table_ || ConsoleReporter::ReportContext(context); }
    void ReportRuns(const std::vector<Run>& reports) override {
        if (table_) ConsoleReporter::ReportRuns(reports);
        for (const Run& run : reports) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
            double& figure = best[run.run_name.function_name];
            figure = std::max(figure, run.counters.at("bytes_per_second").value / 1e6);
        }
    }

    std::map<std::string, double> best;

  private:
    bool table_;
};

std::string name_of_ours(const Row& row) {
    return std::string(row.name) + " ours";
}
std::string name_of_peer(const Row& row) {
    return std::string(row.name) + " " + row.peer;
}

void add_row(const Row& row) {
    const auto peer = [&row](benchmark::State& state) {
        row.peer_format != 0 ? libsndfile(state, row) : libgsm(state);
    };
    benchmark::RegisterBenchmark(name_of_ours(row).c_str(), [&row](benchmark::State& state) { ours(state, row); })
        ->Repetitions(runs)
        ->MinTime(run_seconds);
    benchmark::RegisterBenchmark(name_of_peer(row).c_str(), peer)->Repetitions(runs)->MinTime(run_seconds);
}

void print_summary(const std::map<std::string, double>& best) {
    for (const Row& row : rows) {
        const auto our_figure = best.find(name_of_ours(row));
        const auto peer_figure = best.find(name_of_peer(row));
        if (our_figure == best.end() || peer_figure == best.end()) continue;
        std::printf("%-10s  %9.1f MB/s   %-10s %9.1f MB/s   ratio %6.3f\n", row.name, our_figure->second, row.peer,
                    peer_figure->second, our_figure->second / peer_figure->second);
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const bool table = argc > 1 && std::strcmp(argv[1], "--table") == 0;
    for (const Row& row : rows) add_row(row);
    BestOfRuns reporter(table);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    print_summary(reporter.best);
    return 0;
}
