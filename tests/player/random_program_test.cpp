// SPDX-License-Identifier: MIT
// Random runs of the whole program: whatever the command line, the recordings and the vocoder are, the program says,
// calls and writes what the model does.
#include <gtest/gtest.h>

#include <random>

#include "player/random_walk.h"

namespace {

constexpr int runs = 400;
constexpr std::uint32_t seed = 20261121;

ProgramRun conversion(const std::vector<Argument>& arguments) {
    ProgramRun run = {
        .arguments = arguments, .walk = raw_walk(9, {{48, 5}, {320, 4}, {48, 5}, {320, 4}}
              )
    };
    run.arguments.push_back({.kind = Argument::Kind::recording});
    return run;
}

}  // namespace

TEST(RandomProgram, ProgramDoesWhatItsModelDoes) {
    const TempDir dir;
    const std::string directory = dir / "run";
    Dice dice = {std::mt19937(seed)};
    for (int i = 0; i < runs; i++) {
        const ProgramRun run = random_program(dice);
        const WalkOutcome program = run_program_in_process(run, directory);
        const WalkOutcome model = model_program(run, directory);
        ASSERT_TRUE(program == model) << "run " << i << ":\n" << difference_of(program, model);
    }
}

TEST(RandomProgram, DifferenceIsFoundAndShown) {
    const TempDir dir;
    const ProgramRun run = conversion({{.kind = Argument::Kind::write}});
    ProgramRun other = run;
    other.walk.answers[0].length = 34;
    const WalkOutcome program = run_program_in_process(run, dir / "run");
    const WalkOutcome model = model_program(other, dir / "run");
    EXPECT_FALSE(program == model);
    EXPECT_NE(difference_of(program, model).find("program then: dongle_recv(0, 400) = 48, 5\n"), std::string::npos)
        << difference_of(program, model);
}
