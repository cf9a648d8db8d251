// SPDX-License-Identifier: MIT
// The start-up order of quaver, from top to bottom.
#include <cstdio>

#include "link/dongle.h"
#include "player/decode_pump.h"
#include "player/player.h"

namespace {

constexpr int status_ok = 0;
constexpr int status_no_streams = 1;
constexpr int status_no_vocoder = 1;
constexpr int status_no_set_up = 255;

}  // namespace

int main(int argc, char** argv) {
    if (open_missing_standard_streams() < 0) return status_no_streams;
    Player player;
    settings_read_environment(player.settings);
    int operand = settings_read_options(player.settings, argc, argv);
    const bool write_mode = player.settings.write_mode;

    print_banner();
    if (operand >= argc) usage();

    if (player_start_codec(player) < 0) return status_no_set_up;
    std::printf("\n");
    if (!write_mode && player_start_audio(player) < 0) return status_no_set_up;
    if (player_start_vocoder(player) < 0) return status_no_vocoder;
    std::printf("\n");

    while (operand < argc) {
        const char* path = argv[operand++];
        decode_file(player, path);  // a file that fails does not stop the run
    }

    dongle_close(0);
    if (!write_mode) audio_free(player.audio);
    return status_ok;
}
