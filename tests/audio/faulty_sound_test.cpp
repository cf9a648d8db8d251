// SPDX-License-Identifier: MIT
// Whole runs of the program on a sound library that fails: they end as runs without sound do.
#include <gmock/gmock.h>
#include <stdlib.h>

#include "audio/sound_card.h"
#include "program/scenario.h"
#include "support/pty.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

constexpr int frame_count = 20;

// Two recordings on a terminal, a block for each frame.
struct SoundRun {
    Pty terminal;
    Scenario scenario;
    termios before = terminal.state();

    explicit SoundRun(const Lines& options) {
        scenario.add_file("a.ambe", raw_recording(frames(frame_count)));
        scenario.add_file("b.ambe", raw_recording(frames(frame_count)));
        scenario.arguments = options;
        scenario.arguments.insert(scenario.arguments.end(), {"a.ambe", "b.ambe"});
        scenario.blocks = test_blocks(2 * frame_count);
        for (int i = 0; i < 2 * frame_count; i++) scenario.script += "recv 48 5\nrecv 320 4\n";
        scenario.script += "rest 48 5\n";
        scenario.input = terminal_input(terminal.path());
        scenario.dongle_directory = std::string(SCRIPTED_DONGLE_DIR) + ":" + STAND_IN_SOUND_DIR;
    }

    bool terminal_is_as_before() const { return same_state(terminal.state(), before); }
};

class FaultySound : public testing::Test {
  protected:
    // With the silent device, which the faults do not reach.
    FaultySound() {
        const SoundRun run({"-D", "0"});
        silent = run.scenario.run();
        EXPECT_EQ(silent.status, 0);
        EXPECT_EQ(silent.err, play_teardown(2));
        EXPECT_THAT(card.calls(), IsEmpty());
    }

    void expect_as_without_sound(const Outcome& outcome, const SoundRun& run, const std::string& what) const {
        EXPECT_EQ(outcome.status, 0) << what;
        EXPECT_EQ(outcome.out, silent.out) << what;
        EXPECT_EQ(outcome.calls, silent.calls) << what;
        EXPECT_TRUE(run.terminal_is_as_before()) << what;
    }

    // With the library of that directory, verbose or not, a run goes on without sound; the verbose one says why.
    void expect_library_refused(const std::string& directory, const std::string& reason) const {
        for (const bool verbose : {false, true}) {
            SoundRun run({"-D", "1"});
            if (verbose) run.scenario.arguments.insert(run.scenario.arguments.begin(), "-v");
            run.scenario.dongle_directory = std::string(SCRIPTED_DONGLE_DIR) + ":" + directory;
            const Outcome outcome = run.scenario.run();
            expect_as_without_sound(outcome, run, "");
            if (verbose) {
                EXPECT_THAT(outcome.err, testing::StartsWith("MCI: no sound on 'default', load: " + reason));
                EXPECT_THAT(outcome.err, testing::EndsWith(" !\n" + silent.err));
            } else {
                EXPECT_EQ(outcome.err, silent.err);
            }
        }
    }

    SoundCard card;
    Outcome silent;
};

// How often `line` stands among the lines of `text`; the rest goes to `others`.
int taken_out(const std::string& text, const std::string& line, std::string* others) {
    *others = text;
    int count = 0;
    for (std::size_t place = 0; (place = others->find(line, place)) != std::string::npos; count++) {
        others->erase(place, line.size());
    }
    return count;
}

}  // namespace

TEST_F(FaultySound, CardThatWorksHearsEveryBlockAndTheRunSaysWhatASilentOneSays) {
    for (const std::string& script : passing_sound_faults) {
        card.tell(script);
        const SoundRun run({"-D", "1", "-v"});
        const Outcome outcome = run.scenario.run();
        expect_as_without_sound(outcome, run, script);
        EXPECT_EQ(outcome.err, silent.err) << script;
        // The block of the very last frame is not waited for.
        EXPECT_TRUE(card.heard() == first_bytes(run.scenario.blocks, (2 * frame_count - 1) * block_bytes)) << script;
    }
}

TEST_F(FaultySound, EveryOtherFaultEndsAsWithoutSound) {
    for (const SoundFault& fault : lasting_sound_faults) {
        card.tell(fault.script);
        const SoundRun run({"-D", "2"});
        const Outcome outcome = run.scenario.run();
        expect_as_without_sound(outcome, run, fault.script);
        EXPECT_EQ(outcome.err, silent.err) << fault.script;
        EXPECT_EQ(card.calls().back(), "snd_config_update_free_global") << fault.script;
    }
}

TEST_F(FaultySound, VerboseRunHasOneLineMore) {
    for (const SoundFault& fault : lasting_sound_faults) {
        card.tell(fault.script);
        const SoundRun run({"-D", "2", "-v"});
        const Outcome outcome = run.scenario.run();
        expect_as_without_sound(outcome, run, fault.script);
        std::string rest;
        EXPECT_EQ(taken_out(outcome.err, told_of("plughw:0", fault), &rest), 1) << fault.script;
        EXPECT_EQ(rest, silent.err) << fault.script;
    }
}

TEST_F(FaultySound, LibraryThatCannotBeLoadedIsAsADeviceThatCannotBeOpened) {
    const TempDir broken;
    write_file(broken / "libasound.so.2", bytes_of("no library"));
    expect_library_refused(broken.path(), broken.path());
}

TEST_F(FaultySound, LibraryThatLacksFunctionsIsAsOneThatCannotBeLoaded) {
    const TempDir other;
    std::filesystem::copy_file(SCRIPTED_DONGLE, other / "libasound.so.2");
    expect_library_refused(other.path(), (other / "libasound.so.2") + ": undefined symbol: snd_");
}

TEST_F(FaultySound, SpaceStopsAFileThatIsHeardAndWhatIsQueuedIsPlayed) {
    SoundRun run({"-D", "1"});
    run.scenario.script = "recv 48 5\nrecv 320 4\ntouch waiting\nawait go\nrest 48 5\n";
    RunningProgram program(run.scenario.call());
    wait_for_file(run.scenario / "waiting");
    run.terminal.send(" ");
    run.scenario.add_file("go", {});
    EXPECT_THAT(program.finish().out, HasSubstr("'a.ambe': |\b/\b-\bSTOPPED\n"));
    EXPECT_THAT(card.calls_of("snd_pcm_drain"), testing::Not(IsEmpty()));
}

TEST_F(FaultySound, ConversionNeverLoadsTheLibrary) {
    SoundRun run({"-D", "1", "-W"});
    EXPECT_EQ(run.scenario.run().status, 0);
    EXPECT_THAT(card.calls(), IsEmpty());
    EXPECT_TRUE(run.scenario.has_file("a.wav"));
}

TEST_F(FaultySound, NoNumberIsTheSilentDevice) {
    const SoundRun run({});
    EXPECT_EQ(run.scenario.run().err, silent.err);
    EXPECT_THAT(card.calls(), IsEmpty());
}
