// SPDX-License-Identifier: MIT
// The line through the program's five exported functions: a vocoder library that really uses them, on a
// pseudo-terminal whose other end the test plays.
#include <gmock/gmock.h>
#include <time.h>

#include <algorithm>
#include <memory>

#include "program/scenario.h"
#include "support/pty.h"
#include "support/wave.h"

namespace {

using testing::Contains;
using testing::EndsWith;

const Bytes greeting = bytes_of("HI");
const Bytes run_packet = bytes({'R', 0, 0});

Bytes packet(int type, const Bytes& content) {
    return bytes({type}) + low_first_2(static_cast<unsigned>(content.size())) + content;
}

const Bytes frame_request = packet(5, zeros(48));
const Bytes time_out = packet(1, zeros(34));

Bytes frame_packet(const Bytes& frame) {
    return packet(5, frame + zeros(36));
}

class SerialLine : public testing::Test {
  protected:
    SerialLine() {
        scenario.dongle_directory = LINE_DONGLE_DIR;
        scenario.arguments = {"-W", "-p", line.path(), "rec.ambe"};
        line.set_speed(B9600);
    }

    // Starts the program and plays the vocoder up to the start of the first file.
    void start() {
        before = line.state();
        program = std::make_unique<RunningProgram>(scenario.call());
        EXPECT_EQ(line.receive(2, 60000), greeting);
        EXPECT_EQ(line.receive(3, 60000), run_packet);
    }

    // Takes what the program writes and compares.
    void expect_written(const Bytes& expected) { EXPECT_EQ(line.receive(expected.size(), 60000), expected); }

    ProgramResult finish() { return program->finish(); }

    bool wait_for_call(const std::string& call) const {
        for (int tries = 0; tries < 60000; tries++) {
            const Lines calls = scenario.calls();
            if (std::count(calls.begin(), calls.end(), call) > 0) return true;
            const timespec millisecond = {0, 1000000};
            nanosleep(&millisecond, nullptr);
        }
        return false;
    }

    void expect_line_as_before() const { EXPECT_TRUE(same_state(line.state(), before)); }

    Pty line;
    ThreeFrames scenario;
    termios before = {};
    std::unique_ptr<RunningProgram> program;
};

TEST_F(SerialLine, LibraryFindsTheFiveFunctionsInTheProgram) {
    start();
    line.send(time_out);
    finish();
    for (const std::string name : {"tio_open", "tio_speed", "tio_read", "tio_write", "tio_close"}) {
        EXPECT_THAT(scenario.calls(), Contains(name + " is in quaver"));
    }
}

TEST_F(SerialLine, OpenLineIsRawAtTheSpeedOfTheSettingsAndAsBeforeAfterwards) {
    termios busy = line.state();
    busy.c_iflag |= ICRNL | IXON | IXOFF | INPCK | ISTRIP;
    busy.c_cflag |= CSTOPB | CRTSCTS | PARODD;
    line.set_state(busy);
    for (const auto& [options, code] : {
             std::pair{Lines{},          B230400},
             {{"-s", "115200"}, B115200},
             {{"-s50"},         B50    }
    }) {
        scenario.arguments = options + Lines{"-W", "-p", line.path(), "rec.ambe"};
        start();
        const termios open = line.state();
        EXPECT_EQ(open.c_iflag, tcflag_t{IGNBRK | IGNPAR});
        EXPECT_EQ(open.c_oflag, 0U);
        EXPECT_EQ(open.c_cflag & tcflag_t{CSIZE | CSTOPB | PARENB | PARODD | CREAD | HUPCL | CLOCAL | CRTSCTS},
                  tcflag_t{CS8 | CREAD | HUPCL | CLOCAL});
        EXPECT_EQ(cfgetispeed(&open), code);
        EXPECT_EQ(cfgetospeed(&open), code);
        line.send(time_out);
        expect_written(run_packet);
        EXPECT_EQ(finish().status, 0);
        expect_line_as_before();
    }
}

TEST_F(SerialLine, SpeedThatNoLineHasEndsTheProgramWithStatus1) {
    scenario.arguments = {"-s", "12345", "-W", "-p", line.path(), "rec.ambe"};
    const ProgramResult result = run_program(scenario.call());
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(scenario.calls(), Contains("tio_speed(12345) = -1"));
}

TEST_F(SerialLine, DeviceThatIsNotThereEndsTheProgramWithStatus1) {
    scenario.arguments = {"-W", "-p", "/no/such/line", "rec.ambe"};
    const ProgramResult result = run_program(scenario.call());
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, banner() + codec_line() + "\n");
    EXPECT_THAT(scenario.calls(), Contains("tio_open failed"));
}

