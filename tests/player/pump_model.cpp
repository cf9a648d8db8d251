// SPDX-License-Identifier: MIT
#include "player/pump_model.h"

void calls(PumpModel& program, const std::string& call) {
    trace_call(program.outcome.trace, call);
}
void complains(PumpModel& program, const std::string& text) {
    trace_text(program.outcome.trace, "stderr", text);
}
void prints(PumpModel& program, const std::string& text) {
    program.unflushed += text;
}
void flushes(PumpModel& program) {
    trace_text(program.outcome.trace, "stdout", program.unflushed);
    program.unflushed.clear();
}

namespace {

using Next = PumpRow::Next;

constexpr std::size_t block_bytes = 320;
constexpr std::size_t frame_bytes = 12;
constexpr std::size_t frame_in_record = 15;
constexpr int space = 32;

// The recording, read byte by byte into one buffer that is never cleared.
struct Reader {
    const Bytes& file;
    std::size_t position = 0;
    bool dvtool = false;
    Bytes buffer = Bytes(65535, 0);

    bool byte_into(std::size_t index) {
        if (position == file.size()) return false;
        buffer[index] = file[position++];
        return true;
    }

    std::size_t length() {
        if (byte_into(0)) byte_into(1);
        return buffer[0] + 256U * buffer[1];
    }

    // The index of the next frame, or -1 at the end.
    int next() {
        const std::size_t count = dvtool ? length() : frame_bytes;
        for (std::size_t i = 0; i < count; i++) {
            if (!byte_into(i)) return -1;
        }
        return dvtool ? frame_in_record : 0;
    }
};

struct File {
    PumpModel& program;
    std::string input;
    std::string output;
    Reader reader;
    int frame = 0;  // index in the reader's buffer
    int state = 1;
    int spinner = 0;
    Bytes data = {};  // of the "data" chunk
};

bool opens_recording(File& file) {
    PumpModel& program = file.program;
    if (file.reader.file.size() < 10) {
        prints(program, ": SHORT FILE\n");
        calls(program, "fclose(" + file.input + ")");
        return false;
    }
    for (std::size_t i = 0; i < 10; i++) file.reader.byte_into(i);
    const Bytes magic = bytes({'D', 'V', 'T', 'O', 'O', 'L', 0});
    file.reader.dvtool = Bytes(file.reader.buffer.begin(), file.reader.buffer.begin() + 7) == magic;
    if (!file.reader.dvtool) {
        calls(program, "fclose(" + file.input + ")");
        calls(program, "fopen(" + file.input + ", rb)");
        file.reader.position = 0;
        return true;
    }
    prints(program, " (DVTOOL)");
    const std::size_t first_record = file.reader.length();
    file.reader.position = std::min(file.reader.position + first_record, file.reader.file.size());
    return true;
}

bool creates_wave_file(File& file, RecordingFile::Kind kind) {
    PumpModel& program = file.program;
    prints(program, " to '" + file.output + "': ");
    if (kind == RecordingFile::Kind::output_in_the_way) {
        calls(program, "fopen(" + file.output + ", wb) failed");
        calls(program, "fopen(" + file.output + ", rb+) failed");
        complains(program, "Unable to create file '" + file.output + "' !\n");
        prints(program, "CANNOT CREATE\n");
        calls(program, "fclose(" + file.input + ")");
        return false;
    }
    calls(program, "fopen(" + file.output + ", wb)");
    calls(program, "fclose(" + file.output + ")");
    calls(program, "fopen(" + file.output + ", rb+)");
    return true;
}

bool starts_audio(File& file) {
    PumpModel& program = file.program;
    prints(program, ": ");
    calls(program, "audio_start(pull_block, none)");
    if (program.walk.audio_start_result >= 0) return true;
    prints(program, "ERROR\n");
    return false;
}

// False when the run is over.
bool spin_and_read(File& file) {
    PumpModel& program = file.program;
    const char* const faces[] = {"|\b", "/\b", "-\b", "\\\b"};
    prints(program, faces[file.spinner]);
    flushes(program);
    file.spinner = (file.spinner + 1) % 4;

    const std::vector<Poll>& polls = program.walk.polls;
    const Poll poll = program.polls_made < polls.size() ? polls[program.polls_made] : Poll{};
    program.polls_made++;
    calls(program, "poll keyboard = " + std::to_string(poll.result));
    if (poll.result > 0) {
        calls(program, "read 1 key = " + std::to_string(poll.key));
        if (poll.key == space) {
            prints(program, "STOPPED\n");
            return false;
        }
    }
    file.frame = file.reader.next();
    if (file.frame < 0) {
        prints(program, "DONE\n");
        return false;
    }
    file.state++;
    return true;
}

const PumpRow& row_of(const PumpTable& table, const Answer& answer) {
    if (answer.length < 0) return table.failed;
    if (answer.length == 0) return table.nothing;
    const int type = answer.keeps_type ? 0 : answer.type;
    for (const PumpRow* row : {&table.wants_frame, &table.pcm_block, &table.timed_out}) {
        if (answer.length == row->length && type == row->type) return *row;
    }
    return table.other;
}

void pull(PumpModel& program) {
    const Bytes block = program.unpulled.empty() ? Bytes(block_bytes, 0) : program.unpulled;
    calls(program, "pulled 320: " + block_text(block.data()));
    program.unpulled.clear();
}

Answer receive(PumpModel& program) {
    Answer answer = {.length = -1, .keeps_type = true};
    std::size_t& given = program.outcome.answers_given;
    if (given < program.walk.answers.size()) answer = program.walk.answers[given++];
    for (int i = 0; i < answer.pulls; i++) pull(program);
    calls(program, "dongle_recv(0, 400) = " + std::to_string(answer.length) +
                       (answer.keeps_type ? "" : ", " + std::to_string(answer.type)));
    return answer;
}

void send_frame(File& file) {
    std::uint8_t* frame = file.reader.buffer.data() + file.frame;
    for (std::size_t i = 0; file.program.walk.reverse_bits && i < frame_bytes; i++) {
        unsigned mirrored = 0;
        for (unsigned bit = 0; bit < 8; bit++) mirrored |= (frame[i] >> bit & 1U) << (7 - bit);
        frame[i] = static_cast<std::uint8_t>(mirrored);
    }
    const std::string text = hex(frame, frame_bytes);
    calls(file.program, "ambe_send(packet, " + text + ")");
    calls(file.program, "dongle_send(5, packet " + text + ", 48)");
}

void deliver(File& file, const Answer& answer) {
    Bytes block = packet_bytes(answer.seed);
    block.resize(block_bytes);
    if (file.program.walk.convert) {
        file.program.coder.write(block, file.data);
        return;
    }
    file.program.unpulled = block;
    calls(file.program, "audio_service");
}

void run_table(File& file) {
    Next next = Next::spin;
    while (true) {
        if (next == Next::by_state) next = file.state == 3 ? Next::receive : Next::spin;
        if (next == Next::spin && !spin_and_read(file)) return;
        const Answer answer = receive(file.program);
        const PumpRow& row = row_of(file.program.table, answer);
        prints(file.program, row.last_words);
        if (row.sends_frame) send_frame(file);
        if (row.delivers_block) deliver(file, answer);
        if (row.next_state != unchanged) file.state = row.next_state;
        if (row.next == Next::end) return;
        next = row.next;
    }
}

void tear_down(File& file) {
    PumpModel& program = file.program;
    calls(program, "tcsetattr as found");
    complains(program, "> Stopping Dongle.\n");
    calls(program, "dongle_run(0)");
    complains(program, "> Dongle stopped.\n");
    complains(program, program.walk.convert ? "> Closing RIFF.\n" : "> Stopping Audio.\n");
    calls(program, program.walk.convert ? "fclose(" + file.output + ")" : "audio_stop");
    complains(program, program.walk.convert ? "> RIFF closed.\n" : "> Audio stopped.\n");
    complains(program, "> Closing DVX.\n");
    calls(program, "fclose(" + file.input + ")");
    complains(program, "> DVX closed.\n");
}

// The result of decode_file; what is in the WAVE file then.
int decode(File& file, RecordingFile::Kind kind, Bytes& wave) {
    PumpModel& program = file.program;
    const bool convert = program.walk.convert;
    prints(program, (convert ? "Converting file '" : "Playing file '") + file.input + "'");
    if (kind == RecordingFile::Kind::missing) {
        calls(program, "fopen(" + file.input + ", rb) failed");
        prints(program, ": NOT FOUND\n");
        return -1;
    }
    calls(program, "fopen(" + file.input + ", rb)");
    if (!opens_recording(file)) return -1;
    if (!(convert ? creates_wave_file(file, kind) : starts_audio(file))) return -1;
    calls(program, "ambe_init(packet, 1)");
    calls(program, "dongle_run(1)");
    calls(program, "tcgetattr");
    calls(program, "tcsetattr raw");
    run_table(file);
    tear_down(file);
    if (convert) wave = program.coder.wave_file(file.data);
    return 0;
}

}  // namespace

