// SPDX-License-Identifier: MIT
// Everything that the decode pump meets outside its own files, scripted and recorded: the vocoder library, the
// keyboard, the console's state, the audio layer, the opening and closing of files, standard output and error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "audio/audio.h"
#include "support/temp_dir.h"

// What one dongle_recv gives, and what the audio layer does meanwhile.
struct Answer {
    int length = 0;
    int type = 0;
    bool keeps_type = false;  // the library does not write the type
    std::uint8_t seed = 0;    // of what is in the buffer then: packet_bytes(seed)
    int pulls = 0;            // blocks that the audio layer pulls before the answer
};

constexpr int failed_read = -1;
constexpr int end_of_input = 256;
constexpr int unlimited_room = -1;

// What one look at the keyboard finds.
struct Poll {
    int result = 0;  // of select
    int key = 0;     // what a read then gives: 0 to 255, end_of_input or failed_read
};

// The calls come in the order of the script. After its end the vocoder fails and no key waits.
struct Surroundings {
    std::vector<Answer> answers = {};
    std::vector<Poll> polls = {};
    int audio_device = 0;                   // that audio_detect finds
    AudioControl* audio_control = nullptr;  // of audio_alloc, and the one that the other operations may be given
    int audio_verbose_level = -1;           // that the layer was told
    int audio_open_result = 0;
    int dongle_init_result = 0;
    int audio_start_result = 0;
    int failing_fopen = 0;             // its number, 1 being the first; 0: none is made to fail
    int output_room = unlimited_room;  // bytes that a WAVE file takes

    int fopens = 0;

    std::size_t answers_given = 0;
    std::size_t polls_made = 0;
    std::vector<std::string> trace = {};  // a line for each call, and for each text where it leaves the program
    bool recording = false;               // calls are scripted and traced only while this is set
};

Surroundings& surroundings();

// Closes the files that the program left open.
void close_forgotten_files();

// Starts the trace anew, with standard output and error replaced by streams that end in it. Standard output is fully
// buffered, so that a flush can be told from a write. Everything is put back at the end of the scope.
class TracedRun {
  public:
    explicit TracedRun(const Surroundings& script);
    ~TracedRun();
    TracedRun(const TracedRun&) = delete;
    TracedRun& operator=(const TracedRun&) = delete;

  private:
    std::FILE* saved_out_;
    std::FILE* saved_err_;
};

// How calls and texts stand in a trace; the model writes its own with the same words.
void trace_call(std::vector<std::string>& trace, const std::string& call);
void traced(const std::string& call);  // the same, in the surroundings' own
// Adjoining texts of one stream are one line.
void trace_text(std::vector<std::string>& trace, const std::string& stream, const std::string& text);
// "silence", or enough of the block to tell it from others.
std::string block_text(const std::uint8_t* bytes);

// The 400 bytes that an answer leaves in the receive buffer.
Bytes packet_bytes(std::uint8_t seed);
