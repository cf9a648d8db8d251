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

// Where both words needed all the correction there is, one of them was probably corrected to a wrong word.
bool words_are_bad(const AmbeFrame& frame) {
    if (frame.errors_c0 == golay_uncorrectable || frame.errors_c1 == golay_uncorrectable) return true;
    return frame.errors_c0 == golay_correctable && frame.errors_c1 == golay_correctable;
}

bool tone_is_bad(const AmbeFrame& frame) {
    return frame.errors_c0 > tone_errors_c0 || errors_of(frame) > tone_errors || !tone_is_known(frame.tone_index);
}

bool is_bad(const AmbeFrame& frame) {
    return words_are_bad(frame) || (is_tone(frame) && tone_is_bad(frame));
}

// Whether a bad frame keeps its own pitch, voicing and gain: only c1 is lost, and a spectrum from before can stand in
// for its own. Decoded magnitudes are powers of two, never 0; those of the reset model are all 0.
bool is_partial(const AmbeDecoder& decoder) {
    const AmbeFrame& frame = decoder.frame;
    return frame.errors_c0 <= partial_errors_c0 && frame.errors_c1 == golay_uncorrectable &&
           frame.pitch_index < silence_pitch && decoder.model.harmonics.magnitude[0] != 0;
}

FrameAction action_of_good_frame(const AmbeFrame& frame) {
    if (is_tone(frame)) return FrameAction::tone;
    return frame.pitch_index >= silence_pitch ? FrameAction::silence : FrameAction::voice;
}

void judge_channel(AmbeDecoder& decoder) {
    const auto errors = static_cast<float>(errors_of(decoder.frame));
    decoder.error_rate = error_rate_memory * decoder.error_rate + error_rate_share * errors;
    decoder.bad_frames = is_bad(decoder.frame) ? decoder.bad_frames + 1 : 0;
}

// The order matters: the error rate can mute a good frame too.
FrameAction choose_action(const AmbeDecoder& decoder) {
    if (decoder.bad_frames > most_repeats || decoder.error_rate > mute_error_rate) return FrameAction::mute;
    if (decoder.bad_frames == 0) return action_of_good_frame(decoder.frame);
    return is_partial(decoder) ? FrameAction::partial : FrameAction::repeat;
}

void update_counts(AmbeDecoder& decoder) {
    decoder.counts.frames++;
    decoder.counts.corrected_bits += decoder.bad_frames == 0 ? errors_of(decoder.frame) : 0;
    const bool repeats = decoder.action == FrameAction::repeat || decoder.action == FrameAction::partial;
    decoder.counts.repeated += repeats ? 1 : 0;
    decoder.counts.muted += decoder.action == FrameAction::mute ? 1 : 0;
}

void harmonics_from_model(AmbeDecoder& decoder) {
    decoder.spoken = decoder.model.harmonics;
    decoder.version->harmonics_enhance(decoder.spoken, decoder.energy, {decoder.error_rate, errors_of(decoder.frame)});
}

void silence_harmonics(AmbeDecoder& decoder) {
    harmonics_mute(decoder.spoken);
    speech_model_reset(decoder.model);
}

void prepare_harmonics(AmbeDecoder& decoder) {
    switch (decoder.action) {
        case FrameAction::voice:
        case FrameAction::silence:
            decoder.version->model_decode(decoder.frame, decoder.model);
            harmonics_from_model(decoder);
            return;
        case FrameAction::partial:
            decoder.version->model_repeat_shape(decoder.frame, decoder.model);
            harmonics_from_model(decoder);
            return;
        case FrameAction::repeat: harmonics_from_model(decoder); return;
        case FrameAction::tone:
        case FrameAction::mute: silence_harmonics(decoder); return;
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

void ambe_decode(AmbeDecoder& decoder, FrameBytes bytes, PcmSamples& samples) {
    decoder.frame = ambe_frame_decode(bytes);
    judge_channel(decoder);
    decoder.action = choose_action(decoder);
    update_counts(decoder);
    prepare_harmonics(decoder);

    SpeechBlock speech;
    ToneModel tone_model;
    const bool is_tone_frame = decoder.action == FrameAction::tone;
    if (is_tone_frame) tone_model = ambe_tone_decode(decoder.frame);
    decoder.version->synthesize(decoder.synthesis, decoder.spoken, speech);
    decoder.version->add_tone(decoder.tone, is_tone_frame ? &tone_model : nullptr, speech);
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
