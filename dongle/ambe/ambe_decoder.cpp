// SPDX-License-Identifier: MIT
// A whole AMBE 3600x2400 decoder.
#include "ambe/ambe_decoder.h"

#include "ambe/ambe_model.h"
#include "ambe/ambe_tone.h"
#include "ambe/golay.h"

namespace {

constexpr float error_rate_memory = 0.95F;
constexpr float error_rate_share = 0.05F / protected_bits;
constexpr float mute_error_rate = 0.096F;
constexpr int most_repeats = 3;  // bad frames in a row that repeat the last good one; more are muted

constexpr int partial_errors_c0 = 1;  // with more errors in c0, not even pitch, voicing and gain are believed

constexpr int tone_errors_c0 = 1;  // a tone frame with more errors in c0,
constexpr int tone_errors = 2;     // or with more in both words, is not believed

int errors_of(const AmbeFrame& frame) {
    return frame.errors_c0 + frame.errors_c1;
}

bool is_tone(const AmbeFrame& frame) {
    return frame.pitch_index >= tone_pitch;
}

bool words_are_bad(const AmbeFrame& frame) {
    if (frame.errors_c0 == golay_uncorrectable || frame.errors_c1 == golay_uncorrectable) return true;
    return frame.errors_c0 == golay_uncorrectable - 1 && frame.errors_c1 == golay_uncorrectable - 1;
}

bool tone_is_bad(const AmbeFrame& frame) {
    return frame.errors_c0 > tone_errors_c0 || errors_of(frame) > tone_errors || !tone_is_known(frame.tone_index);
}

bool is_bad(const AmbeFrame& frame) {
    return words_are_bad(frame) || (is_tone(frame) && tone_is_bad(frame));
}

// Of a bad frame: only its second word is lost, and there is a spectrum that can stand in for its own. Decoded
// magnitudes are powers of two, never 0; those of the reset model are all 0.
bool is_partial(const AmbeDecoder& decoder) {
    const AmbeFrame& frame = decoder.frame;
    return frame.errors_c0 <= partial_errors_c0 && frame.errors_c1 == golay_uncorrectable &&
           frame.pitch_index < silence_pitch && decoder.model.harmonics.magnitude[0] != 0;
}

FrameAction kind_of(const AmbeFrame& frame) {
    if (is_tone(frame)) return FrameAction::tone;
    return frame.pitch_index >= silence_pitch ? FrameAction::silence : FrameAction::voice;
}

// The order matters: a bad frame counts first, then the error rate can mute a good one too.
FrameAction choose_action(AmbeDecoder& decoder) {
    const bool bad = is_bad(decoder.frame);
    decoder.bad_frames = bad ? decoder.bad_frames + 1 : 0;
    if (decoder.bad_frames > most_repeats || decoder.error_rate > mute_error_rate) return FrameAction::mute;
    if (!bad) return kind_of(decoder.frame);
    return is_partial(decoder) ? FrameAction::partial : FrameAction::repeat;
}

void count(AmbeDecoder& decoder) {
    decoder.counts.frames++;
    decoder.counts.corrected_bits += decoder.bad_frames == 0 ? errors_of(decoder.frame) : 0;
    const bool repeats = decoder.action == FrameAction::repeat || decoder.action == FrameAction::partial;
    decoder.counts.repeated += repeats ? 1 : 0;
    decoder.counts.muted += decoder.action == FrameAction::mute ? 1 : 0;
}

void speak_model(AmbeDecoder& decoder) {
    decoder.spoken = decoder.model.harmonics;
    decoder.version->harmonics_enhance(decoder.spoken, decoder.energy, {decoder.error_rate, errors_of(decoder.frame)});
}

void speak_nothing(AmbeDecoder& decoder) {
    harmonics_mute(decoder.spoken);
    speech_model_reset(decoder.model);
}

void prepare_harmonics(AmbeDecoder& decoder) {
    switch (decoder.action) {
        case FrameAction::voice:
        case FrameAction::silence:
            decoder.version->model_decode(decoder.frame, decoder.model);
            speak_model(decoder);
            return;
        case FrameAction::partial:
            decoder.version->model_repeat_shape(decoder.frame, decoder.model);
            speak_model(decoder);
            return;
        case FrameAction::repeat: speak_model(decoder); return;
        case FrameAction::tone:
        case FrameAction::mute: speak_nothing(decoder); return;
    }
}

}  // namespace

void ambe_decoder_start(AmbeDecoder& decoder, const DecoderVersion& version) {
    decoder = AmbeDecoder{};
    decoder.version = &version;
    decoder.energy = running_energy_start;
    speech_model_reset(decoder.model);
    version.synthesis_start(decoder.synthesis);
    decoder.spoken.fundamental = decoder.synthesis.before.fundamental;
    decoder.spoken.count = decoder.synthesis.before.count;
}

void ambe_decode(AmbeDecoder& decoder, FrameBytes bytes, PcmBlock& samples) {
    decoder.frame = ambe_frame_decode(bytes);
    const auto errors = static_cast<float>(errors_of(decoder.frame));
    decoder.error_rate = error_rate_memory * decoder.error_rate + error_rate_share * errors;
    decoder.action = choose_action(decoder);
    count(decoder);
    prepare_harmonics(decoder);

    SpeechBlock speech;
    ToneModel tone_model;
    const bool sounds_tone = decoder.action == FrameAction::tone;
    if (sounds_tone) tone_model = ambe_tone_decode(decoder.frame);
    decoder.version->synthesize(decoder.synthesis, decoder.spoken, speech);
    decoder.version->add_tone(decoder.tone, sounds_tone ? &tone_model : nullptr, speech);
    decoder.version->pcm_output(decoder.limiter, speech, samples);
}

const char* frame_action_name(FrameAction action) {
    switch (action) {
        case FrameAction::voice: return "voice";
        case FrameAction::silence: return "silence";
        case FrameAction::tone: return "tone";
        case FrameAction::repeat: return "repeat";
        case FrameAction::partial: return "partial";
        case FrameAction::mute: return "mute";
    }
    return "";
}
