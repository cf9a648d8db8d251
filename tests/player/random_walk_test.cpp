// SPDX-License-Identifier: MIT
// Random walks: whatever the vocoder answers, whatever is pressed and whatever the recordings hold, the pump does what
// the plain model of its table does. A difference is shown for the fewest answers that bring it out.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "player/pump_model.h"

namespace {

constexpr std::size_t events_to_walk = 120000;
constexpr std::uint32_t walk_seed = 20260117;

struct Dice {
    std::mt19937 engine;

    // From 0 to sides - 1, the same on every machine.
    int roll(int sides) { return static_cast<int>(engine() % static_cast<std::uint32_t>(sides)); }
    bool one_in(int count) { return roll(count) == 0; }
    std::uint8_t byte() { return static_cast<std::uint8_t>(roll(256)); }
};

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
    if (dice.one_in(2)) content.resize(content.size() - std::min<std::size_t>(content.size(), dice.roll(30)));
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

Walk with_answers(Walk walk, std::size_t count) {
    walk.answers.resize(count);
    return walk;
}

std::string lines(const std::vector<std::string>& trace) {
    std::string text;
    for (const std::string& line : trace) text += "  " + line + "\n";
    return text;
}

// What differs first, with what went before.
std::string difference(const WalkOutcome& pump, const WalkOutcome& model) {
    const auto [in_pump, in_model] =
        std::mismatch(pump.trace.begin(), pump.trace.end(), model.trace.begin(), model.trace.end());
    std::string text = lines({pump.trace.begin(), in_pump});
    if (in_pump != pump.trace.end()) text += "pump then:  " + *in_pump + "\n";
    if (in_model != model.trace.end()) text += "model then: " + *in_model + "\n";
    if (pump.results != model.results) text += "the results of the files differ\n";
    if (pump.wave_files != model.wave_files) text += "the WAVE files differ\n";
    return text;
}

struct Shrunk {
    std::size_t answers = 0;  // of the shortest walk that differs
    std::string text;         // empty: none differs
};

Shrunk shortest_difference(const Walk& walk, const std::string& directory, const PumpTable& table = pump_table) {
    for (std::size_t count = 0; count <= walk.answers.size(); count++) {
        const Walk prefix = with_answers(walk, count);
        const WalkOutcome pump = walk_pump(prefix, directory);
        const WalkOutcome model = walk_model(prefix, directory, table);
        if (!(pump == model)) return {count, difference(pump, model)};
    }
    return {};
}

}  // namespace

TEST(RandomWalk, PumpDoesWhatTheModelOfItsTableDoes) {
    const TempDir dir;
    const std::string directory = dir / "walk";
    Dice dice = {.engine = std::mt19937(walk_seed)};
    std::size_t events = 0;
    int walks = 0;
    for (; events < events_to_walk; walks++) {
        const Walk walk = random_walk(dice);
        const WalkOutcome pump = walk_pump(walk, directory);
        events += pump.answers_given;
        if (pump == walk_model(walk, directory)) continue;
        const Shrunk shrunk = shortest_difference(walk, directory);
        FAIL() << "walk " << walks << (walk.convert ? ", converting" : ", playing") << ", " << shrunk.answers
               << " answers:\n"
               << shrunk.text;
    }
    std::printf("%zu events in %d walks\n", events, walks);
}

TEST(RandomWalk, DifferenceIsShownForTheFewestAnswersThatBringItOut) {
    // A table in which an unknown packet leaves the frame waiting: it shows when one comes, not before.
    PumpTable wrong = pump_table;
    wrong.other.next = PumpRow::Next::receive;
    const TempDir dir;
    const Walk walk = raw_walk(9, {
                                      {48,  5},
                                      {48,  5},
                                      {320, 4},
                                      {7,   7},
                                      {48,  5},
                                      {48,  5},
                                      {320, 4}
    });
    const Shrunk shrunk = shortest_difference(walk, dir / "walk", wrong);
    EXPECT_EQ(shrunk.answers, 4u);
    EXPECT_NE(shrunk.text.find("  dongle_recv(0, 400) = 7, 7\npump then:  stdout: "), std::string::npos) << shrunk.text;
}
