// SPDX-License-Identifier: MIT
#include "player/decode_pump.h"

#include <cstdio>
#include <optional>
#include <span>

#include "link/dongle.h"
#include "link/keyboard.h"
#include "player/console.h"
#include "player/sink.h"
#include "player/voice_recording.h"

namespace {

constexpr int receive_buffer_bytes = 400;
constexpr int space_key = 32;

// One for the whole program, so that the vocoder library finds in it the bytes that it left there. ambe_init prepares
// it for each file.
std::uint8_t packet[ambe_packet_bytes];

// The tables in the header say what each state, event and step means. The fourth state is one of the documented table;
// nothing enters it, and dispatch shows what it would do.
enum State { file_started = 1, frame_wanted = 2, frame_waiting = 3, never_entered = 4 };

enum class Event { failed, nothing, wants_frame, pcm_block, timed_out, unknown };

enum class Step { spin, read, receive, dispatch, end };

struct Pump {
    Player& player;
    const Sink& sink;
    VoiceRecording& recording;
    State state = file_started;
    int spinner = 0;                                 // 0 to 3
    std::optional<VoiceFrame> frame = std::nullopt;  // in the recording's buffer
    std::uint8_t received[receive_buffer_bytes] = {};
};

struct EventRow {
    int length, type;
    Event event;
};

constexpr EventRow event_rows[] = {
    {ambe_packet_bytes,     ambe_packet_type,     Event::wants_frame},
    {pcm_block_bytes,       pcm_block_type,       Event::pcm_block  },
    {time_out_packet_bytes, time_out_packet_type, Event::timed_out  },
};

Event classify(int length, int type) {
    if (length < 0) return Event::failed;
    if (length == 0) return Event::nothing;
    for (const EventRow& row : event_rows) {
        if (row.length == length && row.type == type) return row.event;
    }
    return Event::unknown;
}

// Drawn and flushed at every turn, also when standard output is no terminal.
void spinner_turn(int& spinner) {
    constexpr const char* faces[] = {"|\b", "/\b", "-\b", "\\\b"};
    std::fputs(faces[spinner], stdout);
    std::fflush(stdout);
    spinner = (spinner + 1) % 4;
}

Step ended(const char* why) {
    std::printf("%s\n", why);
    return Step::end;
}

Step spin(Pump& pump) {
    spinner_turn(pump.spinner);
    if (kb_hit() > 0 && kb_getkey() == space_key) return ended("STOPPED");
    return Step::read;
}

// Kept: a frame that was not sent yet is lost when the next one is read.
Step read(Pump& pump) {
    pump.frame = voice_recording_next(pump.recording);
    if (!pump.frame) return ended("DONE");
    // Kept: the first frame of a file counts as wanted, not as waiting.
    pump.state = pump.state == file_started ? frame_wanted : frame_waiting;
    return Step::receive;
}

Step send_frame(Pump& pump) {
    if (pump.player.settings.reverse_bits) reverse_frame_bits(*pump.frame);
    ambe_send(packet, pump.frame->data());
    dongle_send(ambe_packet_type, packet, ambe_packet_bytes);
    pump.state = frame_wanted;
    return Step::spin;
}

// Kept: no frame is read and no key polled between blocks that come back to back.
Step deliver_block(Pump& pump) {
    pump.sink.write(pump.player, std::span(pump.received).first<pcm_block_bytes>());
    pump.state = frame_waiting;
    return Step::receive;
}

// Kept: an unknown packet drops the frame that waits.
Step unknown_packet(Pump& pump) {
    pump.state = frame_wanted;
    return Step::spin;
}

Step receive(Pump& pump) {
    int type = 0;
    const int length = dongle_recv(&type, pump.received, receive_buffer_bytes);
    switch (classify(length, type)) {
        case Event::failed: return Step::end;
        case Event::nothing: return Step::dispatch;
        case Event::wants_frame: return send_frame(pump);
        case Event::pcm_block: return deliver_block(pump);
        case Event::timed_out: return ended("TIMEOUT");
        case Event::unknown: return unknown_packet(pump);
    }
    return Step::end;
}

// Kept: when the first receive of a file yields nothing, the state is frame_wanted, so a second frame is read and the
// first is lost.
Step dispatch(Pump& pump) {
    switch (pump.state) {
        case file_started: pump.spinner = 0; return Step::spin;
        case frame_wanted: return Step::spin;
        case frame_waiting: return Step::receive;
        case never_entered: return unknown_packet(pump);
    }
    return Step::end;
}

void run(Pump& pump) {
    for (Step step = Step::dispatch; step != Step::end;) {
        switch (step) {
            case Step::spin: step = spin(pump); break;
            case Step::read: step = read(pump); break;
            case Step::receive: step = receive(pump); break;
            case Step::dispatch: step = dispatch(pump); break;
            case Step::end: break;
        }
    }
}

void start_decoding() {
    ambe_init(packet, 1);
    dongle_run(1);
}

void stop_decoding() {
    std::fprintf(stderr, "> Stopping Dongle.\n");
    dongle_run(0);
    std::fprintf(stderr, "> Dongle stopped.\n");
}

void close_recording(VoiceRecording& recording) {
    std::fprintf(stderr, "> Closing DVX.\n");
    voice_recording_close(recording);
    std::fprintf(stderr, "> DVX closed.\n");
}

}  // namespace

int decode_file(Player& player, const char* path) {
    static VoiceRecording recording;  // 64 KB, for one file at a time
    const Sink& sink = player.settings.write_mode ? convert_sink : play_sink;

    console_guard();
    std::printf("%sing file '%s'", sink.verb, path);
    if (voice_recording_open(recording, path) < 0) return -1;
    if (sink.start(player, path) < 0) {
        if (sink.closes_input_on_failure) voice_recording_close(recording);
        return -1;
    }

    Pump pump{player, sink, recording};
    start_decoding();
    console_enter();
    run(pump);
    console_leave();
    stop_decoding();
    sink.stop(player);
    close_recording(recording);
    return 0;
}
