// SPDX-License-Identifier: MIT
// A stand-in for the vocoder library that plays a script and logs every call.
//
// QUAVER_TEST_SCRIPT names the script, one step a line; each dongle_recv goes on to the next `recv`:
//
//   recv <length> <type> [<count>]   the next `count` receives; type "keep" writes none
//   rest <length> <type>             all receives after the last step (default: -1)
//   init <result>                    what dongle_init returns (default: 0)
//   count_descriptors                dongle_init and dongle_close also log how many descriptors are open
//   count_memory                     dongle_close also logs the most memory that the process held at once
//   speak                            start, stop and greeting also print "[name]" to standard output and error
//   touch <file>                     creates a file: the test waits for it
//   await <file>                     waits for a file: the test creates it
//   kill <signal>                    the process sends it to itself
//   exit <status>                    the library ends the process
//   abort                            the library gives the process up
//   again                            goes on with the first step
//   background                       another process group takes the terminal at standard input
//
// A receive of 320 bytes of type 4 takes the next 320 bytes of the file that QUAVER_TEST_BLOCKS names, zeros after its
// end; any other is filled with 0xEE. dongle_run and dongle_recv log how the terminal at standard input is set.
#include <signal.h>
#include <string.h>
#include <termios.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>
#include <vector>

#include "call_log.h"
#include "link/dongle.h"

namespace {

constexpr int wait_limit_ms = 60000;
constexpr unsigned char filler = 0xEE;
constexpr int keep_type = -1;
constexpr int descriptors_looked_at = 256;

using Words = std::vector<std::string>;

struct Script {
    std::vector<Words> steps;
    std::size_t next_step = 0;
    int repeats_done = 0;
    Words rest = {"rest", "-1", "keep"};
    int init_result = 0;
    bool speaks = false;
    bool counts_descriptors = false;
    bool counts_memory = false;
    std::string blocks;
    std::size_t block_position = 0;
};

std::string whole_file(const char* path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

int number(const std::string& text) {
    return static_cast<int>(strtol(text.c_str(), nullptr, 0));
}

Script load_script() {
    Script script;
    if (const char* blocks = getenv("QUAVER_TEST_BLOCKS")) script.blocks = whole_file(blocks);
    std::istringstream text(whole_file(getenv("QUAVER_TEST_SCRIPT")));
    for (std::string line; std::getline(text, line);) {
        std::istringstream line_text(line);
        Words words;
        for (std::string word; line_text >> word;) words.push_back(word);
        if (words.empty()) continue;
        if (words[0] == "rest")
            script.rest = words;
        else if (words[0] == "init")
            script.init_result = number(words.at(1));
        else if (words[0] == "speak")
            script.speaks = true;
        else if (words[0] == "count_descriptors")
            script.counts_descriptors = true;
        else if (words[0] == "count_memory")
            script.counts_memory = true;
        else
            script.steps.push_back(words);
    }
    return script;
}

Script& script() {
    static Script loaded = load_script();
    return loaded;
}

bool exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

void await_file(const std::string& path) {
    for (int waited = 0; !exists(path); waited++) {
        if (waited > wait_limit_ms) abort();
        const timespec millisecond = {0, 1000000};
        nanosleep(&millisecond, nullptr);
    }
}

// The other group's only process dies with the program, by the hang-up of their session.
void go_to_background() {
    const pid_t other = fork();
    if (other == 0) {
        signal(SIGHUP, SIG_DFL);  // not the program's own handler, which would rescue the terminal from here
        pause();
        _exit(0);
    }
    setpgid(other, other);
    if (tcsetpgrp(STDIN_FILENO, other) < 0) abort();
}

// A step that is no receive.
void perform(const Words& words) {
    const std::string& verb = words[0];
    if (verb == "touch")
        std::ofstream(words.at(1)).put('\n');
    else if (verb == "await")
        await_file(words.at(1));
    else if (verb == "kill")
        kill(getpid(), number(words.at(1)));
    else if (verb == "background")
        go_to_background();
    else if (verb == "exit")
        exit(number(words.at(1)));
    else
        abort();
}

// The next receive of the script, after what stands before it.
Words next_receive() {
    Script& played = script();
    while (played.next_step < played.steps.size()) {
        const Words& words = played.steps[played.next_step];
        if (words[0] == "again") {
            played.next_step = 0;
            continue;
        }
        if (words[0] != "recv") {
            played.next_step++;
            perform(words);
            continue;
        }
        const int count = words.size() > 3 ? number(words[3]) : 1;
        if (++played.repeats_done >= count) {
            played.next_step++;
            played.repeats_done = 0;
        }
        return words;
    }
    return played.rest;
}

void fill_block(unsigned char* buffer) {
    Script& played = script();
    const std::size_t start = std::min(played.block_position, played.blocks.size());
    const std::size_t count = std::min<std::size_t>(pcm_block_bytes, played.blocks.size() - start);
    memset(buffer, 0, pcm_block_bytes);
    memcpy(buffer, played.blocks.data() + start, count);
    played.block_position += pcm_block_bytes;
}

// " raw" or " cooked" when standard input is a terminal.
const char* terminal_state() {
    termios state;
    if (tcgetattr(STDIN_FILENO, &state) < 0) return "";
    return state.c_lflag & (ICANON | ECHO) ? " cooked" : " raw";
}

void speak(const char* name) {
    if (!script().speaks) return;
    printf("[%s]", name);
    fprintf(stderr, "[%s]", name);
}

void log_descriptors() {
    if (!script().counts_descriptors) return;
    int open_descriptors = 0;
    for (int descriptor = 0; descriptor < descriptors_looked_at; descriptor++) {
        if (fcntl(descriptor, F_GETFD) >= 0) open_descriptors++;
    }
    log_call("%d descriptors", open_descriptors);
}

// As "VmHWM: 3456 kB".
void log_peak_memory() {
    if (!script().counts_memory) return;
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, 6, "VmHWM:") == 0) log_call("%s", line.c_str());
    }
}

