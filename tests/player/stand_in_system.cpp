// SPDX-License-Identifier: MIT
// The keyboard, the console's state, the files and the audio layer as the pump sees them. The linker passes the C
// library's calls through here (--wrap); those of the test itself go on untouched.
#include <stdio.h>
#include <sys/select.h>
#include <termios.h>
#include <unistd.h>

#include <map>

#include "audio/audio.h"
#include "player/sink.h"
#include "player/surroundings.h"

namespace {

void traced(const std::string& call) {
    trace_call(surroundings().trace, call);
}

bool of_interest(int descriptor) {
    return surroundings().recording && descriptor == STDIN_FILENO;
}

std::map<FILE*, std::string>& names_of_files() {
    static std::map<FILE*, std::string> names;
    return names;
}

int key_waiting = 0;  // what the next read of the keyboard gives

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
    FILE* file = __real_fopen(path, mode);
    if (!surroundings().recording) return file;
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

int audio_detect(int) {
    return 0;
}

AudioControl* audio_alloc(int) {
    return nullptr;
}

int audio_format(AudioControl*, int, long, int) {
    return 0;
}

int audio_open(AudioControl*, int) {
    return 0;
}

int audio_start(AudioControl*, AudioPullCallback callback, void* data) {
    const bool as_agreed = callback == pull_block && data == nullptr;
    traced(as_agreed ? "audio_start(pull_block, none)" : "audio_start of another kind");
    return surroundings().audio_start_result;
}

int audio_stop(AudioControl*) {
    traced("audio_stop");
    return 0;
}

int audio_attach(AudioControl*, AudioPullCallback, void*) {
    return 0;
}

int audio_free(AudioControl*) {
    return 0;
}
