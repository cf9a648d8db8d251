// SPDX-License-Identifier: MIT
// The keyboard, the console's state, the files and the audio layer as the pump sees them. The linker passes the C
// library's calls through here (--wrap); those of the test itself go on untouched.
#include <errno.h>
#include <stdio.h>
#include <sys/select.h>
#include <termios.h>
#include <unistd.h>

#include <map>

#include "audio/audio.h"
#include "player/sink.h"
#include "player/surroundings.h"

namespace {

bool of_interest(int descriptor) {
    return surroundings().recording && descriptor == STDIN_FILENO;
}

std::map<FILE*, std::string>& names_of_files() {
    static std::map<FILE*, std::string> names;
    return names;
}

int key_waiting = 0;  // what the next read of the keyboard gives

// The output file on a disk with `room` bytes left: what comes after them is refused at once.
ssize_t write_while_there_is_room(void*, const char*, size_t count) {
    int& room = surroundings().output_room;
    if (static_cast<size_t>(room) < count) return 0;
    room -= static_cast<int>(count);
    return static_cast<ssize_t>(count);
}

FILE* open_full_disk() {
    FILE* file = fopencookie(nullptr, "w", {nullptr, write_while_there_is_room, nullptr, nullptr});
    setvbuf(file, nullptr, _IONBF, 0);
    return file;
}

std::string control_name(const AudioControl* control) {
    return control == surroundings().audio_control ? "control" : "another control";
}

}  // namespace

extern "C" {

int __real_select(int limit, fd_set* readable, fd_set* writable, fd_set* exceptional, timeval* time);
ssize_t __real_read(int descriptor, void* buffer, size_t count);
int __real_tcgetattr(int descriptor, termios* state);
int __real_tcsetattr(int descriptor, int when, const termios* state);
FILE* __real_fopen(const char* path, const char* mode);
int __real_fclose(FILE* file);

int __wrap_select(int limit, fd_set* readable, fd_set* writable, fd_set* exceptional, timeval* time) {
    Surroundings& around = surroundings();
    if (!around.recording) return __real_select(limit, readable, writable, exceptional, time);
    const bool polls = limit == 1 && FD_ISSET(STDIN_FILENO, readable) && time->tv_sec == 0 && time->tv_usec == 0;
    const Poll poll = around.polls_made < around.polls.size() ? around.polls[around.polls_made] : Poll{};
    around.polls_made++;
    key_waiting = poll.key;
    traced((polls ? "poll keyboard = " : "another select = ") + std::to_string(poll.result));
    return poll.result;
}

ssize_t __wrap_read(int descriptor, void* buffer, size_t count) {
    if (!of_interest(descriptor)) return __real_read(descriptor, buffer, count);
    traced("read " + std::to_string(count) + " key = " + std::to_string(key_waiting));
    if (key_waiting == failed_read) return -1;
    if (key_waiting == end_of_input) return 0;
    *static_cast<unsigned char*>(buffer) = static_cast<unsigned char>(key_waiting);
    return 1;
}

int __wrap_tcgetattr(int descriptor, termios* state) {
    if (!of_interest(descriptor)) return __real_tcgetattr(descriptor, state);
    traced("tcgetattr");
    *state = {};
    state->c_lflag = ICANON | ECHO;
    return 0;
}

int __wrap_tcsetattr(int descriptor, int when, const termios* state) {
    if (!of_interest(descriptor)) return __real_tcsetattr(descriptor, when, state);
    const bool as_found = (state->c_lflag & (ICANON | ECHO)) == (ICANON | ECHO);
    traced(std::string("tcsetattr ") + (as_found ? "as found" : "raw") + (when == TCSANOW ? "" : ", not at once"));
    return 0;
}

FILE* __wrap_fopen(const char* path, const char* mode) {
    Surroundings& around = surroundings();
    if (!around.recording) return __real_fopen(path, mode);
    const bool updates = std::string(mode) == "rb+";
    FILE* file = nullptr;
    if (++around.fopens == around.failing_fopen)
        errno = ENOENT;
    else if (updates && around.output_room != unlimited_room)
        file = open_full_disk();
    else
        file = __real_fopen(path, mode);
    traced(std::string("fopen(") + path + ", " + mode + (file ? ")" : ") failed"));
    if (file) names_of_files()[file] = path;
    return file;
}

int __wrap_fclose(FILE* file) {
    if (surroundings().recording) {
        traced("fclose(" + names_of_files()[file] + ")");
        names_of_files().erase(file);
    }
    return __real_fclose(file);
}

}  // extern "C"

void close_forgotten_files() {
    for (const auto& [file, name] : names_of_files()) fclose(file);
    names_of_files().clear();
}

// The audio layer, in place of the room's own.

int audio_detect(int report) {
    traced("audio_detect(" + std::to_string(report) + ")");
    return surroundings().audio_device;
}

void audio_verbose(int level) {
    surroundings().audio_verbose_level = level;
}

AudioControl* audio_alloc(int device) {
    traced("audio_alloc(" + std::to_string(device) + ")");
    return surroundings().audio_control;
}

int audio_format(AudioControl* control, int channels, long sample_rate, int bits_per_sample) {
    traced("audio_format(" + control_name(control) + ", " + std::to_string(channels) + ", " +
           std::to_string(sample_rate) + ", " + std::to_string(bits_per_sample) + ")");
    return -1;  // the result is not looked at
}

int audio_open(AudioControl* control, int mode) {
    traced("audio_open(" + control_name(control) + ", " + std::to_string(mode) + ")");
    return surroundings().audio_open_result;
}

int audio_start(AudioControl* control, AudioPullCallback callback, void* data) {
    const bool as_agreed = callback == pull_block && data == nullptr && control == surroundings().audio_control;
    traced(as_agreed ? "audio_start(pull_block, none)" : "audio_start of another kind");
    return surroundings().audio_start_result;
}

int audio_service(AudioControl* control) {
    traced(control == surroundings().audio_control ? "audio_service" : "audio_service of another control");
    return 0;
}

int audio_stop(AudioControl* control) {
    traced(control == surroundings().audio_control ? "audio_stop" : "audio_stop of another control");
    return 0;
}

int audio_attach(AudioControl*, AudioPullCallback, void*) {
    return 0;
}

int audio_free(AudioControl* control) {
    traced("audio_free(" + control_name(control) + ")");
    return 0;
}
