// SPDX-License-Identifier: MIT
#include "player/program_model.h"

#include <cstdio>
#include <cstdlib>

#include "player/coder_model.h"
#include "player/pump_model.h"

namespace {

constexpr int status_usage = 1;
constexpr int status_no_vocoder = 1;
constexpr int status_no_set_up = 255;
constexpr int choose_device = -1;

constexpr char banner[] = "HALCYON Tallis Audio Player V1.0.7\nCopyright (c) 2026 Wexcombe Corporation.\n\n";
constexpr char usage_line[] = "Usage: quaver [-dvR] [-W [-Ffmt]] [-pport] [-sspeed] file\n";

// What the arguments come to.
struct Options {
    Walk walk;
    int debug_level = 0;
    int device = choose_device;
    std::string port = "/dev/ttyUSB0";
    int speed = 230400;
    std::vector<std::size_t> recordings = {};
    bool refused = false;
    std::string said = {};  // on the way
};

std::string port_of(const std::string& text) {
    return text.substr(0, 15);
}

// Each option by itself, in the order of the command line; the first that is refused ends it.
void take(Options& options, const Argument& argument) {
    using Kind = Argument::Kind;
    switch (argument.kind) {
        case Kind::recording: options.recordings.push_back(static_cast<std::size_t>(argument.number)); break;
        case Kind::debug: options.debug_level++; break;
        case Kind::verbose: break;
        case Kind::reverse: options.walk.reverse_bits = !options.walk.reverse_bits; break;
        case Kind::write: options.walk.convert = true; break;
        case Kind::device:
            options.refused = options.walk.convert;
            options.device = argument.number;
            break;
        case Kind::format:
            options.refused = !options.walk.convert;
            if (!options.refused) options.walk.format_tag = coded_formats[argument.number].tag;
            break;
        case Kind::unknown_format:
            options.refused = !options.walk.convert;
            if (!options.refused) options.said += "Format '" + argument.text + "' is not supported.\n";
            break;
        case Kind::port: options.port = port_of(argument.text); break;
        case Kind::speed: options.speed = argument.number; break;
        case Kind::unknown_option: options.refused = true; break;
    }
}

Options options_of(const ProgramRun& run) {
    Options options = {.walk = run.walk};
    options.walk.convert = false;
    options.walk.reverse_bits = false;
    options.walk.format_tag = 1;
    if (run.soundcard) options.device = std::atoi(run.soundcard->c_str());
    if (run.dongle) options.port = port_of(*run.dongle);
    for (const Argument& argument : run.arguments) {
        take(options, argument);
        if (options.refused) break;
    }
    return options;
}

bool starts_audio(PumpModel& program, const ProgramRun& run, int device) {
    if (device == choose_device) {
        calls(program, "audio_detect(1)");
        device = run.detected_device;
    }
    calls(program, "audio_alloc(" + std::to_string(device) + ")");
    if (!run.has_audio_control) return false;
    calls(program, "audio_format(control, 1, 8000, 16)");
    calls(program, "audio_open(control, 1)");
    if (run.audio_open_result < 0) return false;
    prints(program, "Using device 'a device'.\n");
    return true;
}

// The exit status.
int start_and_run(PumpModel& program, const ProgramRun& run, const Options& options, const std::string& directory) {
    const auto shows_usage = [&program] {
        flushes(program);
        complains(program, usage_line);
        return status_usage;
    };
    prints(program, options.said);
    if (options.refused) return shows_usage();
    prints(program, banner);
    if (options.recordings.empty()) return shows_usage();
    prints(program, std::string("CODEC '") + coded_format(program.walk.format_tag).display_name +
                        "' for 1 channels at 8000 Hz with 16 bits per sample.\n");
    prints(program, "\n");
    if (!program.walk.convert && !starts_audio(program, run, options.device)) return status_no_set_up;
    calls(program, "dongle_debug(" + std::to_string(options.debug_level) + ")");
    calls(program, "dongle_init(" + options.port + ", " + std::to_string(options.speed) + ")");
    if (run.dongle_init_result < 0) return status_no_vocoder;
    calls(program, "dongle_hello()");
    prints(program, "\n");
    for (const std::size_t index : options.recordings) model_decode(program, directory, index);
    calls(program, "dongle_close(0)");
    if (!program.walk.convert) calls(program, "audio_free(control)");
    return 0;
}

}  // namespace

WalkOutcome model_program(const ProgramRun& run, const std::string& directory) {
    const Options options = options_of(run);
    PumpModel program(options.walk, pump_table);
    const int status = start_and_run(program, run, options, directory);
    flushes(program);
    program.outcome.results = {status};
    program.outcome.wave_files.resize(run.walk.recordings.size());
    return program.outcome;
}
