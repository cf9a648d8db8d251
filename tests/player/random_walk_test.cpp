// SPDX-License-Identifier: MIT
// Random walks: whatever the vocoder answers, whatever is pressed and whatever the recordings hold, the pump does what
// the plain model of its table does. A difference is shown for the fewest answers that bring it out.
#include <gtest/gtest.h>

#include <random>

#include "player/pump_model.h"
#include "player/random_walk.h"

namespace {

constexpr std::size_t events_to_walk = 120000;
constexpr std::uint32_t walk_seed = 20260117;

Walk with_answers(Walk walk, std::size_t count) {
    walk.answers.resize(count);
    return walk;
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
        if (!(pump == model)) return {count, difference_of(pump, model)};
    }
    return {};
}

}  // namespace

TEST(RandomWalk, PumpDoesWhatTheModelOfItsTableDoes) {
    const TempDir dir;
    const std::string directory = dir / "walk";
    Dice dice = {std::mt19937(walk_seed)};
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
    EXPECT_NE(shrunk.text.find("  dongle_recv(0, 400) = 7, 7\nprogram then: stdout: "), std::string::npos)
        << shrunk.text;
}
