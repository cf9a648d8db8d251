// SPDX-License-Identifier: MIT
#include "player/settings.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "codec/codec_table.h"

namespace {

// Base 10; what does not fit an int is cut to its low 32 bits.
int number(const char* text) {
    return static_cast<int>(std::strtol(text, nullptr, 10));
}

void set_port(Settings& settings, const char* text) {
    std::snprintf(settings.port, sizeof settings.port, "%s", text);
}

void set_format(Settings& settings, const char* option) {
    const CodecEntry* codec = codec_by_option(option);
    if (codec == nullptr) {
        std::printf("Format '%s' is not supported.\n", option);
        return;
    }
    settings.format_tag = codec->tag;
}

}  // namespace

// Kept: the line shows neither -D nor the name "gsm".
void usage() {
    std::fflush(stdout);  // so that the banner comes first also where both streams share a file
    std::fprintf(stderr, "Usage: quaver [-dvR] [-W [-Ffmt]] [-pport] [-sspeed] file\n");
    std::exit(1);
}

void settings_read_environment(Settings& settings) {
    const char* device = std::getenv("SOUNDCARD");
    if (device != nullptr) settings.sound_device = number(device);
    const char* port = std::getenv("DONGLE");
    if (port != nullptr) set_port(settings, port);
}

int settings_read_options(Settings& settings, int argc, char** argv) {
    opterr = 0;
    for (int option = 0; (option = getopt(argc, argv, "dvD:RWF:p:s:")) != -1;) {
        switch (option) {
            case 'd': settings.debug_level++; break;
            case 'v': settings.verbose_level++; break;
            case 'D':
                if (settings.write_mode) usage();
                settings.sound_device = number(optarg);
                break;
            case 'R': settings.reverse_bits = 1 - settings.reverse_bits; break;
            case 'W': settings.write_mode = true; break;
            case 'F':
                if (!settings.write_mode) usage();
                set_format(settings, optarg);
                break;
            case 'p': set_port(settings, optarg); break;
            case 's': settings.speed = number(optarg); break;
            default: usage();
        }
    }
    return optind;
}
