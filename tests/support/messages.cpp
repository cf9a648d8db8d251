// SPDX-License-Identifier: MIT
#include "support/messages.h"

#include "player/program_info.h"

const std::string usage_line = "Usage: quaver [-dvR] [-W [-Ffmt]] [-pport] [-sspeed] file\n";
const std::string no_device_line = "No audio devices detected.\n";
const std::string device_line = "Using device 'Linux Audio Test'.\n";

namespace {

std::string teardown(int files, const std::string& sink) {
    std::string text;
    for (int i = 0; i < files; i++)
        text += "> Stopping Dongle.\n> Dongle stopped.\n" + sink + "> Closing DVX.\n> DVX closed.\n";
    return text;
}

}  // namespace

std::string banner() {
    return std::string("HALCYON Tallis Audio Player V1.0.7\n") + program_info.notice + " Wexcombe Corporation.\n\n";
}

std::string codec_line(const std::string& name) {
    return "CODEC '" + name + "' for 1 channels at 8000 Hz with 16 bits per sample.\n";
}

std::string convert_start_up(const std::string& codec) {
    return banner() + codec_line(codec) + "\n\n";
}

std::string play_start_up() {
    return banner() + codec_line() + "\n" + no_device_line + device_line + "\n";
}

std::string spinner(int turns) {
    std::string text;
    for (int i = 0; i < turns; i++) text += {"|/-\\"[i % 4], '\b'};
    return text;
}

std::string convert_teardown(int files) {
    return teardown(files, "> Closing RIFF.\n> RIFF closed.\n");
}

std::string play_teardown(int files) {
    return teardown(files, "> Stopping Audio.\n> Audio stopped.\n");
}
