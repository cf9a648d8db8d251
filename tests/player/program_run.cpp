// SPDX-License-Identifier: MIT
// main() itself, with everything around it played by the stand-ins.
#include <setjmp.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "codec/codec_stream.h"
#include "player/coder_model.h"
#include "player/program_model.h"

int program_main(int argc, char** argv);  // main.cpp, compiled under this name

namespace {

jmp_buf at_exit;
volatile int exit_status;
bool running = false;
CodecStream* stream_of_the_run = nullptr;

std::string word_of(const Argument& argument, const std::string& directory) {
    using Kind = Argument::Kind;
    switch (argument.kind) {
        case Kind::recording: return recording_path(directory, static_cast<std::size_t>(argument.number));
        case Kind::debug: return "-d";
        case Kind::verbose: return "-v";
        case Kind::reverse: return "-R";
        case Kind::write: return "-W";
        case Kind::device: return "-D" + std::to_string(argument.number);
        case Kind::format: return std::string("-F") + coded_formats[argument.number].option;
        case Kind::unknown_format: return "-F" + argument.text;
        case Kind::port: return "-p" + argument.text;
        case Kind::speed: return "-s" + std::to_string(argument.number);
        case Kind::unknown_option: return "-x";
    }
    return "";
}

void set_environment(const char* name, const std::optional<std::string>& value) {
    if (value)
        setenv(name, value->c_str(), 1);
    else
        unsetenv(name);
}

int status_of_main(std::vector<std::string>& words) {
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    optind = 0;  // getopt begins anew
    running = true;
    if (setjmp(at_exit) == 0) exit_status = program_main(static_cast<int>(words.size()), arguments.data());
    running = false;
    return exit_status;
}

}  // namespace

// The two calls of the program that a run in this process has to see.
extern "C" [[noreturn]] void __real_exit(int status);
extern "C" [[noreturn]] void __wrap_exit(int status) {
    if (!running) __real_exit(status);
    exit_status = status;
    longjmp(at_exit, 1);
}

#define WRAPPED_CREATE __wrap__Z19codec_stream_createjiPK9PcmFormats
#define REAL_CREATE __real__Z19codec_stream_createjiPK9PcmFormats
extern "C" CodecStream* REAL_CREATE(std::uint32_t tag, int mode, const PcmFormat* format, std::int16_t block_bytes);
extern "C" CodecStream* WRAPPED_CREATE(std::uint32_t tag, int mode, const PcmFormat* format, std::int16_t block_bytes) {
    CodecStream* const stream = REAL_CREATE(tag, mode, format, block_bytes);
    if (running) stream_of_the_run = stream;
    return stream;
}

WalkOutcome run_program_in_process(const ProgramRun& run, const std::string& directory) {
    lay_out(run.walk, directory);
    drain_block();
    set_environment("SOUNDCARD", run.soundcard);
    set_environment("DONGLE", run.dongle);
    std::vector<std::string> words = {"quaver"};
    for (const Argument& argument : run.arguments) words.push_back(word_of(argument, directory));

    AudioControl control = {};
    strcpy(control.name, "a device");
    WalkOutcome outcome;
    {
        const TracedRun traced({.answers = run.walk.answers,
                                .polls = run.walk.polls,
                                .audio_device = run.detected_device,
                                .audio_control = run.has_audio_control ? &control : nullptr,
                                .audio_open_result = run.audio_open_result,
                                .dongle_init_result = run.dongle_init_result,
                                .audio_start_result = run.walk.audio_start_result,
                                .failing_fopen = run.walk.failing_fopen,
                                .output_room = run.walk.output_room});
        outcome.results = {status_of_main(words)};
        fflush(stdout);
        outcome.trace = surroundings().trace;
        outcome.answers_given = surroundings().answers_given;
    }
    if (stream_of_the_run != nullptr) StreamRelease()(stream_of_the_run);
    stream_of_the_run = nullptr;
    outcome.wave_files = read_wave_files(run.walk, directory);
    return outcome;
}