TEST_F(SerialLine, EveryByteOfAWholeFileGoesUnchangedOverTheLineBothWays) {
    Bytes recording;
    for (int i = 0; i < 264; i++) recording.push_back(static_cast<std::uint8_t>(i));
    scenario.add_file("rec.ambe", recording);
    const Bytes pcm = counting_bytes(88 * block_bytes);
    start();
    for (std::size_t frame = 0; frame < 22; frame++) {
        for (std::size_t block = 4 * frame; block < 4 * frame + 4; block++) {
            line.send(packet(4, slice(pcm, block * block_bytes, block_bytes)));
        }
        line.send(frame_request);
        expect_written(frame_packet(slice(recording, frame * frame_bytes, frame_bytes)));
    }
    expect_written(run_packet);  // the file has ended with its last frame
    const ProgramResult result = finish();
    EXPECT_EQ(result.out, convert_start_up() + converting + spinner(23) + "DONE\n");
    EXPECT_EQ(result.err, convert_teardown());
    EXPECT_EQ(scenario.file("rec.wav"), pcm_file(first_bytes(pcm, 27 * 1024)));  // 27.5 pieces
    expect_line_as_before();
    EXPECT_THAT(scenario.calls(), Contains("tio_close = 0"));
}

TEST_F(SerialLine, PacketMayComeInPieces) {
    const Bytes pcm = test_blocks(4);
    start();
    const Bytes first = packet(4, first_bytes(pcm, 320));
    line.send(first_bytes(first, 2));
    EXPECT_TRUE(wait_for_call("tio_read(3) = 2"));
    line.send(slice(first, 2, 101));
    EXPECT_TRUE(wait_for_call("tio_read(1) = 1"));
    EXPECT_TRUE(wait_for_call("tio_read(320) = 100"));
    line.send(from_byte(first, 103));
    EXPECT_TRUE(wait_for_call("tio_read(220) = 220"));
    for (std::size_t i = 320; i < pcm.size(); i += 320) line.send(packet(4, slice(pcm, i, 320)));
    line.send(time_out);
    EXPECT_THAT(finish().out, EndsWith("TIMEOUT\n"));
    EXPECT_EQ(from_byte(scenario.file("rec.wav"), 44), first_bytes(pcm, 1024));
}

TEST_F(SerialLine, UnpluggedLineEndsTheFileInSilenceAndThoseAfterItOneByOne) {
    scenario.add_file("b.dvtool", dvtool_recording({record(frame(1))}));
    scenario.arguments.push_back("b.dvtool");
    start();
    line.send(frame_request);
    expect_written(frame_packet(frame(1)));
    line.send(first_bytes(packet(4, zeros(block_bytes)), 100));
    EXPECT_TRUE(wait_for_call("tio_read(320) = 97"));
    line.hang_up();
    const ProgramResult result = finish();
    EXPECT_EQ(result.out,
              convert_start_up() + converting + "|\b/\b" + "Converting file 'b.dvtool' (DVTOOL) to 'b.wav': |\b");
    EXPECT_EQ(result.err, convert_teardown(2));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.signal, 0);
    EXPECT_EQ(scenario.file("rec.wav"), pcm_file({}));
    EXPECT_THAT(scenario.calls(), Contains("tio_close = 0"));
}

TEST_F(SerialLine, SpaceStopsWhileTheLineIsInUse) {
    Pty terminal;
    const termios keyboard_before = terminal.state();
    scenario.input = terminal_input(terminal.path());
    start();
    line.send(frame_request);
    expect_written(frame_packet(frame(1)));
    line.send(first_bytes(frame_request, 1));
    EXPECT_TRUE(wait_for_call("tio_read(3) = 1"));  // the second receive has begun
    terminal.send(" ");
    EXPECT_TRUE(terminal.has_input());
    line.send(from_byte(frame_request, 1));
    expect_written(frame_packet(frame(2)) + run_packet);
    EXPECT_THAT(finish().out, EndsWith("|\b/\b-\bSTOPPED\n"));
    EXPECT_TRUE(same_state(terminal.state(), keyboard_before));
    expect_line_as_before();
}

}  // namespace
