// SPDX-License-Identifier: MIT
#include "player/random_walk.h"

#include <algorithm>

#include "player/coder_model.h"

namespace {

Bytes random_bytes(Dice& dice, int count) {
    Bytes content;
    for (int i = 0; i < count; i++) content.push_back(dice.byte());
    return content;
}

Bytes random_dvtool(Dice& dice) {
    Bytes content = bytes({'D', 'V', 'T', 'O', 'O', 'L', 0});
    const auto add = [&](const Bytes& more) { content.insert(content.end(), more.begin(), more.end()); };
    add(random_bytes(dice, 3));
    const int records = 1 + dice.roll(60);
    for (int i = 0; i < records; i++) {
        const int length = dice.one_in(8) ? 0 : dice.one_in(40) ? dice.roll(2000) : dice.roll(60);
        add({static_cast<std::uint8_t>(length % 256), static_cast<std::uint8_t>(length / 256)});
        add(random_bytes(dice, length));
    }
    if (dice.one_in(2))
        content.resize(content.size() - std::min<std::size_t>(content.size(), static_cast<std::size_t>(dice.roll(30))));
    return content;
}

RecordingFile random_recording(Dice& dice) {
    if (dice.one_in(40)) return {.kind = RecordingFile::Kind::missing};
    if (dice.one_in(40)) return {.content = random_bytes(dice, dice.roll(12))};
    RecordingFile recording;
    recording.content = dice.one_in(2) ? random_dvtool(dice) : random_bytes(dice, dice.roll(2400));
    if (dice.one_in(40)) recording.kind = RecordingFile::Kind::output_in_the_way;
    return recording;
}

// A packet that the table does not name; often one that is nearly another.
Answer unknown_answer(Dice& dice) {
    switch (dice.roll(7)) {
        case 0: return {.length = 48, .type = dice.one_in(2) ? 4 : 0};
        case 1: return {.length = 320, .type = dice.one_in(2) ? 5 : 0};
        case 2: return {.length = 34, .type = dice.one_in(2) ? 4 : -1};
        case 3: return {.length = dice.one_in(2) ? 48 : 320, .keeps_type = true};
        case 4: return {.length = 47 + 2 * dice.roll(2), .type = 5};
        case 5: return {.length = 319 + 2 * dice.roll(2), .type = 4};
        default: return {.length = dice.one_in(20) ? 2147483647 : 1 + dice.roll(400), .type = dice.roll(12) - 3};
    }
}

Answer random_answer(Dice& dice) {
    const int percent = dice.roll(100);
    if (percent < 40) return {.length = 48, .type = 5};
    if (percent < 70) return {.length = 320, .type = 4};
    if (percent < 84) return {.length = 0, .type = dice.roll(7)};
    if (dice.one_in(25)) return {.length = dice.one_in(2) ? -1 : -2147483647 - 1, .type = dice.roll(7)};
    if (dice.one_in(25)) return {.length = 34, .type = 1};
    return unknown_answer(dice);
}

Poll random_poll(Dice& dice) {
    if (!dice.one_in(10)) return {};
    if (dice.one_in(5)) return {.result = -1};
    if (dice.one_in(20)) return {.result = 1, .key = ' '};
    if (dice.one_in(4)) return {.result = 1, .key = dice.one_in(2) ? end_of_input : failed_read};
    const int key = dice.roll(256);
    return {.result = 1, .key = key == ' ' ? 'x' : key};
}

std::string random_port(Dice& dice) {
    return std::string(static_cast<std::size_t>(dice.roll(20)), 'p') + "1";
}

Argument random_argument(Dice& dice, int recordings) {
    using Kind = Argument::Kind;
    switch (dice.roll(16)) {
        case 0: return {.kind = Kind::debug};
        case 1: return {.kind = Kind::verbose};
        case 2: return {.kind = Kind::reverse};
        case 3:
        case 4:
        case 5: return {.kind = Kind::write};
        case 6: return {.kind = Kind::device, .number = dice.roll(4) - 1};
        case 7:
        case 8: return {.kind = Kind::format, .number = dice.roll(static_cast<int>(std::size(coded_formats)))};
        case 9: return {.kind = Kind::unknown_format, .text = dice.one_in(2) ? "mp3" : "PCM"};
        case 10: return {.kind = Kind::port, .text = random_port(dice)};
        case 11: return {.kind = Kind::speed, .number = dice.roll(300000) - 1000};
        case 12:
            if (dice.one_in(8)) return {.kind = Kind::unknown_option};
            [[fallthrough]];
        default: return {.kind = Kind::recording, .number = dice.roll(recordings)};
    }
}

}  // namespace

Walk random_walk(Dice& dice) {
    Walk walk;
    walk.convert = !dice.one_in(3);
    walk.reverse_bits = dice.one_in(2);
    const int recordings = 1 + dice.roll(4);
    for (int i = 0; i < recordings; i++) walk.recordings.push_back(random_recording(dice));
    const int answers = dice.roll(400);
    for (int i = 0; i < answers; i++) {
        Answer answer = random_answer(dice);
        answer.seed = dice.byte();
        answer.pulls = !walk.convert && dice.one_in(3) ? 1 + dice.roll(2) : 0;
        walk.answers.push_back(answer);
        walk.polls.push_back(random_poll(dice));
    }
    return walk;
}

ProgramRun random_program(Dice& dice) {
    ProgramRun run;
    run.walk = random_walk(dice);
    if (dice.one_in(4)) run.soundcard = std::to_string(dice.roll(5) - 1);
    if (dice.one_in(4)) run.dongle = random_port(dice);
    run.detected_device = dice.roll(3);
    run.has_audio_control = !dice.one_in(20);
    run.audio_open_result = dice.one_in(20) ? -1 : dice.roll(2);
    run.dongle_init_result = dice.one_in(20) ? -1 : dice.roll(2);
    run.walk.audio_start_result = dice.one_in(20) ? -1 : 0;
    if (run.walk.convert) run.arguments.push_back({.kind = Argument::Kind::write});
    const int arguments = dice.roll(10);
    for (int i = 0; i < arguments; i++)
        run.arguments.push_back(random_argument(dice, static_cast<int>(run.walk.recordings.size())));
    return run;
}
