// SPDX-License-Identifier: MIT
// The line and the keyboard fail while recordings run: each select, read and write of the program in turn.
#include <gmock/gmock.h>

#include "faults/expected.h"

namespace {

// One call: of the keyboard, or for the packet with that number of that recording.
struct Site {
    Recording recording;
    bool keyboard;
    int packet;
};

std::vector<Site> joined(std::vector<Site> one, const std::vector<Site>& other) {
    one.insert(one.end(), other.begin(), other.end());
    return one;
}

// The keyboard is asked at each turn: at the start and after each request. The line is asked for the head of each
// packet and for its body.
std::vector<Site> selects_of(Recording recording) {
    std::vector<Site> sites = {
        {recording, true, 0}
    };
    for (int packet = 0; packet < packets_of(recording); packet++) {
        sites.insert(sites.end(), 2, {recording, false, packet});
        if (is_request(packet)) sites.push_back({recording, true, packet});
    }
    return sites;
}

// The key that is pressed with the first frame is read once, after the first packet.
std::vector<Site> reads_of(Recording recording) {
    std::vector<Site> sites;
    for (int packet = 0; packet < packets_of(recording); packet++) {
        sites.insert(sites.end(), 2, {recording, false, packet});
        if (recording == Recording::first && packet == 0) sites.push_back({recording, true, packet});
    }
    return sites;
}

class LineFaults : public testing::TestWithParam<Mode> {
  protected:
    // It ends without a word of its own in front of the packet that did not come.
    FileOutcome ended_at(const Site& site, const std::string& complaint) const {
        return ran(mode, site.recording, site.packet, "", complaint);
    }

    // What becomes of a recording when the calls with the numbers `first` (0 for the first) to `last` fail.
    FileOutcome outcome_of(Recording recording, const std::vector<Site>& sites, std::size_t first, std::size_t last,
                           const std::string& complaint) const {
        for (std::size_t i = first; i <= last; i++) {
            const Site& site = sites[i];
            if (site.recording == recording && !site.keyboard) return ended_at(site, complaint);
        }
        return ran_well(mode, recording);
    }

    void expect_sites(Call call, const std::vector<Site>& sites, const std::string& complaint) const {
        for (std::size_t i = 0; i < sites.size(); i++) {
            for (const bool lasting : {false, true}) {
                const std::size_t last = lasting ? sites.size() - 1 : i;
                expect_run({.mode = mode, .fault = failing(call, static_cast<int>(i) + 1, lasting)},
                           run_of(mode, outcome_of(Recording::first, sites, i, last, complaint),
                                  outcome_of(Recording::second, sites, i, last, complaint)));
            }
        }
    }

    // The vocoder was not heard to be started: two frames are read before its time-out.
    FileOutcome never_started(Recording recording) const { return ran(mode, recording, 0, "TIMEOUT\n", "", 1); }
    // The frame after the request with that packet's number was lost.
    FileOutcome lost_frame(Recording recording, int packet) const {
        return ran(mode, recording, packet + 1, "TIMEOUT\n");
    }

    const Mode mode = GetParam();
    const FileOutcome first_well = ran_well(mode, Recording::first);
    const FileOutcome second_well = ran_well(mode, Recording::second);
};

}  // namespace

TEST_P(LineFaults, SelectThatFailsOnTheLineEndsTheRecordingAndOnTheKeyboardNothing) {
    expect_sites(Call::select, joined(selects_of(Recording::first), selects_of(Recording::second)), no_peek);
}

TEST_P(LineFaults, ReadThatFailsOnTheLineEndsTheRecordingInSilenceAndOnTheKeyboardNothing) {
    expect_sites(Call::read, joined(reads_of(Recording::first), reads_of(Recording::second)), "");
}

TEST_P(LineFaults, WriteThatFailsIsTheVocodersTimeOut) {
    struct WriteRow {
        const char* what;
        FileOutcome first;
        FileOutcome second_after_one;
        FileOutcome second_after_all;
    };
    const FileOutcome first_silent = never_started(Recording::first);
    const FileOutcome second_silent = never_started(Recording::second);
    const FileOutcome frame_1_lost = lost_frame(Recording::first, 0);
    const FileOutcome frame_2_lost = lost_frame(Recording::first, 5);
    const FileOutcome frame_4_lost = lost_frame(Recording::second, 0);
    const WriteRow rows[] = {
        {"greeting",     first_well,   second_well,   second_silent},
        {"first start",  first_silent, second_well,   second_silent},
        {"frame 1",      frame_1_lost, second_well,   second_silent},
        {"frame 2",      frame_2_lost, second_well,   second_silent},
        {"frame 3",      first_well,   second_well,   second_silent},
        {"first stop",   first_well,   second_well,   second_silent},
        {"second start", first_well,   second_silent, second_silent},
        {"frame 4",      first_well,   frame_4_lost,  frame_4_lost },
        {"frame 5",      first_well,   second_well,   second_well  },
        {"second stop",  first_well,   second_well,   second_well  },
    };
    int number = 1;
    for (const WriteRow& row : rows) {
        SCOPED_TRACE(row.what);
        const bool nothing_heard = number == 1;  // when all that follow fail
        expect_run({.mode = mode, .fault = only(Call::write, number)}, run_of(mode, row.first, row.second_after_one));
        expect_run({.mode = mode, .fault = from(Call::write, number)},
                   run_of(mode, nothing_heard ? first_silent : row.first, row.second_after_all));
        number++;
    }
}

// A space that is not seen, or not read, at one turn is there at the next.
TEST_P(LineFaults, SpaceThatCannotBeReadStopsAtTheNextTurn) {
    const FileOutcome stopped = ran(mode, Recording::first, 1, "STOPPED\n");
    const FileOutcome stopped_later = ran(mode, Recording::first, 6, "STOPPED\n");
    expect_run({.mode = mode, .key = ' '}, run_of(mode, stopped, second_well));
    expect_run({.mode = mode, .key = ' ', .fault = only(Call::select, 4)}, run_of(mode, stopped_later, second_well));
    expect_run({.mode = mode, .key = ' ', .fault = only(Call::read, 3)}, run_of(mode, stopped_later, second_well));
}

INSTANTIATE_TEST_SUITE_P(Modes, LineFaults, testing::Values(Mode::convert, Mode::play), mode_name);