// clang-format off
const PumpTable pump_table = {
    //              n    type      prints       sends  delivers  state      next
    .failed      = {-1,  any_type, "",          false, false,    unchanged, Next::end},
    .nothing     = {0,   any_type, "",          false, false,    unchanged, Next::by_state},
    .wants_frame = {48,  5,        "",          true,  false,    2,         Next::spin},
    .pcm_block   = {320, 4,        "",          false, true,     3,         Next::receive},
    .timed_out   = {34,  1,        "TIMEOUT\n", false, false,    unchanged, Next::end},
    .other       = {1,   any_type, "",          false, false,    2,         Next::spin},
};
// clang-format on

void model_decode(PumpModel& program, const std::string& directory, std::size_t index) {
    const RecordingFile& recording = program.walk.recordings[index];
    File file = {.program = program,
                 .input = recording_path(directory, index),
                 .output = wave_path(directory, index),
                 .reader = {.file = recording.content}};
    program.outcome.wave_files.resize(program.walk.recordings.size());
    program.outcome.results.push_back(decode(file, recording.kind, program.outcome.wave_files[index]));
}

WalkOutcome walk_model(const Walk& walk, const std::string& directory, const PumpTable& table) {
    PumpModel program(walk, table);
    for (std::size_t i = 0; i < walk.recordings.size(); i++) {
        model_decode(program, directory, i);
        flushes(program);
    }
    return program.outcome;
}