// The program's 48-byte packet, as ambe_init or ambe_send left it: the program itself must not touch it.
const unsigned char* known_packet = nullptr;
std::array<unsigned char, ambe_packet_bytes> packet_as_left;

const char* describe(const unsigned char* packet) {
    if (packet != known_packet) return "another packet";
    if (memcmp(packet, packet_as_left.data(), ambe_packet_bytes) != 0) return "changed packet";
    return "packet";
}

void leave(unsigned char* packet, unsigned char fill, const unsigned char* frame) {
    memset(packet, fill, ambe_packet_bytes);
    if (frame) memcpy(packet + ambe_frame_bytes, frame, ambe_frame_bytes);
    memcpy(packet_as_left.data(), packet, ambe_packet_bytes);
}

}  // namespace

void dongle_debug(int level) {
    speak("dongle_debug");
    log_call("dongle_debug(%d)", level);
}

int dongle_init(const char* port, long speed) {
    speak("dongle_init");
    log_call("dongle_init(%s, %ld)", port, speed);
    log_descriptors();
    return script().init_result;
}

void dongle_hello() {
    speak("dongle_hello");
    log_call("dongle_hello()");
}

void dongle_run(int running) {
    speak(running ? "dongle_run 1" : "dongle_run 0");
    log_call("dongle_run(%d)%s", running, terminal_state());
}

int dongle_send(int type, const unsigned char* packet, int length) {
    log_call("dongle_send(%d, %s, %d)", type, describe(packet), length);
    return -1;  // never looked at
}

int dongle_recv(int* type, unsigned char* buffer, int capacity) {
    const int preset = *type;
    const Words words = next_receive();
    const int length = number(words.at(1));
    const int received_type = words.at(2) == "keep" ? keep_type : number(words[2]);

    if (received_type != keep_type) *type = received_type;
    if (length == pcm_block_bytes && received_type == pcm_block_type)
        fill_block(buffer);
    else if (length > 0)
        memset(buffer, filler, static_cast<size_t>(std::min(length, capacity)));
    log_call("dongle_recv(%d, %d)%s = %s %s", preset, capacity, terminal_state(), words[1].c_str(), words[2].c_str());
    return length;
}

void dongle_close(int mode) {
    speak("dongle_close");
    log_call("dongle_close(%d)", mode);
    log_descriptors();
    log_peak_memory();
}

void ambe_init(unsigned char* packet, int mode) {
    speak("ambe_init");
    const bool first = !known_packet;
    if (first) known_packet = packet;
    log_call("ambe_init(%s, %d)", first ? "packet" : describe(packet), mode);
    leave(packet, 0x5A, nullptr);
}

void ambe_send(unsigned char* packet, const unsigned char* frame) {
    log_call("ambe_send(%s, %s)", describe(packet), hex(frame, ambe_frame_bytes).c_str());
    leave(packet, 0xA5, frame);
}
