// SPDX-License-Identifier: MIT
// The vocoder library's door: the nine functions of `libdongle-x86-64.so` that the program calls.
//
// One dongle a process, all calls from one thread. The library reaches the serial line by calling back the five
// `tio_` functions that the program exports (link/tio.h). Only two results are tested: those of `dongle_init` and
// `dongle_recv`.
//
// Calling order: dongle_debug, dongle_init, dongle_hello; for each file ambe_init, dongle_run(1), then dongle_recv
// again and again, each (48, 5) answered by ambe_send and dongle_send, and dongle_run(0); at the end dongle_close.
//
//   length   type   what a dongle_recv packet means
//   48       5      ready for the next AMBE frame
//   320      4      one decoded block: 160 samples, 16-bit signed little-endian, mono, 8000 Hz
//   34       1      the vocoder timed out
//   0        -      nothing received this time
//   < 0      -      the link failed
#pragma once

extern "C" {

// clang-format off
constexpr int ambe_frame_bytes       = 12;    // as recorded: nine bytes of voice, three of slow data
constexpr int ambe_packet_bytes      = 48;    // what ambe_send builds and dongle_send takes; laid out by the library
constexpr int ambe_packet_type       = 5;     // the vocoder's request, and the packet that answers it
constexpr int pcm_block_bytes        = 320;   // 160 samples
constexpr int pcm_block_type         = 4;
constexpr int time_out_packet_bytes  = 34;
constexpr int time_out_packet_type   = 1;
// clang-format on

// How much the library says about its work: 0 is quiet.
void dongle_debug(int level);

// Opens the line at the path `port` (through tio_open) and sets it to `speed` bit/s (tio_speed). Negative: failure;
// none of the functions below may be called then.
int dongle_init(const char* port, long speed);

// Greets the dongle.
void dongle_hello();

// 1 starts decoding, 0 stops it.
void dongle_run(int running);

// Sends the `length` bytes of `packet` as a packet of `type`. Negative: not accepted.
int dongle_send(int type, const unsigned char* packet, int length);

// Receives at most one packet into the caller's `buffer` of `capacity` bytes and writes its type to `*type`, which the
// caller presets to 0. May wait for the line. Returns the packet's length, 0 when there is none, negative when the link
// failed.
int dongle_recv(int* type, unsigned char* buffer, int capacity);

// Gives the line back (tio_close); called once, last, with 0.
void dongle_close(int mode);

// Prepares the caller's 48-byte packet, once a file; called with mode 1.
void ambe_init(unsigned char* packet, int mode);

// Fills the 48-byte packet from one 12-byte AMBE frame, which stays as it is.
void ambe_send(unsigned char* packet, const unsigned char* frame);

}  // extern "C"
